// Runs the Khronos glTF validator (tools/js, through node) on .glb files written by a test.
#pragma once

#include <string>
#include <vector>

namespace Velmora::Testing {

// Whether tools/js has its npm packages; tests skip the validator when it does not.
bool GltfValidatorInstalled();

// Validates every file in one run; true when none has an error or a warning. `report` holds
// the validator's per-file counts and messages.
bool ValidateGlbFiles(const std::vector<std::string>& paths, std::string& report);

} // namespace Velmora::Testing
