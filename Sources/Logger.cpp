#include "Logger.hpp"

#include "SupportFolder.hpp"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>

namespace Velmora {

namespace {

namespace fs = std::filesystem;

constexpr char kLogFileName[] = "velmora.log";

fs::path RotatedPath(fs::path const& folder, int number) {
    return folder / ("velmora." + std::to_string(number) + ".log");
}

} // namespace

Logger& Logger::Get() {
    static Logger logger;
    return logger;
}

Logger::Logger() = default;

Logger::~Logger() {
    Shutdown();
}

bool Logger::Init() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (ready_)
        return stream_.is_open();
    if (!ResolveAndEnsureLogDir())
        return false;
    RotateIfNeeded();
    stream_.open(logPath_, std::ios::out | std::ios::app);
    ready_ = stream_.is_open();
    return ready_;
}

void Logger::Log(LogLevel level, std::string const& message) {
    // minLevel never changes after construction, so this test needs no lock.
    if (static_cast<std::int32_t>(level) > static_cast<std::int32_t>(minLevel_))
        return;
    std::lock_guard<std::mutex> lock(mutex_);
    if (!stream_.is_open())
        return;
    stream_ << TimestampUtc() << " [" << LevelTag(level) << "] " << message << '\n';
    stream_.flush(); // every line is on disk when Log returns, for the sake of crashes
}

void Logger::Shutdown() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (stream_.is_open()) {
        stream_.flush();
        stream_.close();
    }
    ready_ = false;
}

bool Logger::OpenLogFolder() const {
    std::string const folder = LogDir();
    return !folder.empty() && OpenPathInOS(folder);
}

bool Logger::OpenLogFile() const {
    std::string const file = LogPath();
    return !file.empty() && OpenPathInOS(file);
}

std::string Logger::LogDir() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return logDir_;
}

std::string Logger::LogPath() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return logPath_;
}

char const* Logger::LevelTag(LogLevel level) {
    static char const* const kTags[] = {"ERROR", "WARN ", "INFO ", "DEBUG"};
    auto const index = static_cast<std::int32_t>(level);
    if (index < 0 || index > 3)
        return "?????";
    return kTags[index];
}

std::string Logger::TimestampUtc() {
    auto const sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    long long const totalMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count();
    long long seconds = totalMs / 1000;
    long long millisecond = totalMs % 1000;
    if (millisecond < 0) { // before 1970 the division rounds towards zero
        millisecond += 1000;
        --seconds;
    }
    std::time_t const whole = static_cast<std::time_t>(seconds);
    std::tm utc{};
    gmtime_r(&whole, &utc);
    char buffer[32];
    int const written = std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ",
                                      utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour,
                                      utc.tm_min, utc.tm_sec, static_cast<int>(millisecond));
    return written > 0 ? std::string(buffer) : std::string();
}

// Resolved afresh at every open, so a changed HOME is never logged into the old folder.
bool Logger::ResolveAndEnsureLogDir() {
    logDir_.clear();
    logPath_.clear();
    std::string const support = SupportFolderPath();
    if (support.empty())
        return false;
    fs::path const folder = fs::path(support) / "logs";
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        return false;
    logDir_ = folder.string();
    logPath_ = (folder / kLogFileName).string();
    return true;
}

// Only at open: a log may grow past the limit while the host runs.
void Logger::RotateIfNeeded() {
    fs::path const folder(logDir_);
    std::error_code error;
    std::uintmax_t const size = fs::file_size(logPath_, error);
    if (error || size < kRotateBytes)
        return;
    fs::remove(RotatedPath(folder, 3), error);
    fs::rename(RotatedPath(folder, 2), RotatedPath(folder, 3), error);
    fs::rename(RotatedPath(folder, 1), RotatedPath(folder, 2), error);
    fs::rename(logPath_, RotatedPath(folder, 1), error);
}

} // namespace Velmora
