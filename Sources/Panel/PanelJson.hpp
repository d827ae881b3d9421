// The panel's small JSON helpers: quoting text for the scripts it runs in the page, and
// reading one string member out of what the page hands over. Neither is a JSON parser.
#pragma once

#include <optional>
#include <string>

namespace Velmora {

// text as a JSON string literal, quotes included.
std::string JsonQuote(std::string const& text);

// The first string value of "key": escaped quote, backslash and slash stand for themselves,
// n, r and t for line feed, carriage return and tab, and any other escaped letter (b, f and u
// included) for that letter alone. Empty when the key, its colon or the opening quote is
// missing; an unterminated value ends with the text.
std::string JsonExtractString(std::string const& json, char const* key);

// What requestExtract's options text says about the mask, spelled exactly
// "includeMask":true or "includeMask":false (no spaces); nullopt for anything else.
std::optional<bool> IncludeMaskOption(std::string const& optionsText);

} // namespace Velmora
