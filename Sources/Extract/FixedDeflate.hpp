// Deflate as one final block with the fixed Huffman codes, after a greedy hash-chain LZ77.
#pragma once

#include <cstddef>
#include <vector>

namespace Velmora::ve_detail {

// Hands the data to compress over in pieces, so that it never has to exist whole in memory.
class DeflateSource {
public:
    virtual ~DeflateSource() = default;
    virtual std::size_t TotalBytes() const = 0;
    // The most that one call of WriteNext writes.
    virtual std::size_t MaxPieceBytes() const = 0;
    // Writes the next piece to `out` and returns its length (at least 1 while data remains).
    virtual std::size_t WriteNext(unsigned char* out) = 0;
};

// Appends the whole of `source` to `out` as one final fixed-Huffman deflate block (the raw
// deflate data, without the zlib header and trailer).
void DeflateFixedBlock(DeflateSource& source, std::vector<unsigned char>& out);

} // namespace Velmora::ve_detail
