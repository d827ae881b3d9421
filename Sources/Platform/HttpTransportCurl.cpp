// The HTTP transport over libcurl, for platforms without the URL session. The body is read
// straight from the caller's buffer by a read callback, so a 200 MB model is never copied
// whole: each piece passes once through curl's upload buffer on its way to the socket.
#include "Platform/HttpTransport.hpp"

#include "BackgroundWork.hpp"

#include <curl/curl.h>

#include <cstring>
#include <memory>
#include <mutex>

namespace Velmora {
namespace {

constexpr long kRequestTimeoutSeconds = static_cast<long>(kHttpRequestTimeoutSeconds);
constexpr long kMaxRedirects = 5;
// Larger pieces than curl's 64 KiB default: fewer read callbacks and sends for a large model.
constexpr long kUploadBufferBytes = 1048576;

struct EasyDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct HeaderListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using EasyHandle = std::unique_ptr<CURL, EasyDeleter>;
using UrlHandle = std::unique_ptr<CURLU, UrlDeleter>;
using HeaderList = std::unique_ptr<curl_slist, HeaderListDeleter>;

// What the callbacks share with the request for the length of one exchange.
struct Exchange {
    unsigned char const* body = nullptr;
    std::size_t bodyLen = 0;
    std::size_t readOffset = 0;
    HttpProgressCallback const* onProgress = nullptr;
    curl_off_t reportedSent = 0;
    std::string* received = nullptr;
};

void EnsureCurlGlobalInit() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

UrlHandle ParseUrl(std::string const& url) {
    UrlHandle parsed(curl_url());
    if (!parsed || curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK)
        return nullptr;
    return parsed;
}

// Appends one header; false when curl could not allocate it.
bool AppendHeader(HeaderList& list, std::string const& line) {
    curl_slist* const grown = curl_slist_append(list.get(), line.c_str());
    if (grown == nullptr)
        return false;
    list.release(); // on success the old head is part of the grown list
    list.reset(grown);
    return true;
}

// Ours in order, then empty values that stop curl from adding its own Accept and Expect.
HeaderList BuildHeaders(std::string const& bearerToken, std::string const& contentType) {
    HeaderList list;
    bool ok = AppendHeader(list, "Content-Type: " + contentType);
    if (ok && !bearerToken.empty())
        ok = AppendHeader(list, "Authorization: Bearer " + bearerToken);
    ok = ok && AppendHeader(list, std::string("User-Agent: ") + kHttpUserAgent) &&
         AppendHeader(list, "Accept:") && AppendHeader(list, "Expect:");
    return ok ? std::move(list) : nullptr;
}

std::size_t ReadBody(char* buffer, std::size_t size, std::size_t count, void* user) {
    Exchange& exchange = *static_cast<Exchange*>(user);
    std::size_t const chunk = std::min(size * count, exchange.bodyLen - exchange.readOffset);
    if (chunk > 0)
        std::memcpy(buffer, exchange.body + exchange.readOffset, chunk);
    exchange.readOffset += chunk;
    return chunk;
}

// A redirect sends the body again from its start.
int SeekBody(void* user, curl_off_t offset, int origin) {
    Exchange& exchange = *static_cast<Exchange*>(user);
    if (origin != SEEK_SET || offset < 0 || static_cast<std::uint64_t>(offset) > exchange.bodyLen)
        return CURL_SEEKFUNC_CANTSEEK;
    exchange.readOffset = static_cast<std::size_t>(offset);
    return CURL_SEEKFUNC_OK;
}

std::size_t ReceiveBody(char* data, std::size_t size, std::size_t count, void* user) {
    Exchange& exchange = *static_cast<Exchange*>(user);
    exchange.received->append(data, size * count);
    return size * count;
}

// Reports only growth, so the caller sees a rising count even across a redirect's resend.
// curl also calls it about once a second while idle: a thread told to stop abandons the
// exchange there.
int ReportProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t uploadNow) {
    if (BackgroundWork::StopRequested())
        return 1;
    Exchange& exchange = *static_cast<Exchange*>(user);
    if (uploadNow > exchange.reportedSent && *exchange.onProgress) {
        exchange.reportedSent = uploadNow;
        (*exchange.onProgress)(static_cast<std::uint64_t>(uploadNow), exchange.bodyLen);
    }
    return 0;
}

void SetMethodAndBody(CURL* easy, std::string const& method, Exchange& exchange) {
    auto const length = static_cast<curl_off_t>(exchange.bodyLen);
    if (method == "PUT") {
        curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE, length);
    } else {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, length);
        if (method != "POST")
            curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, method.c_str());
    }
    curl_easy_setopt(easy, CURLOPT_READFUNCTION, ReadBody);
    curl_easy_setopt(easy, CURLOPT_READDATA, &exchange);
    curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, kUploadBufferBytes);
    curl_easy_setopt(easy, CURLOPT_SEEKFUNCTION, SeekBody);
    curl_easy_setopt(easy, CURLOPT_SEEKDATA, &exchange);
}

void SetTimeouts(CURL* easy, std::size_t bodyLen) {
    // The request timeout is an idle limit, as the URL session's is: connecting, or a minute
    // in which not one byte moves, ends the exchange.
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, kRequestTimeoutSeconds);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, kRequestTimeoutSeconds);
    auto const totalMs = static_cast<long>(HttpResourceTimeoutSeconds(bodyLen) * 1000.0);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, totalMs);
}

void SetTransferOptions(CURL* easy, CURLU* url, curl_slist* headers, Exchange& exchange,
                        char* errorBuffer) {
    curl_easy_setopt(easy, CURLOPT_CURLU, url);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, kMaxRedirects);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L); // we run on worker threads
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorBuffer);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, ReceiveBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &exchange);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, ReportProgress);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, &exchange);
}

std::string FormatCurlError(CURLcode code, char const* detail) {
    char const* const description = detail[0] != '\0' ? detail : curl_easy_strerror(code);
    return "CURLE " + std::to_string(static_cast<long>(code)) + " (" + description + ")";
}

} // namespace

bool MacHttpSend(std::string const& method, std::string const& url, std::string const& bearerToken,
                 std::string const& contentType, void const* body, std::size_t bodyLen,
                 HttpProgressCallback const& onProgress, long& outStatus, std::string& outBody,
                 std::string& outErr) {
    outStatus = 0;
    outBody.clear();
    outErr.clear();
    EnsureCurlGlobalInit();
    UrlHandle const parsed = ParseUrl(url);
    if (!parsed) {
        outErr = kHttpUrlUnparseable;
        return false;
    }
    EasyHandle const easy(curl_easy_init());
    HeaderList const headers = BuildHeaders(bearerToken, contentType);
    if (!easy || !headers) {
        outErr = FormatCurlError(CURLE_OUT_OF_MEMORY, "");
        return false;
    }
    Exchange exchange;
    exchange.body = static_cast<unsigned char const*>(body);
    exchange.bodyLen = body != nullptr ? bodyLen : 0;
    exchange.onProgress = &onProgress;
    exchange.received = &outBody;
    char errorBuffer[CURL_ERROR_SIZE] = {};
    SetTransferOptions(easy.get(), parsed.get(), headers.get(), exchange, errorBuffer);
    SetMethodAndBody(easy.get(), method, exchange);
    SetTimeouts(easy.get(), exchange.bodyLen);
    CURLcode const code = curl_easy_perform(easy.get());
    if (code != CURLE_OK) {
        outBody.clear();
        outErr = FormatCurlError(code, errorBuffer);
        return false;
    }
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &outStatus);
    return true;
}

} // namespace Velmora
