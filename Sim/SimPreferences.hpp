// The add-on's preference blob, kept in a file in the simulated host's own folder so that
// it survives from one run to the next like the host's preferences.
#pragma once

#include "Host/HostTypes.hpp"

#include <string>

namespace Velmora::Sim {

class SimPreferences {
public:
    explicit SimPreferences(std::string path);

    Host::GSErrCode Get(Host::Int32* version, Host::GSSize* nByte, void* data) const;
    Host::GSErrCode Set(Host::Int32 version, Host::GSSize nByte, const void* data);

    std::string const& Path() const { return path_; }

private:
    std::string path_;
};

} // namespace Velmora::Sim
