// The view extraction: when it tiles and how finely, what the tiles ask of the window, and
// that the window is back as it was on every path.
#include "ExtractTest.hpp"

#include "Extract/FileBytes.hpp"
#include "Extract/Raster.hpp"
#include "Extract/ViewExtractor.hpp"

#include <gmock/gmock.h>

namespace Velmora::Testing {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::Return;

class ViewExtractorTest : public ExtractTest {
protected:
    // Extracts, returns the shipped JPEG's size and deletes it.
    std::pair<int, int> ExtractedSize(int target, Host::GSErrCode expected = 0) {
        ExtractOptions options;
        options.highResLongEdge = target;
        ExtractedView const view = ExtractCurrentView(options);
        EXPECT_EQ(view.err, expected);
        std::vector<unsigned char> bytes;
        int w = 0;
        int h = 0;
        if (ve_detail::ReadAllBytes(view.jpegPath, bytes))
            JpegPixelSize(bytes, w, h);
        ve_detail::DeleteFileQuiet(view.jpegPath);
        return {w, h};
    }
    // The window's settings as `scripted` started, and no tile or native save left behind.
    void ExpectRestored(ScriptedWindow const& scripted, Host::API_3DWindowInfo const& b) const {
        Host::API_3DWindowInfo const& a = scripted.info;
        EXPECT_TRUE(a.hSize == b.hSize && a.vSize == b.vSize && a.zoomScaleX == b.zoomScaleX &&
                    a.zoomScaleY == b.zoomScaleY && a.zoomDispX == b.zoomDispX &&
                    a.zoomDispY == b.zoomDispY);
        EXPECT_THAT(TempFiles(), ElementsAre());
    }
};

// Catches a wrong ceiling, a wrong clamp, tiling at or below the native edge, a target of
// 0 that tiles, comparing the window's long edge instead of the safe frame's, tile offsets
// with the wrong sign, and a change without both apply-flags (the host ignores it).
TEST_F(ViewExtractorTest, TheTileFactorFollowsTheTargetOverTheShippedLongEdge) {
    struct Case {
        char const* name;
        int target;
        short renderW, renderH; // render aspect with the safe frame on; 0: safe frame off
        int n;                  // 0: no tiling
    } const cases[] = {
        {"2048 over 1000 tiles 3x3", 2048, 0, 0, 3},
        {"5000 over 1000 clamps to 4x4", 5000, 0, 0, 4},
        {"1500 over 1000 tiles 2x2", 1500, 0, 0, 2},
        {"target equal to native", 1000, 0, 0, 0},
        {"target 0 never tiles", 0, 0, 0, 0},
        {"tall safe frame ships 600 < 1000", 1000, 1, 2, 2},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        window.changes.clear();
        window.render.scaleType = c.renderW > 0 ? 1 : 0;
        window.render.hSize = c.renderW;
        window.render.vSize = c.renderH;
        Host::API_3DWindowInfo const initial = window.info;
        int const scale = c.n > 0 ? c.n : 1;
        EXPECT_EQ(ExtractedSize(c.target), std::make_pair(1000 * scale, 600 * scale));
        // n*n tiles, then the initial settings again.
        ASSERT_EQ(window.changes.size(), c.n > 0 ? std::size_t(c.n * c.n + 1) : 0u);
        for (std::size_t i = 0; i < window.changes.size(); ++i) {
            Host::API_3DWindowInfo const& change = window.changes[i];
            EXPECT_TRUE(change.setWindowSize && change.setZoom);
            if (i + 1 == window.changes.size())
                break;
            int const row = int(i) / c.n;
            int const column = int(i) % c.n;
            EXPECT_DOUBLE_EQ(change.zoomScaleX, c.n);
            EXPECT_DOUBLE_EQ(change.zoomScaleY, c.n);
            EXPECT_DOUBLE_EQ(change.zoomDispX, 0.25 * c.n - 1000.0 * column) << i;
            EXPECT_DOUBLE_EQ(change.zoomDispY, -0.5 * c.n + 600.0 * row) << i;
        }
        ExpectRestored(window, initial);
    }
}

// Catches a failure in the middle of the grid that leaves the window in tile settings or
// aborts the extraction instead of shipping the native capture, a tile file left behind,
// and a window changed although no tile settings can be computed.
TEST_F(ViewExtractorTest, AFailingTileShipsTheNativeCaptureWithTheWindowRestored) {
    struct Case {
        char const* name;
        int failSave, failChange;
        double zoomScaleY;
        std::size_t changes; // applied tiles plus the restore
    } const cases[] = {
        {"save of tile (1,1)", 5, -1, 1.0, 6}, // save 0 is the native JPEG
        {"window change for tile (0,1)", -1, 3, 1.0, 4},
        {"no usable zoom block", -1, -1, 0.0, 0},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedWindow scripted(host, temp); // scripts the host anew
        scripted.info.zoomScaleY = c.zoomScaleY;
        scripted.failSaveAt = c.failSave;
        scripted.failChangeAt = c.failChange;
        Host::API_3DWindowInfo const initial = scripted.info;
        EXPECT_EQ(ExtractedSize(2048), std::make_pair(1000, 600));
        EXPECT_EQ(scripted.changes.size(), c.changes);
        ExpectRestored(scripted, initial);
    }
}

// Catches a missing window check, a switch without permission, and a failed window-settings
// read that fails the extraction instead of shipping the native capture untiled.
TEST_F(ViewExtractorTest, WindowChecksAndAMissingWindowSizeShipTheNativeCapture) {
    ON_CALL(host.window, GetCurrentWindow(_)).WillByDefault(Return(Host::Error::NoError));
    EXPECT_CALL(host.view, ShowAllIn3D()).Times(0);
    ExtractedSize(2048, Host::Error::BadWindow); // a plan window, no switch allowed

    ScriptedWindow fresh(host, temp);
    ON_CALL(host.view, Get3DWindowSets(_)).WillByDefault(Return(Host::Error::BadWindow));
    EXPECT_EQ(ExtractedSize(4096), std::make_pair(1000, 600));
    EXPECT_TRUE(fresh.changes.empty());
}

} // namespace
} // namespace Velmora::Testing
