#include "Platform/ImageService.hpp"
