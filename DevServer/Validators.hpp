// Strict checks of what the add-on sends: the extraction document, the model begin and confirm
// requests and the .glb file. Each returns an empty string when the input is acceptable and
// otherwise a message naming what is wrong.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

namespace Velmora::DevServer {

constexpr std::size_t kMaxBase64Chars = 10485760;
constexpr std::size_t kMaxGlbBytes = 200u * 1048576u;

// Standard alphabet, "=" padding to a multiple of four, no white space, zero spare bits.
bool DecodeBase64Strict(std::string const& text, std::string& bytes);

// "YYYY-MM-DDTHH:MM:SS.0000000Z" with every field in its range.
bool IsRoundTripTimestamp(std::string const& text);

// True for "application/json", with or without parameters such as a charset.
bool IsJsonContentType(std::string const& contentType);

struct ExtractionUpload {
    std::string jpeg;
    bool hasMask = false;
    std::string png;
    nlohmann::json metadata;
};

std::string ValidateExtraction(std::string const& body, ExtractionUpload& upload);

// The begin and confirm requests, already parsed as JSON objects.
std::string ValidateModelBegin(nlohmann::json const& request);
std::string ValidateModelConfirm(nlohmann::json const& request);

std::string ValidateGlb(unsigned char const* data, std::size_t size);

} // namespace Velmora::DevServer
