#include "Logger.hpp"
