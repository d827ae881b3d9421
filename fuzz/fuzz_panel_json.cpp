// Fuzzes the panel's reader of what the page hands over (JsonExtractString) and the
// requestExtract option match: no input may crash them, a read value is never longer than
// its input, and a value JsonQuote wrote is read back unchanged when it has no b, f or u
// escapes (the reader keeps only the letter of those).
#include "Panel/PanelJson.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(reinterpret_cast<char const*>(data), size);
    for (char const* key : {"token", "email", ""}) {
        if (Velmora::JsonExtractString(text, key).size() > text.size())
            std::abort();
    }
    std::optional<bool> const mask = Velmora::IncludeMaskOption(text);
    if (mask &&
        text.find(*mask ? "\"includeMask\":true" : "\"includeMask\":false") == std::string::npos)
        std::abort();

    bool plain = true;
    for (unsigned char c : text)
        plain = plain && c >= 0x20 && c != '\b' && c != '\f';
    if (plain) {
        std::string const json = "{\"token\":" + Velmora::JsonQuote(text) + "}";
        if (Velmora::JsonExtractString(json, "token") != text)
            std::abort();
    }
    return 0;
}
