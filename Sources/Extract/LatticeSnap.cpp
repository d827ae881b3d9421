// Snaps a recovered mask onto the lattice colours in use, 16 pixels (48 bytes) at a time.
//
// A mask is mostly runs of one lattice colour with a little jitter, and white. So pixels are
// tested in 16-byte vectors against windows of `window` values: "every channel in the window
// around one lattice colour" (such pixels all share that colour's position, pass the error limit
// and cannot be background, so they all take its output), or "every channel in the top `window`
// values" (white). Edges in a mask run on down the rows, so each block is first tested against what
// the block directly above became, pixel by pixel; most blocks, mixed ones too, fit it whole. A
// block that does not takes its start from the pattern of the pixel before it and its end from the
// pattern of its last pixel, and whatever lies between goes pattern by pattern, a pixel that fits
// none alone through the per-channel tables. So the in-use set is never gathered per pixel.
#include "Extract/ByteVector.hpp"
#include "Extract/CategoryPalette.hpp"
#include "Extract/Raster.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Velmora {
namespace {

constexpr std::size_t kChannels = 3;
constexpr unsigned char kWhite = 255;

// Per channel value, packed in one word: its share of the lattice position (bits 0-11),
// whether it reaches the background floor (bit 12) and whether it lies further than `span`
// from its level (bit 14), each summing to at most 3 over a pixel, and its squared error (bits
// 16 and up). The values come from LatticeIndexForColor itself, probed with the other two
// channels at level 0 (byte 15), so that they cannot drift from it.
constexpr std::uint32_t kPositionBits = 0xFFF;
constexpr int kBackgroundShift = 12;
constexpr int kFarShift = 14;
constexpr std::uint32_t kCountBits = 3;
constexpr int kErrorShift = 16;
constexpr std::uint32_t kPackedWhite = 0xFFFFFF;
constexpr std::uint32_t kNoPattern = 0xFFFFFFFF;
constexpr std::uint32_t kScrambleStep = 1327; // lattice index to lattice position

struct PositionEntry {
    std::uint32_t output = kPackedWhite; // the lattice colour, white when not in use
    std::uint32_t low = kNoPattern; // the colour minus half the window per channel, if matchable
};

struct SnapTables {
    std::array<std::array<std::uint32_t, 256>, kChannels> channel{};
    std::array<PositionEntry, kLatticeSize> position{};
    std::uint32_t maxError = 0;
    unsigned char span = 0;   // channels within this of their level cannot leave its cell
    unsigned char window = 1; // the width of every pattern's window: no more than 2 span + 1,
                              // and no more than the values from the floor up
    unsigned char backgroundFloor = 0;
};

std::uint32_t Pack(Rgb8 colour) {
    return colour.r | (std::uint32_t{colour.g} << 8) | (std::uint32_t{colour.b} << 16);
}

std::uint32_t PositionOfIndex(int index) {
    return (static_cast<std::uint32_t>(index) * kScrambleStep) % kLatticeSize;
}

std::uint32_t ProbeChannel(std::size_t channel, int value, long& sqError) {
    constexpr std::uint8_t kLevelZero = 15;
    std::uint8_t probe[kChannels] = {kLevelZero, kLevelZero, kLevelZero};
    probe[channel] = static_cast<std::uint8_t>(value);
    return PositionOfIndex(LatticeIndexForColor(Rgb8{probe[0], probe[1], probe[2]}, &sqError));
}

int DigitOf(int value) {
    long unused = 0;
    return static_cast<int>(ProbeChannel(kChannels - 1, value, unused)); // blue weighs 1
}

int LevelOf(int digit) {
    const int index = static_cast<int>((static_cast<std::uint32_t>(digit) * 1548u) % kLatticeSize);
    return ColorForIndex(index).b;
}

// The widest window around every level that stays inside the level's own cell (and the byte).
int WidestSafeSpan() {
    int widest = 255;
    for (int digit = 0; digit < kLatticeLevels; ++digit) {
        const int level = LevelOf(digit);
        int span = 0;
        while (level - span - 1 >= 0 && level + span + 1 <= 255 &&
               DigitOf(level - span - 1) == digit && DigitOf(level + span + 1) == digit) {
            ++span;
        }
        widest = std::min(widest, span);
    }
    return widest;
}

// Within `span` of its level in every channel, a pixel's error is at most 3 * span^2.
unsigned char SpanForLimit(long maxSqError) {
    static const int widest = WidestSafeSpan();
    int span = 0;
    while (span < widest && (maxSqError < 0 || 3L * (span + 1) * (span + 1) <= maxSqError)) {
        ++span;
    }
    return static_cast<unsigned char>(span);
}

// What LatticeIndexForColor says of every channel value: the same for every call.
struct ChannelProbes {
    std::array<std::array<std::uint32_t, 256>, kChannels> position{};
    std::array<std::array<long, 256>, kChannels> sqError{};
    ChannelProbes() {
        for (std::size_t channel = 0; channel < kChannels; ++channel) {
            for (std::size_t value = 0; value < 256; ++value) {
                position[channel][value] =
                    ProbeChannel(channel, static_cast<int>(value), sqError[channel][value]);
            }
        }
    }
};

void BuildChannelTables(SnapTables& tables) {
    static const ChannelProbes probes;
    const long farError = long{tables.span} * tables.span;
    for (std::size_t channel = 0; channel < kChannels; ++channel) {
        for (int value = 0; value < 256; ++value) {
            const long sqError = probes.sqError[channel][static_cast<std::size_t>(value)];
            const std::uint32_t position =
                probes.position[channel][static_cast<std::size_t>(value)];
            const std::uint32_t background = value >= tables.backgroundFloor ? 1 : 0;
            const std::uint32_t far = sqError > farError ? 1 : 0;
            tables.channel[channel][static_cast<std::size_t>(value)] =
                position | (background << kBackgroundShift) | (far << kFarShift) |
                (static_cast<std::uint32_t>(sqError) << kErrorShift);
        }
    }
}

// The colour of every lattice index: the same for every call.
std::array<Rgb8, kLatticeSize> LatticeColours() {
    std::array<Rgb8, kLatticeSize> colours{};
    for (int index = 0; index < kLatticeSize; ++index) {
        colours[static_cast<std::size_t>(index)] = ColorForIndex(index);
    }
    return colours;
}

// A pattern is usable only where no pixel inside it can be background: its darkest channel
// plus the span (which the window never passes) stays below the floor.
PositionEntry PositionEntryFor(Rgb8 colour, bool inUse, const SnapTables& tables) {
    PositionEntry entry;
    entry.output = inUse ? Pack(colour) : kPackedWhite;
    if (std::min({colour.r, colour.g, colour.b}) + tables.span < tables.backgroundFloor) {
        const auto low = [&](std::uint8_t level) {
            return static_cast<std::uint32_t>(level - tables.window / 2);
        };
        entry.low = low(colour.r) | (low(colour.g) << 8) | (low(colour.b) << 16);
    }
    return entry;
}

SnapTables BuildSnapTables(const std::vector<unsigned char>& inUse, unsigned char backgroundFloor,
                           long maxSqError) {
    SnapTables tables;
    tables.backgroundFloor = backgroundFloor;
    tables.span = SpanForLimit(maxSqError);
    tables.window =
        static_cast<unsigned char>(std::min(2 * tables.span + 1, 256 - backgroundFloor));
    BuildChannelTables(tables);
    static const std::array<Rgb8, kLatticeSize> colours = LatticeColours();
    for (int index = 0; index < kLatticeSize; ++index) {
        const auto at = static_cast<std::size_t>(index);
        tables.position[PositionOfIndex(index)] =
            PositionEntryFor(colours[at], inUse[at] != 0, tables);
    }
    // The error never exceeds 3 * 15^2, so any larger limit, or none, is the same as 0xFFFF.
    constexpr long kNoLimit = 0xFFFF;
    tables.maxError =
        static_cast<std::uint32_t>(maxSqError < 0 ? kNoLimit : std::min(maxSqError, kNoLimit));
    return tables;
}

std::uint32_t ChannelSum(const SnapTables& tables, const unsigned char* pixel) {
    return tables.channel[0][pixel[0]] + tables.channel[1][pixel[1]] + tables.channel[2][pixel[2]];
}

bool AllBackground(std::uint32_t sum) {
    return ((sum >> kBackgroundShift) & kCountBits) == kCountBits;
}

bool NoneFar(std::uint32_t sum) {
    return ((sum >> kFarShift) & kCountBits) == 0;
}

// The rule for one pixel, from its channels' summed table words.
std::uint32_t SnapOne(const SnapTables& tables, const unsigned char* pixel) {
    const std::uint32_t sum = ChannelSum(tables, pixel);
    const bool keep = !AllBackground(sum) && (sum >> kErrorShift) <= tables.maxError;
    return keep ? tables.position[sum & kPositionBits].output : kPackedWhite;
}

void PutPacked(unsigned char* pixel, std::uint32_t colour) {
    pixel[0] = static_cast<unsigned char>(colour);
    pixel[1] = static_cast<unsigned char>(colour >> 8);
    pixel[2] = static_cast<unsigned char>(colour >> 16);
}

// --- Blocks of 16 pixels in three 16-byte vectors.

using ve_detail::LoadU8x16;
using ve_detail::SplatU8x16;
using ve_detail::StoreU8x16;
using ve_detail::U8x16;
using U64x2 = std::uint64_t __attribute__((vector_size(16)));
constexpr std::size_t kBlockPixels = 16;
constexpr std::size_t kBlockBytes = kBlockPixels * kChannels;
constexpr std::uint64_t kPixelStarts = 0x249249249249; // bit 3k: pixel k's first byte
constexpr int kMaxRounds = 4;

// Bytes 0-15, 16-31 and 32-47 of a block. Written out rather than looped so that the three
// stay in registers.
struct Block {
    U8x16 low, mid, high;
};

template <typename To, typename From>
To BitCast(const From& from) {
    static_assert(sizeof(To) == sizeof(From), "same size");
    To to;
    std::memcpy(&to, &from, sizeof to);
    return to;
}

U8x16 Vector(std::uint64_t first, std::uint64_t second) {
    return BitCast<U8x16>(U64x2{first, second});
}

Block Load(const unsigned char* bytes) {
    Block block;
    block.low = LoadU8x16(bytes);
    block.mid = LoadU8x16(bytes + 16);
    block.high = LoadU8x16(bytes + 32);
    return block;
}

void Store(unsigned char* bytes, const Block& block) {
    StoreU8x16(bytes, block.low);
    StoreU8x16(bytes + 16, block.mid);
    StoreU8x16(bytes + 32, block.high);
}

// A packed colour repeated over 48 bytes: the three byte phases of it, eight bytes each.
Block Repeat(std::uint32_t colour) {
    constexpr std::uint64_t kThrice = 1 | (std::uint64_t{1} << 24) | (std::uint64_t{1} << 48);
    const std::uint64_t rgb = colour & kPackedWhite;
    const std::uint64_t fromRed = rgb * kThrice;
    const std::uint64_t fromGreen = ((rgb >> 8) | ((rgb & 0xFF) << 16)) * kThrice;
    const std::uint64_t fromBlue = ((rgb >> 16) | ((rgb & 0xFFFF) << 8)) * kThrice;
    return Block{Vector(fromRed, fromBlue), Vector(fromGreen, fromRed),
                 Vector(fromBlue, fromGreen)};
}

bool AllZero(const Block& mask) {
    const U64x2 any = BitCast<U64x2>(mask.low | mask.mid | mask.high);
    return (any[0] | any[1]) == 0;
}

#if defined(__SSE2__)
std::uint64_t VectorBits(U8x16 mask) {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(BitCast<__m128i>(mask)));
}
#else
// Bit i set where byte i of eight mask bytes (each 0 or 0xFF) is set.
std::uint64_t ByteBits(std::uint64_t bytes) {
    return ((bytes & 0x8080808080808080u) * 0x0002040810204081u) >> 56;
}

