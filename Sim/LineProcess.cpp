#include "Sim/LineProcess.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

extern char** environ;

namespace Velmora::Sim {

namespace {

constexpr auto kReapStep = std::chrono::milliseconds(20);

void CloseFd(int& fd) {
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

bool ChildExited(pid_t pid) {
    int status = 0;
    pid_t const done = ::waitpid(pid, &status, WNOHANG);
    return done == pid || (done < 0 && errno == ECHILD);
}

} // namespace

bool LineProcess::Start(std::vector<std::string> const& argv, std::string& error) {
    int toChild[2];
    int fromChild[2];
    if (::pipe2(toChild, O_CLOEXEC) != 0) {
        error = std::string("pipe: ") + std::strerror(errno);
        return false;
    }
    if (::pipe2(fromChild, O_CLOEXEC) != 0) {
        error = std::string("pipe: ") + std::strerror(errno);
        ::close(toChild[0]);
        ::close(toChild[1]);
        return false;
    }
    // A child that dies must not take this process with it when a line is written to it.
    ::signal(SIGPIPE, SIG_IGN);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, toChild[0], 0);
    posix_spawn_file_actions_adddup2(&actions, fromChild[1], 1);
    std::vector<char*> args;
    for (std::string const& arg : argv)
        args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    int const spawned = ::posix_spawnp(&pid_, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(toChild[0]);
    ::close(fromChild[1]);
    input_ = toChild[1];
    output_ = fromChild[0];
    if (spawned != 0) {
        error = "cannot start " + argv[0] + ": " + std::strerror(spawned);
        pid_ = -1;
        CloseFd(input_);
        CloseFd(output_);
        return false;
    }
    return true;
}

LineProcess::~LineProcess() {
    CloseInput();
    Finish(std::chrono::milliseconds(0));
    CloseFd(output_);
}

bool LineProcess::WriteLine(std::string const& line) {
    std::lock_guard<std::mutex> lock(writeMutex_);
    if (input_ < 0)
        return false;
    std::string const text = line + "\n";
    for (std::size_t written = 0; written < text.size();) {
        ssize_t const n = ::write(input_, text.data() + written, text.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        written += static_cast<std::size_t>(n);
    }
    return true;
}

bool LineProcess::FillBuffer(std::optional<std::chrono::milliseconds> timeout) {
    pollfd ready{output_, POLLIN, 0};
    int const waited = ::poll(&ready, 1, timeout ? static_cast<int>(timeout->count()) : -1);
    if (waited == 0 || (waited < 0 && errno == EINTR))
        return false;
    char chunk[4096];
    ssize_t const n = waited < 0 ? -1 : ::read(output_, chunk, sizeof(chunk));
    if (n <= 0) {
        outputEnded_ = true;
        return false;
    }
    buffer_.append(chunk, static_cast<std::size_t>(n));
    return true;
}

std::optional<std::string> LineProcess::ReadLine(std::optional<std::chrono::milliseconds> timeout) {
    auto const deadline = std::chrono::steady_clock::now() + timeout.value_or(kReapStep);
    for (;;) {
        std::size_t const end = buffer_.find('\n');
        if (end != std::string::npos) {
            std::string line = buffer_.substr(0, end);
            buffer_.erase(0, end + 1);
            return line;
        }
        if (outputEnded_ || output_ < 0)
            return std::nullopt;
        std::optional<std::chrono::milliseconds> left;
        if (timeout) {
            left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left->count() <= 0)
                return std::nullopt;
        }
        FillBuffer(left);
    }
}

void LineProcess::CloseInput() {
    std::lock_guard<std::mutex> lock(writeMutex_);
    CloseFd(input_);
}

void LineProcess::Finish(std::chrono::milliseconds grace) {
    if (pid_ < 0)
        return;
    auto const deadline = std::chrono::steady_clock::now() + grace;
    while (!ChildExited(pid_)) {
        if (std::chrono::steady_clock::now() >= deadline) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
            break;
        }
        std::this_thread::sleep_for(kReapStep);
    }
    pid_ = -1;
}

} // namespace Velmora::Sim
