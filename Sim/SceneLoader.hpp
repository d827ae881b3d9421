// Reads a scene file (SceneFormat.md) into a Scene. Errors name the file and either the line
// (the file is not JSON) or the JSON pointer of the offending value, and say what is wrong.
#pragma once

#include "Sim/Scene.hpp"

#include <optional>
#include <string>

namespace Velmora::Sim {

// name is used in messages only.
std::optional<Scene> ParseScene(std::string const& text, std::string const& name,
                                std::string& error);
std::optional<Scene> LoadSceneFile(std::string const& path, std::string& error);

// Largest scene the simulator agrees to tessellate, in triangles.
constexpr long long kMaxSceneTriangles = 20'000'000;

} // namespace Velmora::Sim