std::uint64_t VectorBits(U8x16 mask) {
    const U64x2 halves = BitCast<U64x2>(mask);
    return ByteBits(halves[0]) | (ByteBits(halves[1]) << 8);
}
#endif

std::uint64_t MaskBits(const Block& mask) {
    return VectorBits(mask.low) | (VectorBits(mask.mid) << 16) | (VectorBits(mask.high) << 32);
}

// The pixels (bit 3k) none of whose three bytes is set in `bad`.
std::uint64_t CleanPixels(const Block& bad) {
    const std::uint64_t bits = MaskBits(bad);
    return ~(bits | (bits >> 1) | (bits >> 2)) & kPixelStarts;
}

// 48 set bytes then 48 clear ones: the 48 bytes from offset 48 - n have the first n set.
constexpr std::array<unsigned char, 2 * kBlockBytes> Window() {
    std::array<unsigned char, 2 * kBlockBytes> window{};
    for (std::size_t at = 0; at < kBlockBytes; ++at) {
        window[at] = 0xFF;
    }
    return window;
}

constexpr std::array<unsigned char, 2 * kBlockBytes> kWindow = Window();

// The first `count` bytes of a block set, the others clear.
Block FirstBytes(unsigned count) {
    return Load(kWindow.data() + kBlockBytes - count);
}

