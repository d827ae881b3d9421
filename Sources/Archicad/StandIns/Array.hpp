// Stand-in written from archicad-api.md: GS::Array, as the element lists use it.
#pragma once

#include "Definitions.hpp"

namespace GS {

template <typename T>
class Array {
public:
    Array();
    Array(const Array& source);
    ~Array();
    Array& operator=(const Array& source);

    USize GetSize() const;
    void Push(const T& item);
    T& operator[](UIndex index);
    const T& operator[](UIndex index) const;
};

} // namespace GS
