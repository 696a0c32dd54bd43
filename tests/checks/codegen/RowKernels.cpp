// The row loops of the voxel-wise operators, each an instance of `transformRow`, for the check that the compiler turns
// them into vector code. One line for each rule.

// The rules stand in the sources of the operators.
#include <TaviOperatorsDll/Maximum.cpp>
#include <TaviOperatorsDll/Minimum.cpp>
#include <TaviOperatorsDll/Saturation.cpp>

namespace {

using namespace NORV;
using namespace NORV::TaviOperators;

template <class Rule, class Out, class... In>
[[gnu::noipa]] void rowKernel(const Rule& rule, Out* output, SizeType count, const In*... inputs) {
  Impl::transformRow(rule, output, count, inputs...);
}

template <class T>
void callEach(T* output, const T* first, const T* second, SizeType count) {
  rowKernel(Saturation::Clamp<T>{first[0], first[1]}, output, count, first);
  rowKernel(Maximum::Traits::Choose<T>{}, output, count, first, second);
  rowKernel(Minimum::Traits::Choose<T>{}, output, count, first, second);
}

}  // namespace

void callEachKernel(void* output, const void* first, const void* second, SizeType count);
void callEachKernel(void* output, const void* first, const void* second, SizeType count) {
  Impl::forEachType(Impl::AllVoxelTypes(), [=]<class T>() {
    callEach(static_cast<T*>(output), static_cast<const T*>(first), static_cast<const T*>(second), count);
  });
}
