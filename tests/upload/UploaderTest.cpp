// The blocking and background requests against a loopback service: the single 401 retry,
// the PUT, transport failures, and the completion of a background post.
#include "LoopbackServers.hpp"

#include "Logger.hpp"
#include "Upload/Uploader.hpp"
#include "support/TempHome.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <future>
#include <memory>
#include <mutex>
#include <optional>

namespace Velmora::Testing {
namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;

// Answers 401 unless the request carries "Bearer fresh", and records every Authorization.
class AuthService {
public:
    AuthService() {
        server_.Http().Post(
            "/extractions-upload", [this](httplib::Request const& req, httplib::Response& res) {
                std::string const auth = req.get_header_value("Authorization");
                std::lock_guard<std::mutex> lock(mutex_);
                auths_.push_back(auth);
                bodies_.push_back(req.body);
                res.status = auth == "Bearer fresh" ? 200 : 401;
                res.set_content(res.status == 200 ? "{\"ok\":true}" : "denied", "application/json");
            });
        server_.Start();
    }

    std::string Url() const { return server_.Url("/extractions-upload"); }
    std::vector<std::string> Auths() {
        std::lock_guard<std::mutex> lock(mutex_);
        return auths_;
    }
    std::vector<std::string> Bodies() {
        std::lock_guard<std::mutex> lock(mutex_);
        return bodies_;
    }

private:
    LoopbackServer server_;
    std::mutex mutex_;
    std::vector<std::string> auths_;
    std::vector<std::string> bodies_;
};

// Catches a retry with the same or an empty token, a second retry, a retry without a
// provider, and the first answer returned after a successful retry.
TEST(UploaderRetry, A401IsRetriedOnceWithAFreshDifferentToken) {
    struct Case {
        char const* what;
        std::optional<std::string> fresh; // no value: no provider
        std::vector<std::string> auths;
        UploadOutcome outcome;
        long status;
    };
    Case const cases[] = {
        {"fresh token", "fresh", {"Bearer stale", "Bearer fresh"}, UploadOutcome::Ok, 200},
        {"same token", "stale", {"Bearer stale"}, UploadOutcome::Auth, 401},
        {"empty token", "", {"Bearer stale"}, UploadOutcome::Auth, 401},
        {"no provider", std::nullopt, {"Bearer stale"}, UploadOutcome::Auth, 401},
        {"still refused", "other", {"Bearer stale", "Bearer other"}, UploadOutcome::Auth, 401},
    };
    for (Case const& c : cases) {
        AuthService service;
        int calls = 0;
        TokenProvider provider;
        if (c.fresh)
            provider = [&] {
                ++calls;
                return *c.fresh;
            };
        UploadResult const result =
            Uploader::PostBlocking(service.Url(), "stale", "{\"a\":1}", provider);
        EXPECT_EQ(result.outcome, c.outcome) << c.what;
        EXPECT_EQ(result.httpStatus, c.status) << c.what;
        EXPECT_THAT(service.Auths(), ElementsAreArray(c.auths)) << c.what;
        EXPECT_THAT(service.Bodies(), testing::Each(std::string("{\"a\":1}"))) << c.what;
        EXPECT_EQ(calls, c.fresh ? 1 : 0) << c.what;
    }
}

// Catches the provider being asked for answers other than 401.
TEST(UploaderRetry, OnlyA401AsksForAFreshToken) {
    LoopbackServer server;
    server.Http().Post("/x",
                       [](httplib::Request const&, httplib::Response& res) { res.status = 403; });
    server.Start();
    bool asked = false;
    UploadResult const result =
        Uploader::PostRawBlocking(server.Url("/x"), "t", "text/plain", "a", 1, [&] {
            asked = true;
            return std::string("fresh");
        });
    EXPECT_EQ(result.outcome, UploadOutcome::Forbidden);
    EXPECT_FALSE(asked);
}

// Catches a missing log line and any token written to the log.
TEST(UploaderLog, LogsTheRetryAndTransportFailuresButNeverATokenText) {
    TempHome home;
    ASSERT_TRUE(Logger::Get().Init());
    {
        AuthService service;
        Uploader::PostBlocking(service.Url(), "stale-secret-1", "{}",
                               [] { return std::string("fresh"); });
    }
    std::string const closed = "http://127.0.0.1:" + std::to_string(ClosedLoopbackPort());
    UploadResult const failed =
        Uploader::PostBlocking(closed + "/x", "secret-token-2", "{}", nullptr);
    Logger::Get().Shutdown();
    EXPECT_EQ(failed.outcome, UploadOutcome::Network);
    EXPECT_EQ(failed.httpStatus, 0);
    std::string const log = ReadFile(home.LogFolder() / "velmora.log");
    EXPECT_THAT(log, HasSubstr("Uploader: 401 received, retrying once with refreshed token\n"));
    EXPECT_THAT(log, HasSubstr("Uploader: macOS transport failed: CURLE 7 ("));
    EXPECT_THAT(log, Not(HasSubstr("secret")));
    EXPECT_THAT(log, Not(HasSubstr("fresh\n")));
}

// Catches a PUT that sends a token or loses the status, and progress not passed through.
TEST(UploaderPut, PutsWithoutATokenAndReportsProgress) {
    LoopbackServer server;
    std::mutex mutex;
    std::string auth = "unset";
    std::string type;
    server.Http().Put("/signed", [&](httplib::Request const& req, httplib::Response& res) {
        std::lock_guard<std::mutex> lock(mutex);
        auth = req.get_header_value("Authorization");
        type = req.get_header_value("Content-Type");
        res.status = 200;
    });
    server.Start();
    std::vector<unsigned char> const glb(1048576, 0x47);
    std::uint64_t lastSent = 0;
    UploadResult const result =
        Uploader::PutRawBlocking(server.Url("/signed"), "model/gltf-binary", glb.data(), glb.size(),
                                 [&](std::uint64_t sent, std::uint64_t total) {
                                     EXPECT_EQ(total, glb.size());
                                     lastSent = sent;
                                 });
    EXPECT_EQ(result.outcome, UploadOutcome::Ok);
    EXPECT_EQ(result.httpStatus, 200);
    EXPECT_EQ(lastSent, glb.size());
    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(auth, "");
    EXPECT_EQ(type, "model/gltf-binary");
}

UploadRequest SmallRequest() {
    UploadRequest req;
    req.imageBytes = {0xFF, 0xD8, 0xFF, 0xD9};
    req.imageMime = "image/jpeg";
    req.viewName = "Front";
    req.pluginVersion = "0.1.0";
    return req;
}

// Catches a completion run on the caller's thread, a lost body or status, and a payload that
// is not the built document. The test waits on a future the completion fulfils.
TEST(UploaderPost, CompletesOnAWorkerWithTheClassifiedResult) {
    AuthService service;
    auto done = std::make_shared<std::promise<std::pair<UploadResult, std::thread::id>>>();
    auto finished = done->get_future();
    Uploader::Post(
        service.Url(), "stale", SmallRequest(),
        [done](UploadResult const& result) {
            done->set_value({result, std::this_thread::get_id()});
        },
        [] { return std::string("fresh"); });
    ASSERT_EQ(finished.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    auto const [result, thread] = finished.get();
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(result.outcome, UploadOutcome::Ok);
    EXPECT_EQ(result.httpStatus, 200);
    EXPECT_EQ(result.body, "{\"ok\":true}");
    std::vector<std::string> const bodies = service.Bodies();
    ASSERT_EQ(bodies.size(), 2u);
    nlohmann::json const sent = nlohmann::json::parse(bodies[1]);
    EXPECT_EQ(sent["viewport"], "data:image/jpeg;base64,/9j/2Q==");
    EXPECT_EQ(sent["metadata"]["viewName"], "Front");
}

// Catches a thread started (or a request made) for a refused payload, and a completion that
// arrives late or without the reason.
TEST(UploaderPost, AnOversizedPayloadCompletesAtOnceOnTheCallingThread) {
    AuthService service;
    UploadRequest req = SmallRequest();
    req.imageBytes.assign(7864321, 1);
    std::optional<UploadResult> completed;
    std::thread::id thread;
    Uploader::Post(
        service.Url(), "fresh", req,
        [&](UploadResult const& result) {
            completed = result;
            thread = std::this_thread::get_id();
        },
        nullptr);
    ASSERT_TRUE(completed.has_value());
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_EQ(completed->outcome, UploadOutcome::Other);
    EXPECT_EQ(completed->httpStatus, 0);
    EXPECT_EQ(completed->body, "payload exceeds 10 MB base64 cap");
    EXPECT_TRUE(service.Auths().empty());
}

} // namespace
} // namespace Velmora::Testing
