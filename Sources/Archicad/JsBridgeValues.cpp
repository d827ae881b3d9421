#include "JsBridgeValues.hpp"

#include "HostEntry.hpp"
#include "HostText.hpp"

namespace Velmora::Archicad {

namespace {

using PortValue = Host::JS::Value;

// The add-on guards its own function; this covers turning the page's values into the port's
// and back, which allocates.
constexpr HostEntry kBridgeValuesEntry{"window.velmora value conversion", false, false};

GS::Ref<::JS::Base> ToHostPlainValue(PortValue const& value) {
    switch (value.GetType()) {
    case PortValue::BOOL:
        return new ::JS::Value(value.GetBool());
    case PortValue::INTEGER:
        return new ::JS::Value(value.GetInteger());
    case PortValue::UINTEGER:
        return new ::JS::Value(value.GetUInteger());
    case PortValue::DOUBLE:
        return new ::JS::Value(value.GetDouble());
    case PortValue::STRING:
        return new ::JS::Value(ToUniString(value.GetString()));
    case PortValue::DEFAULT:
        break;
    }
    return GS::Ref<::JS::Base>();
}

} // namespace

std::shared_ptr<Host::JS::Base> FromHostValue(GS::Ref<::JS::Base> const& value) {
    GS::Ref<::JS::Value> const plain = GS::DynamicCast<::JS::Value>(value);
    if (plain == nullptr)
        return nullptr;
    switch (plain->GetType()) {
    case ::JS::Value::BOOL:
        return std::make_shared<PortValue>(plain->GetBool());
    case ::JS::Value::INTEGER:
        return std::make_shared<PortValue>(plain->GetInteger());
    case ::JS::Value::UINTEGER:
        return std::make_shared<PortValue>(plain->GetUInteger());
    case ::JS::Value::DOUBLE:
        return std::make_shared<PortValue>(plain->GetDouble());
    case ::JS::Value::STRING:
        return std::make_shared<PortValue>(ToUtf8(plain->GetString()));
    case ::JS::Value::DEFAULT:
        break;
    }
    return std::make_shared<PortValue>();
}

GS::Ref<::JS::Base> ToHostValue(std::shared_ptr<Host::JS::Base> const& value) {
    if (auto const* plain = dynamic_cast<PortValue const*>(value.get()))
        return ToHostPlainValue(*plain);
    if (auto object = std::dynamic_pointer_cast<Host::JS::Object>(value))
        return ToHostObject(object);
    return GS::Ref<::JS::Base>();
}

GS::Ref<::JS::Object> ToHostObject(std::shared_ptr<Host::JS::Object> const& object) {
    GS::Ref<::JS::Object> hostObject = new ::JS::Object(ToUniString(object->GetName()));
    for (auto const& [name, item] : object->GetItemTable()) {
        if (auto function = std::dynamic_pointer_cast<Host::JS::Function const>(item)) {
            // The page calls with one value and gets one back (a promise on its side).
            hostObject->AddItem(
                new ::JS::Function(ToUniString(name), [function](GS::Ref<::JS::Base> argument) {
                    return GuardHostEntry(kBridgeValuesEntry, GS::Ref<::JS::Base>(), [&] {
                        return ToHostValue(function->Call(FromHostValue(argument)));
                    });
                }));
        } else {
            hostObject->AddItem(ToUniString(name), ToHostValue(item));
        }
    }
    return hostObject;
}

} // namespace Velmora::Archicad
