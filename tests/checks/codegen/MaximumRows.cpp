#include "RowKernels.hpp"

#include <TaviOperatorsDll/Maximum.cpp>

void callEachKernel(void* to, const void* from, const void* also, NORV::Tavi::SizeType count);
void callEachKernel(void* to, const void* from, const void* also, NORV::Tavi::SizeType count) {
  using namespace NORV::TaviOperators;
  forEachRowType(to, from, also, [count]<class T>(T* output, const T* first, [[maybe_unused]] const T* second) {
    rowKernel(Maximum::Traits::Choose<T>{}, output, count, first, second);
  });
}
