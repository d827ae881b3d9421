// Signs upload keys so that the PUT address works without a token but only as handed out.
#pragma once

#include <string>

namespace Velmora::DevServer {

class UploadSignature {
public:
    UploadSignature(); // a fresh random secret per server

    std::string Sign(std::string const& key) const; // lower-case hex HMAC-SHA256
    bool Verify(std::string const& key, std::string const& signature) const;

private:
    unsigned char secret_[32];
};

} // namespace Velmora::DevServer
