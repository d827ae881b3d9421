#include "DevServer/Validators.hpp"

#include <array>
#include <cstring>
#include <initializer_list>
#include <set>

namespace Velmora::DevServer {
namespace {

using nlohmann::json;

constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char kPngSignature[8] = {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A};
constexpr std::uint32_t kGlbMagic = 0x46546C67;      // "glTF"
constexpr std::uint32_t kJsonChunkType = 0x4E4F534A; // "JSON"
constexpr std::uint32_t kBinChunkType = 0x004E4942;  // "BIN\0"
constexpr std::size_t kGlbHeaderBytes = 12;
constexpr std::size_t kChunkHeaderBytes = 8;

std::array<int, 256> MakeBase64Values() {
    std::array<int, 256> values{};
    values.fill(-1);
    for (int i = 0; i < 64; ++i)
        values[static_cast<unsigned char>(kBase64Alphabet[i])] = i;
    return values;
}

std::uint32_t ReadU32LE(unsigned char const* p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

std::string KeySetError(json const& object, std::initializer_list<char const*> keys,
                        std::string const& where) {
    std::set<std::string> const expected(keys.begin(), keys.end());
    for (auto const& item : object.items()) {
        if (expected.count(item.key()) == 0)
            return "unexpected key '" + item.key() + "' in " + where;
    }
    for (std::string const& key : expected) {
        if (!object.contains(key))
            return "missing key '" + key + "' in " + where;
    }
    return {};
}

bool IsNonEmptyString(json const& value) {
    return value.is_string() && !value.get_ref<std::string const&>().empty();
}

// "data:<mime>;base64,<text>" decoded into bytes.
std::string DecodeDataUrl(json const& value, char const* mime, char const* name,
                          std::string& bytes) {
    if (!value.is_string())
        return std::string(name) + " must be a string data URL";
    std::string const& text = value.get_ref<std::string const&>();
    std::string const prefix = std::string("data:") + mime + ";base64,";
    if (text.rfind(prefix, 0) != 0)
        return std::string(name) + " must begin with '" + prefix + "'";
    if (text.size() - prefix.size() > kMaxBase64Chars)
        return std::string(name) + " base64 text exceeds 10485760 characters";
    if (!DecodeBase64Strict(text.substr(prefix.size()), bytes))
        return std::string(name) + " is not strict base64";
    return {};
}

std::string CheckJpeg(std::string const& bytes) {
    auto const* p = reinterpret_cast<unsigned char const*>(bytes.data());
    std::size_t const n = bytes.size();
    if (n < 5 || p[0] != 0xFF || p[1] != 0xD8 || p[2] != 0xFF)
        return "viewport is not a JPEG (no FF D8 FF start)";
    if (p[n - 2] != 0xFF || p[n - 1] != 0xD9)
        return "viewport JPEG does not end with FF D9";
    return {};
}

std::string CheckMetadata(json const& metadata, bool maskPresent) {
    if (!metadata.is_object())
        return "metadata must be an object";
    std::string error = KeySetError(metadata,
                                    {"viewName", "displayStyle", "useCurrentViewSettings",
                                     "hasMask", "pluginVersion", "timestamp"},
                                    "metadata");
    if (!error.empty())
        return error;
    if (!IsNonEmptyString(metadata["viewName"]))
        return "metadata.viewName must be a non-empty string";
    if (!metadata["displayStyle"].is_string())
        return "metadata.displayStyle must be a string";
    if (!metadata["useCurrentViewSettings"].is_boolean())
        return "metadata.useCurrentViewSettings must be a boolean";
    if (!metadata["hasMask"].is_boolean())
        return "metadata.hasMask must be a boolean";
    if (!IsNonEmptyString(metadata["pluginVersion"]))
        return "metadata.pluginVersion must be a non-empty string";
    json const& timestamp = metadata["timestamp"];
    if (!timestamp.is_string() || !IsRoundTripTimestamp(timestamp.get<std::string>()))
        return "metadata.timestamp must look like 2026-01-31T12:00:00.0000000Z";
    if (metadata["hasMask"].get<bool>() != maskPresent)
        return "metadata.hasMask disagrees with mask";
    return {};
}

std::string CheckVector3(json const& value, char const* name) {
    if (!value.is_object())
        return std::string(name) + " must be an object";
    std::string const error = KeySetError(value, {"x", "y", "z"}, name);
    if (!error.empty())
        return error;
    for (char const* axis : {"x", "y", "z"}) {
        if (!value[axis].is_number())
            return std::string(name) + "." + axis + " must be a number";
    }
    return {};
}

std::string CheckGlbJsonChunk(unsigned char const* data, std::size_t size) {
    std::uint32_t const length = ReadU32LE(data + kGlbHeaderBytes);
    if (ReadU32LE(data + kGlbHeaderBytes + 4) != kJsonChunkType)
        return "glb first chunk is not JSON";
    if (length % 4 != 0)
        return "glb JSON chunk length is not a multiple of 4";
    if (length > size - kGlbHeaderBytes - kChunkHeaderBytes)
        return "glb JSON chunk length runs past the end";
    auto const* begin = data + kGlbHeaderBytes + kChunkHeaderBytes;
    json const document = json::parse(begin, begin + length, nullptr, false);
    if (document.is_discarded() || !document.is_object())
        return "glb JSON chunk does not parse as an object";
    bool const hasVersion = document.contains("asset") && document["asset"].is_object() &&
                            document["asset"].contains("version") &&
                            document["asset"]["version"] == "2.0";
    if (!hasVersion)
        return "glb JSON chunk lacks asset.version \"2.0\"";
    return {};
}

std::string CheckGlbBinChunk(unsigned char const* data, std::size_t size) {
    std::size_t const start =
        kGlbHeaderBytes + kChunkHeaderBytes + ReadU32LE(data + kGlbHeaderBytes);
    if (size - start < kChunkHeaderBytes)
        return "glb has no BIN chunk";
    std::uint32_t const length = ReadU32LE(data + start);
    if (ReadU32LE(data + start + 4) != kBinChunkType)
        return "glb second chunk is not BIN";
    if (length > size - start - kChunkHeaderBytes)
        return "glb BIN chunk length runs past the end";
    if (start + kChunkHeaderBytes + length != size)
        return "glb has bytes after the BIN chunk";
    return {};
}

} // namespace

bool DecodeBase64Strict(std::string const& text, std::string& bytes) {
    static std::array<int, 256> const values = MakeBase64Values();
    bytes.clear();
    if (text.size() % 4 != 0)
        return false;
    std::size_t padding = 0;
    while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=')
        ++padding;
    std::size_t const digits = text.size() - padding;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t buffer = 0;
    int bits = 0;
    for (std::size_t i = 0; i < digits; ++i) {
        int const value = values[static_cast<unsigned char>(text[i])];
        if (value < 0)
            return false;
        buffer = (buffer << 6 | static_cast<std::uint32_t>(value)) & 0xFFFFFF;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<char>(buffer >> bits & 0xFF));
        }
    }
    // One or two spare bits of padding must be zero, or the text has more than one spelling.
    return digits % 4 != 1 && (buffer & ((1u << bits) - 1)) == 0;
}

