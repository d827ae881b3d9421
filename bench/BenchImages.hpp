// Deterministic test pictures shared by the image benchmarks.
#pragma once

#include <vector>

namespace Velmora::Bench {

struct Image {
    int width = 0;
    int height = 0;
    int channels = 3;
    std::vector<unsigned char> pixels;

    std::size_t RawBytes() const { return pixels.size(); }
};

// White background with flat polygons in a few category colours.
Image MakeCategoryMask(int width, int height);
// White background with many small elements, each in its own instance colour.
Image MakeInstanceMask(int width, int height);
// Nearest-neighbour enlargement of an instance mask by `factor`, as the renderer does it.
Image MakeEnlargedInstanceMask(int width, int height, int factor);
// Smooth gradients plus sensor-like noise.
Image MakePhotoLike(int width, int height);

// The two shaded renderings of one view the mask renderer divides: every element in its mask
// colour, and every element in white.
struct CapturePair {
    Image colour;
    Image reference;
    std::vector<unsigned char> inUse;
};
CapturePair MakeCapturePair(int width, int height);

} // namespace Velmora::Bench
