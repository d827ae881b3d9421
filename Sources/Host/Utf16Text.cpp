#include "Host/Utf16Text.hpp"

#include <cstdint>

namespace Velmora::Host {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsContinuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

// Decodes one code point at text[pos] and moves pos past it; overlong forms, surrogates and
// values above U+10FFFF are malformed and consume one byte.
char32_t DecodeUtf8(std::string const& text, std::size_t& pos) {
    auto const lead = static_cast<unsigned char>(text[pos]);
    std::size_t length = lead < 0x80           ? 1
                         : (lead >> 5) == 0x6  ? 2
                         : (lead >> 4) == 0xE  ? 3
                         : (lead >> 3) == 0x1E ? 4
                                               : 0;
    if (length == 0 || pos + length > text.size()) {
        ++pos;
        return kReplacement;
    }
    static constexpr unsigned char kLeadMask[5] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    static constexpr char32_t kMinimum[5] = {0, 0, 0x80, 0x800, 0x10000};
    char32_t value = lead & kLeadMask[length];
    for (std::size_t i = 1; i < length; ++i) {
        auto const byte = static_cast<unsigned char>(text[pos + i]);
        if (!IsContinuation(byte)) {
            ++pos;
            return kReplacement;
        }
        value = (value << 6) | (byte & 0x3F);
    }
    if (value < kMinimum[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
        ++pos;
        return kReplacement;
    }
    pos += length;
    return value;
}

void AppendUtf8(std::string& out, char32_t value) {
    if (value < 0x80) {
        out.push_back(static_cast<char>(value));
    } else if (value < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (value >> 6)));
        out.push_back(static_cast<char>(0x80 | (value & 0x3F)));
    } else if (value < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (value >> 12)));
        out.push_back(static_cast<char>(0x80 | ((value >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (value & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (value >> 18)));
        out.push_back(static_cast<char>(0x80 | ((value >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((value >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (value & 0x3F)));
    }
}

bool IsHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

} // namespace

std::u16string Utf16FromUtf8(std::string const& text, std::size_t maxUnits) {
    std::u16string out;
    std::size_t pos = 0;
    while (pos < text.size()) {
        char32_t const value = DecodeUtf8(text, pos);
        std::size_t const units = value < 0x10000 ? 1 : 2;
        if (out.size() + units > maxUnits)
            break;
        if (units == 1) {
            out.push_back(static_cast<char16_t>(value));
        } else {
            char32_t const offset = value - 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (offset >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (offset & 0x3FF)));
        }
    }
    return out;
}

std::string Utf8FromUtf16(std::u16string const& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char16_t const unit = text[i];
        if (IsHighSurrogate(unit) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            char32_t const high = unit - 0xD800u;
            char32_t const low = text[i + 1] - 0xDC00u;
            AppendUtf8(out, 0x10000 + (high << 10) + low);
            ++i;
        } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
            AppendUtf8(out, kReplacement);
        } else {
            AppendUtf8(out, unit);
        }
    }
    return out;
}

} // namespace Velmora::Host
