#include "DevServer/UploadSignature.hpp"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <stdexcept>

namespace Velmora::DevServer {

UploadSignature::UploadSignature() {
    if (RAND_bytes(secret_, sizeof(secret_)) != 1)
        throw std::runtime_error("no random bytes for the upload signature secret");
}

std::string UploadSignature::Sign(std::string const& key) const {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    HMAC(EVP_sha256(), secret_, sizeof(secret_), reinterpret_cast<unsigned char const*>(key.data()),
         key.size(), digest, &length);
    static char const hex[] = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < length; ++i) {
        text.push_back(hex[digest[i] >> 4]);
        text.push_back(hex[digest[i] & 0x0F]);
    }
    return text;
}

bool UploadSignature::Verify(std::string const& key, std::string const& signature) const {
    std::string const expected = Sign(key);
    return signature.size() == expected.size() &&
           CRYPTO_memcmp(signature.data(), expected.data(), expected.size()) == 0;
}

} // namespace Velmora::DevServer
