// Encodes arbitrary bytes with our base64 and decodes them with OpenSSL's: the round trip
// must give the input back, and the text must have the exact padded length.
#include "Upload/Uploader.hpp"

#include <openssl/evp.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string const text = Velmora::Uploader::Base64Encode(data, size);
    if (text.size() != (size + 2) / 3 * 4)
        std::abort();
    if (text.empty())
        return 0;
    std::vector<unsigned char> decoded(text.size() / 4 * 3);
    int const written =
        EVP_DecodeBlock(decoded.data(), reinterpret_cast<const unsigned char*>(text.data()),
                        static_cast<int>(text.size()));
    // EVP_DecodeBlock counts the zero bytes the padding stands for.
    std::size_t const padding = text.size() - text.find_last_not_of('=') - 1;
    if (written < 0 || padding > 2 || static_cast<std::size_t>(written) - padding != size ||
        std::memcmp(decoded.data(), data, size) != 0)
        std::abort();
    return 0;
}
