#include "Settings.hpp"
