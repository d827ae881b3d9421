#include "Host/Guid.hpp"

#include <cstdio>

namespace Velmora::Host {

namespace {

int HexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The 16 bytes in text order, or false when the text is not a guid.
bool ParseTextBytes(std::string const& text, std::uint8_t (&out)[16]) {
    std::string digits;
    std::size_t const begin = (!text.empty() && text.front() == '{') ? 1 : 0;
    std::size_t const end = (!text.empty() && text.back() == '}') ? text.size() - 1 : text.size();
    static constexpr std::size_t kDashes[] = {8, 13, 18, 23};
    if (end - begin != 36)
        return false;
    for (std::size_t i = 0; i < 36; ++i) {
        char const c = text[begin + i];
        bool const dashPlace =
            i == kDashes[0] || i == kDashes[1] || i == kDashes[2] || i == kDashes[3];
        if (dashPlace != (c == '-'))
            return false;
        if (!dashPlace)
            digits.push_back(c);
    }
    for (std::size_t i = 0; i < 16; ++i) {
        int const high = HexValue(digits[2 * i]);
        int const low = HexValue(digits[2 * i + 1]);
        if (high < 0 || low < 0)
            return false;
        out[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return true;
}

} // namespace

API_Guid GuidFromString(std::string const& text) {
    std::uint8_t textBytes[16] = {};
    API_Guid guid;
    if (!ParseTextBytes(text, textBytes))
        return guid;
    // data1 (4 bytes), data2 and data3 (2 bytes each) are stored little-endian.
    static constexpr int kMemoryOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    for (int i = 0; i < 16; ++i)
        guid.bytes[static_cast<std::size_t>(i)] = textBytes[kMemoryOrder[i]];
    return guid;
}

std::string GuidToString(API_Guid const& guid) {
    auto const& b = guid.bytes;
    char text[40];
    std::snprintf(text, sizeof text,
                  "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}", b[3],
                  b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return text;
}

Int32 GuidWordSum(API_Guid const& guid) {
    std::uint32_t sum = 0;
    for (std::size_t word = 0; word < 4; ++word) {
        std::uint32_t value = 0;
        for (std::size_t byte = 0; byte < 4; ++byte)
            value |= std::uint32_t(guid.bytes[word * 4 + byte]) << (8 * byte);
        sum += value;
    }
    return static_cast<Int32>(sum);
}

} // namespace Velmora::Host
