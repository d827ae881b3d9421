// Stand-in written from archicad-api.md: GS::Optional and GS::NoValue (element highlight).
#pragma once

namespace GS {

struct NoValueSelector {};
extern const NoValueSelector NoValue;

template <typename Type>
class Optional {
public:
    Optional();
    Optional(NoValueSelector);
    Optional(const Type& value);
};

} // namespace GS