constexpr std::array<std::uint64_t, 256> ByteMasks() {
    std::array<std::uint64_t, 256> masks{};
    for (std::size_t bits = 0; bits < masks.size(); ++bits) {
        for (std::size_t byte = 0; byte < 8; ++byte) {
            masks[bits] |= ((bits >> byte) & 1) != 0 ? std::uint64_t{0xFF} << (8 * byte) : 0;
        }
    }
    return masks;
}

constexpr std::array<std::uint64_t, 256> kByteMasks = ByteMasks();

// 0xFF in every byte of the pixels set in `pixels` (bit 3k), 0 elsewhere.
inline __attribute__((always_inline)) Block ExpandPixels(std::uint64_t pixels) {
    const std::uint64_t bytes = pixels | (pixels << 1) | (pixels << 2);
    const auto eight = [&](int shift) { return kByteMasks[(bytes >> shift) & 0xFF]; };
    return Block{Vector(eight(0), eight(8)), Vector(eight(16), eight(24)),
                 Vector(eight(32), eight(40))};
}

// One pattern: the window [low, low + window) that each byte must lie in, and what the pixels
// whose three bytes all do become. Every window has the same width, so that it stays in a
// register; where there is no pattern the white one stands in, as what fits it is white anyway.
struct Pattern {
    Block low;
    Block output;
};

