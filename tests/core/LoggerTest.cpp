#include "Logger.hpp"

#include "support/TempHome.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <thread>
#include <vector>

namespace Velmora::Testing {
namespace {

namespace fs = std::filesystem;

// "2025-03-04T05:06:07.089Z": digits where the shape has 'd', the rest literally.
bool IsTimestamp(std::string const& text) {
    std::string const shape = "dddd-dd-ddTdd:dd:dd.dddZ";
    if (text.size() != shape.size())
        return false;
    for (std::size_t at = 0; at < shape.size(); ++at) {
        bool const digit = std::isdigit(static_cast<unsigned char>(text[at])) != 0;
        if (shape[at] == 'd' ? !digit : text[at] != shape[at])
            return false;
    }
    return true;
}

// A timestamp, " [", one of the five-character tags, "] ", then the message.
bool IsWellFormedLine(std::string const& line) {
    constexpr std::size_t kStamp = 24;
    if (line.size() < kStamp + 9 || !IsTimestamp(line.substr(0, kStamp)))
        return false;
    std::string const tag = line.substr(kStamp, 9);
    for (char const* known : {"ERROR", "WARN ", "INFO ", "DEBUG", "?????"})
        if (tag == std::string(" [") + known + "] ")
            return true;
    return false;
}

std::vector<std::string> Lines(fs::path const& file) {
    std::istringstream text(ReadFile(file));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

// The part of a log line after the timestamp: "[INFO ] message".
std::string WithoutTimestamp(std::string const& line) {
    std::size_t const bracket = line.find(" [");
    return bracket == std::string::npos ? line : line.substr(bracket + 1);
}

class LoggerTest : public testing::Test {
protected:
    fs::path LogFile() const { return home.LogFolder() / "velmora.log"; }
    fs::path Rotated(int number) const {
        return home.LogFolder() / ("velmora." + std::to_string(number) + ".log");
    }
    void MakeFile(fs::path const& file, std::uintmax_t size) {
        WriteFile(file, "");
        fs::resize_file(file, size);
    }

    TempHome home;
    Logger logger;
};

TEST_F(LoggerTest, InitResolvesTheFolderUnderHomeAndOpensTheFile) {
    EXPECT_EQ(logger.LogDir(), "");
    EXPECT_EQ(logger.LogPath(), "");
    ASSERT_TRUE(logger.Init());
    EXPECT_EQ(logger.LogDir(), home.LogFolder().string());
    EXPECT_EQ(logger.LogPath(), LogFile().string());
    EXPECT_TRUE(fs::is_regular_file(LogFile()));
}

TEST_F(LoggerTest, WithoutAHomeLoggingStaysOffAndNoFolderIsMade) {
    for (bool unset : {true, false}) {
        NoHome noHome;
        if (!unset)
            ::setenv("HOME", "", 1);
        Logger homeless;
        EXPECT_FALSE(homeless.Init());
        EXPECT_EQ(homeless.LogDir(), "");
        homeless.Log(LogLevel::Error, "lost");
        EXPECT_FALSE(homeless.OpenLogFolder());
        EXPECT_FALSE(homeless.OpenLogFile());
    }
    // An empty HOME must not turn into a folder relative to the working directory.
    EXPECT_FALSE(fs::exists(fs::path("Library") / "Application Support" / "VelmoraAI"));
}

TEST_F(LoggerTest, AFolderThatCannotBeMadeFailsInit) {
    fs::path const file = home.Path() / "not-a-folder";
    WriteFile(file, "x");
    ::setenv("HOME", file.c_str(), 1); // TempHome restores HOME afterwards
    EXPECT_FALSE(logger.Init());
    logger.Log(LogLevel::Error, "lost");
    EXPECT_EQ(ReadFile(file), "x");
}

TEST_F(LoggerTest, LinesCarryTimestampTagAndMessage) {
    ASSERT_TRUE(logger.Init());
    logger.Log(LogLevel::Info, "Velmora: Initialize");
    logger.Log(LogLevel::Warn, "caf\xC3\xA9 [x] 100%");
    std::vector<std::string> const lines = Lines(LogFile());
    ASSERT_EQ(lines.size(), 2u);
    for (std::string const& line : lines)
        EXPECT_TRUE(IsWellFormedLine(line)) << line;
    EXPECT_EQ(WithoutTimestamp(lines[0]), "[INFO ] Velmora: Initialize");
    EXPECT_EQ(WithoutTimestamp(lines[1]), "[WARN ] caf\xC3\xA9 [x] 100%");
    EXPECT_EQ(ReadFile(LogFile()).back(), '\n');
}

TEST_F(LoggerTest, DebugAndLevelsAboveAreDroppedWhileNegativeLevelsAreTaggedUnknown) {
    ASSERT_TRUE(logger.Init());
    logger.Log(LogLevel::Error, "e");
    logger.Log(LogLevel::Warn, "w");
    logger.Log(LogLevel::Info, "i");
    logger.Log(LogLevel::Debug, "d");
    logger.Log(static_cast<LogLevel>(4), "four");
    logger.Log(static_cast<LogLevel>(-1), "negative");
    std::vector<std::string> lines;
    for (std::string const& line : Lines(LogFile()))
        lines.push_back(WithoutTimestamp(line));
    EXPECT_EQ(lines, (std::vector<std::string>{"[ERROR] e", "[WARN ] w", "[INFO ] i",
                                               "[?????] negative"}));
}

TEST(LoggerLevelTag, TagsAreFiveCharactersAndUnknownOutsideTheRange) {
    EXPECT_STREQ(Logger::LevelTag(LogLevel::Error), "ERROR");
    EXPECT_STREQ(Logger::LevelTag(LogLevel::Warn), "WARN ");
    EXPECT_STREQ(Logger::LevelTag(LogLevel::Info), "INFO ");
    EXPECT_STREQ(Logger::LevelTag(LogLevel::Debug), "DEBUG");
    for (int outside : {-1, 4, 1000, -2147483647 - 1})
        EXPECT_STREQ(Logger::LevelTag(static_cast<LogLevel>(outside)), "?????") << outside;
}

// Sets TZ for one test so that a local-time conversion would show.
class ForeignTimeZone {
public:
    ForeignTimeZone() {
        char const* tz = std::getenv("TZ");
        hadZone_ = tz != nullptr;
        previous_ = hadZone_ ? tz : "";
        ::setenv("TZ", "XYZ-5:30", 1);
        ::tzset();
    }
    ~ForeignTimeZone() {
        if (hadZone_)
            ::setenv("TZ", previous_.c_str(), 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }

private:
    bool hadZone_ = false;
    std::string previous_;
};

TEST(LoggerTimestamp, IsUtcWithMillisecondsWhateverTheLocalZone) {
    ForeignTimeZone zone;
    using Clock = std::chrono::system_clock;
    std::time_t const before = Clock::to_time_t(Clock::now());
    std::string const stamp = Logger::TimestampUtc();
    std::time_t const after = Clock::to_time_t(Clock::now());
    ASSERT_TRUE(IsTimestamp(stamp)) << stamp;
    std::tm parsed{};
    int milliseconds = -1;
    ASSERT_EQ(std::sscanf(stamp.c_str(), "%d-%d-%dT%d:%d:%d.%dZ", &parsed.tm_year, &parsed.tm_mon,
                          &parsed.tm_mday, &parsed.tm_hour, &parsed.tm_min, &parsed.tm_sec,
                          &milliseconds),
              7);
    parsed.tm_year -= 1900;
    parsed.tm_mon -= 1;
    std::time_t const stamped = ::timegm(&parsed);
    EXPECT_GE(stamped, before);
    EXPECT_LE(stamped, after);
    EXPECT_GE(milliseconds, 0);
    EXPECT_LE(milliseconds, 999);
}

TEST_F(LoggerTest, InitTwiceOpensTheFileOnce) {
    ASSERT_TRUE(logger.Init());
    fs::path const moved = home.LogFolder() / "moved.log";
    fs::rename(LogFile(), moved);
    EXPECT_TRUE(logger.Init());
    logger.Log(LogLevel::Info, "still the first file");
    EXPECT_FALSE(fs::exists(LogFile()));
    EXPECT_EQ(Lines(moved).size(), 1u);
}

TEST_F(LoggerTest, LinesOutsideInitAndShutdownAreLostAndInitReopensAndAppends) {
    logger.Log(LogLevel::Error, "before init");
    ASSERT_TRUE(logger.Init());
    logger.Log(LogLevel::Info, "first");
    logger.Shutdown();
    logger.Log(LogLevel::Error, "while closed");
    logger.Shutdown(); // twice is harmless
    ASSERT_TRUE(logger.Init());
    logger.Log(LogLevel::Info, "second");
    std::vector<std::string> const lines = Lines(LogFile());
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(WithoutTimestamp(lines[0]), "[INFO ] first");
    EXPECT_EQ(WithoutTimestamp(lines[1]), "[INFO ] second");
}

TEST_F(LoggerTest, AFileOfExactlyTheLimitIsRotatedAtOpen) {
    MakeFile(LogFile(), Logger::kRotateBytes);
    ASSERT_TRUE(logger.Init());
    EXPECT_EQ(fs::file_size(Rotated(1)), Logger::kRotateBytes);
    EXPECT_EQ(fs::file_size(LogFile()), 0u);
    EXPECT_FALSE(fs::exists(Rotated(2)));
}

TEST_F(LoggerTest, AFileOneByteSmallerIsKeptAndExtended) {
    MakeFile(LogFile(), Logger::kRotateBytes - 1);
    ASSERT_TRUE(logger.Init());
    logger.Log(LogLevel::Info, "appended");
    EXPECT_FALSE(fs::exists(Rotated(1)));
    std::string const text = ReadFile(LogFile());
    ASSERT_GT(text.size(), Logger::kRotateBytes - 1);
    EXPECT_EQ(text.substr(0, Logger::kRotateBytes - 1),
              std::string(Logger::kRotateBytes - 1, '\0'));
    EXPECT_EQ(WithoutTimestamp(text.substr(Logger::kRotateBytes - 1)), "[INFO ] appended\n");
}

TEST_F(LoggerTest, RotationShiftsTheOlderFilesAndDropsTheOldest) {
    MakeFile(LogFile(), Logger::kRotateBytes + 10);
    WriteFile(Rotated(1), "one");
    WriteFile(Rotated(2), "two");
    WriteFile(Rotated(3), "three");
    ASSERT_TRUE(logger.Init());
    EXPECT_EQ(fs::file_size(Rotated(1)), Logger::kRotateBytes + 10);
    EXPECT_EQ(ReadFile(Rotated(2)), "one");
    EXPECT_EQ(ReadFile(Rotated(3)), "two");
    EXPECT_EQ(fs::file_size(LogFile()), 0u);
    EXPECT_FALSE(fs::exists(home.LogFolder() / "velmora.4.log"));
}

TEST_F(LoggerTest, AFileGrowingPastTheLimitWhileOpenIsRotatedOnlyAtTheNextOpen) {
    ASSERT_TRUE(logger.Init());
    fs::resize_file(LogFile(), Logger::kRotateBytes + 1);
    logger.Log(LogLevel::Info, "still here");
    EXPECT_FALSE(fs::exists(Rotated(1)));
    logger.Shutdown();
    ASSERT_TRUE(logger.Init());
    EXPECT_TRUE(fs::exists(Rotated(1)));
    EXPECT_EQ(fs::file_size(LogFile()), 0u);
}

TEST_F(LoggerTest, LinesFromManyThreadsStayWholeAndInOrderPerThread) {
    ASSERT_TRUE(logger.Init());
    constexpr int kThreads = 4;
    constexpr int kLinesEach = 200;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([this, thread] {
            for (int line = 0; line < kLinesEach; ++line)
                logger.Log(LogLevel::Info, "t" + std::to_string(thread) + " n" +
                                               std::to_string(line) + std::string(40, '.'));
        });
    threads.emplace_back([this] {
        for (int call = 0; call < kLinesEach; ++call) {
            EXPECT_TRUE(logger.Init());
            EXPECT_FALSE(logger.LogPath().empty());
        }
    });
    for (std::thread& thread : threads)
        thread.join();

    std::vector<int> next(kThreads, 0);
    std::vector<std::string> const lines = Lines(LogFile());
    ASSERT_EQ(lines.size(), std::size_t(kThreads) * kLinesEach);
    for (std::string const& line : lines) {
        std::string const rest = WithoutTimestamp(line);
        int thread = -1;
        int number = -1;
        ASSERT_EQ(std::sscanf(rest.c_str(), "[INFO ] t%d n%d", &thread, &number), 2) << line;
        ASSERT_TRUE(thread >= 0 && thread < kThreads) << line;
        EXPECT_TRUE(IsWellFormedLine(line)) << line;
        EXPECT_EQ(rest, "[INFO ] t" + std::to_string(thread) + " n" + std::to_string(number) +
                            std::string(40, '.'));
        EXPECT_EQ(number, next[thread]++) << line;
    }
}

TEST_F(LoggerTest, ReopeningWhileOtherThreadsLogNeverTearsALine) {
    ASSERT_TRUE(logger.Init());
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([this] {
            for (int line = 0; line < 300; ++line)
                logger.Log(LogLevel::Warn, "message " + std::to_string(line));
        });
    threads.emplace_back([this] {
        for (int cycle = 0; cycle < 50; ++cycle) {
            logger.Shutdown();
            logger.Init();
        }
    });
    for (std::thread& thread : threads)
        thread.join();
    for (std::string const& line : Lines(LogFile()))
        EXPECT_TRUE(IsWellFormedLine(line)) << line;
}

} // namespace
} // namespace Velmora::Testing
