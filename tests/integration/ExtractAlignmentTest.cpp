// The uploaded mask measured against what the simulated host knows: the sample building
// extracted with tiling and a 4:3 safe frame, the stored JPEG and mask compared pixel by
// pixel with the element-id buffer of the same view rendered at the stitched size.
#include "ExtractSession.hpp"

#include "Extract/CategoryPalette.hpp"
#include "Extract/Raster.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <ostream>
#include <set>

namespace Velmora::Testing {
namespace {

constexpr short kWindowW = 960, kWindowH = 540;

using Colour = std::uint32_t;

Colour Pack(Rgb8 c) {
    return Colour(c.r) | Colour(c.g) << 8 | Colour(c.b) << 16;
}

Colour PixelAt(DecodedImage const& image, std::size_t pixel) {
    unsigned char const* p = image.rgb.data() + pixel * 3;
    return Pack({p[0], p[1], p[2]});
}

// The element ids of the view at `factor` times the window's size, as the stitched tiles
// show it: the window enlarged for one picture and restored.
Sim::RenderedPicture RenderAtFactor(Sim::SimHost& host, int factor) {
    Sim::SimWindow3D& window = host.Window3D();
    Host::API_3DWindowInfo const before = window.AppliedWindowSets();
    Host::API_3DWindowInfo big = before;
    big.hSize = short(before.hSize * factor);
    big.vSize = short(before.vSize * factor);
    big.setWindowSize = true;
    window.Change3DWindowSets(&big);
    window.RebuildCurrentDatabase();
    Sim::RenderedPicture picture = window.RenderPicture();
    Host::API_3DWindowInfo restore = before;
    restore.setWindowSize = true;
    window.Change3DWindowSets(&restore);
    window.RebuildCurrentDatabase();
    return picture;
}

// The ids (and colours) under the safe-frame crop, row by row.
Sim::RenderedPicture Crop(Sim::RenderedPicture const& full, SafeFrameRect const& rect) {
    Sim::RenderedPicture out;
    out.width = rect.width;
    out.height = rect.height;
    for (int y = 0; y < rect.height; ++y) {
        std::size_t const from = std::size_t(y + rect.y) * std::size_t(full.width) + rect.x;
        out.elementIds.insert(out.elementIds.end(), full.elementIds.begin() + long(from),
                              full.elementIds.begin() + long(from) + rect.width);
        out.rgb.insert(out.rgb.end(), full.rgb.begin() + long(from * 3),
                       full.rgb.begin() + long((from + std::size_t(rect.width)) * 3));
    }
    return out;
}

struct Alignment {
    std::size_t elementPixels = 0;
    std::size_t matching = 0;
    std::size_t missesAtEdges = 0; // a different id within the tile factor's reach
    double Percent() const {
        return elementPixels == 0 ? 0.0 : 100.0 * double(matching) / double(elementPixels);
    }
};

bool NearAnotherId(Sim::RenderedPicture const& ids, int x, int y, int reach) {
    std::int32_t const own = ids.elementIds[std::size_t(y) * ids.width + x];
    for (int dy = -reach; dy <= reach; ++dy)
        for (int dx = -reach; dx <= reach; ++dx) {
            int const nx = x + dx, ny = y + dy;
            if (nx >= 0 && ny >= 0 && nx < ids.width && ny < ids.height &&
                ids.elementIds[std::size_t(ny) * ids.width + nx] != own)
                return true;
        }
    return false;
}

// Per element, the colour the mask should carry there.
using Expected = std::map<std::int32_t, Colour>;

// Every pixel (step 1), or only the centre of each step x step block.
Alignment Measure(Sim::RenderedPicture const& ids, DecodedImage const& mask,
                  Expected const& expected, int reach, int step) {
    Alignment a;
    for (int y = step / 2; y < ids.height; y += step)
        for (int x = step / 2; x < ids.width; x += step) {
            std::size_t const at = std::size_t(y) * ids.width + x;
            std::int32_t const id = ids.elementIds[at];
            if (id < 0)
                continue;
            ++a.elementPixels;
            auto const want = expected.find(id);
            if (want != expected.end() && PixelAt(mask, at) == want->second)
                ++a.matching;
            else if (NearAnotherId(ids, x, y, reach))
                ++a.missesAtEdges;
        }
    return a;
}

Expected CategoryColours(Sim::Scene const& scene, Sim::RenderedPicture const& ids) {
    Expected expected;
    for (std::int32_t id : ids.elementIds)
        if (id >= 0 && !expected.count(id))
            expected[id] =
                Pack(ColorForCategory(CategoryOfElemType(scene.elements[std::size_t(id)].type)));
    return expected;
}

// Per element: the colour most of its pixels carry. Types the mask enumerates must each own
// an instance colour no other element has; every other type is painted Other.
Expected InstanceColours(Sim::Scene const& scene, Sim::RenderedPicture const& ids,
                         DecodedImage const& mask, std::string& problem) {
    std::map<std::int32_t, std::map<Colour, std::size_t>> votes;
    for (std::size_t at = 0; at < ids.elementIds.size(); ++at)
        if (ids.elementIds[at] >= 0)
            ++votes[ids.elementIds[at]][PixelAt(mask, at)];
    Colour const other = Pack(ColorForCategory(Category::Other));
    Expected expected;
    std::set<Colour> owned;
    for (auto const& [id, counts] : votes) {
        Colour best = 0;
        std::size_t most = 0;
        for (auto const& [colour, n] : counts)
            if (n > most)
                best = colour, most = n;
        Sim::SceneElement const& element = scene.elements[std::size_t(id)];
        bool const enumerated = CategoryOfElemType(element.type) != Category::Other;
        Rgb8 const rgb{std::uint8_t(best), std::uint8_t(best >> 8), std::uint8_t(best >> 16)};
        long error = 0;
        int const index = LatticeIndexForColor(rgb, &error);
        bool const fits =
            enumerated ? error == 0 && index >= 15 && owned.insert(best).second : best == other;
        if (fits)
            expected[id] = best;
        else
            problem += element.id + " has no colour of its own; ";
    }
    return expected;
}

struct AlignmentCase {
    char const* mode;
    bool splitInstances;
};

void PrintTo(AlignmentCase const& c, std::ostream* out) {
    *out << c.mode;
}

class ExtractAlignment : public testing::TestWithParam<AlignmentCase> {};

// Catches a mask that is shifted, scaled, cropped or coloured differently from the uploaded
// image: a wrong tile factor, a crop applied to one of the two only, a highlight colour that
// the ratio does not recover, or instance colours that leak between elements.
TEST_P(ExtractAlignment, TheMaskCoversEveryElementInItsColour) {
#ifdef VELMORA_THREAD_SANITIZED
    GTEST_SKIP() << "pixels, not threads: measured in the other builds";
#endif
    ExtractSetup setup;
    setup.window.width = kWindowW;
    setup.window.height = kWindowH;
    setup.window.safeFrameWidth = 4;
    setup.window.safeFrameHeight = 3;
    setup.highResLongEdge = 2048;
    setup.splitInstances = GetParam().splitInstances;
    ExtractSession session(setup);
    ASSERT_TRUE(session.Ready()) << session.Why();
    ASSERT_TRUE(session.Extract());
    ASSERT_EQ(session.Reports().size(), 1u);
    EXPECT_EQ(session.Reports()[0].text,
              "Velmora: upload complete. The new scene will appear in the panel.");

    auto const jpegs = session.Stored(".jpg");
    auto const masks = session.Stored("-mask.png");
    ASSERT_EQ(jpegs.size(), 1u);
    ASSERT_EQ(masks.size(), 1u) << session.LogText();
    DecodedImage view, mask;
    ASSERT_TRUE(DecodeJpegFile(jpegs[0], view));
    ASSERT_TRUE(DecodePngFile(masks[0], mask));
    EXPECT_EQ(view.width, mask.width);
    ASSERT_EQ(view.height, mask.height);

    // 720 x 540 ships after the 4:3 crop, so the 2048 target tiles 3 x 3.
    int const factor = 3;
    ASSERT_EQ(view.height, kWindowH * factor);
    SafeFrameRect const rect = ComputeSafeFrameCrop(kWindowW * factor, kWindowH * factor, 4, 3);
    ASSERT_EQ(view.width, rect.width);
    Sim::RenderedPicture const ids = Crop(RenderAtFactor(session.Host(), factor), rect);

    // The uploaded view is the host's own picture of that area, up to JPEG noise.
    long difference = 0;
    for (std::size_t i = 0; i < ids.rgb.size(); ++i)
        difference += std::labs(long(ids.rgb[i]) - long(view.rgb[i]));
    EXPECT_LT(double(difference) / double(ids.rgb.size()), 4.0);

    Sim::Scene const& scene = *session.Host().Project().OpenScene();
    std::string problem;
    Expected const expected = GetParam().splitInstances ? InstanceColours(scene, ids, mask, problem)
                                                        : CategoryColours(scene, ids);
    EXPECT_EQ(problem, "");
    Alignment const a = Measure(ids, mask, expected, factor, 1);
    std::printf("alignment (%s): %.2f%% of %zu element pixels; %zu of the %zu misses at edges\n",
                GetParam().mode, a.Percent(), a.elementPixels, a.missesAtEdges,
                a.elementPixels - a.matching);
    EXPECT_GT(a.elementPixels, std::size_t(view.width) * view.height / 4);
    EXPECT_GE(a.Percent(), 98.0);
    EXPECT_EQ(a.missesAtEdges, a.elementPixels - a.matching) << "a miss inside an element";

    // The mask is the window's own capture enlarged by the tile factor, so its blocks can only
    // follow an edge to within a block. At the blocks' centres, the points the window sampled,
    // it must agree almost everywhere: a shift of one window pixel fails here.
    ASSERT_EQ(rect.x % factor, 0);
    ASSERT_EQ(rect.y % factor, 0);
    Alignment const centres = Measure(ids, mask, expected, factor, factor);
    std::printf("alignment (%s) at the window's samples: %.3f%% of %zu\n", GetParam().mode,
                centres.Percent(), centres.elementPixels);
    EXPECT_GE(centres.Percent(), 99.9);
}

std::string CaseName(testing::TestParamInfo<AlignmentCase> const& param) {
    return param.param.splitInstances ? "PerElement" : "PerCategory";
}

INSTANTIATE_TEST_SUITE_P(BothMaskModes, ExtractAlignment,
                         testing::Values(AlignmentCase{"per-category", false},
                                         AlignmentCase{"per-element", true}),
                         CaseName);

} // namespace
} // namespace Velmora::Testing
