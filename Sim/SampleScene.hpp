// The built-in sample building: read from the source tree when it is there, otherwise from
// the copy compiled into the program, so that velmora-sim works from anywhere.
#pragma once

#include "Sim/Scene.hpp"

#include <optional>
#include <string>

namespace Velmora::Sim {

std::string SampleScenePath();
std::optional<Scene> LoadSampleScene(std::string& error);

// The scene at path, or the sample building when path is empty.
std::optional<Scene> LoadSceneOrSample(std::string const& path, std::string& error);

} // namespace Velmora::Sim
