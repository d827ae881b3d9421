// The outcome of a finished request, from the transport result, the status and the body.
#include "Upload/Uploader.hpp"

#include <gtest/gtest.h>

namespace Velmora::Testing {
namespace {

TEST(Classify, MapsEveryAnswerToItsOutcome) {
    struct Case {
        long status;
        std::string body;
        bool transportOk;
        UploadOutcome expected;
        char const* name;
    };
    Case const cases[] = {
        // the 2xx range, its edges and just outside
        {200, "", true, UploadOutcome::Ok, "Ok"},
        {299, "", true, UploadOutcome::Ok, "Ok"},
        {199, "", true, UploadOutcome::Other, "Other"},
        {300, "", true, UploadOutcome::Other, "Other"},
        {401, "", true, UploadOutcome::Auth, "Auth"},
        {403, "aspect", true, UploadOutcome::Forbidden, "Forbidden"},
        // "aspect" only for 400, case-sensitive, found past a NUL byte
        {400, "{\"error\":\"bad aspect ratio\"}", true, UploadOutcome::AspectRatio, "AspectRatio"},
        {400, std::string("x\0aspect", 8), true, UploadOutcome::AspectRatio, "AspectRatio"},
        {400, "Aspect ratio", true, UploadOutcome::Other, "Other"},
        {400, "", true, UploadOutcome::Other, "Other"},
        {422, "aspect", true, UploadOutcome::Other, "Other"},
        {500, "", true, UploadOutcome::Other, "Other"},
        // the transport is checked before the status
        {0, "", false, UploadOutcome::Network, "Network"},
        {200, "", false, UploadOutcome::Network, "Network"},
        {401, "", false, UploadOutcome::Network, "Network"},
    };
    for (Case const& c : cases) {
        UploadOutcome const outcome = Uploader::Classify(c.status, c.body, c.transportOk);
        EXPECT_EQ(outcome, c.expected) << c.status << " " << c.body;
        EXPECT_STREQ(Uploader::OutcomeName(outcome), c.name);
    }
    EXPECT_STREQ(Uploader::OutcomeName(static_cast<UploadOutcome>(9)), "Other");
}

} // namespace
} // namespace Velmora::Testing
