#include "Logger.hpp"

#include "support/AddOnTest.hpp"
#include "support/TempHome.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace Velmora::Testing {
namespace {

TEST(OpenPathInOS, ThePathReachesTheOpenerAsOneUntouchedArgumentAndRunsNothingElse) {
    TempHome scratch;
    std::string const touch = "touch " + (scratch.Path() / "ran").string();
    for (std::string const& path : {std::string("/tmp/it's a \"quoted\"  path %s *.log $HOME ~"),
                                    "/tmp/$(" + touch + ")", "/tmp/x; " + touch}) {
        FakeOpener opener;
        EXPECT_TRUE(OpenPathInOS(path)) << path;
        EXPECT_EQ(opener.RecordedArguments(), path + "\n");
        EXPECT_FALSE(std::filesystem::exists(scratch.Path() / "ran")) << path;
    }
}

TEST(OpenPathInOS, AnEmptyPathOrAFailingOpenerGivesFalse) {
    FakeOpener failing(1);
    EXPECT_FALSE(OpenPathInOS(""));
    EXPECT_FALSE(OpenPathInOS("/tmp/some file"));
    EXPECT_EQ(failing.RecordedArguments(), "/tmp/some file\n"); // the empty path ran nothing
}

} // namespace
} // namespace Velmora::Testing
