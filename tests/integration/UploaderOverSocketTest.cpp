// The uploader against the reference service over a real socket: each outcome class, the
// single 401 retry, the background post and the payload cap.
#include "SendSession.hpp"

#include "Logger.hpp"
#include "Upload/Uploader.hpp"

#include <gmock/gmock.h>

#include <future>
#include <optional>
#include <thread>

namespace Velmora::Testing {
namespace {

using testing::HasSubstr;

UploadRequest JpegRequest() {
    UploadRequest request;
    request.imageBytes = {0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10, 'J', 'F', 'I', 'F', 0x00, 0xFF, 0xD9};
    request.imageMime = "image/jpeg";
    request.displayStyle = "CurrentView";
    request.pluginVersion = "0.1.0";
    return request;
}

// Catches an answer taken for a transport failure or the provider asked for a 403, a retry
// with the same or an empty token, without a provider, or twice, the first answer returned
// after a retry, and a missing log line or a token written to the log. Every outcome's class
// and message over the socket is checked with the whole extraction.
TEST_F(SendSessionTest, EachServiceAnswerIsItsOutcomeAndA401IsRetriedOnceWithAFreshToken) {
    std::string const once401 =
        R"({"path":"/extractions-upload","mode":"401-once","acceptToken":"tok-fresh"})";
    struct Case {
        std::string fault; // empty: none
        char const* token;
        std::optional<std::string> fresh; // the provider's token; none: no provider
        UploadOutcome outcome;
        long status;
        std::size_t requests; // that reached the service
    } const cases[] = {
        {"", kSendToken, std::nullopt, UploadOutcome::Ok, 200, 1},
        {"", "tok-wrong", std::nullopt, UploadOutcome::Auth, 401, 1},
        {once401, kSendToken, "tok-fresh", UploadOutcome::Ok, 200, 2},
        {once401, kSendToken, kSendToken, UploadOutcome::Auth, 401, 1},
        {once401, kSendToken, "", UploadOutcome::Auth, 401, 1},
        {once401, kSendToken, "tok-other", UploadOutcome::Auth, 401, 2},
        {R"({"path":"/extractions-upload","mode":"403"})", kSendToken, "tok-fresh",
         UploadOutcome::Forbidden, 403, 1},
        {R"({"path":"/extractions-upload","mode":"drop"})", kSendToken, "tok-fresh",
         UploadOutcome::Network, 0, 1},
    };
    ASSERT_TRUE(Logger::Get().Init());
    std::string json;
    ASSERT_TRUE(Uploader::BuildPayloadJson(JpegRequest(), json));
    for (Case const& c : cases) {
        SCOPED_TRACE(c.fault + " " + c.token);
        ResetService();
        if (!c.fault.empty())
            AddFault(nlohmann::json::parse(c.fault));
        int asked = 0;
        TokenProvider provider;
        if (c.fresh) {
            provider = [&] {
                ++asked;
                return *c.fresh;
            };
        }
        UploadResult const result =
            Uploader::PostBlocking(ServiceBase() + "/extractions-upload", c.token, json, provider);
        EXPECT_EQ(result.outcome, c.outcome) << result.body;
        EXPECT_EQ(result.httpStatus, c.status);
        EXPECT_EQ(ServiceLog().size(), c.requests);
        EXPECT_EQ(asked, c.fresh && c.fault == once401 ? 1 : 0);
    }
    Logger::Get().Shutdown();
    std::string const log = LogText();
    EXPECT_THAT(log, HasSubstr("Uploader: 401 received, retrying once with refreshed token\n"));
    EXPECT_THAT(log, HasSubstr("Uploader: macOS transport failed: CURLE "));
    EXPECT_THAT(log, testing::Not(HasSubstr("tok-")));
}

// Catches a completion run on the caller's thread, a payload the service cannot read back to
// the same image, and for an oversized payload a request made or a completion that is late
// or lacks the reason.
TEST_F(SendSessionTest, PostCompletesOnAWorkerAndRefusesAnOversizedPayloadAtOnce) {
    auto done = std::make_shared<std::promise<std::pair<UploadResult, std::thread::id>>>();
    auto finished = done->get_future();
    std::string const url = ServiceBase() + "/extractions-upload";
    Uploader::Post(
        url, kSendToken, JpegRequest(),
        [done](UploadResult const& result) {
            done->set_value({result, std::this_thread::get_id()});
        },
        nullptr);
    ASSERT_EQ(finished.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    auto const [result, thread] = finished.get();
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(result.outcome, UploadOutcome::Ok) << result.body;
    std::vector<unsigned char> const jpeg = JpegRequest().imageBytes;
    EXPECT_EQ(ReadFile(std::filesystem::path(storeFolder) / "extraction-0001.jpg"),
              std::string(jpeg.begin(), jpeg.end()));

    UploadRequest oversized = JpegRequest();
    oversized.imageBytes.assign(7864321, 1);
    std::optional<UploadResult> refused;
    std::thread::id refusedOn;
    Uploader::Post(
        url, kSendToken, oversized,
        [&](UploadResult const& answer) {
            refused = answer;
            refusedOn = std::this_thread::get_id();
        },
        nullptr);
    ASSERT_TRUE(refused.has_value());
    EXPECT_EQ(refusedOn, std::this_thread::get_id());
    EXPECT_EQ(refused->outcome, UploadOutcome::Other);
    EXPECT_EQ(refused->body, "payload exceeds 10 MB base64 cap");
    EXPECT_EQ(ServiceLog().size(), 1u);
}

} // namespace
} // namespace Velmora::Testing
