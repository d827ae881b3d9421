#include "TriggerFilePoller.hpp"
