#include "Extract/CategoryPalette.hpp"
