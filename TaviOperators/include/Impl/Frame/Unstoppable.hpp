#pragma once

#include <Operator.hpp>

namespace NORV::TaviOperators::Impl {

/// Stands for the operator in a slice loop that no abort may end and that counts no steps: nobody else knows it.
class Unstoppable final : public OperatorBase {
public:
  void apply(SmartPointer<IComposite>) override {}
};

}  // namespace NORV::TaviOperators::Impl
