// Runs the velmora-sim program and captures what it printed.
#pragma once

#include <string>
#include <vector>

namespace Velmora::Testing {

struct SimRun {
    int exitStatus = -1;
    std::string out;
    std::string err;
    std::vector<std::string> OutLines() const;
};

// args are passed one by one, without a shell seeing them.
SimRun RunVelmoraSim(std::vector<std::string> const& args);

} // namespace Velmora::Testing
