// The mask renderer against the scripted window: colours handed out, the canvas match, the
// crop, and the host state it must leave as it found it.
#include "ExtractTest.hpp"

#include "Extract/CategoryPalette.hpp"
#include "Extract/FileBytes.hpp"
#include "Extract/RatioMaskRenderer.hpp"
#include "support/ImageFiles.hpp"

#include <gmock/gmock.h>

namespace Velmora::Testing {
namespace {

using testing::_;

DecodedImage ReadPng(std::string const& path) {
    DecodedImage png;
    EXPECT_TRUE(DecodePngFile(path, png)) << path;
    return png;
}

bool SameColour(Host::API_RGBAColor const& host, Rgb8 expected) {
    return host.f_red == expected.r / 255.0 && host.f_green == expected.g / 255.0 &&
           host.f_blue == expected.b / 255.0 && host.f_alpha == 1.0;
}

class RatioMaskRendererTest : public ExtractTest {
protected:
    MaskResult Render(int canvasW, int canvasH, bool split = false, SafeFrameRect crop = {}) {
        CameraParams camera;
        camera.canvasWidth = canvasW;
        camera.canvasHeight = canvasH;
        MaskOptions options;
        options.splitInstances = split;
        options.safeFrame = crop;
        return RatioMaskRenderer::RenderMask(camera, options);
    }
    // What every path must leave: no highlight, the original style, no temporary file
    // other than the mask the caller owns.
    void ExpectHostRestored(MaskResult const& result) {
        EXPECT_GE(window.highlightClears, window.highlights.empty() ? 0 : 1);
        EXPECT_EQ(window.style.engineId, originalEngine);
        std::size_t const owned = result.pngPath.empty() ? 0 : 1;
        EXPECT_EQ(TempFiles().size(), owned);
    }
    int originalEngine = 1;
};

// Catches a counter that restarts per type, a wrap one element early or late or to the
// wrong index, and a missing white table entry.
TEST_F(RatioMaskRendererTest, The2183rdInstanceWrapsToTheFirstInstanceColourOnce) {
    std::vector<Host::API_Guid> const walls = window.AddElements(Host::API_WallID, 2000);
    std::vector<Host::API_Guid> const doors = window.AddElements(Host::API_DoorID, 183);
    window.foregroundPixels = 3000;
    MaskResult const result = Render(1000, 600, true);
    ASSERT_EQ(result.err, 0);
    EXPECT_EQ(result.categoryCount, 2);
    ASSERT_EQ(window.highlights.size(), 2u);
    Host::ElementColorTable const& colours = window.highlights[0];
    EXPECT_EQ(colours.size(), 2183u);
    EXPECT_TRUE(SameColour(colours.at(walls[0]), ColorForIndex(15)));
    EXPECT_TRUE(SameColour(colours.at(walls[1]), ColorForIndex(16)));
    EXPECT_TRUE(SameColour(colours.at(doors[181]), ColorForIndex(2196)));
    EXPECT_TRUE(SameColour(colours.at(doors[182]), ColorForIndex(15)));
    EXPECT_EQ(window.highlights[1].size(), 2183u);
    ExpectHostRestored(result);
}

// Catches enumerating every type (zones and skylights would then be highlighted) and a
// highlight set although there is nothing to colour.
TEST_F(RatioMaskRendererTest, OnlyAZoneAndASkylightVisibleGivesNoMask) {
    window.AddElements(Host::API_ZoneID, 1);
    window.AddElements(Host::API_SkylightID, 1);
    EXPECT_CALL(host.userInput, SetElementHighlight(_, _, _)).Times(0);
    MaskResult const result = Render(1000, 600);
    EXPECT_EQ(result.err, 0);
    EXPECT_TRUE(result.pngPath.empty());
}

// Catches a non-integer stretch, an enlargement by the wrong factor or onto the wrong size,
// a rejected mask that still leaves a file, and a vectorial style not switched and restored.
TEST_F(RatioMaskRendererTest, ATiledCanvasIsMatchedByAnIntegerFactorOnly) {
    window.AddElements(Host::API_WallID, 1);
    window.AddElements(Host::API_SlabID, 1);
    window.foregroundPixels = 2000; // rows 0 and 1 of the 1000 x 600 capture
    window.style.engineId = originalEngine = 0;
    EXPECT_CALL(host.view, Change3DStyle(_)).Times(4); // to OpenGL and back, per render
    MaskResult const enlarged = Render(3000, 1800);
    ASSERT_EQ(enlarged.err, 0);
    DecodedImage const png = ReadPng(enlarged.pngPath);
    ASSERT_EQ(png.width, 3000);
    ASSERT_EQ(png.height, 1800);
    // Capture pixel (x, 0) covers (3x..3x+2, 0..2): walls at even x, slabs at odd x.
    auto pixel = [&png](int x, int y) {
        std::size_t const at = (std::size_t(y) * png.width + x) * 3;
        return std::vector<int>{png.rgb[at], png.rgb[at + 1], png.rgb[at + 2]};
    };
    Rgb8 const slab = ColorForCategory(Slab);
    EXPECT_EQ(pixel(2, 5), (std::vector<int>{15, 15, 15}));
    EXPECT_EQ(pixel(3, 5), (std::vector<int>{slab.r, slab.g, slab.b}));
    EXPECT_EQ(pixel(0, 6), (std::vector<int>{255, 255, 255}));
    EXPECT_NEAR(enlarged.foregroundFraction, 2000.0 / (1000 * 600), 1e-12);
    ve_detail::DeleteFileQuiet(enlarged.pngPath);
    ExpectHostRestored({});

    MaskResult const rejected = Render(2999, 1800);
    EXPECT_EQ(rejected.err, Host::Error::General);
    EXPECT_TRUE(rejected.pngPath.empty());
    ExpectHostRestored(rejected);
}

// Catches a crop that is clipped to fit, or skipped, instead of dropping the mask (never
// ship a mask unaligned with the beauty), and a crop that fits but is not applied.
TEST_F(RatioMaskRendererTest, ASafeFrameThatDoesNotFitDropsTheMask) {
    window.AddElements(Host::API_WallID, 1);
    SafeFrameRect const tooWide{0, 0, 1001, 600, true};
    MaskResult const result = Render(1000, 600, false, tooWide);
    EXPECT_EQ(result.err, Host::Error::General);
    EXPECT_TRUE(result.pngPath.empty());
    ExpectHostRestored(result);

    SafeFrameRect const fits{100, 0, 800, 600, true};
    MaskResult const cropped = Render(1000, 600, false, fits);
    ASSERT_EQ(cropped.err, 0);
    EXPECT_EQ(ReadPng(cropped.pngPath).width, 800);
    ve_detail::DeleteFileQuiet(cropped.pngPath);
}

} // namespace
} // namespace Velmora::Testing
