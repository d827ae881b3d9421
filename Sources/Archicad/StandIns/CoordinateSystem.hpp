// Stand-in written from archicad-api.md: ModelerAPI::CoordinateSystem (section 4.3).
#pragma once

namespace ModelerAPI {

enum class CoordinateSystem : short { ElemLocal, World };

} // namespace ModelerAPI
