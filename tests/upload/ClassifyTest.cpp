// The outcome of a finished request, from the transport result, the status and the body.
#include "Upload/Uploader.hpp"

#include <gtest/gtest.h>

namespace Velmora::Testing {
namespace {

// Catches an answer put in the wrong outcome class; each row group names the fault it finds.
TEST(Classify, MapsEveryAnswerToItsOutcome) {
    struct Case {
        long status;
        std::string body;
        bool transportOk;
        UploadOutcome expected;
    };
    Case const cases[] = {
        // the 2xx range taken too wide or too narrow
        {200, "", true, UploadOutcome::Ok},
        {299, "", true, UploadOutcome::Ok},
        {199, "", true, UploadOutcome::Other},
        {300, "", true, UploadOutcome::Other},
        {401, "", true, UploadOutcome::Auth},
        {403, "aspect", true, UploadOutcome::Forbidden},
        // "aspect" matched on other statuses, case-insensitively, or only up to a NUL byte
        {400, std::string("x\0aspect", 8), true, UploadOutcome::AspectRatio},
        {400, "Aspect ratio", true, UploadOutcome::Other},
        {422, "aspect", true, UploadOutcome::Other},
        // the status looked at before the transport
        {200, "", false, UploadOutcome::Network},
    };
    for (Case const& c : cases)
        EXPECT_EQ(Uploader::Classify(c.status, c.body, c.transportOk), c.expected) << c.status;
}

} // namespace
} // namespace Velmora::Testing
