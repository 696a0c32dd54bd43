#include "RowKernels.hpp"

#include <TaviOperatorsDll/Saturation.cpp>

void callEachKernel(void* to, const void* from, const void* also, NORV::Tavi::SizeType count);
void callEachKernel(void* to, const void* from, const void* also, NORV::Tavi::SizeType count) {
  using namespace NORV::TaviOperators;
  forEachRowType(to, from, also, [count]<class T>(T* output, const T* first, [[maybe_unused]] const T* second) {
    rowKernel(Saturation::Clamp<T>{first[0], first[1]}, output, count, first);
  });
}
