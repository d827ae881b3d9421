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
using testing::HasSubstr;
using testing::Return;

class ViewExtractorTest : public ExtractTest {
protected:
    ExtractedView Extract(int target) {
        ExtractOptions options;
        options.highResLongEdge = target;
        return ExtractCurrentView(options);
    }
    static std::pair<int, int> JpegSize(std::string const& path) {
        std::vector<unsigned char> bytes;
        int w = 0;
        int h = 0;
        if (ve_detail::ReadAllBytes(path, bytes))
            JpegPixelSize(bytes, w, h);
        return {w, h};
    }
    static bool SameView(Host::API_3DWindowInfo const& a, Host::API_3DWindowInfo const& b) {
        return a.hSize == b.hSize && a.vSize == b.vSize && a.zoomScaleX == b.zoomScaleX &&
               a.zoomScaleY == b.zoomScaleY && a.zoomDispX == b.zoomDispX &&
               a.zoomDispY == b.zoomDispY;
    }
};

struct TilingCase {
    char const* name;
    int target;
    short renderW, renderH; // render aspect with the safe frame on; 0: safe frame off
    int n;                  // 0: no tiling
};

// Catches a wrong ceiling, missing clamps, tiling at or below the native edge, a target of 0
// that tiles, and comparing the window's long edge instead of the safe frame's.
TEST_F(ViewExtractorTest, TheTileFactorFollowsTheTargetOverTheShippedLongEdge) {
    TilingCase const cases[] = {
        {"2048 over 1000 tiles 3x3", 2048, 0, 0, 3},
        {"5000 over 1000 clamps to 4x4", 5000, 0, 0, 4},
        {"1500 over 1000 tiles 2x2", 1500, 0, 0, 2},
        {"target equal to native", 1000, 0, 0, 0},
        {"target 0 never tiles", 0, 0, 0, 0},
        {"tall safe frame ships 600 < 1000", 1000, 1, 2, 2},
    };
    for (TilingCase const& c : cases) {
        SCOPED_TRACE(c.name);
        window.changes.clear();
        window.render.scaleType = c.renderW > 0 ? 1 : 0;
        window.render.hSize = c.renderW;
        window.render.vSize = c.renderH;
        Host::API_3DWindowInfo const initial = window.info;
        ExtractedView const view = Extract(c.target);
        ASSERT_EQ(view.err, 0);
        int const scale = c.n > 0 ? c.n : 1;
        EXPECT_EQ(JpegSize(view.jpegPath), std::make_pair(1000 * scale, 600 * scale));
        EXPECT_EQ(view.safeFrameOn, c.renderW > 0);
        // n*n tiles, then the initial settings again, every change with both apply-flags.
        ASSERT_EQ(window.changes.size(), c.n > 0 ? std::size_t(c.n * c.n + 1) : 0u);
        for (std::size_t i = 0; i < window.changes.size(); ++i) {
            Host::API_3DWindowInfo const& change = window.changes[i];
            EXPECT_TRUE(change.setWindowSize && change.setZoom);
            if (i + 1 == window.changes.size())
                break;
            int const row = int(i) / c.n;
            int const column = int(i) % c.n;
            EXPECT_EQ(change.hSize, 1000);
            EXPECT_DOUBLE_EQ(change.zoomScaleX, c.n);
            EXPECT_DOUBLE_EQ(change.zoomScaleY, c.n);
            EXPECT_DOUBLE_EQ(change.zoomDispX, 0.25 * c.n - 1000.0 * column) << i;
            EXPECT_DOUBLE_EQ(change.zoomDispY, -0.5 * c.n + 600.0 * row) << i;
        }
        EXPECT_TRUE(SameView(window.info, initial));
        ve_detail::DeleteFileQuiet(view.jpegPath);
        EXPECT_THAT(TempFiles(), ElementsAre()); // tiles and the native save are gone
    }
    EXPECT_THAT(LogLinesWith("tiling 3x3"),
                ElementsAre("[INFO ] ViewExtractor: high-res: native ships 1000 < target 2048; "
                            "tiling 3x3"));
    EXPECT_THAT(LogLinesWith("captured current 3D view"),
                ElementsAre(HasSubstr("(tiled high-res)"), HasSubstr("(tiled high-res)"),
                            HasSubstr("(tiled high-res)"), HasSubstr("(WYSIWYG)"),
                            HasSubstr("(WYSIWYG)"), HasSubstr("(tiled high-res)")));
    EXPECT_THAT(LogLinesWith("safe-frame crop pending"),
                ElementsAre("[INFO ] ViewExtractor: safe-frame crop pending: capture 1000x600 "
                            "-> 300x600 at (350,0), render aspect 1:2"));
}