bool IsRoundTripTimestamp(std::string const& text) {
    static char const pattern[] = "dddd-dd-ddTdd:dd:dd.0000000Z";
    if (text.size() != sizeof(pattern) - 1)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        bool const digit = text[i] >= '0' && text[i] <= '9';
        if (pattern[i] == 'd' ? !digit : text[i] != pattern[i])
            return false;
    }
    auto field = [&](std::size_t at, std::size_t n) { return std::stoi(text.substr(at, n)); };
    return field(5, 2) >= 1 && field(5, 2) <= 12 && field(8, 2) >= 1 && field(8, 2) <= 31 &&
           field(11, 2) <= 23 && field(14, 2) <= 59 && field(17, 2) <= 60;
}

bool IsJsonContentType(std::string const& contentType) {
    std::string const type = contentType.substr(0, contentType.find(';'));
    return type == "application/json";
}

std::string ValidateExtraction(std::string const& body, ExtractionUpload& upload) {
    json const document = json::parse(body, nullptr, false);
    if (document.is_discarded())
        return "body is not valid JSON";
    if (!document.is_object())
        return "body must be a JSON object";
    std::string error = KeySetError(document, {"viewport", "mask", "source", "metadata"}, "body");
    if (!error.empty())
        return error;
    if (document["source"] != "ArchiCAD")
        return "source must be \"ArchiCAD\"";
    error = DecodeDataUrl(document["viewport"], "image/jpeg", "viewport", upload.jpeg);
    if (error.empty())
        error = CheckJpeg(upload.jpeg);
    if (!error.empty())
        return error;
    json const& mask = document["mask"];
    upload.hasMask = !mask.is_null();
    if (upload.hasMask) {
        error = DecodeDataUrl(mask, "image/png", "mask", upload.png);
        if (error.empty() && (upload.png.size() < sizeof(kPngSignature) ||
                              std::memcmp(upload.png.data(), kPngSignature, 8) != 0))
            error = "mask is not a PNG (bad signature)";
        if (!error.empty())
            return error;
    }
    upload.metadata = document["metadata"];
    return CheckMetadata(upload.metadata, upload.hasMask);
}

