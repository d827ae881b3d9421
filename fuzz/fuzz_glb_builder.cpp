// Feeds triangles shaped by the input (NaN, infinities, huge and tiny values, repeats, bad
// material indices, images of odd sizes) into the .glb writer; whenever it builds a file,
// tinygltf must read it back with every check passing and the accepted triangles in it.
#include "Export/GlbBuilder.hpp"
#include "support/GlbReadBack.hpp"

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace {

// Coordinates stay within +-1e37 so that re-centred positions still fit in a float: beyond
// that the file would hold infinite positions, which the caller never passes (model metres).
constexpr double kSpecial[16] = {std::numeric_limits<double>::quiet_NaN(),
                                 std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity(),
                                 0.0,
                                 -0.0,
                                 1e37,
                                 -1e37,
                                 1e-300,
                                 std::numeric_limits<double>::denorm_min(),
                                 DBL_MIN,
                                 1.0,
                                 -1.0,
                                 0.5,
                                 1e6,
                                 123456.789,
                                 3.0};

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool Empty() const { return at_ >= size_; }
    std::uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0; }
    // A few special values, otherwise a small grid so that corners repeat.
    double Value() {
        const std::uint8_t b = Byte();
        return b < 16 ? kSpecial[b] : (b - 136) * 0.25;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

void Fail(const std::string& what) {
    std::fprintf(stderr, "fuzz_glb_builder: %s\n", what.c_str());
    std::abort();
}

void AddImagesAndMaterials(Input& input, Velmora::GlbBuilder& builder) {
    const int images = input.Byte() % 4;
    for (int i = 0; i < images; ++i) {
        std::vector<unsigned char> bytes(input.Byte() % 8, static_cast<unsigned char>(i + 1));
        builder.AddTexture(std::move(bytes), i % 2 ? "image/jpeg" : "image/png",
                           i == 1 ? "name \"\x01\"" : "");
    }
    const int materials = input.Byte() % 6;
    for (int m = 0; m < materials; ++m) {
        Velmora::GlbMaterial material;
        material.baseColorTexture = static_cast<std::int8_t>(input.Byte()) % 5;
        material.baseColor[0] = input.Byte() / 100.0 - 0.5;
        material.baseColor[3] = input.Byte() / 127.0 - 0.5;
        const std::uint8_t flags = input.Byte();
        material.alphaCutout = flags & 1;
        material.doubleSided = flags & 2;
        material.name = flags & 4 ? "m\\" + std::to_string(m) : "";
        builder.AddMaterial(material);
    }
}

struct Submitted {
    int material;
    double position[3][3];
};

void CheckReadBack(const Velmora::GlbBuilder& builder, const std::vector<Submitted>& accepted) {
    std::vector<unsigned char> glb;
    Velmora::GlbBuildStats stats;
    std::string error;
    if (!builder.Build("fuzz", glb, stats, error)) {
        if (!accepted.empty() || error != "no triangles to export" || !glb.empty()) {
            Fail("Build failed: " + error);
        }
        return;
    }
    Velmora::Testing::GlbReadBack read;
    std::string problem;
    if (!Velmora::Testing::ReadBackGlb(glb, read, problem)) {
        Fail("read-back: " + problem);
    }
    if (read.triangles.size() != accepted.size() || stats.triangleCount != accepted.size()) {
        Fail("triangle count differs");
    }
    // Triangles come back grouped by material in submission order; materials are renumbered
    // densely, so compare material by material.
    std::size_t next = 0;
    for (int material = 0; material < 8; ++material) {
        for (const Submitted& s : accepted) {
            if (s.material != material) {
                continue;
            }
            const auto& got = read.triangles[next++].positions;
            for (int k = 0; k < 3; ++k) {
                const double* p = s.position[k];
                const float expected[3] = {static_cast<float>(p[0] - stats.originalOffset[0]),
                                           static_cast<float>(p[2] - stats.originalOffset[2]),
                                           -static_cast<float>(p[1] - stats.originalOffset[1])};
                for (int axis = 0; axis < 3; ++axis) {
                    if (got[static_cast<std::size_t>(k)][static_cast<std::size_t>(axis)] !=
                        expected[axis]) {
                        Fail("position differs");
                    }
                }
            }
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    Velmora::GlbBuilder builder;
    AddImagesAndMaterials(input, builder);
    std::vector<Submitted> accepted;
    while (!input.Empty()) {
        Submitted s{static_cast<std::int8_t>(input.Byte()) % 8, {}};
        double normal[3][3], uv[3][2];
        for (int k = 0; k < 3; ++k) {
            for (int axis = 0; axis < 3; ++axis) {
                s.position[k][axis] = input.Value();
                normal[k][axis] = input.Value();
            }
            uv[k][0] = input.Value();
            uv[k][1] = input.Value();
        }
        if (builder.AddTriangle(s.material, s.position[0], normal[0], uv[0], s.position[1],
                                normal[1], uv[1], s.position[2], normal[2], uv[2])) {
            accepted.push_back(s);
        }
    }
    CheckReadBack(builder, accepted);
    return 0;
}
