#define TAVI_TESTS_INSTANTIATE template
#include "support/Volumes.hpp"
