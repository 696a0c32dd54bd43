#include <BorderInitialization.hpp>
#include <Impl/Frame/NestedOperator.hpp>

template struct NORV::TaviOperators::Impl::NestedOperator<NORV::TaviOperators::BorderInitialization::Operator,
                                                          NORV::TaviOperators::Impl::UnsignedVoxelTypes>;
