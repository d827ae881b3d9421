#include "Sim/JsJson.hpp"

#include <nlohmann/json.hpp>

#include <limits>

namespace Velmora::Sim {

using Host::JS::Value;

std::shared_ptr<Host::JS::Base> JsFromJson(std::string const& json) {
    nlohmann::json const parsed = nlohmann::json::parse(json, nullptr, false);
    if (parsed.is_string())
        return std::make_shared<Value>(parsed.get<std::string>());
    if (parsed.is_boolean())
        return std::make_shared<Value>(parsed.get<bool>());
    if (parsed.is_number_integer()) {
        long long const number = parsed.get<long long>();
        if (number >= std::numeric_limits<Host::Int32>::min() &&
            number <= std::numeric_limits<Host::Int32>::max())
            return std::make_shared<Value>(static_cast<Host::Int32>(number));
    }
    if (parsed.is_number())
        return std::make_shared<Value>(parsed.get<double>());
    return nullptr;
}

std::string JsonFromJs(std::shared_ptr<Host::JS::Base> const& value) {
    auto const* plain = dynamic_cast<Value const*>(value.get());
    if (plain == nullptr)
        return "null";
    switch (plain->GetType()) {
    case Value::BOOL:
        return plain->GetBool() ? "true" : "false";
    case Value::INTEGER:
        return std::to_string(plain->GetInteger());
    case Value::UINTEGER:
        return std::to_string(plain->GetUInteger());
    case Value::DOUBLE:
        return nlohmann::json(plain->GetDouble()).dump();
    case Value::STRING:
        return nlohmann::json(plain->GetString())
            .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    case Value::DEFAULT:
        break;
    }
    return "null";
}

} // namespace Velmora::Sim
