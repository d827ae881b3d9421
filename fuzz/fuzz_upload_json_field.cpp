// Feeds arbitrary response bodies and keys to the string-field reader and the failure
// detail, and checks what they promise about their results.
#include "Export/ModelUploadProtocol.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The first byte picks the key length, the next bytes the key, the rest is the body.
    if (size == 0)
        return 0;
    std::size_t const keyLength = std::min<std::size_t>(data[0] % 16, size - 1);
    std::string const key(reinterpret_cast<const char*>(data) + 1, keyLength);
    std::string const body(reinterpret_cast<const char*>(data) + 1 + keyLength,
                           size - 1 - keyLength);
    std::string const value = Velmora::ExtractJsonStringField(body, key);
    // A value is read from inside the body, one character per character or escape.
    if (value.size() > body.size() ||
        (!value.empty() && body.find("\"" + key + "\"") == std::string::npos))
        std::abort();
    for (long const status : {0L, 400L, 499L, 500L}) {
        std::string const detail = Velmora::ServerFailureDetail(status, body);
        if (status >= 500 && detail != "Something went wrong on our side. Try again in a moment.")
            std::abort();
        if (status < 500 && detail.size() > std::max<std::size_t>(body.size(), 303))
            std::abort();
    }
    return 0;
}
