// Our PNG writer against libpng (zlib levels 1 and 6) and stb_image_write on the same pictures.
#include "BenchImages.hpp"
#include "ReferenceEncoders.hpp"

#include "Extract/PngEncoder.hpp"

#include <benchmark/benchmark.h>

#include <stdexcept>
#include <string>

namespace Velmora::Bench {
namespace {

enum class Picture { CategoryMask, InstanceMask, PhotoLike };
enum class Writer { Velmora, LibpngLevel1, LibpngLevel6, Stb };

const Image& GetPicture(Picture picture) {
    switch (picture) {
    case Picture::CategoryMask: {
        static const Image image = MakeCategoryMask(4096, 2304);
        return image;
    }
    case Picture::InstanceMask: {
        static const Image image = MakeEnlargedInstanceMask(1920, 1080, 4);
        return image;
    }
    case Picture::PhotoLike:
        break;
    }
    static const Image image = MakePhotoLike(1920, 1080);
    return image;
}

bool Encode(Writer writer, const Image& image, std::vector<unsigned char>& png) {
    switch (writer) {
    case Writer::Velmora:
        return EncodeImageToPng(image.pixels, image.width, image.height, image.channels, png);
    case Writer::LibpngLevel1:
        return EncodeWithLibpng(image.pixels.data(), image.width, image.height, image.channels, 1,
                                png);
    case Writer::LibpngLevel6:
        return EncodeWithLibpng(image.pixels.data(), image.width, image.height, image.channels, 6,
                                png);
    case Writer::Stb:
        break;
    }
#ifdef VELMORA_HAVE_STB
    return EncodeWithStb(image.pixels.data(), image.width, image.height, image.channels, png);
#else
    return false;
#endif
}

void EncodePicture(benchmark::State& state, Picture picture, Writer writer) {
    const Image& image = GetPicture(picture);
    std::vector<unsigned char> png;
    for (auto _ : state) {
        if (!Encode(writer, image, png)) {
            state.SkipWithError("encoder failed");
            break;
        }
        benchmark::DoNotOptimize(png.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(image.RawBytes()));
    state.counters["out_bytes"] = static_cast<double>(png.size());
}

bool RegisterEncoderBenchmarks() {
    const std::pair<Picture, const char*> pictures[] = {
        {Picture::CategoryMask, "category_mask_4096x2304"},
        {Picture::InstanceMask, "instance_mask_7680x4320"},
        {Picture::PhotoLike, "photo_1920x1080"}};
    std::vector<std::pair<Writer, const char*>> writers = {{Writer::Velmora, "velmora"},
                                                           {Writer::LibpngLevel1, "libpng_z1"},
                                                           {Writer::LibpngLevel6, "libpng_z6"}};
#ifdef VELMORA_HAVE_STB
    writers.emplace_back(Writer::Stb, "stb");
#endif
    for (const auto& [picture, pictureName] : pictures) {
        for (const auto& [writer, writerName] : writers) {
            const std::string name = std::string("EncodePng/") + pictureName + "/" + writerName;
            benchmark::RegisterBenchmark(name.c_str(), EncodePicture, picture, writer)
                ->Unit(benchmark::kMillisecond);
        }
    }
    return true;
}

const bool kRegistered = RegisterEncoderBenchmarks();

} // namespace
} // namespace Velmora::Bench
