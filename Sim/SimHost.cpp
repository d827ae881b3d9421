#include "Host/HostPort.hpp"
