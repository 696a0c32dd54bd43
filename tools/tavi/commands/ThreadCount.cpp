#include <Commands.hpp>

#include <omp.h>

namespace NORV::TaviTool {

void setNumberOfThreads(int threads) { omp_set_num_threads(threads); }

}  // namespace NORV::TaviTool
