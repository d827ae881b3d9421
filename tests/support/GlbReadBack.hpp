// Reads a .glb with tinygltf, an independent reader, and checks what the file claims about itself.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace Velmora::Testing {

struct ReadBackTriangle {
    std::array<std::array<float, 3>, 3> positions; // output axes, after re-centring
    std::array<std::array<float, 3>, 3> normals;
    std::array<std::array<float, 2>, 3> uvs; // zero when the primitive has no TEXCOORD_0
    int material = -1;                       // the primitive's material index in the file
};

struct ReadBackMaterial {
    std::string name;
    std::array<double, 4> baseColorFactor{};
    int baseColorTexture = -1; // texture index, -1 when none
    std::string alphaMode;     // "OPAQUE", "MASK" or "BLEND"
    double alphaCutoff = 0.5;
    bool doubleSided = false;
};

struct GlbReadBack {
    std::string json;               // the JSON chunk as stored, padding included
    std::vector<unsigned char> bin; // the BIN chunk as stored, padding included
    std::vector<ReadBackTriangle> triangles;
    std::vector<ReadBackMaterial> materials;
    std::vector<std::vector<unsigned char>> images; // each embedded image's bytes, in order
    std::vector<std::size_t> imageByteOffsets;      // where each image starts in the BIN chunk
    std::vector<std::string> imageMimeTypes;
};

// Parses `glb` and checks: the container's lengths; every accessor's type, count and range
// within its buffer view, every view's range within the buffer; POSITION min/max equal to the
// data's; every index below its primitive's vertex count; texture, image and material
// references. Returns false with the first problem in `problem`; images are not decoded.
bool ReadBackGlb(const std::vector<unsigned char>& glb, GlbReadBack& out, std::string& problem);

} // namespace Velmora::Testing
