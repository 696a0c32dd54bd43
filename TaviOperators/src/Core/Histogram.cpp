#include <Tavi/Histogram.hpp>

namespace NORV::Tavi {
namespace {

// Never called: that it could be is what makes each class register itself.
[[maybe_unused]] __attribute__((used)) void constructHistograms() {
  Histogram::Histogram<uint8, uint64>();
  Histogram::Histogram<uint16, uint64>();
}

}  // namespace
}  // namespace NORV::Tavi
