// Feeds arbitrary bytes to the JPEG marker walk and checks what it promises about its outputs.
#include "Extract/Raster.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<unsigned char> jpeg(data, data + size);
    constexpr int kUntouched = -12345;
    int width = kUntouched;
    int height = kUntouched;
    const bool found = Velmora::JpegPixelSize(jpeg, width, height);
    if (!found) {
        if (width != kUntouched || height != kUntouched) {
            std::abort(); // nothing is written on failure
        }
        return 0;
    }
    // The sizes are 16-bit fields of a frame header found after a start-of-image marker.
    if (width < 0 || width > 65535 || height < 0 || height > 65535 || size < 12 ||
        data[0] != 0xFF || data[1] != 0xD8) {
        std::abort();
    }
    return 0;
}
