// The host's JavaScript values as JSON text, the form in which they cross a browser engine.
#pragma once

#include "Host/JsValues.hpp"

#include <memory>
#include <string>

namespace Velmora::Sim {

// A string, number or bool becomes a JS::Value; null, objects, arrays and bad text become
// nullptr, the "no value" the add-on must cope with.
std::shared_ptr<Host::JS::Base> JsFromJson(std::string const& json);
// A JS::Value as JSON; anything else (nullptr, objects, functions) as null.
std::string JsonFromJs(std::shared_ptr<Host::JS::Base> const& value);

} // namespace Velmora::Sim
