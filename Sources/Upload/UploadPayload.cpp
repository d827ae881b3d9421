// The extraction document: the viewport and the mask as base64 data URLs, then the view's
// metadata, with no white space between tokens.
#include "Upload/Uploader.hpp"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace Velmora::Uploader {
namespace {

constexpr char kUnnamedView[] = "Unnamed View";

// The base64 text of one image, or false when it is over the cap.
bool EncodeCapped(std::vector<unsigned char> const& bytes, std::string& text) {
    text = Base64Encode(bytes.data(), bytes.size());
    return text.size() <= kMaxBase64Chars;
}

char const* JsonBool(bool value) {
    return value ? "true" : "false";
}

void AppendMetadata(UploadRequest const& req, bool hasMask, std::string& out) {
    std::string const viewName = req.viewName.empty() ? std::string(kUnnamedView) : req.viewName;
    out += "\"viewName\":\"" + JsonEscape(viewName) + "\",";
    out += "\"displayStyle\":\"" + JsonEscape(req.displayStyle) + "\",";
    out += std::string("\"useCurrentViewSettings\":") + JsonBool(req.useCurrentViewSettings) + ",";
    out += std::string("\"hasMask\":") + JsonBool(hasMask) + ",";
    out += "\"pluginVersion\":\"" + JsonEscape(req.pluginVersion) + "\",";
    out += "\"timestamp\":\"" + TimestampIso8601O() + "\"";
}

} // namespace

std::string TimestampIso8601O() {
    std::time_t const now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm utc{};
    gmtime_r(&now, &utc);
    char buffer[40];
    int const written = std::snprintf(
        buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02d.0000000Z", utc.tm_year + 1900,
        utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
    return written > 0 ? std::string(buffer) : std::string();
}

bool BuildPayloadJson(UploadRequest const& req, std::string& out) {
    out.clear();
    std::string image;
    if (!EncodeCapped(req.imageBytes, image))
        return false;
    std::string mask;
    bool const hasMask = req.maskPresent && !req.maskBytes.empty();
    if (hasMask && !EncodeCapped(req.maskBytes, mask))
        return false;
    out.reserve(image.size() + mask.size() + 512);
    out += "{\"viewport\":\"data:" + req.imageMime + ";base64,";
    out += image;
    out += "\",";
    out += "\"mask\":";
    if (hasMask) {
        out += "\"data:" + req.maskMime + ";base64,";
        out += mask;
        out += "\"";
    } else {
        out += "null";
    }
    out += ",\"source\":\"ArchiCAD\",\"metadata\":{";
    AppendMetadata(req, hasMask, out);
    out += "}}";
    return true;
}

} // namespace Velmora::Uploader
