// Points HOME at a fresh temporary folder for the lifetime of a test, and restores it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Velmora::Testing {

class TempHome {
public:
    TempHome();
    ~TempHome();
    TempHome(TempHome const&) = delete;
    TempHome& operator=(TempHome const&) = delete;

    std::filesystem::path const& Path() const { return path_; }
    // $HOME/Library/Application Support/VelmoraAI/Archicad
    std::filesystem::path SupportFolder() const;
    std::filesystem::path LogFolder() const { return SupportFolder() / "logs"; }

private:
    std::filesystem::path path_;
    std::optional<std::string> previous_;
};

// Unsets HOME for the lifetime of a test.
class NoHome {
public:
    NoHome();
    ~NoHome();
    NoHome(NoHome const&) = delete;
    NoHome& operator=(NoHome const&) = delete;

private:
    std::optional<std::string> previous_;
};

std::string ReadFile(std::filesystem::path const& path);
void WriteFile(std::filesystem::path const& path, std::string const& content);
// The lines of a log holding `needle`, each without its leading timestamp.
std::vector<std::string> LinesWith(std::string const& log, std::string const& needle);

} // namespace Velmora::Testing
