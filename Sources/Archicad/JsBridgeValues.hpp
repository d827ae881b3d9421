// The port's JavaScript values to and from the host's JS::Value, and the port's bridge object
// as a host JS::Object whose functions call the port's callbacks.
#pragma once

#include "Host/JsValues.hpp"

#include "APIEnvir.h"

#include "JSValues.hpp"
#include "Ref.hpp"

#include <memory>

namespace Velmora::Archicad {

// A host value of any type becomes the port's value of that type; anything else (no argument,
// an array, an object) becomes no value.
std::shared_ptr<Host::JS::Base> FromHostValue(GS::Ref<::JS::Base> const& value);
GS::Ref<::JS::Base> ToHostValue(std::shared_ptr<Host::JS::Base> const& value);
GS::Ref<::JS::Object> ToHostObject(std::shared_ptr<Host::JS::Object> const& object);

} // namespace Velmora::Archicad
