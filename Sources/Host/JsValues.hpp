// The host browser's JavaScript bridge values, shaped like its own classes (JS::Base,
// JS::Value, JS::Object, JS::Function): a page calls an object's function with one value and
// gets one value back. Shared pointers stand in for the host's counted references.
#pragma once

#include "Host/HostTypes.hpp"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Velmora::Host::JS {

class Base {
public:
    virtual ~Base() = default;
};

class Value : public Base {
public:
    enum ValueType { DEFAULT = 0, BOOL, INTEGER, UINTEGER, DOUBLE, STRING };

    Value() = default;
    explicit Value(bool value) : type_(BOOL), bool_(value) {}
    explicit Value(Int32 value) : type_(INTEGER), integer_(value) {}
    explicit Value(UInt32 value) : type_(UINTEGER), uinteger_(value) {}
    explicit Value(double value) : type_(DOUBLE), double_(value) {}
    explicit Value(std::string value) : type_(STRING), string_(std::move(value)) {}
    explicit Value(char const* value) : type_(STRING), string_(value) {}

    ValueType GetType() const { return type_; }
    bool IsNull() const { return type_ == DEFAULT; }
    bool GetBool() const { return bool_; }
    Int32 GetInteger() const { return integer_; }
    UInt32 GetUInteger() const { return uinteger_; }
    double GetDouble() const { return double_; }
    std::string const& GetString() const { return string_; }

private:
    ValueType type_ = DEFAULT;
    bool bool_ = false;
    Int32 integer_ = 0;
    UInt32 uinteger_ = 0;
    double double_ = 0.0;
    std::string string_;
};

class Function : public Base {
public:
    using CallBack = std::function<std::shared_ptr<Base>(std::shared_ptr<Base>)>;

    Function(std::string name, CallBack callBack)
        : name_(std::move(name)), callBack_(std::move(callBack)) {}

    std::string const& GetName() const { return name_; }
    // What the host does when the page calls the function.
    std::shared_ptr<Base> Call(std::shared_ptr<Base> argument) const {
        return callBack_ ? callBack_(std::move(argument)) : nullptr;
    }

private:
    std::string name_;
    CallBack callBack_;
};

class Object : public Base {
public:
    using ItemTable = std::vector<std::pair<std::string, std::shared_ptr<Base>>>;

    explicit Object(std::string name) : name_(std::move(name)) {}

    std::string const& GetName() const { return name_; }
    void AddItem(std::string const& name, std::shared_ptr<Base> item) {
        items_.emplace_back(name, std::move(item));
    }
    void AddItem(std::shared_ptr<Function> function) {
        std::string const name = function->GetName();
        items_.emplace_back(name, std::move(function));
    }
    // In the order added (the host keeps a hash table; the order only helps reading logs).
    ItemTable const& GetItemTable() const { return items_; }

private:
    std::string name_;
    ItemTable items_;
};

} // namespace Velmora::Host::JS
