// High-resolution capture: the 3D window saved as an n x n grid of shifted tiles at its
// native size, stitched into one JPEG. The window is never resized.
#pragma once

#include "Host/HostTypes.hpp"

#include <string>
#include <vector>

namespace Velmora {

// n x n tiles of the view that `info` describes; 0 on success. The window shows `info`
// again on every path once a tile has been applied.
Host::GSErrCode CaptureTiledJpeg(Host::API_3DWindowInfo const& info, int n,
                                 std::string const& tempFolder, std::vector<unsigned char>& outJpeg,
                                 int& outW, int& outH);

} // namespace Velmora
