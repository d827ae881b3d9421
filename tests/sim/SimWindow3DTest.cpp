// The simulated 3D window as the view extraction uses it: tiled capture, highlights, picture
// files and the host's refusals.
#include "Extract/Raster.hpp"
#include "Sim/SimCommandLine.hpp"
#include "Sim/SimHost.hpp"
#include "support/TempHome.hpp"

#include <gtest/gtest.h>
#include <png.h>
#include <turbojpeg.h>

#include <fstream>
#include <iterator>
#include <memory>

namespace Velmora::Testing {
namespace {

namespace fs = std::filesystem;
using Host::API_3DWindowInfo;
using Sim::RenderedPicture;

class SimWindow3DTest : public testing::Test {
protected:
    Sim::SimHost& Open(Sim::SimWindowOptions window = Small()) {
        Sim::SimHostOptions options;
        options.hostFolder = (home.Path() / "host").string();
        options.window = window;
        host = std::make_unique<Sim::SimHost>(options);
        std::string error;
        EXPECT_TRUE(host->LoadScene(error)) << error;
        return *host;
    }

    static Sim::SimWindowOptions Small() {
        Sim::SimWindowOptions window;
        window.width = 240;
        window.height = 136;
        return window;
    }

    Host::GSErrCode Save(Host::API_FTypeID type, std::string const& path) {
        Host::API_FileSavePars file;
        file.fileTypeID = type;
        file.file = path;
        Host::API_SavePars_Picture picture;
        return host->ProjectOperation().Save(&file, &picture);
    }

    // What the add-on's ApplyWindowInfo does: both flags on, then a rebuild.
    void Apply(API_3DWindowInfo info) {
        info.setWindowSize = info.setZoom = true;
        ASSERT_EQ(host->View().Change3DWindowSets(&info), Host::Error::NoError);
        ASSERT_EQ(host->Database().RebuildCurrentDatabase(), Host::Error::NoError);
    }

    RenderedPicture SaveAndTake() {
        EXPECT_EQ(Save(Host::APIFType_BMPFile, (home.Path() / "capture.bmp").string()),
                  Host::Error::NoError);
        return host->Window3D().LastPicture();
    }

    API_3DWindowInfo WindowSets() {
        API_3DWindowInfo info;
        EXPECT_EQ(host->View().Get3DWindowSets(&info), Host::Error::NoError);
        return info;
    }

