// Stand-in written from archicad-api.md: GS::UniString. The conversions below are not described
// there; they are the GSRoot calls add-ons commonly use (see the adapter's list of doubts).
#pragma once

#include "Definitions.hpp"

enum GSCharCode { CC_Default = 0, CC_UTF8 = 10 };

namespace GS {

class UniString {
public:
    // The text a ToCStr call leaves behind, alive as long as this holder.
    class CStr {
    public:
        const char* Get() const;
    };

    UniString();
    UniString(const char* cStr, GSCharCode charCode = CC_Default);
    UniString(const UniString& source);
    ~UniString();
    UniString& operator=(const UniString& source);

    USize GetLength() const;
    bool IsEmpty() const;
    CStr ToCStr(UIndex from = 0, USize range = MaxUSize, GSCharCode charCode = CC_Default) const;
    // The argument that a "%T" in a GS printf-style format takes.
    const uchar_t* ToPrintf() const;
};

} // namespace GS