// Catches a tile failure in the middle of the grid that leaves the window in tile settings,
// a failure that aborts the extraction instead of shipping the native capture, and a tile
// file left behind.
TEST_F(ViewExtractorTest, AFailingTileInTheMiddleOfTheGridRestoresTheWindow) {
    Host::API_3DWindowInfo const initial = window.info;
    // Save calls: the native JPEG, then tiles; the 6th save is tile (1,1) of 3x3.
    // gMock tries the newest expectation first: the six good saves, then the failing one.
    EXPECT_CALL(host.projectOperation, Save(_, _))
        .WillOnce(Return(Host::Error::RefusedCmd))
        .RetiresOnSaturation();
    EXPECT_CALL(host.projectOperation, Save(_, _))
        .Times(5)
        .WillRepeatedly(testing::DoDefault())
        .RetiresOnSaturation();
    ExtractedView const view = Extract(2048);
    ASSERT_EQ(view.err, 0);
    EXPECT_EQ(JpegSize(view.jpegPath), std::make_pair(1000, 600));
    EXPECT_EQ(window.changes.size(), 6u); // five tiles applied, then the initial settings
    EXPECT_TRUE(SameView(window.info, initial));
    EXPECT_THAT(LogLinesWith("TiledCapture:"),
                ElementsAre("[ERROR] TiledCapture: tile (1,1): save failed, err=" +
                            std::to_string(Host::Error::RefusedCmd)));
    EXPECT_THAT(LogLinesWith("tiled capture failed"), testing::SizeIs(1));
    ve_detail::DeleteFileQuiet(view.jpegPath);
    EXPECT_THAT(TempFiles(), ElementsAre());
}

// Catches an apply failure that is not followed by the restore.
TEST_F(ViewExtractorTest, AFailingWindowChangeInTheGridRestoresTheWindow) {
    Host::API_3DWindowInfo const initial = window.info;
    EXPECT_CALL(host.view, Change3DWindowSets(_)).WillRepeatedly(testing::DoDefault());
    EXPECT_CALL(host.view, Change3DWindowSets(_))
        .WillOnce(Return(Host::Error::BadPars))
        .RetiresOnSaturation();
    EXPECT_CALL(host.view, Change3DWindowSets(_))
        .Times(3)
        .WillRepeatedly(testing::DoDefault())
        .RetiresOnSaturation();
    ExtractedView const view = Extract(2048);
    ASSERT_EQ(view.err, 0);
    ASSERT_EQ(window.changes.size(), 4u); // three tiles, then the initial settings again
    EXPECT_TRUE(SameView(window.changes.back(), initial));
    EXPECT_THAT(LogLinesWith("ApplyWindowInfo failed"),
                ElementsAre(HasSubstr("TiledCapture: tile (0,1): ApplyWindowInfo failed")));
    ve_detail::DeleteFileQuiet(view.jpegPath);
}

// Catches a capture that changes the window although it cannot compute tile settings.
TEST_F(ViewExtractorTest, NoUsableZoomBlockNeverTouchesTheWindow) {
    window.info.zoomScaleY = 0.0;
    EXPECT_CALL(host.view, Change3DWindowSets(_)).Times(0);
    ExtractedView const view = Extract(4096);
    ASSERT_EQ(view.err, 0);
    EXPECT_EQ(JpegSize(view.jpegPath), std::make_pair(1000, 600));
    EXPECT_THAT(LogLinesWith("zoom block"),
                ElementsAre("[WARN ] TiledCapture: no usable zoom block; shipping the native "
                            "capture"));
    ve_detail::DeleteFileQuiet(view.jpegPath);
}

// Catches a missing window check, a switch without permission, and a failed window-settings
// read that fails the extraction instead of shipping the native capture untiled.
TEST_F(ViewExtractorTest, WindowChecksAndAMissingWindowSizeShipTheNativeCapture) {
    ON_CALL(host.window, GetCurrentWindow(_)).WillByDefault(Return(Host::Error::NoError));
    EXPECT_CALL(host.view, ShowAllIn3D()).Times(0);
    EXPECT_EQ(Extract(2048).err, Host::Error::BadWindow); // a plan window, no switch allowed

    ON_CALL(host.window, GetCurrentWindow(_))
        .WillByDefault(testing::Invoke([](Host::API_WindowInfo* w) {
            w->typeID = Host::APIWind_3DModelID;
            return Host::Error::NoError;
        }));
    ON_CALL(host.view, Get3DWindowSets(_)).WillByDefault(Return(Host::Error::BadWindow));
    window.render.scaleType = 1;
    window.render.hSize = 16;
    window.render.vSize = 9;
    ExtractedView const view = Extract(4096);
    ASSERT_EQ(view.err, 0);
    EXPECT_EQ(view.windowWidth, 0);
    EXPECT_FALSE(view.safeFrame.needed);
    EXPECT_TRUE(window.changes.empty());
    EXPECT_EQ(JpegSize(view.jpegPath), std::make_pair(1000, 600));
    ve_detail::DeleteFileQuiet(view.jpegPath);
}

} // namespace
} // namespace Velmora::Testing