    TempHome home;
    std::unique_ptr<Sim::SimHost> host;
};

// Pastes a tile's pixels and ids into the canvas at (x, y).
void Paste(RenderedPicture const& tile, int x, int y, RenderedPicture& canvas) {
    for (int row = 0; row < tile.height; ++row) {
        auto const from = static_cast<std::size_t>(row) * tile.width;
        auto const to = static_cast<std::size_t>(y + row) * canvas.width + x;
        std::copy_n(tile.rgb.begin() + static_cast<std::ptrdiff_t>(from * 3), tile.width * 3,
                    canvas.rgb.begin() + static_cast<std::ptrdiff_t>(to * 3));
        std::copy_n(tile.elementIds.begin() + static_cast<std::ptrdiff_t>(from), tile.width,
                    canvas.elementIds.begin() + static_cast<std::ptrdiff_t>(to));
    }
}

std::size_t CountDifferences(RenderedPicture const& a, RenderedPicture const& b) {
    std::size_t differences = 0;
    for (std::size_t i = 0; i < a.elementIds.size(); ++i)
        differences += a.elementIds[i] != b.elementIds[i] || a.rgb[i * 3] != b.rgb[i * 3] ||
                       a.rgb[i * 3 + 1] != b.rgb[i * 3 + 1] || a.rgb[i * 3 + 2] != b.rgb[i * 3 + 2];
    return differences;
}

// Catches a zoom block read differently from the tile formula (scales about the centre,
// offsets in the wrong direction or unit) and rasterising that is not exact under whole-pixel
// shifts (seams, doubled or missing edge pixels between tiles). The initial block is not the
// default one, so that its offsets are scaled too.
TEST_F(SimWindow3DTest, StitchedTilesEqualTheLargerPicture) {
    for (int const n : {2, 4}) {
        SCOPED_TRACE(n);
        Open();
        API_3DWindowInfo initial = WindowSets();
        initial.zoomScaleX = initial.zoomScaleY = 1.25;
        initial.zoomDispX = -21.5;
        initial.zoomDispY = 9.25;
        Apply(initial);

        RenderedPicture stitched;
        stitched.width = initial.hSize * n;
        stitched.height = initial.vSize * n;
        stitched.rgb.resize(static_cast<std::size_t>(stitched.width) * stitched.height * 3);
        stitched.elementIds.resize(static_cast<std::size_t>(stitched.width) * stitched.height);
        for (int r = 0; r < n; ++r) {
            for (int c = 0; c < n; ++c) {
                API_3DWindowInfo tile = initial;
                tile.zoomScaleX *= n;
                tile.zoomScaleY *= n;
                tile.zoomDispX = initial.zoomDispX * n - initial.hSize * c;
                tile.zoomDispY = initial.zoomDispY * n + initial.vSize * r;
                Apply(tile);
                RenderedPicture const picture = SaveAndTake();
                ASSERT_EQ(picture.width, initial.hSize);
                Paste(picture, c * initial.hSize, r * initial.vSize, stitched);
            }
        }

        API_3DWindowInfo large = initial;
        large.hSize = static_cast<short>(initial.hSize * n);
        large.vSize = static_cast<short>(initial.vSize * n);
        large.zoomDispX = initial.zoomDispX * n;
        large.zoomDispY = initial.zoomDispY * n;
        Apply(large);
        RenderedPicture const expected = SaveAndTake();
        ASSERT_EQ(expected.width, stitched.width);
        ASSERT_EQ(expected.height, stitched.height);
        EXPECT_EQ(CountDifferences(expected, stitched), 0u);
        std::size_t const building = static_cast<std::size_t>(
            std::count_if(expected.elementIds.begin(), expected.elementIds.end(),
                          [](std::int32_t id) { return id >= 0; }));
        EXPECT_GT(building, expected.elementIds.size() / 2); // the view is not empty
    }
}

struct HighlightCase {
    char const* name;
    int engineId;
    bool drawn;
};

// Catches highlights drawn under the vectorial engine (the mask renderer must switch engines)
// or ignored under OpenGL, colours not multiplied by the same shading (the ratio of a colour
// capture to a white capture must give the colour back), and a clear that leaves them on.
TEST_F(SimWindow3DTest, HighlightsArePaintedTimesShadingExceptUnderTheVectorialEngine) {
    HighlightCase const cases[] = {{"OpenGL", 1, true}, {"vectorial", 0, false}};
    for (HighlightCase const& test : cases) {
        SCOPED_TRACE(test.name);
        Sim::SimWindowOptions window = Small();
        window.engineId = test.engineId;
        Open(window);
        RenderedPicture const plain = SaveAndTake();
        Sim::Scene const* scene = host->Project().OpenScene();
        ASSERT_NE(scene, nullptr);
        std::int32_t const wall = plain.elementIds[plain.elementIds.size() / 2];
        ASSERT_GE(wall, 0);
        Host::API_Guid const guid = scene->elements[static_cast<std::size_t>(wall)].guid;

        Host::API_RGBAColor const color{0.2, 0.6, 1.0, 1.0};
        Host::API_RGBAColor const white{1.0, 1.0, 1.0, 1.0};
        Host::API_RGBAColor const other{0.5, 0.5, 0.5, 1.0};
        host->UserInput().SetElementHighlight({{guid, color}}, false, other);
        RenderedPicture const colored = SaveAndTake();
        host->UserInput().SetElementHighlight({{guid, white}}, false, white);
        RenderedPicture const reference = SaveAndTake();
        host->UserInput().ClearElementHighlight();
        EXPECT_EQ(CountDifferences(SaveAndTake(), plain), 0u);

        if (!test.drawn) {
            EXPECT_EQ(CountDifferences(colored, plain), 0u);
            continue;
        }
        std::size_t checked = 0;
        for (std::size_t i = 0; i < colored.elementIds.size(); ++i) {
            if (colored.elementIds[i] < 0)
                continue;
            double const expected[3] = {colored.elementIds[i] == wall ? color.f_red : 0.5,
                                        colored.elementIds[i] == wall ? color.f_green : 0.5,
                                        colored.elementIds[i] == wall ? color.f_blue : 0.5};
            for (std::size_t k = 0; k < 3; ++k) {
                double const ratio = colored.rgb[i * 3 + k] / double(reference.rgb[i * 3 + k]);
                ASSERT_NEAR(ratio, expected[k], 0.02) << "pixel " << i << " channel " << k;
            }
            ++checked;
        }
        EXPECT_GT(checked, colored.elementIds.size() / 2);
    }
}

struct Decoded {
    int width = 0, height = 0;
    std::vector<unsigned char> rgb;
};

std::vector<unsigned char> ReadBytes(fs::path const& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

Decoded DecodeJpeg(fs::path const& path) {
    std::vector<unsigned char> bytes = ReadBytes(path);
    Decoded decoded;
    tjhandle handle = tjInitDecompress();
    int subsampling = 0, colorspace = 0;
    if (tjDecompressHeader3(handle, bytes.data(), bytes.size(), &decoded.width, &decoded.height,
                            &subsampling, &colorspace) == 0) {
        decoded.rgb.resize(static_cast<std::size_t>(decoded.width) * decoded.height * 3);
        if (tjDecompress2(handle, bytes.data(), bytes.size(), decoded.rgb.data(), decoded.width, 0,
                          decoded.height, TJPF_RGB, 0) != 0)
            decoded = {};
    }
    tjDestroy(handle);
    return decoded;
}

Decoded DecodePng(fs::path const& path) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    Decoded decoded;
    if (png_image_begin_read_from_file(&png, path.string().c_str()) == 0)
        return decoded;
    png.format = PNG_FORMAT_RGB;
    decoded.rgb.resize(PNG_IMAGE_SIZE(png));
    if (png_image_finish_read(&png, nullptr, decoded.rgb.data(), 0, nullptr) == 0)
        return {};
    decoded.width = static_cast<int>(png.width);
    decoded.height = static_cast<int>(png.height);
    return decoded;
}

Decoded DecodeBmp(fs::path const& path) {
    Decoded decoded;
    DecodeBmpToRgb(ReadBytes(path), decoded.width, decoded.height, decoded.rgb);
    return decoded;
}

double MeanAbsoluteError(std::vector<unsigned char> const& a, std::vector<unsigned char> const& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += std::abs(int(a[i]) - int(b[i]));
    return a.empty() ? 255.0 : sum / static_cast<double>(a.size());
}

struct FileCase {
    Host::API_FTypeID type;
    char const* name;
    Decoded (*decode)(fs::path const&);
    double tolerance; // mean absolute error per channel
};

// Catches files an independent reader (or the add-on's own BMP decoder) cannot read, rows
// stored the wrong way up or as BGR, padding mistakes (the width is not a multiple of four),
// and pictures that are not at the window's size times the display scale.
TEST_F(SimWindow3DTest, SavedPicturesDecodeAtTheWindowSizeTimesTheDisplayScale) {
    FileCase const files[] = {{Host::APIFType_JPEGFile, "view.jpg", DecodeJpeg, 4.0},
                              {Host::APIFType_PNGFile, "view.png", DecodePng, 0.0},
                              {Host::APIFType_BMPFile, "view.bmp", DecodeBmp, 0.0}};
    for (int const scale : {1, 2}) {
        for (bool const antialias : {false, true}) {
            Sim::SimWindowOptions window = Small();
            window.width = 238; // rows of BMP need padding
            window.displayScale = scale;
            window.antialias = antialias;
            Open(window);
            for (FileCase const& file : files) {
                SCOPED_TRACE(std::string(file.name) + " scale " + std::to_string(scale) +
                             (antialias ? " antialiased" : ""));
                fs::path const path = home.Path() / file.name;
                ASSERT_EQ(Save(file.type, path.string()), Host::Error::NoError);
                Decoded const decoded = file.decode(path);
                EXPECT_EQ(decoded.width, 238 * scale);
                EXPECT_EQ(decoded.height, 136 * scale);
                EXPECT_LE(MeanAbsoluteError(decoded.rgb, host->Window3D().LastPicture().rgb),
                          file.tolerance);
            }
        }
    }
}

// Catches window changes applied before the rebuild (kinder than the host, hiding a missing
// rebuild), fields applied without their flag, and size changes that the pictures ignore.
TEST_F(SimWindow3DTest, WindowChangesWaitForTheRebuildAndHonourTheirFlags) {
    Open();
    API_3DWindowInfo change = WindowSets();
    change.hSize = 100;
    change.vSize = 50;
    change.zoomScaleX = 3.0;
    change.setWindowSize = true;
    ASSERT_EQ(host->View().Change3DWindowSets(&change), Host::Error::NoError);
    EXPECT_EQ(WindowSets().hSize, 240);
    EXPECT_EQ(SaveAndTake().width, 240);

    ASSERT_EQ(host->Database().RebuildCurrentDatabase(), Host::Error::NoError);
    API_3DWindowInfo const applied = WindowSets();
    EXPECT_EQ(applied.hSize, 100);
    EXPECT_EQ(applied.vSize, 50);
    EXPECT_EQ(applied.zoomScaleX, 1.0); // setZoom was off
    RenderedPicture const picture = SaveAndTake();
    EXPECT_EQ(picture.width, 100);
    EXPECT_EQ(picture.height, 50);
}

struct RefusalCase {
    char const* name;
    Host::GSErrCode expected;
    Host::GSErrCode (*call)(Sim::SimHost&, fs::path const& folder);
};

Host::GSErrCode SaveAs(Sim::SimHost& host, Host::API_FTypeID type, std::string const& path) {
    Host::API_FileSavePars file;
    file.fileTypeID = type;
    file.file = path;
    Host::API_SavePars_Picture picture;
    return host.ProjectOperation().Save(&file, &picture);
}

// Catches a simulated host kinder than the real one: every refusal below is one the add-on's
// guards must handle.
TEST_F(SimWindow3DTest, RefusesWhatTheHostRefuses) {
    RefusalCase const onThe3DWindow[] = {
        {"save without parameters", Host::Error::BadPars,
         [](Sim::SimHost& h, fs::path const&) {
             return h.ProjectOperation().Save(nullptr, nullptr);
         }},
        {"save to an empty path", Host::Error::BadPars,
         [](Sim::SimHost& h, fs::path const&) { return SaveAs(h, Host::APIFType_PNGFile, ""); }},
        {"save as TIFF", Host::Error::BadPars,
         [](Sim::SimHost& h, fs::path const& f) {
             return SaveAs(h, Host::APIFType_TIFFFile, (f / "x.tif").string());
         }},
        {"save into a missing folder", Host::Error::General,
         [](Sim::SimHost& h, fs::path const& f) {
             return SaveAs(h, Host::APIFType_PNGFile, (f / "missing" / "x.png").string());
         }},
        {"effects rendering settings", Host::Error::BadPars,
         [](Sim::SimHost& h, fs::path const&) {
             Host::API_RendImage image;
             return h.Rendering().GetRenderingSets(&image, Host::APIRendSet_EffectsID);
         }},
        {"unknown special folder", Host::Error::RefusedPar,
         [](Sim::SimHost& h, fs::path const&) {
             auto id = static_cast<Host::API_SpecFolderID>(99);
             std::string location;
             return h.ProjectSettings().GetSpecFolder(&id, &location);
         }},
        {"style of another name", Host::Error::BadName,
         [](Sim::SimHost& h, fs::path const&) {
             Host::API_3DStyle style;
             style.name = "Nonexistent";
             return h.View().Change3DStyle(&style);
         }},
        {"zero zoom scale", Host::Error::BadPars,
         [](Sim::SimHost& h, fs::path const&) {
             Host::API_3DWindowInfo info;
             h.View().Get3DWindowSets(&info);
             info.setZoom = true;
             info.zoomScaleX = 0.0;
             return h.View().Change3DWindowSets(&info);
         }},
    };
    Open();
    for (RefusalCase const& refusal : onThe3DWindow)
        EXPECT_EQ(refusal.call(*host, home.Path()), refusal.expected) << refusal.name;

    // Started on the floor plan, the 3D window does not exist until ShowAllIn3D.
    Sim::SimWindowOptions plan = Small();
    plan.start3D = false;
    Open(plan);
    fs::path const picture = home.Path() / "plan.png";
    API_3DWindowInfo info;
    EXPECT_EQ(SaveAs(*host, Host::APIFType_PNGFile, picture.string()), Host::Error::BadWindow);
    EXPECT_EQ(host->View().Get3DWindowSets(&info), Host::Error::BadWindow);
    Host::API_WindowInfo front;
    ASSERT_EQ(host->Window().GetCurrentWindow(&front), Host::Error::NoError);
    EXPECT_EQ(front.typeID, Host::APIWind_FloorPlanID);
    ASSERT_EQ(host->View().ShowAllIn3D(), Host::Error::NoError);
    ASSERT_EQ(host->Window().GetCurrentWindow(&front), Host::Error::NoError);
    EXPECT_EQ(front.typeID, Host::APIWind_3DModelID);
    EXPECT_EQ(SaveAs(*host, Host::APIFType_PNGFile, picture.string()), Host::Error::NoError);
}

// Catches a temporary folder that is not there when the add-on writes its capture into it.
TEST_F(SimWindow3DTest, TemporaryFolderExistsUnderTheHostsFolder) {
    Open();
    Host::API_SpecFolderID id = Host::API_TemporaryFolderID;
    std::string location;
    ASSERT_EQ(host->ProjectSettings().GetSpecFolder(&id, &location), Host::Error::NoError);
    EXPECT_TRUE(fs::is_directory(location));
    EXPECT_EQ(fs::path(location).parent_path(), home.Path() / "host");
}

} // namespace
} // namespace Velmora::Testing

