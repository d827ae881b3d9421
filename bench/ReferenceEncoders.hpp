// The PNG writers people would otherwise reach for, for side-by-side comparison.
#pragma once

#include <vector>

namespace Velmora::Bench {

// libpng with its default adaptive filtering and zlib at `level`.
bool EncodeWithLibpng(const unsigned char* pixels, int width, int height, int channels, int level,
                      std::vector<unsigned char>& png);

#ifdef VELMORA_HAVE_STB
// stb_image_write with its default settings.
bool EncodeWithStb(const unsigned char* pixels, int width, int height, int channels,
                   std::vector<unsigned char>& png);
#endif

} // namespace Velmora::Bench
