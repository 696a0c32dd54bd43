#pragma once

#include <Tavi/Allocators.hpp>
