// velmora-overlay VIEW.jpg MASK.png OUT.png: the extracted view, its mask and the two laid over
// each other, side by side in one PNG, each panel at most about 960 pixels wide.
#include "OverlayImages.hpp"

#include <iostream>

namespace {

constexpr int kPanelWidth = 960;

} // namespace

int main(int argc, char** argv) {
    using namespace Velmora::Overlay;
    if (argc != 4) {
        std::cerr << "usage: velmora-overlay VIEW.jpg MASK.png OUT.png\n";
        return 2;
    }
    Image view, mask;
    std::string error;
    if (!ReadJpeg(argv[1], view, error) || !ReadPng(argv[2], mask, error)) {
        std::cerr << "velmora-overlay: " << error << "\n";
        return 1;
    }
    if (view.width != mask.width || view.height != mask.height) {
        std::cerr << "velmora-overlay: the view is " << view.width << "x" << view.height
                  << " but the mask " << mask.width << "x" << mask.height << "\n";
        return 1;
    }
    int const shrink = (view.width + kPanelWidth - 1) / kPanelWidth;
    Image const out = SideBySide(view, mask, shrink);
    if (!WritePng(argv[3], out, error)) {
        std::cerr << "velmora-overlay: " << error << "\n";
        return 1;
    }
    std::cout << argv[3] << ": " << out.width << "x" << out.height << " (view, mask, overlay; "
              << view.width << "x" << view.height << " shrunk " << shrink << "x)\n";
    return 0;
}
