#include "support/TempHome.hpp"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace Velmora::Testing {

namespace {

std::optional<std::string> CurrentHome() {
    char const* home = std::getenv("HOME");
    if (home == nullptr)
        return std::nullopt;
    return std::string(home);
}

void RestoreHome(std::optional<std::string> const& previous) {
    if (previous)
        ::setenv("HOME", previous->c_str(), 1);
    else
        ::unsetenv("HOME");
}

} // namespace

TempHome::TempHome() : previous_(CurrentHome()) {
    std::string pattern = (std::filesystem::temp_directory_path() / "velmora-home-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
    ::setenv("HOME", path_.c_str(), 1);
}

TempHome::~TempHome() {
    RestoreHome(previous_);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TempHome::SupportFolder() const {
    return path_ / "Library" / "Application Support" / "VelmoraAI" / "Archicad";
}

NoHome::NoHome() : previous_(CurrentHome()) {
    ::unsetenv("HOME");
}

NoHome::~NoHome() {
    RestoreHome(previous_);
}

std::string ReadFile(std::filesystem::path const& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

std::vector<std::string> LinesWith(std::string const& log, std::string const& needle) {
    std::vector<std::string> lines;
    std::istringstream in(log);
    for (std::string line; std::getline(in, line);)
        if (line.find(needle) != std::string::npos)
            lines.push_back(line.substr(line.find(' ') + 1));
    return lines;
}

void WriteFile(std::filesystem::path const& path, std::string const& content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

} // namespace Velmora::Testing
