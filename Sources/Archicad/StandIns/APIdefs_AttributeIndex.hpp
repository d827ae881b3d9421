// Stand-in written from archicad-api.md: the attribute index class of 27 and later (section 3.4).
#pragma once

#include "Definitions.hpp"

class API_AttributeIndex {
public:
    Int32 ToInt32_Deprecated() const;
    bool IsPositive() const;
    bool IsNegative() const;
    bool operator==(const API_AttributeIndex& other) const;

private:
    Int32 value;
};

API_AttributeIndex ACAPI_CreateAttributeIndex(Int32 index);
