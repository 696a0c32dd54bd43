#pragma once

#include "support/ExpectFailure.hpp"

#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/IOperator.hpp>
#include <Tavi/IVolume.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>

#include <omp.h>

#include <source_location>
#include <string>
#include <vector>

/// Running operators as hosts do, and what all of their tests require.
namespace NORV::Tests {

using Tavi::IOperator;
using Tavi::IVolume;
using Tavi::SizeType;
using Tavi::SmartPointer;
using Tavi::Persistence::IComposite;

/// The rule for thread counts has these cases; 100 is more than any test has slices.
inline const std::vector<SizeType>& threadCounts() {
  static const std::vector<SizeType> counts{0, 1, 2, 7, 100};
  return counts;
}

/// Gives the process-wide settings of the OpenMP runtime back that operators change and tests play with.
class RuntimeSettings {
public:
  RuntimeSettings() = default;
  RuntimeSettings(const RuntimeSettings&) = delete;
  RuntimeSettings& operator=(const RuntimeSettings&) = delete;
  ~RuntimeSettings() {
    omp_set_num_threads(_threads);
    omp_set_dynamic(_dynamic);
  }

private:
  const int _threads = omp_get_max_threads();
  const int _dynamic = omp_get_dynamic();
};

/// An empty parameter object.
template <class Parameter>
SmartPointer<Parameter> makeParameter() {
  return SmartPointer<Parameter>(new Parameter);
}

inline bool isRegistered(const std::string& identifier) {
  return Tavi::Factory::getClassFactory().isRegistered(identifier);
}

/// How many identifiers begin so.
inline SizeType countRegistered(const std::string& beginning) {
  SizeType count = 0;
  for (const std::string& identifier : Tavi::Factory::getClassFactory().getIdentifiers()) {
    count += identifier.starts_with(beginning) ? 1u : 0u;
  }
  return count;
}

/// The identifier of a volume class, spelt out.
template <class T>
std::string volumeIdentifier(const std::string& allocator = "NORV::Tavi::Allocator::SingleBlockAllocator") {
  return std::string("NORV::Tavi::Volume< ") + Tavi::typeName<T> + " , " + allocator + " >";
}

/// The identifier of a typed operator of this package, spelt out: one voxel type per volume.
template <class First, class... Others>
std::string typedIdentifier(const std::string& op) {
  return "NORV::TaviOperators::" + op + "::Operator< " +
         (volumeIdentifier<First>() + ... + (", " + volumeIdentifier<Others>())) + " >";
}

/// A typed operator past the frame, as nested operators are made.
inline SmartPointer<IOperator> createTyped(const std::string& identifier) {
  return SmartPointer<IOperator>(Tavi::Factory::getClassFactory().createInstance(identifier));
}

/// Requires InvalidParameterObjectException with this whole text.
template <class Act>
void expectRefusal(const Act& act, const std::string& text,
                   const std::source_location& place = std::source_location::current()) {
  expectStandard<IOperator::InvalidParameterObjectException>(act, text, place);
}

/// Requires the failure of a typed value that was not given.
template <class Act>
void expectMissingValue(const Act& act, const std::source_location& place = std::source_location::current()) {
  expectFailure<Exceptions::NULLPointer>(act, "The pointer variable '_value' is a NULL pointer",
                                         "NORV::Tavi::Persistence::CompositeOfProperties::Property< "
                                         "NORV::Tavi::Persistence::IData >::extractValue",
                                         place);
}

/// Requires the failure of a typed value that is no `Data<Wanted>`.
template <class Wanted, class Act>
void expectWrongValueType(const Act& act, const std::source_location& place = std::source_location::current()) {
  expectFailure<Exceptions::BadCast>(
      act,
      std::string("A data type couldn't be convertet to 'NORV::Tavi::Persistence::DataPtr< ") + Tavi::typeName<Wanted> +
          " >'!",
      "NORV::Tavi::Persistence::CompositeOfProperties::Property< NORV::Tavi::Persistence::IData >::extractValue",
      place);
}

/// Requires the failure of a thread count that 32 bits do not hold, for a frame or typed operator on a parameter object
/// that is complete but for the count.
inline void expectThreadCountChecked(IOperator& op, const SmartPointer<IComposite>& parameter,
                                     const std::source_location& place = std::source_location::current()) {
  const testing::ScopedTrace trace(place.file_name(), static_cast<int>(place.line()), "expectThreadCountChecked");
  const auto give = [&parameter](SizeType count) {
    parameter->setValue("inputNumberOfThreads", SmartPointer<IComposite>(new Tavi::Persistence::Data<SizeType>(count)));
  };
  give(2147483648u);
  expectStandard<std::overflow_error>(
      [&] { op.apply(parameter); },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
  give(18446744073709551615u);
  expectStandard<std::overflow_error>(
      [&] { op.apply(parameter); },
      "Couldn't cast 18446744073709551615 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
  // The largest count that 32 bits hold is no failure, whatever the runtime can start.
  const RuntimeSettings settings;
  give(2147483647u);
  op.apply(parameter);
  give(0);
}

}  // namespace NORV::Tests
