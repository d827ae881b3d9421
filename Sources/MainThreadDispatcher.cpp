#include "MainThreadDispatcher.hpp"
