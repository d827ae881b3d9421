// Arbitrary bytes as a scene file: the loader must refuse or accept, never crash.
#include "Sim/SceneLoader.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(reinterpret_cast<char const*>(data), size);
    std::string error;
    auto const scene = Velmora::Sim::ParseScene(text, "fuzz.json", error);
    if (!scene && error.empty())
        std::abort(); // a refusal must always say why
    return 0;
}
