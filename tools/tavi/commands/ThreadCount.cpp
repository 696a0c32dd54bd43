#include <Commands.hpp>

#include <omp.h>

namespace NORV::TaviTool {

void setNumberOfThreads(int threads) { omp_set_num_threads(threads); }

int numberOfThreads() { return omp_get_max_threads(); }

}  // namespace NORV::TaviTool
