#define TAVI_TESTS_INSTANTIATE_VIEWS template
#include "Remapping.hpp"
