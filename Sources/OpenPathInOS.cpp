// Shows a file or folder through the system's opener. The path travels as its own argument
// vector element and no shell is involved, so quotes, "$(...)" or ";" in a path run nothing.
#include "Logger.hpp"

#include <cerrno>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>

#ifdef __APPLE__
#include <crt_externs.h> // bundles cannot reference environ directly
#else
extern char** environ;
#endif

namespace Velmora {

namespace {

char* const* CurrentEnvironment() {
#ifdef __APPLE__
    return *_NSGetEnviron();
#else
    return environ;
#endif
}

std::string SystemOpener() {
#ifdef __APPLE__
    return "open";
#else
    return "xdg-open";
#endif
}

// Starts program (looked up on PATH) with one argument, waits, and reports a zero exit.
bool SpawnAndWait(std::string program, std::string argument) {
    char* argv[] = {program.data(), argument.data(), nullptr};
    pid_t child = 0;
    if (posix_spawnp(&child, program.c_str(), nullptr, nullptr, argv, CurrentEnvironment()) != 0)
        return false;
    int status = 0;
    pid_t waited = 0;
    do {
        waited = waitpid(child, &status, 0);
    } while (waited < 0 && errno == EINTR);
    return waited == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

bool OpenPathInOS(std::string const& path) {
    if (path.empty())
        return false;
    return SpawnAndWait(SystemOpener(), path);
}

} // namespace Velmora
