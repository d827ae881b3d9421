// The web app's routes: its files, the sign-in token, the last extraction's images and the
// held page load.
#include "DevServerFixture.hpp"

#include <future>

namespace Velmora::Testing {
namespace {

using nlohmann::json;

// Catches a page whose files are not served (or served as the wrong type), which the browser
// would refuse to run or style.
TEST_F(DevServerTest, ServesTheWebAppAndItsFiles) {
    struct Case {
        char const* path;
        char const* contentType;
        char const* bodyPart;
    };
    for (Case const& c : {Case{"/", "text/html", "/page/app.js"},
                          Case{"/app/?embed=archicad", "text/html", "id=\"extract\""},
                          Case{"/page/app.js", "text/javascript", "getFirebaseToken"},
                          Case{"/page/app.css", "text/css", "#result-mask"}}) {
        httplib::Result const answer = client->Get(c.path);
        ASSERT_TRUE(answer) << c.path;
        EXPECT_EQ(answer->status, 200) << c.path;
        EXPECT_EQ(answer->get_header_value("Content-Type"), c.contentType) << c.path;
        EXPECT_THAT(answer->body, testing::HasSubstr(c.bodyPart)) << c.path;
    }
    EXPECT_EQ(client->Get("/page/missing.js")->status, 404);
}

// Catches a sign-in that hands the page a token the upload endpoints then refuse.
TEST_F(DevServerTest, TheSessionTokenIsTheOneAcceptedNow) {
    EXPECT_EQ(json::parse(client->Get("/_control/session")->body)["token"], kTestToken);
    AddFault({{"path", "/extractions-upload"}, {"mode", "401-once"}, {"acceptToken", "fresh"}});
    EXPECT_EQ(PostJson("/extractions-upload", ExtractionDocument(false).dump())->status, 401);
    EXPECT_EQ(json::parse(client->Get("/_control/session")->body)["token"], "fresh");
}

// Catches a page that shows an older extraction, or a mask left over from an earlier one.
TEST_F(DevServerTest, TheLastExtractionsImagesAreServedAsStored) {
    EXPECT_EQ(client->Get("/_control/last-extraction.jpg")->status, 404);
    ASSERT_EQ(PostJson("/extractions-upload", ExtractionDocument(true).dump())->status, 200);
    httplib::Result const jpeg = client->Get("/_control/last-extraction.jpg");
    EXPECT_EQ(jpeg->get_header_value("Content-Type"), "image/jpeg");
    EXPECT_EQ(jpeg->body, FakeJpeg());
    EXPECT_EQ(client->Get("/_control/last-extraction.png")->body, FakePng());
    ASSERT_EQ(PostJson("/extractions-upload", ExtractionDocument(false).dump())->status, 200);
    EXPECT_EQ(client->Get("/_control/last-extraction.png")->status, 404);
    EXPECT_EQ(client->Get("/_control/last-extraction.jpg")->status, 200);
    EXPECT_EQ(Log().size(), 2u) << "page requests must stay out of the contract's log";
}

// Catches a hold that never ends (the page would never finish loading) or ends on its own.
TEST_F(DevServerTest, AHeldPageRequestWaitsForTheRelease) {
    std::future<int> held = std::async(std::launch::async, [this] {
        httplib::Client other("127.0.0.1", port);
        httplib::Result const answer = other.Get("/_control/hold");
        return answer ? answer->status : -1;
    });
    EXPECT_EQ(held.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
    // Released only by a release that comes after the request started.
    for (int i = 0;
         i < 50 && held.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready; ++i)
        client->Post("/_control/release", "", "application/json");
    EXPECT_EQ(held.get(), 204);
}

} // namespace
} // namespace Velmora::Testing
