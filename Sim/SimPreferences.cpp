#include "Sim/SimPreferences.hpp"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace Velmora::Sim {

namespace {
// File layout: the version as 4 little-endian bytes, then the blob.
constexpr std::size_t kVersionBytes = 4;
} // namespace

SimPreferences::SimPreferences(std::string path) : path_(std::move(path)) {}

Host::GSErrCode SimPreferences::Get(Host::Int32* version, Host::GSSize* nByte, void* data) const {
    if (version == nullptr || nByte == nullptr)
        return Host::Error::BadPars;
    std::ifstream in(path_, std::ios::binary);
    std::vector<unsigned char> file((std::istreambuf_iterator<char>(in)),
                                    std::istreambuf_iterator<char>());
    if (file.size() < kVersionBytes) { // nothing stored yet
        *version = 0;
        *nByte = 0;
        return Host::Error::NoError;
    }
    std::uint32_t stored = 0;
    for (std::size_t i = 0; i < kVersionBytes; ++i)
        stored |= std::uint32_t(file[i]) << (8 * i);
    auto const blobSize = static_cast<Host::GSSize>(file.size() - kVersionBytes);
    if (data != nullptr)
        std::memcpy(data, file.data() + kVersionBytes,
                    static_cast<std::size_t>(std::min(blobSize, std::max(*nByte, 0))));
    *version = static_cast<Host::Int32>(stored);
    *nByte = blobSize;
    return Host::Error::NoError;
}

Host::GSErrCode SimPreferences::Set(Host::Int32 version, Host::GSSize nByte, const void* data) {
    if (nByte < 0 || (nByte > 0 && data == nullptr))
        return Host::Error::BadPars;
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path_).parent_path(), ignored);
    std::ofstream out(path_, std::ios::binary | std::ios::trunc);
    auto const stored = static_cast<std::uint32_t>(version);
    for (std::size_t i = 0; i < kVersionBytes; ++i)
        out.put(static_cast<char>((stored >> (8 * i)) & 0xFF));
    out.write(static_cast<char const*>(data), nByte);
    return out.good() ? Host::Error::NoError : Host::Error::General;
}

} // namespace Velmora::Sim
