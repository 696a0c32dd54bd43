#include <Impl/Frame/NestedOperator.hpp>
#include <Tavi/CuboidMask.hpp>

namespace NORV::TaviOperators::Impl {

namespace Masks = Tavi::MaskFactory::StructuringElements;

template struct NestedOperator<Masks::CuboidMask::Operator, TypeList<uint8>>;

// Never called: that it could be is what makes each class register itself.
[[maybe_unused]] __attribute__((used)) static void constructMaskParameters() {
  static_cast<void>(Masks::CuboidMask::Parameter());
  static_cast<void>(Masks::SphericalMask::Parameter());
  static_cast<void>(Masks::CrossMask::Parameter());
  static_cast<void>(Masks::ThinnedCuboidMask::Parameter());
  static_cast<void>(Masks::SphericalThinnedCuboidMask::Parameter());
}

}  // namespace NORV::TaviOperators::Impl
