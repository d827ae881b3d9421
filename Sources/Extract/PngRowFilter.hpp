// Adaptive PNG row filtering: each row gets the filter type whose output is cheapest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Velmora::ve_detail {

// Filters the rows of one image with the candidates None, Sub, Up, Average and Paeth; a row's
// cost is the sum of its bytes read as signed and taken absolute, and ties go to the lower
// type. The candidate rows are allocated once and reused for every row.
class RowFilter {
public:
    RowFilter(std::size_t rowBytes, std::size_t bytesPerPixel);

    // Writes the chosen type byte and filtered row (rowBytes + 1 bytes) to `out`. `above` is
    // the previous raw row, or null for the first row.
    void Filter(const unsigned char* raw, const unsigned char* above, unsigned char* out);

private:
    static constexpr int kNoChoice = -1;

    std::uint64_t LimitFor(int type) const;
    bool Beats(int type, std::uint64_t cost) const;
    template <typename Predict>
    void Consider(int type, const unsigned char* raw, const unsigned char* above, Predict predict);

    std::size_t rowBytes_;
    std::size_t bytesPerPixel_;
    std::vector<unsigned char> zeroRow_;
    std::vector<unsigned char> candidates_;
    int bestType_ = kNoChoice;
    std::uint64_t bestCost_ = 0;
    const unsigned char* bestRow_ = nullptr;
};

} // namespace Velmora::ve_detail
