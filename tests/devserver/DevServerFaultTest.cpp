// Each fault mode produces the outcome the add-on's classification is tested against.
#include "DevServerFixture.hpp"

#include <chrono>

namespace Velmora::Testing {
namespace {

using nlohmann::json;

// A status answered where the request was valid: every status-only mode, on each endpoint.
TEST_F(DevServerTest, StatusFaultsAnswerTheirStatusAndBodyThenTheRequestPasses) {
    struct Case {
        json fault;
        int status;
        char const* contentType;
        char const* bodyPart;
    };
    Case const cases[] = {
        {{{"path", "/extractions-upload"}, {"mode", "403"}}, 403, "application/json", "message"},
        {{{"path", "/extractions-upload"}, {"mode", "400-aspect"}},
         400,
         "application/json",
         "aspect"},
        {{{"path", "/extractions-upload"}, {"mode", "500"}}, 500, "application/json", "message"},
        {{{"path", "/extractions-upload"}, {"mode", "502"}}, 502, "application/json", "message"},
        {{{"path", "/extractions-upload"}, {"mode", "html"}}, 500, "text/html", "<html>"},
        {{{"path", "/extractions-upload"}, {"mode", "html"}, {"status", 502}},
         502,
         "text/html",
         "<h1>502"},
    };
    std::string const body = ExtractionDocument(false).dump();
    for (Case const& c : cases) {
        ASSERT_EQ(AddFault(c.fault)->status, 200) << c.fault;
        httplib::Result const faulted = PostJson("/extractions-upload", body);
        ASSERT_TRUE(faulted) << c.fault;
        EXPECT_EQ(faulted->status, c.status) << c.fault;
        EXPECT_EQ(faulted->get_header_value("Content-Type"), c.contentType) << c.fault;
        EXPECT_THAT(faulted->body, testing::HasSubstr(c.bodyPart)) << c.fault;
        EXPECT_EQ(PostJson("/extractions-upload", body)->status, 200) << c.fault; // count 1
    }
}

// The client's single retry with a refreshed token must succeed, and only with that token.
TEST_F(DevServerTest, UnauthorizedOnceThenOnlyTheFreshTokenIsAccepted) {
    AddFault({{"path", "/models-uploadFromPlugin"},
              {"mode", "401-once"},
              {"acceptToken", "fresh-token"}});
    std::string const begin = BeginDocument().dump();
    EXPECT_EQ(PostJson("/models-uploadFromPlugin", begin)->status, 401);
    EXPECT_EQ(PostJson("/models-uploadFromPlugin", begin, kTestToken)->status, 401);
    EXPECT_EQ(PostJson("/models-uploadFromPlugin", begin, "fresh-token")->status, 200);
    // Reset restores the token the server started with.
    client->Post("/_control/reset", "", "application/json");
    EXPECT_EQ(PostJson("/models-uploadFromPlugin", begin, kTestToken)->status, 200);
    EXPECT_EQ(Log().size(), 1u);
}

// A dropped connection is a transport failure for the client, not an HTTP status.
TEST_F(DevServerTest, DropClosesTheConnectionWithoutAnswerOnPostAndPut) {
    AddFault({{"path", "/extractions-upload"}, {"mode", "drop"}});
    httplib::Result const post = PostJson("/extractions-upload", ExtractionDocument(false).dump());
    EXPECT_FALSE(post);
    json const begin = BeginModel();
    AddFault({{"path", "/upload"}, {"mode", "drop"}});
    std::string const glb = MakeGlb(R"({"asset":{"version":"2.0"}})", std::string(4, '\0'));
    EXPECT_FALSE(client->Put(UploadTarget(begin).c_str(), glb, "model/gltf-binary"));
    json const log = Log();
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[0]["status"], 0);
    EXPECT_EQ(log[0]["fault"], "drop");
    EXPECT_EQ(log[2]["status"], 0);
}

// A slow answer is late but otherwise normal; a client with a shorter timeout gives up.
TEST_F(DevServerTest, SlowAnswersLateAndTimesOutAShortClient) {
    AddFault({{"path", "/extractions-upload"}, {"mode", "slow:400"}, {"count", 2}});
    auto const start = std::chrono::steady_clock::now();
    httplib::Result const late = PostJson("/extractions-upload", ExtractionDocument(false).dump());
    ASSERT_TRUE(late);
    EXPECT_EQ(late->status, 200);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
    client->set_read_timeout(0, 100000);
    EXPECT_FALSE(PostJson("/extractions-upload", ExtractionDocument(false).dump()));
}

// Phase narrows a fault: a confirm fault must not hit the begin, and no-upload-url only
// strips the address from a begin answer.
TEST_F(DevServerTest, PhaseFaultsHitOnlyTheirPhase) {
    AddFault({{"path", "/models-uploadFromPlugin"}, {"phase", "confirm"}, {"mode", "502"}});
    AddFault({{"path", "/models-uploadFromPlugin"}, {"mode", "no-upload-url"}});
    httplib::Result const stripped = PostJson("/models-uploadFromPlugin", BeginDocument().dump());
    ASSERT_TRUE(stripped);
    json const answer = json::parse(stripped->body);
    EXPECT_TRUE(answer.contains("model_id"));
    EXPECT_FALSE(answer.contains("upload_url"));
    json const begin = BeginModel();
    std::string const glb = MakeGlb(R"({"asset":{"version":"2.0"}})", std::string(4, '\0'));
    EXPECT_EQ(client->Put(UploadTarget(begin).c_str(), glb, "model/gltf-binary")->status, 200);
    json const confirm = {{"phase", "confirm"}, {"model_id", begin["model_id"]}};
    EXPECT_EQ(PostJson("/models-uploadFromPlugin", confirm.dump())->status, 502);
    EXPECT_EQ(PostJson("/models-uploadFromPlugin", confirm.dump())->status, 200);
}

// Fault specifications given on the command line or the control endpoint.
TEST(DevServerFaultSpecTest, ParsesGoodSpecsAndRefusesBadOnes) {
    struct Case {
        char const* text;
        bool ok;
        int count;
        int slowMs;
    };
    Case const cases[] = {
        {"/extractions-upload=403", true, 1, 0},
        {"/upload=slow:250,count=0", true, 0, 250},
        {"/models-uploadFromPlugin=401-once,acceptToken=t,phase=begin", true, 1, 0},
        {"/upload=slow:-1", false, 0, 0},
        {"/upload=slow:120001", false, 0, 0},
        {"/upload=slow", false, 0, 0},
        {"/upload=html,status=200", false, 0, 0},
        {"/upload=404", false, 0, 0},
        {"upload=403", false, 0, 0},
        {"/upload=403,count", false, 0, 0},
        {"/upload=403,colour=red", false, 0, 0},
    };
    for (Case const& c : cases) {
        std::string error;
        auto const fault = DevServer::ParseFaultOption(c.text, error);
        ASSERT_EQ(fault.has_value(), c.ok) << c.text << ": " << error;
        if (fault) {
            EXPECT_EQ(fault->count, c.count) << c.text;
            EXPECT_EQ(fault->slowMs, c.slowMs) << c.text;
        }
    }
}

} // namespace
} // namespace Velmora::Testing
