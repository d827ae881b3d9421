// One blocking HTTP request with upload progress, over the platform's networking: the URL
// session on macOS (HttpTransportMac.mm), libcurl elsewhere (HttpTransportCurl.cpp). The
// transport knows nothing of payloads; callers build bodies and interpret statuses.
//
// Both implementations send the same request:
//   - the headers, in this order: "Content-Type: <type>", "Authorization: Bearer <token>"
//     (only when the token is non-empty), "User-Agent: VelmoraAI-Archicad/0.1"; besides them
//     only what HTTP itself needs (Host, Content-Length);
//   - the body straight from the caller's memory, never copied whole;
//   - a 60-second request (idle) timeout and a resource timeout of 120 s + 1 s per 64 KiB of
//     body, at most 1800 s, for the whole exchange;
//   - certificate verification always on.
//
// Result rules: any HTTP status, 4xx and 5xx included, is a response (true). A transport
// failure gives false and an error text "<domain> <code> (<description>)": on macOS the
// NSError's domain, code and localized description; with libcurl the domain "CURLE", the
// CURLcode and curl's own description of the failure, e.g.
// "CURLE 7 (Failed to connect to 127.0.0.1 port 9 after 0 ms: Couldn't connect to server)".
// A URL that cannot be parsed gives false and exactly kHttpUrlUnparseable; no request is made.
// A request made on one of the add-on's background threads is abandoned within about a second
// once that thread is told to stop (BackgroundWork, at unload): false, as a transport failure.
//
// Every call blocks its thread until the exchange has finished; call it from a worker. The
// progress callback runs on a transport thread (libcurl: the calling thread) and gets
// (bytes sent so far, body length as given), rising, never above the body length.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace Velmora {

using HttpProgressCallback = std::function<void(std::uint64_t sent, std::uint64_t total)>;

constexpr char kHttpUserAgent[] = "VelmoraAI-Archicad/0.1";
constexpr char kHttpUrlUnparseable[] = "endpoint URL could not be parsed";
constexpr double kHttpRequestTimeoutSeconds = 60.0;

// 120 s plus the time to send the body at 64 KiB/s, capped at 30 minutes.
inline double HttpResourceTimeoutSeconds(std::size_t bodyLen) {
    double const seconds = 120.0 + static_cast<double>(bodyLen) / 65536.0;
    return std::min(seconds, 1800.0);
}

// Sends one request and waits for its answer. The out-parameters are reset first (status 0,
// body and error empty). True when a response arrived, whatever its status; then outStatus
// and outBody (binary-safe, possibly empty) hold it. False when the transport failed;
// outErr says why. The name is the same on every platform.
bool MacHttpSend(std::string const& method, std::string const& url, std::string const& bearerToken,
                 std::string const& contentType, void const* body, std::size_t bodyLen,
                 HttpProgressCallback const& onProgress, long& outStatus, std::string& outBody,
                 std::string& outErr);

// MacHttpSend with method "POST" and no progress callback.
bool MacHttpPostBody(std::string const& url, std::string const& bearerToken,
                     std::string const& contentType, void const* body, std::size_t bodyLen,
                     long& outStatus, std::string& outBody, std::string& outErr);

// MacHttpPostBody with content type "application/json" and the JSON text's bytes.
bool MacHttpPostJson(std::string const& url, std::string const& bearerToken,
                     std::string const& json, long& outStatus, std::string& outBody,
                     std::string& outErr);

} // namespace Velmora
