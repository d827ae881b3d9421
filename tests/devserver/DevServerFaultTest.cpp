// Each fault mode produces the answer the add-on's handling is tested against, once.
#include "DevServerFixture.hpp"

#include <chrono>

namespace Velmora::Testing {
namespace {

using nlohmann::json;

enum class Request { Extract, Begin, Put };

// Catches a mode answering the wrong status, type or body, a fault outliving its count, the 401
// fault not switching to its token, a drop that answers or is logged with a status, and a slow
// mode that is not late. The modes the add-on's sends meet are also checked end to end.
TEST_F(DevServerTest, EachFaultModeAnswersAsItSaysOnce) {
    struct Case {
        char const* fault;
        Request request;
        int status;         // 0: the connection is closed without an answer
        char const* answer; // Content-Type and body, a regular expression
        int then = 200;     // the same request again
        int lateMs = 0;
    };
    Case const cases[] = {
        {R"({"path":"/extractions-upload","mode":"403"})", Request::Extract, 403,
         R"(application/json \{"message":"this account may not upload"\})"},
        {R"({"path":"/upload","mode":"500"})", Request::Put, 500, "application/json .*error.*"},
        {R"({"path":"/extractions-upload","mode":"html"})", Request::Extract, 500,
         "text/html <!DOCTYPE html>.*<h1>500 Error.*"},
        {R"({"path":"/models-uploadFromPlugin","mode":"401-once","acceptToken":"fresh"})",
         Request::Begin, 401, ".*token expired.*", 401},
        {R"({"path":"/extractions-upload","mode":"drop"})", Request::Extract, 0, ""},
        {R"({"path":"/extractions-upload","mode":"slow:300"})", Request::Extract, 200,
         ".*extraction-.*", 200, 300},
    };
    std::string const glb = MakeGlb(std::string(4, '\0'));
    for (Case const& c : cases) {
        SCOPED_TRACE(c.fault);
        client->Post("/_control/reset", "", "application/json");
        json const begin = c.request == Request::Put ? BeginModel() : json();
        auto send = [&] {
            switch (c.request) {
            case Request::Extract:
                return PostJson("/extractions-upload", ExtractionDocument(false).dump());
            case Request::Begin:
                return PostJson("/models-uploadFromPlugin", BeginDocument().dump());
            case Request::Put:
                break;
            }
            return Put(UploadTarget(begin), glb);
        };
        ASSERT_EQ(AddFault(json::parse(c.fault))->status, 200);
        auto const start = std::chrono::steady_clock::now();
        httplib::Result const faulted = send();
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(c.lateMs));
        EXPECT_EQ(faulted ? faulted->status : 0, c.status);
        if (faulted) {
            EXPECT_THAT(faulted->get_header_value("Content-Type") + " " + faulted->body,
                        testing::MatchesRegex(c.answer));
        }
        httplib::Result const again = send();
        ASSERT_TRUE(again);
        EXPECT_EQ(again->status, c.then);
        json const log = Log();
        ASSERT_GE(log.size(), 2u);
        EXPECT_EQ(log[log.size() - 2]["status"], c.status);
        EXPECT_EQ(log[log.size() - 2]["fault"], json::parse(c.fault)["mode"]);
    }
}

// Catches bad fault specifications taken from the command line, and good ones misread.
TEST(DevServerFaultSpec, ParsesGoodSpecsAndRefusesBadOnes) {
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
        {"/upload=slow:120001", false, 0, 0},
        {"/upload=slow", false, 0, 0},
        {"/upload=html,status=200", false, 0, 0},
        {"/upload=404", false, 0, 0},
        {"upload=403", false, 0, 0},
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
