// velmora-sim's options for the simulated 3D window (--window, --display-scale, ...).
#pragma once

#include "Sim/SimWindowOptions.hpp"

#include <string>
#include <vector>

namespace Velmora::Sim {

// Whether args[i] is a window option; if so it is applied (taking its value from args[i + 1]
// and advancing i), and false is left in ok with a message in error when it is wrong.
bool TakeWindowOption(std::vector<std::string> const& args, std::size_t& i,
                      SimWindowOptions& options, bool& ok, std::string& error);

// The options' lines for --help.
char const* WindowOptionsUsage();

} // namespace Velmora::Sim
