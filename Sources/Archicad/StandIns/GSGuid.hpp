// Stand-in written from archicad-api.md: GS::Guid, the model reader's element id.
#pragma once

namespace GS {

class Guid {
public:
    Guid();
};

} // namespace GS
