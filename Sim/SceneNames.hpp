// The names a scene file uses for the host's element types, and the model-reader type each
// database type generates by default.
#pragma once

#include "Host/HostTypes.hpp"
#include "Host/ModelerApi.hpp"

#include <optional>
#include <string>

namespace Velmora::Sim {

// "wall", "curtainWallFrame", ...: the host's enumerator without "API_" and "ID", first
// letter lower case.
std::optional<Host::API_ElemTypeID> ElemTypeFromName(std::string const& name);

// "WallElement", "Opening", ...: the model reader's enumerator names.
std::optional<Host::ModelerAPI::Element::Type> ModelTypeFromName(std::string const& name);

Host::ModelerAPI::Element::Type DefaultModelType(Host::API_ElemTypeID type);

// Whether the host's "has 3D" element filter applies to the type at all.
bool CanPassIn3DFilter(Host::API_ElemTypeID type);

// Doors, windows and skylights take their owner's layer in the layer filters.
bool UsesOwnersLayer(Host::API_ElemTypeID type);

} // namespace Velmora::Sim