U8x16 Outside(U8x16 bytes, U8x16 low, U8x16 window) {
    return BitCast<U8x16>(static_cast<U8x16>(bytes - low) >= window);
}

Block Outside(const Block& in, const Block& low, U8x16 window) {
    return Block{Outside(in.low, low.low, window), Outside(in.mid, low.mid, window),
                 Outside(in.high, low.high, window)};
}

U8x16 Select(U8x16 into, U8x16 from, U8x16 mask) {
    return (into & ~mask) | (from & mask);
}

Block Blend(const Block& into, const Block& from, const Block& mask) {
    return Block{Select(into.low, from.low, mask.low), Select(into.mid, from.mid, mask.mid),
                 Select(into.high, from.high, mask.high)};
}

unsigned PixelStart(unsigned byte) {
    return byte / 3 * 3;
}

constexpr unsigned kLastPixelAt = kBlockBytes - kChannels;
constexpr std::uint32_t kWhitePattern = kLatticeSize;
constexpr std::uint32_t kNoMatch = kLatticeSize + 1;

// Patterns by lattice position, then white, then the one for pixels that fit none.
std::vector<Pattern> BuildPatterns(const SnapTables& tables) {
    // The top `window` byte values, all at least the floor.
    const Pattern white{Repeat((256u - tables.window) * 0x010101u), Repeat(kPackedWhite)};
    std::vector<Pattern> patterns(kLatticeSize + 2, white);
    for (std::size_t position = 0; position < kLatticeSize; ++position) {
        const PositionEntry& entry = tables.position[position];
        if (entry.low != kNoPattern) {
            patterns[position] = Pattern{Repeat(entry.low), Repeat(entry.output)};
        }
    }
    return patterns;
}

