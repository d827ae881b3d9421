// The model upload's request bodies, response readers and progress arithmetic.
#include "Export/ModelUploadProtocol.hpp"

#include "Upload/Uploader.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace Velmora {
namespace {

constexpr char kServerSideFailure[] = "Something went wrong on our side. Try again in a moment.";
constexpr std::size_t kMaxDetailBytes = 300;
constexpr char kWhiteSpace[] = " \t\r\n";
constexpr int kPutStartPercent = 30;
constexpr std::uint64_t kPutPercentSpan = 60;

std::string QuotedEscaped(std::string const& text) {
    return "\"" + Uploader::JsonEscape(text) + "\"";
}

std::string MetersObject(ModelUploadVector const& v) {
    return "{\"x\":" + FormatMeters(v.x) + ",\"y\":" + FormatMeters(v.y) +
           ",\"z\":" + FormatMeters(v.z) + "}";
}

char DecodeEscape(char escaped) {
    switch (escaped) {
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return escaped;
    }
}

// floor(part * span / whole) for part < whole, without overflowing 64 bits: counts how often a
// running sum of `part`, kept below `whole`, wraps.
std::uint64_t ScaledFloor(std::uint64_t part, std::uint64_t whole, std::uint64_t span) {
    if (part <= std::numeric_limits<std::uint64_t>::max() / span)
        return part * span / whole;
    std::uint64_t wraps = 0;
    std::uint64_t sum = 0;
    for (std::uint64_t i = 0; i < span; ++i) {
        if (sum >= whole - part) {
            sum -= whole - part;
            ++wraps;
        } else {
            sum += part;
        }
    }
    return wraps;
}

} // namespace

std::string BuildBeginJson(ModelUploadMetadata const& metadata) {
    return "{\"phase\":\"begin\",\"source\":" + QuotedEscaped(metadata.source) +
           ",\"file_name\":" + QuotedEscaped(metadata.fileName) +
           ",\"triangle_count\":" + std::to_string(metadata.triangleCount) +
           ",\"bbox_m\":" + MetersObject(metadata.bbox) +
           ",\"original_offset_m\":" + MetersObject(metadata.originalOffset) +
           ",\"project_name\":" + JsonStringOrNull(metadata.projectName) +
           ",\"view_name\":" + JsonStringOrNull(metadata.viewName) +
           ",\"plugin_version\":" + QuotedEscaped(metadata.pluginVersion) +
           ",\"app_version\":" + QuotedEscaped(metadata.appVersion) + "}";
}

std::string BuildConfirmJson(std::string const& modelId) {
    return "{\"phase\":\"confirm\",\"model_id\":" + QuotedEscaped(modelId) + "}";
}

std::string FormatMeters(double value) {
    if (!std::isfinite(value))
        return "0";
    char buffer[400]; // the longest double in %.6f is 317 characters
    std::snprintf(buffer, sizeof buffer, "%.6f", value);
    std::string text(buffer);
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (!text.empty() && text.back() == '.')
            text.pop_back();
    }
    if (text.empty() || text == "-" || text == "-0")
        return "0";
    return text;
}

std::string JsonStringOrNull(std::string const& text) {
    return text.empty() ? std::string("null") : QuotedEscaped(text);
}

std::string ExtractJsonStringField(std::string const& json, std::string const& key) {
    std::size_t const keyAt = json.find("\"" + key + "\"");
    if (keyAt == std::string::npos)
        return std::string();
    std::size_t at = json.find_first_not_of(kWhiteSpace, keyAt + key.size() + 2);
    if (at == std::string::npos || json[at] != ':')
        return std::string();
    at = json.find_first_not_of(kWhiteSpace, at + 1);
    if (at == std::string::npos || json[at] != '"')
        return std::string();
    std::string value;
    for (++at; at < json.size(); ++at) {
        char const c = json[at];
        if (c == '"')
            return value;
        if (c == '\\') {
            if (++at == json.size())
                break;
            value += DecodeEscape(json[at]);
        } else {
            value += c;
        }
    }
    return std::string(); // the text ended inside the string
}

std::string ServerFailureDetail(long status, std::string const& body) {
    if (status >= 500)
        return kServerSideFailure;
    std::size_t const start = body.find_first_not_of(kWhiteSpace);
    if (start == std::string::npos)
        return std::string();
    if (body[start] == '{')
        return ExtractJsonStringField(body.substr(start), "message");
    if (body[start] == '<')
        return std::string();
    std::string detail = body.substr(start);
    if (detail.size() > kMaxDetailBytes) {
        detail.resize(kMaxDetailBytes);
        detail += "...";
    }
    return detail;
}

int ModelUploadPercent(std::uint64_t sent, std::uint64_t total) {
    if (total == 0)
        return kPutStartPercent;
    std::uint64_t const part = std::min(sent, total);
    std::uint64_t const scaled =
        part == total ? kPutPercentSpan : ScaledFloor(part, total, kPutPercentSpan);
    return kPutStartPercent + static_cast<int>(scaled);
}

UploadProgressThrottle::UploadProgressThrottle(int lastPercent, Clock::time_point lastSend,
                                               std::chrono::nanoseconds minInterval)
    : lastPercent_(lastPercent), lastSend_(lastSend), minInterval_(minInterval) {}

bool UploadProgressThrottle::ShouldSend(int percent, Clock::time_point now) {
    if (percent <= lastPercent_)
        return false;
    if (now - lastSend_ < minInterval_)
        return false;
    lastPercent_ = percent;
    lastSend_ = now;
    return true;
}

} // namespace Velmora
