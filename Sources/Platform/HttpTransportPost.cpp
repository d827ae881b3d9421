// The POST conveniences, the same over every platform's transport.
#include "Platform/HttpTransport.hpp"

namespace Velmora {

bool MacHttpPostBody(std::string const& url, std::string const& bearerToken,
                     std::string const& contentType, void const* body, std::size_t bodyLen,
                     long& outStatus, std::string& outBody, std::string& outErr) {
    return MacHttpSend("POST", url, bearerToken, contentType, body, bodyLen, nullptr, outStatus,
                       outBody, outErr);
}

bool MacHttpPostJson(std::string const& url, std::string const& bearerToken,
                     std::string const& json, long& outStatus, std::string& outBody,
                     std::string& outErr) {
    return MacHttpPostBody(url, bearerToken, "application/json", json.data(), json.size(),
                           outStatus, outBody, outErr);
}

} // namespace Velmora
