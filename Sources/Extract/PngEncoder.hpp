// The add-on's own PNG writer: adaptive row filters and one fixed-Huffman deflate block.
#pragma once

#include <vector>

namespace Velmora {

bool EncodeImageToPng(const std::vector<unsigned char>& pixels, int width, int height, int channels,
                      std::vector<unsigned char>& png);
bool EncodeRgbToPng(const std::vector<unsigned char>& rgb, int width, int height,
                    std::vector<unsigned char>& png);

} // namespace Velmora
