// Stand-in written from archicad-api.md: the browser engine's remote-debugging port (5.7).
#pragma once

#include "Definitions.hpp"

namespace DG {

GS::UShort GetCefDebugPort();

} // namespace DG
