#include "AddOnMain.hpp"
