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

namespace fs = std::filesystem;

// Replaces PATH with one folder for the lifetime of a test.
class OnlyOnPath {
public:
    explicit OnlyOnPath(fs::path const& folder) {
        char const* path = std::getenv("PATH");
        previous_ = path != nullptr ? path : "";
        ::setenv("PATH", folder.c_str(), 1);
    }
    ~OnlyOnPath() { ::setenv("PATH", previous_.c_str(), 1); }

private:
    std::string previous_;
};

class OpenPathTest : public testing::Test {
protected:
    fs::path Marker(std::string const& name) const { return home.Path() / name; }

    TempHome home; // a scratch folder for marker files
};

TEST_F(OpenPathTest, ThePathReachesTheOpenerAsOneUntouchedArgumentAndRunsNothingElse) {
    std::vector<std::string> const paths = {
        "/tmp/it's a \"quoted\" path",
        "/tmp/$(touch " + Marker("subshell").string() + ")",
        "/tmp/x; touch " + Marker("semicolon").string(),
        "/tmp/`touch " + Marker("backtick").string() + "`",
        "/tmp/a\" && touch \"" + Marker("and").string() + "\" | cat \"b",
        "/tmp/folder with  spaces/file name.log",
        "-not-an-option? *.log $HOME ~",
    };
    for (std::string const& path : paths) {
        FakeOpener opener;
        EXPECT_TRUE(OpenPathInOS(path)) << path;
        EXPECT_EQ(opener.RecordedArguments(), path + "\n");
    }
    for (char const* marker : {"subshell", "semicolon", "backtick", "and"})
        EXPECT_FALSE(fs::exists(Marker(marker))) << marker << " ran";
}

TEST_F(OpenPathTest, AnEmptyPathStartsNothing) {
    FakeOpener opener;
    EXPECT_FALSE(OpenPathInOS(""));
    EXPECT_EQ(opener.RecordedArguments(), "");
}

TEST_F(OpenPathTest, AnOpenerThatFailsGivesFalseAfterItRan) {
    FakeOpener opener(1);
    EXPECT_FALSE(OpenPathInOS("/tmp/some file"));
    EXPECT_EQ(opener.RecordedArguments(), "/tmp/some file\n");
}

TEST_F(OpenPathTest, AMissingOpenerGivesFalse) {
    fs::path const empty = home.Path() / "empty-bin";
    fs::create_directories(empty);
    OnlyOnPath path(empty);
    EXPECT_FALSE(OpenPathInOS(home.Path().string()));
}

TEST_F(OpenPathTest, TheLoggerOpensItsOwnFolderAndFileOnceResolved) {
    Logger logger;
    {
        FakeOpener opener;
        EXPECT_FALSE(logger.OpenLogFolder());
        EXPECT_FALSE(logger.OpenLogFile());
        EXPECT_EQ(opener.RecordedArguments(), "");
    }
    ASSERT_TRUE(logger.Init());
    {
        FakeOpener opener;
        EXPECT_TRUE(logger.OpenLogFolder());
        EXPECT_TRUE(logger.OpenLogFile());
        EXPECT_EQ(opener.RecordedArguments(), home.LogFolder().string() + "\n" +
                                                  (home.LogFolder() / "velmora.log").string() +
                                                  "\n");
    }
    FakeOpener failing(3);
    EXPECT_FALSE(logger.OpenLogFolder());
    EXPECT_FALSE(logger.OpenLogFile());
}

} // namespace
} // namespace Velmora::Testing
