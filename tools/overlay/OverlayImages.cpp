#include "OverlayImages.hpp"

#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace Velmora::Overlay {

namespace {

constexpr int kBackgroundFloor = 250; // mask pixels this light in every channel are background
constexpr int kGap = 8;               // pixels between the panels
constexpr unsigned char kOutline[3] = {255, 0, 255};

std::size_t At(Image const& image, int x, int y) {
    return (std::size_t(y) * std::size_t(image.width) + std::size_t(x)) * 3;
}

bool IsForeground(unsigned char const* p) {
    return p[0] < kBackgroundFloor || p[1] < kBackgroundFloor || p[2] < kBackgroundFloor;
}

bool SameColour(unsigned char const* a, unsigned char const* b) {
    return a[0] == b[0] && a[1] == b[1] && a[2] == b[2];
}

// Where the mask's colour changes towards the right or downwards.
bool OnOutline(Image const& mask, int x, int y) {
    unsigned char const* here = &mask.rgb[At(mask, x, y)];
    return (x + 1 < mask.width && !SameColour(here, &mask.rgb[At(mask, x + 1, y)])) ||
           (y + 1 < mask.height && !SameColour(here, &mask.rgb[At(mask, x, y + 1)]));
}

// The mask's colours at 60% over the view, the outlines of its regions on top.
Image Blend(Image const& view, Image const& mask) {
    Image out = view;
    for (int y = 0; y < view.height; ++y)
        for (int x = 0; x < view.width; ++x) {
            std::size_t const at = At(view, x, y);
            unsigned char const* m = &mask.rgb[at];
            for (int k = 0; k < 3; ++k) {
                if (OnOutline(mask, x, y))
                    out.rgb[at + std::size_t(k)] = kOutline[k];
                else if (IsForeground(m))
                    out.rgb[at + std::size_t(k)] = static_cast<unsigned char>(
                        (2 * view.rgb[at + std::size_t(k)] + 3 * m[k]) / 5);
            }
        }
    return out;
}

Image Shrink(Image const& image, int factor) {
    if (factor <= 1)
        return image;
    Image out;
    out.width = image.width / factor;
    out.height = image.height / factor;
    out.rgb.resize(std::size_t(out.width) * std::size_t(out.height) * 3);
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x)
            for (int k = 0; k < 3; ++k) {
                int sum = 0;
                for (int dy = 0; dy < factor; ++dy)
                    for (int dx = 0; dx < factor; ++dx)
                        sum +=
                            image.rgb[At(image, x * factor + dx, y * factor + dy) + std::size_t(k)];
                out.rgb[At(out, x, y) + std::size_t(k)] =
                    static_cast<unsigned char>(sum / (factor * factor));
            }
    return out;
}

void Paste(Image& canvas, Image const& panel, int left) {
    for (int y = 0; y < panel.height; ++y)
        std::copy_n(panel.rgb.begin() + long(At(panel, 0, y)), panel.width * 3,
                    canvas.rgb.begin() + long(At(canvas, left, y)));
}

} // namespace

bool ReadJpeg(std::string const& path, Image& out, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    std::vector<unsigned char> const bytes{std::istreambuf_iterator<char>(in),
                                           std::istreambuf_iterator<char>()};
    out = {};
    tjhandle handle = tjInitDecompress();
    int subsampling = 0, colorspace = 0;
    bool ok = !bytes.empty() && tjDecompressHeader3(handle, bytes.data(), bytes.size(), &out.width,
                                                    &out.height, &subsampling, &colorspace) == 0;
    if (ok) {
        out.rgb.resize(std::size_t(out.width) * std::size_t(out.height) * 3);
        ok = tjDecompress2(handle, bytes.data(), bytes.size(), out.rgb.data(), out.width, 0,
                           out.height, TJPF_RGB, 0) == 0;
    }
    if (!ok)
        error = path + ": not a readable JPEG";
    tjDestroy(handle);
    return ok;
}

bool ReadPng(std::string const& path, Image& out, std::string& error) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    out = {};
    if (png_image_begin_read_from_file(&png, path.c_str()) == 0) {
        error = path + ": " + png.message;
        return false;
    }
    png.format = PNG_FORMAT_RGB;
    out.rgb.resize(PNG_IMAGE_SIZE(png));
    if (png_image_finish_read(&png, nullptr, out.rgb.data(), 0, nullptr) == 0) {
        error = path + ": " + png.message;
        return false;
    }
    out.width = int(png.width);
    out.height = int(png.height);
    return true;
}

bool WritePng(std::string const& path, Image const& image, std::string& error) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = png_uint_32(image.width);
    png.height = png_uint_32(image.height);
    png.format = PNG_FORMAT_RGB;
    if (png_image_write_to_file(&png, path.c_str(), 0, image.rgb.data(), 0, nullptr) == 0) {
        error = path + ": " + png.message;
        return false;
    }
    return true;
}

Image SideBySide(Image const& view, Image const& mask, int shrink) {
    Image const panels[3] = {Shrink(view, shrink), Shrink(mask, shrink),
                             Shrink(Blend(view, mask), shrink)};
    Image canvas;
    canvas.width = panels[0].width * 3 + kGap * 2;
    canvas.height = panels[0].height;
    canvas.rgb.assign(std::size_t(canvas.width) * std::size_t(canvas.height) * 3, 40);
    for (int i = 0; i < 3; ++i)
        Paste(canvas, panels[i], i * (panels[0].width + kGap));
    return canvas;
}

} // namespace Velmora::Overlay
