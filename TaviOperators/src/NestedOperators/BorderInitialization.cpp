#include <BorderInitialization.hpp>
#include <Impl/NestedOperator.hpp>

template struct NORV::TaviOperators::Impl::NestedOperator<NORV::TaviOperators::BorderInitialization::Operator,
                                                          NORV::TaviOperators::Impl::UnsignedVoxelTypes>;