std::string ValidateModelBegin(json const& request) {
    std::string error = KeySetError(request,
                                    {"phase", "source", "file_name", "triangle_count", "bbox_m",
                                     "original_offset_m", "project_name", "view_name",
                                     "plugin_version", "app_version"},
                                    "begin request");
    if (!error.empty())
        return error;
    if (request["source"] != "archicad")
        return "source must be \"archicad\"";
    json const& fileName = request["file_name"];
    if (!fileName.is_string() || fileName.get<std::string>().size() <= 4 ||
        fileName.get<std::string>().compare(fileName.get<std::string>().size() - 4, 4, ".glb") != 0)
        return "file_name must be a string ending in \".glb\"";
    json const& triangles = request["triangle_count"];
    if (!triangles.is_number_integer() || triangles.get<long long>() < 1)
        return "triangle_count must be an integer of at least 1";
    for (char const* name : {"bbox_m", "original_offset_m"}) {
        error = CheckVector3(request[name], name);
        if (!error.empty())
            return error;
    }
    for (char const* name : {"project_name", "view_name"}) {
        if (!request[name].is_string() && !request[name].is_null())
            return std::string(name) + " must be a string or null";
    }
    for (char const* name : {"plugin_version", "app_version"}) {
        if (!request[name].is_string())
            return std::string(name) + " must be a string";
    }
    return {};
}

std::string ValidateModelConfirm(json const& request) {
    std::string const error = KeySetError(request, {"phase", "model_id"}, "confirm request");
    if (!error.empty())
        return error;
    if (!IsNonEmptyString(request["model_id"]))
        return "model_id must be a non-empty string";
    return {};
}

std::string ValidateGlb(unsigned char const* data, std::size_t size) {
    if (size > kMaxGlbBytes)
        return "glb exceeds 200 MB";
    if (size < kGlbHeaderBytes + kChunkHeaderBytes)
        return "glb is shorter than its header";
    if (ReadU32LE(data) != kGlbMagic)
        return "glb magic is not 'glTF'";
    if (ReadU32LE(data + 4) != 2)
        return "glb version is not 2";
    if (ReadU32LE(data + 8) != size)
        return "glb length field differs from the body length";
    std::string const error = CheckGlbJsonChunk(data, size);
    return error.empty() ? CheckGlbBinChunk(data, size) : error;
}

} // namespace Velmora::DevServer
