// The port's model reader over the host's ModelerAPI. Both number everything from 1 (elements,
// bodies, polygons, convex polygons and their vertices), so indices pass through unchanged.
// Every handle keeps the host objects it came from alive.
#pragma once

#include "Host/ModelerApi.hpp"

#include "APIEnvir.h"

#include "Model.hpp"

#include <memory>

namespace Velmora::Archicad {

Host::ModelerAPI::Model WrapModel(std::shared_ptr<::ModelerAPI::Model const> model);

// By enumerator name: 27 and 28 number the host's element types differently.
Host::ModelerAPI::Element::Type ToPortElementType(::ModelerAPI::Element::Type type);

} // namespace Velmora::Archicad
