// Feeds arbitrary bytes to the BMP decoder and checks what it promises about its outputs.
#include "Extract/Raster.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<unsigned char> bmp(data, data + size);
    int width = -1;
    int height = -1;
    std::vector<unsigned char> rgb = {1, 2, 3};
    const bool decoded = Velmora::DecodeBmpToRgb(bmp, width, height, rgb);
    if (!decoded) {
        if (width != 0 || height != 0 || !rgb.empty()) {
            std::abort(); // failures leave cleared outputs
        }
        return 0;
    }
    if (width < 1 || height < 1 || width > 100000 || height > 100000 ||
        rgb.size() != static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3 ||
        size < 54 || data[0] != 'B' || data[1] != 'M') {
        std::abort();
    }
    return 0;
}
