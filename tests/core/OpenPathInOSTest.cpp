#include "Logger.hpp"

#include "support/AddOnTest.hpp"
#include "support/TempHome.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace Velmora::Testing {
namespace {

TEST(OpenPathInOS, ThePathReachesTheOpenerAsOneUntouchedArgumentAndRunsNothingElse) {
    TempHome scratch;
    std::string const touch = "touch " + (scratch.Path() / "ran").string();
    for (std::string const& path : std::vector<std::string>{
             "/tmp/it's a \"quoted\"  path %s", "/tmp/$(" + touch + ")", "/tmp/x; " + touch,
             "/tmp/`" + touch + "`", "-not-an-option? *.log $HOME ~"}) {
        FakeOpener opener;
        EXPECT_TRUE(OpenPathInOS(path)) << path;
        EXPECT_EQ(opener.RecordedArguments(), path + "\n");
        EXPECT_FALSE(std::filesystem::exists(scratch.Path() / "ran")) << path;
    }
}

TEST(OpenPathInOS, AnEmptyPathAFailingOpenerOrNoOpenerGivesFalse) {
    {
        FakeOpener failing(1);
        EXPECT_FALSE(OpenPathInOS(""));
        EXPECT_FALSE(OpenPathInOS("/tmp/some file"));
        EXPECT_EQ(failing.RecordedArguments(), "/tmp/some file\n"); // the empty path ran nothing
    }
    TempHome emptyFolder;
    FakeOpener restoresPath; // puts PATH back when the test ends
    ::setenv("PATH", emptyFolder.Path().c_str(), 1);
    EXPECT_FALSE(OpenPathInOS("/tmp"));
}

// Opening the log folder and a failing opener are covered through the commands that use them.
TEST(OpenPathInOS, TheLoggerOpensItsFileOnlyOnceResolved) {
    TempHome home;
    FakeOpener opener;
    Logger logger;
    EXPECT_FALSE(logger.OpenLogFolder());
    EXPECT_FALSE(logger.OpenLogFile());
    ASSERT_TRUE(logger.Init());
    EXPECT_TRUE(logger.OpenLogFile());
    EXPECT_EQ(opener.RecordedArguments(), (home.LogFolder() / "velmora.log").string() + "\n");
}

} // namespace
} // namespace Velmora::Testing
