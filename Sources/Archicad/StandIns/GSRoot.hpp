// Stand-in written from archicad-api.md: the GSRoot umbrella header, reduced to what the adapter
// uses.
#pragma once

#include "Array.hpp"
#include "Definitions.hpp"
#include "GSGuid.hpp"
#include "HashTable.hpp"
#include "Optional.hpp"
#include "Ref.hpp"
#include "UniString.hpp"
