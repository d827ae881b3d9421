// The names of the host calls the simulated host answers, as the call log and --fail / --throw
// spell them: every port method, plus the model reader's reads.
#pragma once

#include <string>
#include <vector>

namespace Velmora::Sim {

std::vector<std::string> const& PortCallNames();
bool IsPortCall(std::string const& name);
// The listed name closest to name (fewest single-character edits), for a "did you mean".
std::string NearestPortCall(std::string const& name);

} // namespace Velmora::Sim
