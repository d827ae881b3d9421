#include "ReferenceEncoders.hpp"

#ifdef VELMORA_HAVE_STB

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb_image_write.h>

namespace Velmora::Bench {
namespace {

void AppendToVector(void* context, void* data, int size) {
    auto* out = static_cast<std::vector<unsigned char>*>(context);
    const auto* bytes = static_cast<const unsigned char*>(data);
    out->insert(out->end(), bytes, bytes + size);
}

} // namespace

bool EncodeWithStb(const unsigned char* pixels, int width, int height, int channels,
                   std::vector<unsigned char>& png) {
    png.clear();
    return stbi_write_png_to_func(AppendToVector, &png, width, height, channels, pixels,
                                  width * channels) != 0;
}

} // namespace Velmora::Bench

#endif
