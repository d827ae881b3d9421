// The argument checks and failure contract shared by every platform's image service: bad
// arguments and memory exhaustion give false with the outputs cleared, never an exception.
#pragma once

#include <cstddef>
#include <new>
#include <vector>

namespace Velmora::ve_detail {

template <typename StitchFn>
bool GuardedStitch(std::vector<std::vector<unsigned char>> const& tiles, int cols, int rows,
                   std::vector<unsigned char>& outJpeg, int& outW, int& outH, StitchFn stitch) {
    auto const fail = [&] {
        outJpeg.clear();
        outW = 0;
        outH = 0;
        return false;
    };
    fail();
    if (cols < 1 || rows < 1 ||
        tiles.size() != static_cast<std::size_t>(cols) * static_cast<std::size_t>(rows))
        return false;
    try {
        return stitch() || fail();
    } catch (std::bad_alloc const&) {
        return fail();
    }
}

template <typename CropFn>
bool GuardedCrop(std::vector<unsigned char> const& jpeg, int x, int y, int w, int h,
                 std::vector<unsigned char>& outJpeg, CropFn crop) {
    outJpeg.clear();
    if (x < 0 || y < 0 || w < 1 || h < 1 || jpeg.empty())
        return false;
    try {
        if (crop())
            return true;
    } catch (std::bad_alloc const&) {
    }
    outJpeg.clear();
    return false;
}

} // namespace Velmora::ve_detail
