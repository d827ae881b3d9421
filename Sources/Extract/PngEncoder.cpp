#include "Extract/PngEncoder.hpp"
