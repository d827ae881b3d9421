// Classifies arbitrary statuses and bodies and checks each outcome against its rule.
#include "Upload/Uploader.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using Velmora::UploadOutcome;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 9)
        return 0;
    std::int64_t raw = 0;
    std::memcpy(&raw, data, sizeof raw);
    long const status = static_cast<long>(raw % 1000); // mostly plausible statuses
    bool const transportOk = (data[8] & 1) != 0;
    std::string const body(reinterpret_cast<const char*>(data) + 9, size - 9);
    UploadOutcome const outcome = Velmora::Uploader::Classify(status, body, transportOk);
    UploadOutcome expected = UploadOutcome::Other;
    if (!transportOk)
        expected = UploadOutcome::Network;
    else if (status >= 200 && status < 300)
        expected = UploadOutcome::Ok;
    else if (status == 401)
        expected = UploadOutcome::Auth;
    else if (status == 403)
        expected = UploadOutcome::Forbidden;
    else if (status == 400 && body.find("aspect") != std::string::npos)
        expected = UploadOutcome::AspectRatio;
    if (outcome != expected || std::strlen(Velmora::Uploader::OutcomeName(outcome)) == 0)
        std::abort();
    return 0;
}
