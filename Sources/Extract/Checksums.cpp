#include "Extract/Checksums.hpp"

namespace Velmora::ve_detail {
namespace {

constexpr std::uint32_t kAdlerModulus = 65521;
constexpr std::size_t kAdlerRun = 5552; // the longest run whose sums cannot overflow 32 bits
constexpr std::size_t kAdlerBlock = 16;

// Slicing-by-8: table 0 is the standard byte table of the reflected polynomial, table k
// advances a byte's contribution over k further bytes, so eight bytes take one step.
struct CrcTables {
    std::uint32_t table[8][256];
    CrcTables() : table{} {
        for (std::uint32_t n = 0; n < 256; ++n) {
            std::uint32_t c = n;
            for (int k = 0; k < 8; ++k) {
                c = (c & 1u) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            }
            table[0][n] = c;
        }
        for (int k = 1; k < 8; ++k) {
            for (std::size_t n = 0; n < 256; ++n) {
                const std::uint32_t previous = table[k - 1][n];
                table[k][n] = (previous >> 8) ^ table[0][previous & 0xFFu];
            }
        }
    }
};

std::uint32_t ReadU32LE(const unsigned char* p) {
    return std::uint32_t{p[0]} | (std::uint32_t{p[1]} << 8) | (std::uint32_t{p[2]} << 16) |
           (std::uint32_t{p[3]} << 24);
}

// Per block of 16 bytes, b gains 16 * a plus the bytes weighted by how many of the block's
// steps they are summed into, and a gains their sum: the same sums as byte by byte. Both block
// sums fit in 16 bits (16 * 255 and 136 * 255), which doubles the vector lanes.
void AdlerRun(const unsigned char* data, std::size_t length, std::uint32_t& a, std::uint32_t& b) {
    std::size_t i = 0;
    for (; i + kAdlerBlock <= length; i += kAdlerBlock) {
        std::uint16_t sum = 0;
        std::uint16_t weighted = 0;
        for (std::size_t k = 0; k < kAdlerBlock; ++k) {
            sum = static_cast<std::uint16_t>(sum + data[i + k]);
            weighted = static_cast<std::uint16_t>(weighted + (kAdlerBlock - k) * data[i + k]);
        }
        b += static_cast<std::uint32_t>(kAdlerBlock) * a + weighted;
        a += sum;
    }
    for (; i < length; ++i) {
        a += data[i];
        b += a;
    }
}

} // namespace

std::uint32_t Crc32(const unsigned char* data, std::size_t length) {
    static const CrcTables tables;
    const auto& t = tables.table;
    std::uint32_t crc = 0xFFFFFFFFu;
    for (; length >= 8; data += 8, length -= 8) {
        const std::uint32_t low = crc ^ ReadU32LE(data);
        const std::uint32_t high = ReadU32LE(data + 4);
        crc = t[7][low & 0xFFu] ^ t[6][(low >> 8) & 0xFFu] ^ t[5][(low >> 16) & 0xFFu] ^
              t[4][low >> 24] ^ t[3][high & 0xFFu] ^ t[2][(high >> 8) & 0xFFu] ^
              t[1][(high >> 16) & 0xFFu] ^ t[0][high >> 24];
    }
    for (; length > 0; ++data, --length) {
        crc = t[0][(crc ^ *data) & 0xFFu] ^ (crc >> 8);
    }
    return crc ^ 0xFFFFFFFFu;
}

void Adler32::Update(const unsigned char* data, std::size_t length) {
    while (length > 0) {
        const std::size_t run = length < kAdlerRun ? length : kAdlerRun;
        AdlerRun(data, run, a_, b_);
        a_ %= kAdlerModulus;
        b_ %= kAdlerModulus;
        data += run;
        length -= run;
    }
}

} // namespace Velmora::ve_detail
