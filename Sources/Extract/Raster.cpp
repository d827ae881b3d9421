#include "Extract/Raster.hpp"
