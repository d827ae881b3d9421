// The request bodies and small readers of the three-phase model upload (begin, PUT, confirm):
// pure functions, so every byte the service sees can be checked without a network.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace Velmora {

struct ModelUploadVector {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

// The begin request's content, in body order.
struct ModelUploadMetadata {
    std::string source = "archicad";
    std::string fileName;
    std::uint64_t triangleCount = 0;
    ModelUploadVector bbox;           // extent in metres, output axes (x, y up, z)
    ModelUploadVector originalOffset; // metres, host axes
    std::string projectName;          // empty is sent as null
    std::string viewName;             // empty is sent as null
    std::string pluginVersion = "0.2.0";
    std::string appVersion;
};

std::string BuildBeginJson(ModelUploadMetadata const& metadata);
std::string BuildConfirmJson(std::string const& modelId);

// "%.6f" without trailing zeros or point; NaN, infinities and negative zero give "0".
std::string FormatMeters(double value);

// null for an empty text, else the escaped text in quotes.
std::string JsonStringOrNull(std::string const& text);

// The string value of the first "key" in a JSON text; empty when absent or malformed. Not a
// parser: \b \f \n \r \t are decoded, any other escaped character stands for itself (a \u
// escape gives the letter u and its four digits).
std::string ExtractJsonStringField(std::string const& json, std::string const& key);

// What the user is told about a failed response: a fixed apology for 5xx, a JSON body's
// "message", nothing for an HTML page, else the text cut to 300 bytes.
std::string ServerFailureDetail(long status, std::string const& body);

// The PUT moves the progress bar from 30 to 90.
int ModelUploadPercent(std::uint64_t sent, std::uint64_t total);

// Lets progress through only when it rises and the last event is old enough.
class UploadProgressThrottle {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr int kStartPercent = 30;
    static constexpr std::chrono::nanoseconds kMinInterval{250000000};

    UploadProgressThrottle(int lastPercent, Clock::time_point lastSend,
                           std::chrono::nanoseconds minInterval);

    bool ShouldSend(int percent, Clock::time_point now);

private:
    int lastPercent_;
    Clock::time_point lastSend_;
    std::chrono::nanoseconds minInterval_;
};

} // namespace Velmora
