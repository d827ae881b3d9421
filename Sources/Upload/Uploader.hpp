// Sends one extracted view (a JPEG and an optional PNG mask) to the extraction endpoint as one
// JSON document with base64 data URLs, and offers the blocking POST and PUT helpers, with a
// single retry on 401 using a freshly pulled token, that the model upload reuses.
#pragma once

#include "Platform/HttpTransport.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Velmora {

struct UploadRequest {
    std::vector<unsigned char> imageBytes; // encoded viewport image
    std::string imageMime;                 // "image/jpeg" for the extract
    bool maskPresent = false;
    std::vector<unsigned char> maskBytes; // encoded mask image
    std::string maskMime;                 // "image/png"
    std::string viewName;                 // UTF-8; empty is sent as "Unnamed View"
    std::string displayStyle;
    bool useCurrentViewSettings = false;
    std::string pluginVersion;
};

enum class UploadOutcome : std::int32_t {
    Ok = 0,          // status 200..299
    Auth = 1,        // status 401
    Forbidden = 2,   // status 403
    AspectRatio = 3, // status 400 and the body contains "aspect"
    Network = 4,     // the transport failed: no response
    Other = 5,       // anything else
};

struct UploadResult {
    UploadOutcome outcome = UploadOutcome::Other;
    std::int64_t httpStatus = 0; // 0 when no response arrived
    std::string body;            // the response body, or why a payload was refused
};

using TokenProvider = std::function<std::string()>;
using UploadCompletion = std::function<void(UploadResult const&)>;

namespace Uploader {

// Longest base64 text accepted for one image (10 MB).
constexpr std::size_t kMaxBase64Chars = 10485760;

// The name used in logs; any value outside the table is "Other".
char const* OutcomeName(UploadOutcome outcome);

// RFC 4648 standard alphabet with "=" padding, no line breaks.
std::string Base64Encode(unsigned char const* data, std::size_t n);

// The current UTC time as "YYYY-MM-DDThh:mm:ss.0000000Z".
std::string TimestampIso8601O();

// Quote, backslash and the named controls as two-character escapes, other bytes below 0x20
// as \u00xx (lower-case hex), everything else (UTF-8 included) unchanged.
std::string JsonEscape(std::string const& text);

// The extraction document. False, with `out` empty, only when an image's base64 text is
// longer than kMaxBase64Chars.
bool BuildPayloadJson(UploadRequest const& req, std::string& out);

// Transport first, then the status (and for 400 whether the body mentions "aspect").
UploadOutcome Classify(long status, std::string const& body, bool transportOk);

// Blocking POSTs. On 401, a provider that yields a non-empty token other than `token` gets
// one more try with it, and that answer stands; there is never a second retry.
UploadResult PostBlocking(std::string const& url, std::string const& token, std::string const& json,
                          TokenProvider const& tokenProvider);
UploadResult PostRawBlocking(std::string const& url, std::string const& token,
                             std::string const& contentType, void const* data, std::size_t len,
                             TokenProvider const& tokenProvider);

// Blocking PUT without a token; onProgress gets (bytes sent, len).
UploadResult PutRawBlocking(std::string const& url, std::string const& contentType,
                            void const* data, std::size_t len,
                            HttpProgressCallback const& onProgress);

// Builds the payload and posts it on a detached worker; returns at once. onComplete (and the
// provider) run on that worker. A refused payload completes at once on the calling thread
// with Other, status 0 and the reason as body. Throws std::system_error("thread constructor
// failed") when no thread can be started.
void Post(std::string const& url, std::string const& token, UploadRequest const& req,
          UploadCompletion onComplete, TokenProvider tokenProvider);

} // namespace Uploader
} // namespace Velmora
