#pragma once

#include <cstdint>
#include <fstream>
#include <mutex>
#include <string>

namespace Velmora {

enum class LogLevel : std::int32_t { Error = 0, Warn = 1, Info = 2, Debug = 3 };

// The add-on's rotating log file in the per-user folder.
class Logger {
public:
    static constexpr std::uintmax_t kRotateBytes = 2097152; // 2 MiB

    static Logger& Get();

    Logger();
    ~Logger();
    Logger(Logger const&) = delete;
    Logger& operator=(Logger const&) = delete;

    bool Init();
    void Log(LogLevel level, std::string const& message);
    void Shutdown();

    bool OpenLogFolder() const;
    bool OpenLogFile() const;

    // Folder and file, empty until Init resolved them.
    std::string LogDir() const;
    std::string LogPath() const;

    static char const* LevelTag(LogLevel level);
    static std::string TimestampUtc();

private:
    bool ResolveAndEnsureLogDir();
    void RotateIfNeeded();

    mutable std::mutex mutex_;
    std::ofstream stream_;
    std::string logDir_;
    std::string logPath_;
    LogLevel minLevel_ = LogLevel::Info;
    bool ready_ = false;
};

// Opens a file or folder with the system's opener (open on macOS, xdg-open elsewhere).
// The path is passed as its own argument, never through a shell. Returns whether the
// opener ran and exited with status 0.
bool OpenPathInOS(std::string const& path);

} // namespace Velmora
