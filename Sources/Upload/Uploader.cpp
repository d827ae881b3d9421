// Outcome classification and the blocking and background requests over the HTTP transport.
#include "Upload/Uploader.hpp"

#include "BackgroundWork.hpp"
#include "Logger.hpp"

#include <exception>
#include <system_error>
#include <utility>

namespace Velmora::Uploader {
namespace {

constexpr char kPayloadCapReason[] = "payload exceeds 10 MB base64 cap";
constexpr char kUnexpectedFailure[] = "Velmora: the upload stopped unexpectedly.";

struct OutcomeRow {
    UploadOutcome outcome;
    char const* name;
};

constexpr OutcomeRow kOutcomeNames[] = {
    {UploadOutcome::Ok, "Ok"},
    {UploadOutcome::Auth, "Auth"},
    {UploadOutcome::Forbidden, "Forbidden"},
    {UploadOutcome::AspectRatio, "AspectRatio"},
    {UploadOutcome::Network, "Network"},
};

UploadResult DoHttpSend(std::string const& method, std::string const& url, std::string const& token,
                        std::string const& contentType, void const* data, std::size_t len,
                        HttpProgressCallback const& onProgress) {
    UploadResult result;
    long status = 0;
    std::string error;
    if (!MacHttpSend(method, url, token, contentType, data, len, onProgress, status, result.body,
                     error)) {
        Logger::Get().Log(LogLevel::Error,
                          "Uploader: macOS transport failed: " +
                              (error.empty() ? std::string("unknown error") : error));
        result.outcome = UploadOutcome::Network;
        result.body.clear();
        return result;
    }
    result.httpStatus = status;
    result.outcome = Classify(status, result.body, true);
    return result;
}

// A request that throws (out of memory, say) still completes, as a transport failure, so that
// whoever waits for the outcome hears of it.
UploadResult PostGuarded(std::string const& url, std::string const& token, std::string const& json,
                         TokenProvider const& tokenProvider) {
    try {
        return PostBlocking(url, token, json, tokenProvider);
    } catch (std::exception const& e) {
        Logger::Get().Log(LogLevel::Error, std::string("Uploader: request failed: ") + e.what());
    } catch (...) {
        Logger::Get().Log(LogLevel::Error, "Uploader: request failed");
    }
    UploadResult failed;
    failed.outcome = UploadOutcome::Network;
    return failed;
}

} // namespace

char const* OutcomeName(UploadOutcome outcome) {
    for (OutcomeRow const& row : kOutcomeNames) {
        if (row.outcome == outcome)
            return row.name;
    }
    return "Other";
}

UploadOutcome Classify(long status, std::string const& body, bool transportOk) {
    if (!transportOk)
        return UploadOutcome::Network;
    if (status >= 200 && status <= 299)
        return UploadOutcome::Ok;
    if (status == 401)
        return UploadOutcome::Auth;
    if (status == 403)
        return UploadOutcome::Forbidden;
    if (status == 400 && body.find("aspect") != std::string::npos)
        return UploadOutcome::AspectRatio;
    return UploadOutcome::Other;
}

UploadResult PostBlocking(std::string const& url, std::string const& token, std::string const& json,
                          TokenProvider const& tokenProvider) {
    return PostRawBlocking(url, token, "application/json", json.data(), json.size(), tokenProvider);
}

UploadResult PostRawBlocking(std::string const& url, std::string const& token,
                             std::string const& contentType, void const* data, std::size_t len,
                             TokenProvider const& tokenProvider) {
    UploadResult result = DoHttpSend("POST", url, token, contentType, data, len, nullptr);
    if (result.outcome != UploadOutcome::Auth || !tokenProvider)
        return result;
    std::string const fresh = tokenProvider();
    if (fresh.empty() || fresh == token)
        return result;
    Logger::Get().Log(LogLevel::Info, "Uploader: 401 received, retrying once with refreshed token");
    return DoHttpSend("POST", url, fresh, contentType, data, len, nullptr);
}

UploadResult PutRawBlocking(std::string const& url, std::string const& contentType,
                            void const* data, std::size_t len,
                            HttpProgressCallback const& onProgress) {
    return DoHttpSend("PUT", url, std::string(), contentType, data, len, onProgress);
}

void Post(std::string const& url, std::string const& token, UploadRequest const& req,
          UploadCompletion onComplete, TokenProvider tokenProvider) {
    std::string json;
    if (!BuildPayloadJson(req, json)) {
        Logger::Get().Log(LogLevel::Error,
                          "Uploader: payload exceeds 10 MB base64 cap; aborting upload");
        UploadResult refused;
        refused.body = kPayloadCapReason;
        if (onComplete)
            onComplete(refused);
        return;
    }
    auto work = [url, token, json = std::move(json), onComplete = std::move(onComplete),
                 tokenProvider = std::move(tokenProvider)] {
        Logger::Get().Log(LogLevel::Info, "Uploader: POST extractions-upload (background)");
        UploadResult const result = PostGuarded(url, token, json, tokenProvider);
        Logger::Get().Log(LogLevel::Info,
                          "Uploader: completed, httpStatus=" + std::to_string(result.httpStatus));
        if (onComplete)
            onComplete(result);
    };
    try {
        BackgroundWork::Start("Uploader", std::move(work), kUnexpectedFailure);
    } catch (std::system_error const& error) {
        throw std::system_error(error.code(), "thread constructor failed");
    }
}

} // namespace Velmora::Uploader
