// Stand-in written from archicad-api.md: ModelerAPI::Model (section 4.3).
#pragma once

#include "Definitions.hpp"
#include "ModelElement.hpp"

namespace ModelerAPI {

class Model {
public:
    Model();
    ~Model();

    Int32 GetElementCount() const;
    void GetElement(Int32 elementIndex, Element* element) const;
};

} // namespace ModelerAPI
