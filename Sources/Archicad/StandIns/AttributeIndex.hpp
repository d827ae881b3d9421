// Stand-in written from archicad-api.md: ModelerAPI::AttributeIndex (section 4.3).
#pragma once

#include "Definitions.hpp"

namespace ModelerAPI {

class AttributeIndex {
public:
    enum AttributeIndexType {
        PenColorIndex,
        FillColorIndex,
        MaterialIndex,
        FillIndex,
        TextureIndex,
        UnknownIndex
    };
    enum IndexValueCodes : Int32 { Unset = -2 };

    AttributeIndex();
    AttributeIndex(AttributeIndexType type);
    AttributeIndex(AttributeIndexType type, Int32 inModelIndex, Int32 inACIndex = Unset);

    Int32 GetIndex() const;
    Int32 GetOriginalModelerIndex() const;
    Int32 GetOriginalIndex() const;
    bool IsValid() const;
};

} // namespace ModelerAPI
