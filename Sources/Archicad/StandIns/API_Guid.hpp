// Stand-in written from archicad-api.md: conversions between GS::Guid and API_Guid (section 3.1).
#pragma once

#include "APIdefs_Base.h"
#include "GSGuid.hpp"

GS::Guid& APIGuid2GSGuid(API_Guid& guid);
const GS::Guid& APIGuid2GSGuid(const API_Guid& guid);
API_Guid& GSGuid2APIGuid(GS::Guid& guid);
const API_Guid& GSGuid2APIGuid(const GS::Guid& guid);
API_Guid APIGuidFromString(const char* str);
