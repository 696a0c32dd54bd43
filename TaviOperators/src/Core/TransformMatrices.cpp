// Registers the transforms in the factory: a class does so in whatever library constructs it.

#include <CombinedMatrix.hpp>
#include <EulerRotationMatrix.hpp>
#include <TranslationMatrix.hpp>

namespace NORV::TaviOperators {
namespace {

// Never called: that it could be is what makes each class register itself.
[[maybe_unused]] __attribute__((used)) void constructTransformMatrices() {
  static_cast<void>(TranslationMatrix<float64>());
  static_cast<void>(EulerRotationMatrix<float64>());
  static_cast<void>(CombinedMatrix<float64>());
}

}  // namespace
}  // namespace NORV::TaviOperators
