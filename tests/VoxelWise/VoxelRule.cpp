#define TAVI_TESTS_INSTANTIATE_RULES template
#include "VoxelWise/VoxelRule.hpp"
