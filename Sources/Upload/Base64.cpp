// Base64 of RFC 4648: three bytes become four characters of the standard alphabet.
#include "Upload/Uploader.hpp"

namespace Velmora::Uploader {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

char Sextet(std::uint32_t group, int shift) {
    return kAlphabet[(group >> shift) & 0x3Fu];
}

} // namespace

std::string Base64Encode(unsigned char const* data, std::size_t n) {
    std::string out;
    out.reserve((n + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 3 <= n; i += 3) {
        std::uint32_t const group =
            (std::uint32_t{data[i]} << 16) | (std::uint32_t{data[i + 1]} << 8) | data[i + 2];
        char const quad[4] = {Sextet(group, 18), Sextet(group, 12), Sextet(group, 6),
                              Sextet(group, 0)};
        out.append(quad, 4);
    }
    std::size_t const rest = n - i;
    if (rest == 0)
        return out;
    std::uint32_t group = std::uint32_t{data[i]} << 16;
    if (rest == 2)
        group |= std::uint32_t{data[i + 1]} << 8;
    char const quad[4] = {Sextet(group, 18), Sextet(group, 12), rest == 2 ? Sextet(group, 6) : '=',
                          '='};
    out.append(quad, 4);
    return out;
}

} // namespace Velmora::Uploader
