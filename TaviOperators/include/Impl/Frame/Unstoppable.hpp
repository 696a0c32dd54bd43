#pragma once

#include <Operator.hpp>

namespace NORV::TaviOperators::Impl {

/// Operator argument of a slice loop that must not be aborted and counts no steps.
class Unstoppable final : public OperatorBase {
public:
  void apply(SmartPointer<IComposite>) override {}
};

}  // namespace NORV::TaviOperators::Impl
