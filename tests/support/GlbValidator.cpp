#include "support/GlbValidator.hpp"

#include <cstdio>
#include <filesystem>
#include <sys/wait.h>

namespace Velmora::Testing {
namespace {

const std::filesystem::path kToolsDir = VELMORA_JS_TOOLS_DIR;

std::string ShellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

} // namespace

bool GltfValidatorInstalled() {
    std::error_code ignored;
    return std::filesystem::is_directory(kToolsDir / "node_modules" / "gltf-validator", ignored);
}

bool ValidateGlbFiles(const std::vector<std::string>& paths, std::string& report) {
    report.clear();
    std::string command = "node " + ShellQuoted((kToolsDir / "validate-glb.mjs").string());
    for (const auto& path : paths) {
        command += " " + ShellQuoted(path);
    }
    command += " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) {
        report = "cannot start node";
        return false;
    }
    char buffer[4096];
    std::size_t read;
    while ((read = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) {
        report.append(buffer, read);
    }
    const int status = pclose(pipe);
    return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace Velmora::Testing
