#include "support/SimProcess.hpp"

#include "support/TempHome.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace Velmora::Testing {

namespace fs = std::filesystem;

std::vector<std::string> SimRun::OutLines() const {
    std::vector<std::string> lines;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

SimRun RunVelmoraSim(std::vector<std::string> const& args) {
    // velmora-sim lands beside the test programs.
    std::string const program =
        (fs::read_symlink("/proc/self/exe").parent_path() / "velmora-sim").string();
    std::string pattern = (fs::temp_directory_path() / "velmora-simrun-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    fs::path const folder = pattern;
    std::string const outFile = (folder / "out").string();
    std::string const errFile = (folder / "err").string();

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, outFile.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, errFile.c_str(), O_WRONLY | O_CREAT, 0600);
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (std::string const& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);

    SimRun run;
    pid_t pid = 0;
    if (posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ) == 0) {
        int status = 0;
        waitpid(pid, &status, 0);
        run.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    posix_spawn_file_actions_destroy(&actions);
    run.out = ReadFile(outFile);
    run.err = ReadFile(errFile);
    std::error_code ignored;
    fs::remove_all(folder, ignored);
    return run;
}

} // namespace Velmora::Testing
