#include "SupportFolder.hpp"

#include <cstdlib>
#include <filesystem>

namespace Velmora {

std::string SupportFolderPath() {
    char const* home = std::getenv("HOME");
    if (home == nullptr || *home == '\0')
        return std::string();
    return (std::filesystem::path(home) / "Library" / "Application Support" / "VelmoraAI" /
            "Archicad")
        .string();
}

} // namespace Velmora
