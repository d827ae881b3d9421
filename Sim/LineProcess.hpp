// A child process spoken to in text lines over its standard input and output; its standard
// error is the parent's.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Velmora::Sim {

class LineProcess {
public:
    // Starts argv[0] (searched on PATH); error says why it could not start.
    bool Start(std::vector<std::string> const& argv, std::string& error);
    ~LineProcess();

    // Any thread. False once the child's input is closed or the child is gone.
    bool WriteLine(std::string const& line);
    // One reading thread at a time. nullopt at the end of the child's output, or when no
    // whole line came within the timeout (when one is given).
    std::optional<std::string>
    ReadLine(std::optional<std::chrono::milliseconds> timeout = std::nullopt);
    // Ends the child's input: the child's cue to finish.
    void CloseInput();
    // Waits up to grace for the child to exit, then kills it; reaps it either way.
    void Finish(std::chrono::milliseconds grace);

private:
    bool FillBuffer(std::optional<std::chrono::milliseconds> timeout);

    pid_t pid_ = -1;
    int input_ = -1;  // the child's stdin, written here
    int output_ = -1; // the child's stdout, read here
    std::mutex writeMutex_;
    std::string buffer_;
    bool outputEnded_ = false;
};

} // namespace Velmora::Sim
