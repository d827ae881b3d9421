// The uploader's outcome classes over a real socket, each produced by the reference service.
#include "SendSession.hpp"

#include "Upload/Uploader.hpp"

#include <gtest/gtest.h>

namespace Velmora::Testing {
namespace {

std::string ExtractionJson() {
    UploadRequest request;
    request.imageBytes = {0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10, 'J', 'F', 'I', 'F', 0x00, 0xFF, 0xD9};
    request.imageMime = "image/jpeg";
    request.displayStyle = "CurrentView";
    request.pluginVersion = "0.1.0";
    std::string json;
    EXPECT_TRUE(Uploader::BuildPayloadJson(request, json));
    return json;
}

// Catches a status or a transport failure classified as the wrong outcome when it arrives
// over the wire rather than from a table.
TEST_F(SendSessionTest, EachServiceAnswerIsClassifiedAsItsOutcome) {
    struct Case {
        char const* mode; // empty: no fault
        std::string token;
        UploadOutcome outcome;
        long status;
    } const cases[] = {
        {"", kSendToken, UploadOutcome::Ok, 200},
        {"", "wrong-token", UploadOutcome::Auth, 401},
        {"403", kSendToken, UploadOutcome::Forbidden, 403},
        {"400-aspect", kSendToken, UploadOutcome::AspectRatio, 400},
        {"drop", kSendToken, UploadOutcome::Network, 0},
        {"500", kSendToken, UploadOutcome::Other, 500},
    };
    std::string const json = ExtractionJson();
    for (Case const& c : cases) {
        SCOPED_TRACE(std::string(c.mode) + " " + c.token);
        ResetService();
        if (*c.mode)
            AddFault({{"path", "/extractions-upload"}, {"mode", c.mode}});
        UploadResult const result =
            Uploader::PostBlocking(ServiceBase() + "/extractions-upload", c.token, json, {});
        EXPECT_EQ(result.outcome, c.outcome) << result.body;
        EXPECT_EQ(result.httpStatus, c.status);
    }
}

} // namespace
} // namespace Velmora::Testing
