// settings.cfg: the machine-local, hand-editable layer on top of the host preferences.
#include "Settings.hpp"
#include "SupportFolder.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace Velmora {

namespace {

namespace fs = std::filesystem;

constexpr char kBlanks[] = " \t\r\n";
constexpr long long kMinLongEdge = 256;
constexpr long long kMaxLongEdge = 32767;

std::string Trim(std::string const& text) {
    std::size_t const first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos)
        return std::string();
    std::size_t const last = text.find_last_not_of(kBlanks);
    return text.substr(first, last - first + 1);
}

// Only these exact words count; anything else (True, YES, empty) keeps the current value.
bool ParseBool(std::string const& text, bool fallback) {
    std::string const word = Trim(text);
    if (word == "1" || word == "true" || word == "TRUE" || word == "yes" || word == "on")
        return true;
    if (word == "0" || word == "false" || word == "FALSE" || word == "no" || word == "off")
        return false;
    return fallback;
}

// A base-10 prefix ("4096px" reads as 4096, "abc" as 0), kept only inside the accepted range.
void ApplyLongEdge(std::string const& value, std::int32_t& field) {
    if (value.empty())
        return;
    long long const parsed = std::strtoll(value.c_str(), nullptr, 10);
    if (parsed >= kMinLongEdge && parsed <= kMaxLongEdge)
        field = static_cast<std::int32_t>(parsed);
}

bool* BoolField(Settings& settings, std::string const& key) {
    ExtractOptions& options = settings.extractOptions;
    if (key == "includeMask")
        return &options.includeMask;
    if (key == "maskSplitInstances")
        return &options.maskSplitInstances;
    if (key == "debugDump")
        return &options.debugDump;
    if (key == "includeSiteMesh")
        return &settings.includeSiteMesh;
    if (key == "buildingOnly")
        return &settings.buildingOnly;
    if (key == "excludeVegetation")
        return &settings.excludeVegetation;
    return nullptr;
}

void ApplySetting(Settings& settings, std::string const& key, std::string const& value) {
    if (bool* field = BoolField(settings, key)) {
        *field = ParseBool(value, *field);
    } else if (key == "webAppUrl" || key == "apiBaseUrl") {
        if (!value.empty())
            (key == "webAppUrl" ? settings.webAppUrl : settings.apiBaseUrl) = value;
    } else if (key == "lastLoginEmail") {
        settings.lastLoginEmail = value;
    } else if (key == "highResLongEdge") {
        ApplyLongEdge(value, settings.extractOptions.highResLongEdge);
    }
}

void ApplyLine(Settings& settings, std::string const& rawLine) {
    std::string const line = Trim(rawLine);
    if (line.empty() || line[0] == '#' || line[0] == ';')
        return;
    std::size_t const equals = line.find('=');
    if (equals == std::string::npos)
        return;
    ApplySetting(settings, Trim(line.substr(0, equals)), Trim(line.substr(equals + 1)));
}

char const* BoolWord(bool value) {
    return value ? "true" : "false";
}

std::string LocalFileText(Settings const& settings) {
    ExtractOptions const& options = settings.extractOptions;
    std::ostringstream text;
    text << "# Velmora AI for ARCHICAD - machine-local settings\n"
            "# Edit these values, save, then restart ARCHICAD (or reopen the panel).\n"
            "# NEVER put secrets here (the auth token is never stored on disk).\n"
         << "webAppUrl=" << settings.webAppUrl << "\n"
         << "apiBaseUrl=" << settings.apiBaseUrl << "\n"
         << "lastLoginEmail=" << settings.lastLoginEmail << "\n"
         << "includeMask=" << BoolWord(options.includeMask) << "\n"
         << "# maskSplitInstances: true = every element gets its own mask colour (select\n"
            "# single elements in the webapp); false = one colour per category.\n"
         << "maskSplitInstances=" << BoolWord(options.maskSplitInstances) << "\n"
         << "# highResLongEdge: long-edge target of every extract. When the native save\n"
            "# ships less, the capture tiles the view (shifted-affine tiles at the native\n"
            "# window size, stitched; same look/framing, window never resized) up to this\n"
            "# size. Set it at or below your window's native long edge to disable tiling.\n"
         << "highResLongEdge=" << options.highResLongEdge << "\n"
         << "# debugDump: when true, writes a copy of each capture into the logs folder\n"
            "# as last_extract.jpg (+ last_mask.png when the mask is on).\n"
         << "debugDump=" << BoolWord(options.debugDump) << "\n"
         << "# includeSiteMesh: 'Extract 3D Model' only. false (default) drops the\n"
            "# site/terrain Mesh from the exported .glb - the Location Placement widget\n"
            "# already renders the model on map tiles, and an exported terrain dominates\n"
            "# the bounding box, shifts the model off the placement pin and buries ground\n"
            "# level (demo project: a 366 x 369 x 20 m terrain around a 21 m building).\n"
            "# Set true only if you model real building geometry with the Mesh tool.\n"
         << "includeSiteMesh=" << BoolWord(settings.includeSiteMesh) << "\n"
         << "# buildingOnly: 'Extract 3D Model' only. true (default) exports the building\n"
            "# being worked on and drops site slabs/morphs/objects around it: the wall,\n"
            "# window, door, curtain-wall, column, beam, roof, stair and railing elements\n"
            "# define a building envelope, and an ambiguous element is kept only when most\n"
            "# of its plan area falls inside it. Set false to export everything visible.\n"
         << "buildingOnly=" << BoolWord(settings.buildingOnly) << "\n"
         << "# excludeVegetation: drops entourage trees/plants (billboard foliage on\n"
            "# Object elements). true by default - the Location Placement map tiles\n"
            "# already contain the real vegetation. Set false to keep ARCHICAD's.\n"
         << "excludeVegetation=" << BoolWord(settings.excludeVegetation) << "\n";
    return text.str();
}

} // namespace

std::string Settings::LocalConfigPath() const {
    std::string const support = SupportFolderPath();
    if (support.empty())
        return std::string();
    fs::path const folder(support);
    std::error_code ignored;
    fs::create_directories(folder, ignored);
    return (folder / "settings.cfg").string();
}

bool Settings::LoadLocalOverrides() {
    std::string const path = LocalConfigPath();
    if (path.empty())
        return false;
    std::ifstream in(path);
    if (!in.is_open())
        return false;
    std::string line;
    while (std::getline(in, line))
        ApplyLine(*this, line);
    return true;
}

bool Settings::SaveLocalFile() const {
    std::string const path = LocalConfigPath();
    if (path.empty())
        return false;
    std::ofstream out(path, std::ios::out | std::ios::trunc);
    if (!out.is_open())
        return false;
    out << LocalFileText(*this);
    out.flush();
    return out.good();
}

} // namespace Velmora