// What the block directly above became, byte by byte: the window and output of the pattern each
// of its pixels fitted (white where none). Edges in a mask mostly run on down the rows, so
// a block, mixed or not, usually fits this whole.
struct Prediction {
    Block low;
    Block output;
    const Pattern* last = nullptr; // the pattern its last pixel fitted
};

class BlockSnapper {
public:
    explicit BlockSnapper(const SnapTables& tables)
        : tables_(tables), patterns_(BuildPatterns(tables)), window_(SplatU8x16(tables.window)) {}

    // A block that fits what the block above became takes its output. Any other starts with
    // the pattern of the pixel before it and ends with that of its own last pixel (most often
    // the one the block above ended with); pixels between take what the block above predicts
    // where they fit it, and only the rest go pattern by pattern.
    void Snap(unsigned char* bytes, const Prediction& left, Prediction& above) const {
        const Block in = Load(bytes);
        const Block aboveBad = Outside(in, above.low, window_);
        // Laid out as the straight path: most blocks fit.
        if (__builtin_expect(AllZero(aboveBad), 1)) {
            Store(bytes, above.output);
            return;
        }
        const Pattern& before = *left.last;
        const Pattern* last = above.last;
        std::uint64_t lastBad = MaskBits(Outside(in, last->low, window_));
        if ((lastBad >> kLastPixelAt) != 0) {
            last = &patterns_[PatternOf(bytes + kLastPixelAt)];
            lastBad = MaskBits(Outside(in, last->low, window_));
        }
        // Bytes [0, head) fit the pattern before, bytes [tail, 48) that of the last pixel.
        const std::uint64_t firstBad =
            MaskBits(Outside(in, before.low, window_)) | (std::uint64_t{1} << kBlockBytes);
        const unsigned head = PixelStart(static_cast<unsigned>(__builtin_ctzll(firstBad)));
        const unsigned tail =
            lastBad == 0 ? 0 : PixelStart(63 - static_cast<unsigned>(__builtin_clzll(lastBad))) + 3;
        const Block firstPart = FirstBytes(head);
        Prediction next{Blend(last->low, before.low, firstPart),
                        Blend(last->output, before.output, firstPart), last};
        if (head < tail) {
            const std::uint64_t below = (std::uint64_t{1} << tail) - 1;
            const std::uint64_t after = ~((std::uint64_t{1} << head) - 1);
            const std::uint64_t middle = kPixelStarts & below & after;
            const std::uint64_t fromAbove = CleanPixels(aboveBad) & middle;
            const Block kept = ExpandPixels(fromAbove);
            next.low = Blend(next.low, above.low, kept);
            next.output = Blend(next.output, above.output, kept);
            if (fromAbove != middle) {
                const std::uint64_t alone = SnapBetween(bytes, in, middle & ~fromAbove, next);
                if (alone != 0) {
                    // What fits the white window is white, whatever these pixels became.
                    Store(bytes, next.output);
                    const Block aloneBytes = ExpandPixels(alone);
                    const Pattern& white = patterns_[kWhitePattern];
                    above = Prediction{Blend(next.low, white.low, aloneBytes),
                                       Blend(next.output, white.output, aloneBytes), last};
                    return;
                }
            }
        }
        above = next;
        Store(bytes, next.output);
    }

