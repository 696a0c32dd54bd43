#define TAVI_INSTANTIATE template
#include "CoreInstances.hpp"
