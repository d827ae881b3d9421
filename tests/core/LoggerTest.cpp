#include "Logger.hpp"

#include "support/AddOnTest.hpp"
#include "support/TempHome.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <sstream>
#include <thread>
#include <vector>

namespace Velmora::Testing {
namespace {

namespace fs = std::filesystem;

// "2025-03-04T05:06:07.089Z ": digits where the shape has 'd', the rest literally.
std::string const kLineStart = "dddd-dd-ddTdd:dd:dd.dddZ ";

bool StartsWithTimestamp(std::string const& text) {
    return text.size() >= kLineStart.size() &&
           std::equal(kLineStart.begin(), kLineStart.end(), text.begin(), [](char shape, char c) {
               return shape == 'd' ? std::isdigit(static_cast<unsigned char>(c)) != 0 : c == shape;
           });
}

std::vector<std::string> MessagesIn(fs::path const& file) {
    std::istringstream text(ReadFile(file));
    std::vector<std::string> messages;
    for (std::string line; std::getline(text, line);) {
        EXPECT_TRUE(StartsWithTimestamp(line)) << line;
        messages.push_back(line.substr(std::min(line.size(), kLineStart.size())));
    }
    return messages;
}

class LoggerTest : public testing::Test {
protected:
    fs::path LogFile() const { return home.LogFolder() / "velmora.log"; }
    fs::path Rotated(int number) const {
        return home.LogFolder() / ("velmora." + std::to_string(number) + ".log");
    }

    TempHome home;
    Logger logger;
};

TEST_F(LoggerTest, InitResolvesTheFolderAndLinesCarryTimestampTagAndMessage) {
    ASSERT_TRUE(logger.Init() && logger.Init()); // the second call must not spoil the stream
    EXPECT_EQ(logger.LogDir(), home.LogFolder().string());
    EXPECT_EQ(logger.LogPath(), LogFile().string());
    for (int level = -1; level <= 4; ++level)
        logger.Log(static_cast<LogLevel>(level), "level " + std::to_string(level));
    logger.Log(LogLevel::Warn, "caf\xC3\xA9 [x] 100%s");
    EXPECT_EQ(MessagesIn(LogFile()),
              (std::vector<std::string>{"[?????] level -1", "[ERROR] level 0", "[WARN ] level 1",
                                        "[INFO ] level 2", "[WARN ] caf\xC3\xA9 [x] 100%s"}));
    EXPECT_STREQ(Logger::LevelTag(static_cast<LogLevel>(4)), "?????");
    FakeOpener opener;
    EXPECT_TRUE(logger.OpenLogFile());
    EXPECT_EQ(opener.RecordedArguments(), LogFile().string() + "\n");
}

TEST(LoggerTimestamp, IsUtcWhateverTheLocalZone) {
    using Clock = std::chrono::system_clock;
    char const* const zone = std::getenv("TZ");
    std::string const previousZone = zone != nullptr ? zone : "";
    ::setenv("TZ", "XYZ-5:30", 1);
    ::tzset();
    std::time_t const before = Clock::to_time_t(Clock::now());
    std::string const stamp = Logger::TimestampUtc();
    std::time_t const after = Clock::to_time_t(Clock::now());
    zone != nullptr ? ::setenv("TZ", previousZone.c_str(), 1) : ::unsetenv("TZ");
    ::tzset();
    std::tm parsed{};
    ASSERT_NE(::strptime(stamp.c_str(), "%Y-%m-%dT%H:%M:%S", &parsed), nullptr) << stamp;
    EXPECT_TRUE(before <= ::timegm(&parsed) && ::timegm(&parsed) <= after) << stamp;
}

TEST_F(LoggerTest, WithoutAUsableHomeInitFailsAndNoOldFolderIsKept) {
    ASSERT_TRUE(logger.Init());
    logger.Shutdown();
    for (char const* badHome : {static_cast<char const*>(nullptr), ""}) {
        NoHome noHome;
        if (badHome != nullptr)
            ::setenv("HOME", badHome, 1);
        EXPECT_FALSE(logger.Init()) << (badHome ? badHome : "unset");
        EXPECT_EQ(logger.LogDir(), "");
    }
}

TEST_F(LoggerTest, RotatesOnlyAtOpenFromExactlyTheLimitShiftingTheOlderFiles) {
    for (int number : {1, 2, 3})
        WriteFile(Rotated(number), "old " + std::to_string(number));
    WriteFile(LogFile(), "");
    fs::resize_file(LogFile(), Logger::kRotateBytes - 1);
    ASSERT_TRUE(logger.Init());
    logger.Log(LogLevel::Info, "grown past the limit");
    EXPECT_GT(fs::file_size(LogFile()), Logger::kRotateBytes);
    EXPECT_EQ(ReadFile(Rotated(1)), "old 1");
    logger.Shutdown();
    fs::resize_file(LogFile(), Logger::kRotateBytes);
    ASSERT_TRUE(logger.Init());
    EXPECT_EQ(fs::file_size(Rotated(1)), Logger::kRotateBytes);
    EXPECT_EQ(ReadFile(Rotated(2)), "old 1");
    EXPECT_EQ(ReadFile(Rotated(3)), "old 2");
    EXPECT_FALSE(fs::exists(Rotated(4)));
}

TEST_F(LoggerTest, ConcurrentLinesStayWholeWhileTheFileIsReopened) {
    ASSERT_TRUE(logger.Init());
    std::vector<std::thread> threads;
    for (char letter : {'a', 'b', 'c'})
        threads.emplace_back([this, letter] {
            for (int line = 0; line < 300; ++line) {
                logger.Log(LogLevel::Info, std::string(60, letter));
                logger.LogPath(); // read while another thread resolves it again
            }
        });
    threads.emplace_back([this] {
        for (int cycle = 0; cycle < 50; ++cycle) {
            logger.Shutdown();
            EXPECT_TRUE(logger.Init() && logger.Init() && !logger.LogPath().empty());
        }
    });
    for (std::thread& thread : threads)
        thread.join();
    for (std::string const& message : MessagesIn(LogFile()))
        EXPECT_EQ(message, "[INFO ] " + std::string(60, message.empty() ? '?' : message.back()));
}

} // namespace
} // namespace Velmora::Testing
