#pragma once

#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::Impl {

/// Registers the instances of an operator that has no exported frame, when it is instantiated explicitly in a source.
template <template <class...> class Operator, class List>
struct NestedOperator {
  NestedOperator() { constructEach<Operator, List>(); }
};

}  // namespace NORV::TaviOperators::Impl
