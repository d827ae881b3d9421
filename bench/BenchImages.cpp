#include "BenchImages.hpp"

#include "Extract/CategoryPalette.hpp"
#include "Extract/Raster.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <stdexcept>

namespace Velmora::Bench {
namespace {

constexpr int kCategoryShapes = 60;
constexpr int kInstanceShapes = 1200;
constexpr int kFirstInstanceIndex = kCategoryCount;

struct Point {
    double x = 0;
    double y = 0;
};

int Uniform(std::mt19937& rng, int low, int high) {
    return low + static_cast<int>(rng() % static_cast<std::uint32_t>(high - low + 1));
}

Image WhiteImage(int width, int height) {
    Image image;
    image.width = width;
    image.height = height;
    image.pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3,
                        255);
    return image;
}

void PutPixel(Image& image, int x, int y, Rgb8 colour) {
    const std::size_t at = (static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) +
                            static_cast<std::size_t>(x)) *
                           3;
    image.pixels[at] = colour.r;
    image.pixels[at + 1] = colour.g;
    image.pixels[at + 2] = colour.b;
}

void FillRect(Image& image, int x0, int y0, int w, int h, Rgb8 colour) {
    for (int y = std::max(y0, 0); y < std::min(y0 + h, image.height); ++y) {
        for (int x = std::max(x0, 0); x < std::min(x0 + w, image.width); ++x) {
            PutPixel(image, x, y, colour);
        }
    }
}

double EdgeSide(Point a, Point b, double x, double y) {
    return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
}

void FillTriangle(Image& image, Point a, Point b, Point c, Rgb8 colour) {
    const int x0 = std::max(0, static_cast<int>(std::min({a.x, b.x, c.x})));
    const int x1 = std::min(image.width - 1, static_cast<int>(std::max({a.x, b.x, c.x})));
    const int y0 = std::max(0, static_cast<int>(std::min({a.y, b.y, c.y})));
    const int y1 = std::min(image.height - 1, static_cast<int>(std::max({a.y, b.y, c.y})));
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x) {
            const double px = x + 0.5;
            const double py = y + 0.5;
            const double e0 = EdgeSide(a, b, px, py);
            const double e1 = EdgeSide(b, c, px, py);
            const double e2 = EdgeSide(c, a, px, py);
            if ((e0 >= 0 && e1 >= 0 && e2 >= 0) || (e0 <= 0 && e1 <= 0 && e2 <= 0)) {
                PutPixel(image, x, y, colour);
            }
        }
    }
}

// Rectangles (walls, slabs seen head-on) and triangles (roofs, oblique faces) of up to
// `maxSize` pixels.
void DrawShape(Image& image, std::mt19937& rng, int maxSize, Rgb8 colour) {
    const int x = Uniform(rng, 0, image.width - 1);
    const int y = Uniform(rng, 0, image.height - 1);
    const int w = Uniform(rng, maxSize / 8, maxSize);
    const int h = Uniform(rng, maxSize / 8, maxSize);
    if (rng() % 2 == 0) {
        FillRect(image, x, y, w, h, colour);
        return;
    }
    const Point a{static_cast<double>(x), static_cast<double>(y)};
    const Point b{static_cast<double>(x + w), static_cast<double>(y + Uniform(rng, 0, h))};
    const Point c{static_cast<double>(x + Uniform(rng, 0, w)), static_cast<double>(y + h)};
    FillTriangle(image, a, b, c, colour);
}

} // namespace

Image MakeCategoryMask(int width, int height) {
    Image image = WhiteImage(width, height);
    std::mt19937 rng(7);
    for (int i = 0; i < kCategoryShapes; ++i) {
        DrawShape(image, rng, width / 4, ColorForIndex(Uniform(rng, 0, kCategoryCount - 1)));
    }
    return image;
}

Image MakeInstanceMask(int width, int height) {
    Image image = WhiteImage(width, height);
    std::mt19937 rng(11);
    for (int i = 0; i < kInstanceShapes; ++i) {
        DrawShape(image, rng, width / 16, ColorForIndex(kFirstInstanceIndex + i));
    }
    return image;
}

Image MakeEnlargedInstanceMask(int width, int height, int factor) {
    const Image small = MakeInstanceMask(width, height);
    Image large;
    large.width = width * factor;
    large.height = height * factor;
    if (!ScaleRgbNearest(small.pixels, width, height, large.width, large.height, large.pixels)) {
        throw std::runtime_error("ScaleRgbNearest refused the benchmark mask");
    }
    return large;
}

Image MakePhotoLike(int width, int height) {
    Image image = WhiteImage(width, height);
    std::mt19937 rng(13);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double u = static_cast<double>(x) / width;
            const double v = static_cast<double>(y) / height;
            const double light = 0.5 + 0.5 * std::sin(6.0 * u + 2.0 * v);
            const double channels[3] = {60 + 150 * light * v, 80 + 120 * u, 200 - 120 * light * u};
            const std::size_t at = (static_cast<std::size_t>(y) * width + x) * 3;
            for (int c = 0; c < 3; ++c) {
                const int noise = static_cast<int>(rng() % 9) - 4;
                const int value = static_cast<int>(channels[c]) + noise;
                image.pixels[at + c] = static_cast<unsigned char>(std::clamp(value, 0, 255));
            }
        }
    }
    return image;
}

CapturePair MakeCapturePair(int width, int height) {
    const Image truth = MakeInstanceMask(width, height);
    CapturePair pair{truth, truth, std::vector<unsigned char>(kLatticeSize, 0)};
    for (int i = 0; i < kInstanceShapes; ++i) {
        pair.inUse[static_cast<std::size_t>(kFirstInstanceIndex + i) % kLatticeSize] = 1;
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const std::size_t at = (static_cast<std::size_t>(y) * width + x) * 3;
            const unsigned char* p = &truth.pixels[at];
            if (p[0] == 255 && p[1] == 255 && p[2] == 255) {
                continue;
            }
            const double shade = 0.35 + 0.3 * (1.0 + std::sin(x * 0.01) * std::cos(y * 0.013));
            for (int c = 0; c < 3; ++c) {
                pair.colour.pixels[at + c] = static_cast<unsigned char>(std::lround(p[c] * shade));
                pair.reference.pixels[at + c] =
                    static_cast<unsigned char>(std::lround(255 * shade));
            }
        }
    }
    return pair;
}

} // namespace Velmora::Bench