namespace Velmora::Testing {
namespace {

struct WindowOptionCase {
    std::vector<std::string> args;
    bool ok;
    void (*check)(Sim::SimWindowOptions const&);
};

// Catches window options that are parsed into the wrong field, swallow the next action, or
// accept values the window cannot use (a zero size, a third display scale, an engine name
// with a typo).
TEST(SimWindowCommandLineTest, ParsesTheWindowOptions) {
    WindowOptionCase const cases[] = {
        {{"--window", "1280x720", "menus"},
         true,
         [](Sim::SimWindowOptions const& o) {
             EXPECT_EQ(o.width, 1280);
             EXPECT_EQ(o.height, 720);
         }},
        {{"--safe-frame", "4:3", "--display-scale", "2", "--antialias"},
         true,
         [](Sim::SimWindowOptions const& o) {
             EXPECT_EQ(o.safeFrameWidth, 4);
             EXPECT_EQ(o.safeFrameHeight, 3);
             EXPECT_EQ(o.displayScale, 2);
             EXPECT_TRUE(o.antialias);
         }},
        {{"--engine", "vectorial", "--start-window", "plan"},
         true,
         [](Sim::SimWindowOptions const& o) {
             EXPECT_EQ(o.engineId, 0);
             EXPECT_EQ(o.start3D, false);
         }},
        {{"--window", "0x720"}, false, nullptr},
        {{"--window", "1280:720"}, false, nullptr},
        {{"--display-scale", "3"}, false, nullptr},
        {{"--safe-frame", "16x9"}, false, nullptr},
        {{"--engine", "OpenGL"}, false, nullptr},
        {{"--start-window"}, false, nullptr},
    };
    for (WindowOptionCase const& test : cases) {
        SCOPED_TRACE(test.args[0] + " " + (test.args.size() > 1 ? test.args[1] : ""));
        std::string error;
        std::optional<Sim::SimCommandLine> line = Sim::ParseSimCommandLine(test.args, error);
        ASSERT_EQ(line.has_value(), test.ok) << error;
        if (line)
            test.check(line->window);
        else
            EXPECT_NE(error.find(test.args[0]), std::string::npos) << error;
    }
}

} // namespace
} // namespace Velmora::Testing
