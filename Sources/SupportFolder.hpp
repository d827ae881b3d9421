#pragma once

#include <string>

namespace Velmora {

// The add-on's per-user folder, $HOME/Library/Application Support/VelmoraAI/Archicad: it holds
// settings.cfg, the trigger files and logs/. Empty when HOME is unset or empty; not created.
std::string SupportFolderPath();

} // namespace Velmora
