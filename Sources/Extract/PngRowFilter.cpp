#include "Extract/PngRowFilter.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Velmora::ve_detail {
namespace {

// Inner loops of this many bytes have a fixed trip count, which compilers vectorise at -O2.
constexpr std::size_t kBlock = 32;

// |v| of the byte read as signed: v below 128, else 256 - v; in byte lanes, min(v, -v).
unsigned char SignedMagnitude(unsigned char v) {
    const auto negated = static_cast<unsigned char>(0u - v);
    return v < negated ? v : negated;
}

// The standard predictor with p - a, p - b and p - c expanded (p = a + b - c). Every term fits
// in 16 bits, which lets the vectoriser use twice as many lanes as with int.
std::int16_t PaethPredictor(std::int16_t a, std::int16_t b, std::int16_t c) {
    const auto pa = static_cast<std::int16_t>(std::abs(b - c));
    const auto pb = static_cast<std::int16_t>(std::abs(a - c));
    const auto pc = static_cast<std::int16_t>(std::abs(a + b - 2 * c));
    return (pa <= pb && pa <= pc) ? a : (pb <= pc ? b : c);
}

// At most kBlock * 128, so 16 bits suffice.
std::uint16_t BlockCost(const unsigned char* bytes) {
    std::uint16_t cost = 0;
    for (std::size_t k = 0; k < kBlock; ++k) {
        cost = static_cast<std::uint16_t>(cost + SignedMagnitude(bytes[k]));
    }
    return cost;
}

// The cost of the row as it is, or a partial cost of at least `limit` (see FilterCandidate).
std::uint64_t RowCost(const unsigned char* row, std::size_t rowBytes, std::uint64_t limit) {
    std::uint64_t cost = 0;
    std::size_t x = 0;
    for (; x + kBlock <= rowBytes && cost < limit; x += kBlock) {
        cost += BlockCost(row + x);
    }
    for (; x < rowBytes && cost < limit; ++x) {
        cost += SignedMagnitude(row[x]);
    }
    return cost;
}

// Writes raw - predict(a, b, c) for one row into `out` and returns the row's cost. A candidate
// must cost less than `limit` to be chosen, so once its running cost reaches `limit` the rest
// of the row is skipped and the partial cost returned: the choice cannot change.
template <typename Predict>
std::uint64_t FilterCandidate(const unsigned char* __restrict raw,
                              const unsigned char* __restrict above, unsigned char* __restrict out,
                              std::size_t rowBytes, std::size_t bpp, std::uint64_t limit,
                              Predict predict) {
    std::uint64_t cost = 0;
    std::size_t x = 0;
    for (; x < bpp; ++x) { // no left neighbour
        out[x] = static_cast<unsigned char>(raw[x] - predict(0, above[x], 0));
        cost += SignedMagnitude(out[x]);
    }
    for (; x + kBlock <= rowBytes && cost < limit; x += kBlock) {
        for (std::size_t k = 0; k < kBlock; ++k) {
            const std::size_t i = x + k;
            out[i] = static_cast<unsigned char>(raw[i] -
                                                predict(raw[i - bpp], above[i], above[i - bpp]));
        }
        cost += BlockCost(out + x);
    }
    for (; x < rowBytes && cost < limit; ++x) {
        out[x] =
            static_cast<unsigned char>(raw[x] - predict(raw[x - bpp], above[x], above[x - bpp]));
        cost += SignedMagnitude(out[x]);
    }
    return cost;
}

} // namespace

RowFilter::RowFilter(std::size_t rowBytes, std::size_t bytesPerPixel)
    : rowBytes_(rowBytes), bytesPerPixel_(bytesPerPixel), zeroRow_(rowBytes, 0),
      candidates_(4 * rowBytes) {}

// Up goes first because it usually wins on masks, where it costs nothing on every row that
// repeats the one above, and a cheap best lets the other candidates stop early. The order
// changes nothing else: the cheapest candidate wins and a tie goes to the lower type.
void RowFilter::Filter(const unsigned char* raw, const unsigned char* above, unsigned char* out) {
    if (above == nullptr) {
        above = zeroRow_.data();
    }
    bestType_ = kNoChoice;
    bestCost_ = 0;
    Consider(2, raw, above, [](int, int b, int) { return b; });
    const std::uint64_t noneCost = RowCost(raw, rowBytes_, LimitFor(0));
    if (Beats(0, noneCost)) {
        bestType_ = 0;
        bestCost_ = noneCost;
        bestRow_ = raw;
    }
    Consider(1, raw, above, [](int a, int, int) { return a; });
    Consider(3, raw, above, [](int a, int b, int) { return (a + b) >> 1; });
    Consider(4, raw, above, [](int a, int b, int c) {
        return PaethPredictor(static_cast<std::int16_t>(a), static_cast<std::int16_t>(b),
                              static_cast<std::int16_t>(c));
    });
    out[0] = static_cast<unsigned char>(bestType_);
    std::memcpy(out + 1, bestRow_, rowBytes_);
}

// A candidate of type `type` wins with a cost below this: below the best cost, or equal to it
// when its type is lower.
std::uint64_t RowFilter::LimitFor(int type) const {
    if (bestType_ == kNoChoice) {
        return UINT64_MAX;
    }
    return type < bestType_ ? bestCost_ + 1 : bestCost_;
}

bool RowFilter::Beats(int type, std::uint64_t cost) const {
    return cost < LimitFor(type);
}

template <typename Predict>
void RowFilter::Consider(int type, const unsigned char* raw, const unsigned char* above,
                         Predict predict) {
    unsigned char* row = candidates_.data() + static_cast<std::size_t>(type - 1) * rowBytes_;
    const std::uint64_t cost =
        FilterCandidate(raw, above, row, rowBytes_, bytesPerPixel_, LimitFor(type), predict);
    if (Beats(type, cost)) {
        bestType_ = type;
        bestCost_ = cost;
        bestRow_ = row;
    }
}

} // namespace Velmora::ve_detail
