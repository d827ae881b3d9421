#include "Settings.hpp"

#include "Host/HostPort.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace Velmora {

namespace {

constexpr char kDefaultWebAppUrl[] = "https://app.velmora.ai/?embed=archicad";
constexpr char kDefaultApiBaseUrl[] = "https://api.velmora.ai";
constexpr char kModelUploadPath[] = "/models-uploadFromPlugin";
constexpr std::size_t kBlobReserve = 512;

void AppendU32(std::string& out, std::uint32_t value) {
    for (int byte = 0; byte < 4; ++byte)
        out.push_back(static_cast<char>((value >> (8 * byte)) & 0xFFu));
}

void AppendString(std::string& out, std::string const& text) {
    AppendU32(out, static_cast<std::uint32_t>(text.size()));
    out += text;
}

// Reads the blob's little-endian fields in order; every read checks what is left first.
class BlobReader {
public:
    BlobReader(char const* data, std::size_t size) : data_(data), left_(size) {}

    bool ReadU32(std::uint32_t& value) {
        if (left_ < 4)
            return false;
        value = 0;
        for (int byte = 0; byte < 4; ++byte)
            value |= std::uint32_t(static_cast<unsigned char>(data_[byte])) << (8 * byte);
        Skip(4);
        return true;
    }

    bool ReadString(std::string& text) {
        std::uint32_t length = 0;
        if (!ReadU32(length) || length > left_)
            return false;
        text.assign(data_, length);
        Skip(length);
        return true;
    }

    bool ReadBool(bool& value) {
        if (left_ < 1)
            return false;
        value = *data_ != 0;
        Skip(1);
        return true;
    }

private:
    void Skip(std::size_t count) {
        data_ += count;
        left_ -= count;
    }

    char const* data_;
    std::size_t left_;
};

} // namespace

Settings& Settings::Get() {
    static Settings settings;
    return settings;
}

char const* Settings::DefaultWebAppUrl() {
    return kDefaultWebAppUrl;
}

Settings::Settings() : webAppUrl(kDefaultWebAppUrl), apiBaseUrl(kDefaultApiBaseUrl) {}

std::string Settings::Serialize() const {
    std::string blob;
    blob.reserve(kBlobReserve);
    AppendU32(blob, kBlobVersion);
    AppendString(blob, webAppUrl);
    AppendString(blob, apiBaseUrl);
    AppendString(blob, lastLoginEmail);
    AppendString(blob, extractOptions.viewName);
    blob.push_back(extractOptions.includeMask ? 1 : 0);
    blob.push_back(extractOptions.useCurrentViewSettings ? 1 : 0);
    return blob;
}

// The host's preference version is not consulted: the blob's own leading number decides.
bool Settings::Deserialize(char const* data, unsigned long size, int /*version*/) {
    if (data == nullptr)
        return false;
    BlobReader reader(data, size);
    std::uint32_t blobVersion = 0;
    if (!reader.ReadU32(blobVersion) || blobVersion != kBlobVersion)
        return false;

    std::string readWebAppUrl, readApiBaseUrl, readEmail, readViewName;
    bool readIncludeMask = false;
    bool readUseCurrentView = false;
    if (!reader.ReadString(readWebAppUrl) || !reader.ReadString(readApiBaseUrl) ||
        !reader.ReadString(readEmail) || !reader.ReadString(readViewName) ||
        !reader.ReadBool(readIncludeMask) || !reader.ReadBool(readUseCurrentView))
        return false;

    // All or nothing: a blob cut short must not leave half of its values behind.
    webAppUrl = std::move(readWebAppUrl);
    apiBaseUrl = std::move(readApiBaseUrl);
    lastLoginEmail = std::move(readEmail);
    extractOptions.viewName = std::move(readViewName);
    extractOptions.includeMask = readIncludeMask;
    extractOptions.useCurrentViewSettings = readUseCurrentView;
    return true;
}

bool Settings::Load() {
    Host::Int32 version = 0;
    Host::GSSize size = 0;
    if (Host::Get().GetPreferences(&version, &size, nullptr) != Host::Error::NoError || size <= 0)
        return false;
    std::vector<char> buffer(static_cast<std::size_t>(size), 0);
    if (Host::Get().GetPreferences(&version, &size, buffer.data()) != Host::Error::NoError)
        return false;
    std::size_t const filled = std::min(buffer.size(), static_cast<std::size_t>(std::max(size, 0)));
    return Deserialize(buffer.data(), filled, version);
}

bool Settings::Save() {
    std::string const blob = Serialize();
    return Host::Get().SetPreferences(static_cast<Host::Int32>(kBlobVersion),
                                      static_cast<Host::GSSize>(blob.size()),
                                      blob.data()) == Host::Error::NoError;
}

std::string Settings::AuthToken() const {
    std::lock_guard<std::mutex> lock(tokenMutex_);
    return authToken_;
}

void Settings::SetAuthToken(std::string const& token) {
    std::lock_guard<std::mutex> lock(tokenMutex_);
    authToken_ = token;
    ++authTokenVersion_;
}

void Settings::ClearAuthToken() {
    std::lock_guard<std::mutex> lock(tokenMutex_);
    authToken_.clear();
    ++authTokenVersion_;
}

std::uint64_t Settings::AuthTokenVersion() const {
    std::lock_guard<std::mutex> lock(tokenMutex_);
    return authTokenVersion_;
}

// Plain concatenation: a base address that ends in "/" gives a double slash, by design.
std::string Settings::ModelUploadEndpoint() const {
    return apiBaseUrl + kModelUploadPath;
}

} // namespace Velmora