    const Pattern& White() const { return patterns_[kWhitePattern]; }

private:
    // White for a background pixel, its lattice colour's window for a near one, else none;
    // chosen without branches, as neighbouring pixels often differ.
    std::uint32_t PatternOf(const unsigned char* pixel) const {
        const std::uint32_t sum = ChannelSum(tables_, pixel);
        const std::uint32_t near = NoneFar(sum) ? sum & kPositionBits : kNoMatch;
        return AllBackground(sum) ? kWhitePattern : near;
    }

    // Pattern by pattern, from the first open pixel; a pixel that fits none, and whatever is
    // left after a few patterns, alone. Returns the pixels done alone.
    std::uint64_t SnapBetween(const unsigned char* bytes, const Block& in, std::uint64_t open,
                              Prediction& next) const {
        std::uint64_t alone = 0;
        for (int round = 0; open != 0 && round < kMaxRounds; ++round) {
            const auto first = static_cast<unsigned>(__builtin_ctzll(open));
            const Pattern& pattern = patterns_[PatternOf(bytes + first)];
            const std::uint64_t matched = CleanPixels(Outside(in, pattern.low, window_)) & open;
            const Block matchedBytes = ExpandPixels(matched);
            next.output = Blend(next.output, pattern.output, matchedBytes);
            next.low = Blend(next.low, pattern.low, matchedBytes);
            open &= ~matched;
            if ((matched >> first & 1) == 0) {
                alone |= std::uint64_t{1} << first;
                open &= ~(std::uint64_t{1} << first);
            }
        }
        alone |= open;
        for (std::uint64_t left = alone; left != 0; left &= left - 1) {
            const auto at = static_cast<unsigned>(__builtin_ctzll(left));
            PutPackedInto(next.output, at, SnapOne(tables_, bytes + at));
        }
        return alone;
    }

    static void PutPackedInto(Block& block, unsigned at, std::uint32_t colour) {
        unsigned char bytes[kBlockBytes];
        Store(bytes, block);
        PutPacked(bytes + at, colour);
        block = Load(bytes);
    }

    const SnapTables& tables_;
    const std::vector<Pattern> patterns_;
    const U8x16 window_;
};

void SnapPixels(const SnapTables& tables, unsigned char* rgb, std::size_t pixels,
                std::size_t width) {
    const BlockSnapper snapper(tables);
    const std::size_t blocks = pixels / kBlockPixels;
    // One prediction per block of a row; rows whose width is not a whole number of blocks
    // just predict less well.
    const Pattern& white = snapper.White();
    std::vector<Prediction> predictions(std::max<std::size_t>(1, width / kBlockPixels),
                                        Prediction{white.low, white.output, &white});
    Prediction* const end = predictions.data() + predictions.size();
    const Prediction* left = end - 1; // any prediction is right: it only has to be a guess
    Prediction* above = predictions.data();
    for (unsigned char* bytes = rgb; bytes < rgb + blocks * kBlockBytes; bytes += kBlockBytes) {
        snapper.Snap(bytes, *left, *above);
        left = above;
        above = above + 1 == end ? predictions.data() : above + 1;
    }
    for (std::size_t at = blocks * kBlockBytes; at < pixels * kChannels; at += kChannels) {
        PutPacked(rgb + at, SnapOne(tables, rgb + at));
    }
}

} // namespace

void SnapRgbToLatticeSet(std::vector<unsigned char>& rgb, int width, int height,
                         const std::vector<unsigned char>& inUse, unsigned char backgroundFloor,
                         long maxSqError) {
    if (width < 1 || height < 1 || rgb.empty() || inUse.size() != kLatticeSize ||
        rgb.size() < ve_detail::RasterBytes(width, height)) {
        return;
    }
    if (backgroundFloor == 0) {
        std::fill_n(rgb.begin(), ve_detail::RasterBytes(width, height), kWhite);
        return;
    }
    const SnapTables tables = BuildSnapTables(inUse, backgroundFloor, maxSqError);
    SnapPixels(tables, rgb.data(),
               static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
               static_cast<std::size_t>(width));
}

} // namespace Velmora
