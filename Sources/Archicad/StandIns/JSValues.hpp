// Stand-in written from archicad-api.md: the JavaScript bridge classes (section 5.6).
#pragma once

#include "Definitions.hpp"
#include "HashTable.hpp"
#include "Ref.hpp"
#include "UniString.hpp"

#include <functional>

namespace JS {

class Base {
public:
    virtual ~Base();
};

class Value : public Base {
public:
    enum ValueType { DEFAULT = 0, BOOL, INTEGER, UINTEGER, DOUBLE, STRING };

    Value(bool value);
    Value(Int32 value);
    Value(UInt32 value);
    Value(double value);
    Value(const GS::UniString& value);
    Value(const char* value);

    bool GetBool() const;
    Int32 GetInteger() const;
    UInt32 GetUInteger() const;
    double GetDouble() const;
    const GS::UniString& GetString() const;
    bool IsNull() const;
    ValueType GetType() const;
};

class Function : public Base {
public:
    Function(const GS::UniString& name,
             const std::function<GS::Ref<Base>(GS::Ref<Base>)>& callBack);
    const GS::UniString& GetName() const;
};

class Object : public Base {
public:
    Object(const GS::UniString& name);
    const GS::UniString& GetName() const;
    void AddItem(const GS::UniString& name, GS::Ref<Base> item);
    void AddItem(GS::Ref<Function> function);
};

} // namespace JS
