#include "HostText.hpp"

#include <cstring>

namespace Velmora::Archicad {

static_assert(sizeof(::API_Guid) == sizeof(Host::API_Guid().bytes),
              "the host's id is the port's 16 bytes");

GS::UniString ToUniString(std::string const& utf8) {
    return GS::UniString(utf8.c_str(), CC_UTF8);
}

std::string ToUtf8(GS::UniString const& text) {
    auto const converted = text.ToCStr(0, MaxUSize, CC_UTF8);
    char const* bytes = converted.Get();
    return bytes != nullptr ? std::string(bytes) : std::string();
}

IO::Location ToLocation(std::string const& path) {
    return IO::Location(ToUniString(path));
}

std::string ToPath(IO::Location const* location) {
    GS::UniString path;
    if (location == nullptr || location->ToPath(&path) != NoError)
        return std::string();
    return ToUtf8(path);
}

::API_Guid ToApiGuid(Host::API_Guid const& guid) {
    ::API_Guid apiGuid;
    std::memcpy(&apiGuid, guid.bytes.data(), sizeof apiGuid);
    return apiGuid;
}

Host::API_Guid FromApiGuid(::API_Guid const& guid) {
    Host::API_Guid portGuid;
    std::memcpy(portGuid.bytes.data(), &guid, sizeof guid);
    return portGuid;
}

} // namespace Velmora::Archicad
