// Runs one velmora-sim session: load, actions, unload, with the user's view printed.
#pragma once

#include "Sim/SimCommandLine.hpp"

#include <ostream>

namespace Velmora::Sim {

// Returns the process exit status.
int RunSimulation(SimCommandLine const& line, std::ostream& out, std::ostream& err);

} // namespace Velmora::Sim
