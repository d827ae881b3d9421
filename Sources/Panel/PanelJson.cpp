#include "Panel/PanelJson.hpp"

#include "JsonEscape.hpp"

namespace Velmora {

std::string JsonQuote(std::string const& text) {
    return "\"" + JsonEscape(text, JsonHexDigits::Lower) + "\"";
}

namespace {

char Unescaped(char escaped) {
    switch (escaped) {
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return escaped; // quote, backslash, slash, and the letter alone for the rest
    }
}

} // namespace

std::string JsonExtractString(std::string const& json, char const* key) {
    std::string const quotedKey = std::string("\"") + key + "\"";
    std::size_t const keyAt = json.find(quotedKey);
    if (keyAt == std::string::npos)
        return {};
    std::size_t const colon = json.find(':', keyAt + quotedKey.size());
    if (colon == std::string::npos)
        return {};
    std::size_t const open = json.find('"', colon + 1);
    if (open == std::string::npos)
        return {};
    std::string value;
    for (std::size_t i = open + 1; i < json.size() && json[i] != '"'; ++i) {
        if (json[i] != '\\') {
            value.push_back(json[i]);
        } else if (i + 1 < json.size()) {
            value.push_back(Unescaped(json[++i]));
        }
    }
    return value;
}

std::optional<bool> IncludeMaskOption(std::string const& optionsText) {
    if (optionsText.find("\"includeMask\":true") != std::string::npos)
        return true;
    if (optionsText.find("\"includeMask\":false") != std::string::npos)
        return false;
    return std::nullopt;
}

} // namespace Velmora
