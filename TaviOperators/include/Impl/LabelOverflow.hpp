#pragma once

#include <Tavi/Exceptions.hpp>

/// The failure of a labelling whose label type has no more labels. Hosts have always been told these places, whatever
/// file the code has moved to since, so the lines are numbered by hand. Nothing may follow in this file.
namespace NORV::TaviOperators::Impl {

// clang-format off
[[noreturn]] inline void throwChessboardOverflow() {
#line 425 "TaviOperators/include/DLL/../ChessboardConnectedComponentsAnalysis"
  throw Exceptions::NumericalOverflow("ConnectedComponentAnalysis::ExecuteLinear");
}
[[noreturn]] inline void throwChessboardInt8Overflow() {
#line 425 "TaviOperators/include/ChessboardConnectedComponentsAnalysis"
  throw Exceptions::NumericalOverflow("ConnectedComponentAnalysis::ExecuteLinear");
}
[[noreturn]] inline void throwCityblockOverflow() {
#line 365 "TaviOperators/include/DLL/../CityblockConnectedComponentsAnalysis"
  throw Exceptions::NumericalOverflow("ConnectedComponentAnalysis::ExecuteLinear");
}
// clang-format on

}  // namespace NORV::TaviOperators::Impl
