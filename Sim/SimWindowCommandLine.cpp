#include "Sim/SimWindowCommandLine.hpp"

#include <cstdlib>

namespace Velmora::Sim {

namespace {

constexpr long kMaxSide = 16383; // pictures at twice the size still fit the host's shorts

bool ParseSide(std::string const& text, short& value) {
    char* end = nullptr;
    long const parsed = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || parsed < 1 || parsed > kMaxSide)
        return false;
    value = static_cast<short>(parsed);
    return true;
}

// "WxH" or "W:H".
bool ParsePair(std::string const& text, char separator, short& first, short& second) {
    std::size_t const at = text.find(separator);
    return at != std::string::npos && ParseSide(text.substr(0, at), first) &&
           ParseSide(text.substr(at + 1), second);
}

bool ApplyValue(std::string const& option, std::string const& value, SimWindowOptions& options) {
    if (option == "--window")
        return ParsePair(value, 'x', options.width, options.height);
    if (option == "--display-scale") {
        options.displayScale = value == "1" ? 1 : value == "2" ? 2 : 0;
        return options.displayScale != 0;
    }
    if (option == "--safe-frame") {
        short width = 0, height = 0;
        if (!ParsePair(value, ':', width, height))
            return false;
        options.safeFrameWidth = width;
        options.safeFrameHeight = height;
        return true;
    }
    if (option == "--engine") {
        options.engineId = value == "vectorial" ? 0 : value == "opengl" ? 1 : -1;
        return options.engineId >= 0;
    }
    // --start-window
    if (value != "plan" && value != "3d")
        return false;
    options.start3D = value == "3d";
    return true;
}

char const* ExpectedValue(std::string const& option) {
    if (option == "--window")
        return "WIDTHxHEIGHT, e.g. 1280x720";
    if (option == "--display-scale")
        return "1 or 2";
    if (option == "--safe-frame")
        return "WIDTH:HEIGHT, e.g. 1920:1080";
    if (option == "--engine")
        return "vectorial or opengl";
    return "plan or 3d";
}

} // namespace

bool TakeWindowOption(std::vector<std::string> const& args, std::size_t& i,
                      SimWindowOptions& options, bool& ok, std::string& error) {
    std::string const& option = args[i];
    ok = true;
    if (option == "--antialias") {
        options.antialias = true;
        return true;
    }
    if (option != "--window" && option != "--display-scale" && option != "--safe-frame" &&
        option != "--engine" && option != "--start-window")
        return false;
    if (i + 1 >= args.size() || !ApplyValue(option, args[i + 1], options)) {
        error = option + " takes " + ExpectedValue(option);
        ok = false;
        return true;
    }
    ++i;
    return true;
}

char const* WindowOptionsUsage() {
    return R"(  --window WxH            the 3D window's size in pixels (default 960x540)
  --display-scale 1|2     2 saves pictures at twice the window size, as a Retina screen
                          does (default 1)
  --safe-frame W:H        turn the render settings' safe frame on, with a W x H render
                          size (default: off, 1920 x 1080)
  --engine vectorial|opengl
                          the 3D style's engine; highlights are not drawn under the
                          vectorial one (default opengl)
  --antialias             smooth the edges of saved pictures (supersampled 2 x 2)
  --start-window plan|3d  the window in front at start (default: as the scene says; the
                          sample building opens in 3D); ShowAllIn3D brings up the 3D window
)";
}

} // namespace Velmora::Sim
