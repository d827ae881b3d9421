// Base64 of RFC 4648: three bytes become four characters of the standard alphabet.
#include "Upload/Uploader.hpp"

#include <array>
#include <cstring>

namespace Velmora::Uploader {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The two characters of every 12-bit value, so that three bytes are two look-ups and two
// two-byte stores.
using CharPairs = std::array<std::array<char, 2>, 4096>;

constexpr CharPairs BuildCharPairs() {
    CharPairs pairs{};
    for (std::size_t value = 0; value < pairs.size(); ++value) {
        pairs[value] = {kAlphabet[value >> 6], kAlphabet[value & 0x3F]};
    }
    return pairs;
}

constexpr CharPairs kCharPairs = BuildCharPairs();

char Sextet(std::uint32_t group, int shift) {
    return kAlphabet[(group >> shift) & 0x3Fu];
}

} // namespace

std::string Base64Encode(unsigned char const* data, std::size_t n) {
    std::string out((n + 2) / 3 * 4, '=');
    char* put = out.data();
    std::size_t i = 0;
    for (; i + 3 <= n; i += 3, put += 4) {
        std::uint32_t const group =
            (std::uint32_t{data[i]} << 16) | (std::uint32_t{data[i + 1]} << 8) | data[i + 2];
        std::memcpy(put, kCharPairs[group >> 12].data(), 2);
        std::memcpy(put + 2, kCharPairs[group & 0xFFF].data(), 2);
    }
    std::size_t const rest = n - i;
    if (rest == 0)
        return out;
    std::uint32_t group = std::uint32_t{data[i]} << 16;
    if (rest == 2)
        group |= std::uint32_t{data[i + 1]} << 8;
    put[0] = Sextet(group, 18);
    put[1] = Sextet(group, 12);
    if (rest == 2)
        put[2] = Sextet(group, 6);
    return out;
}

} // namespace Velmora::Uploader
