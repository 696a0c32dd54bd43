#include <Fill.hpp>
#include <Impl/Frame/NestedOperator.hpp>

template struct NORV::TaviOperators::Impl::NestedOperator<NORV::TaviOperators::Fill::Operator,
                                                          NORV::TaviOperators::Impl::TypeList<NORV::int8>>;
