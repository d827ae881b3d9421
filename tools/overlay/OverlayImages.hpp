// Reading the extracted view and mask, composing them side by side, writing the result: the
// picture that lets a person judge the mask's alignment at a glance.
#pragma once

#include <string>
#include <vector>

namespace Velmora::Overlay {

struct Image {
    int width = 0, height = 0;
    std::vector<unsigned char> rgb; // packed, rows top to bottom
};

// False with a reason when the file cannot be read or decoded.
bool ReadJpeg(std::string const& path, Image& out, std::string& error);
bool ReadPng(std::string const& path, Image& out, std::string& error);
bool WritePng(std::string const& path, Image const& image, std::string& error);

// View | mask | the mask laid over the view with the outlines of its regions drawn on top,
// each panel shrunk by `shrink` (box average). The view and mask must be the same size.
Image SideBySide(Image const& view, Image const& mask, int shrink);

} // namespace Velmora::Overlay
