#include "Sim/SampleScene.hpp"

#include "Sim/SceneLoader.hpp"

#include <filesystem>

namespace Velmora::Sim {

// Generated from scenes/sample-house.json at configure time.
extern char const* const kEmbeddedSampleScene;

std::string SampleScenePath() {
    return VELMORA_SAMPLE_SCENE_FILE;
}

std::optional<Scene> LoadSampleScene(std::string& error) {
    std::error_code ec;
    if (std::filesystem::exists(SampleScenePath(), ec))
        return LoadSceneFile(SampleScenePath(), error);
    return ParseScene(kEmbeddedSampleScene, "sample-house.json (built in)", error);
}

std::optional<Scene> LoadSceneOrSample(std::string const& path, std::string& error) {
    return path.empty() ? LoadSampleScene(error) : LoadSceneFile(path, error);
}

} // namespace Velmora::Sim
