#pragma once

#include <Tavi/Types.hpp>
#include <Tavi/Volume.hpp>

#include <type_traits>

/// Voxel types as data: which instances an operator has, and how something is done for each of them.
namespace NORV::TaviOperators::Impl {

template <class... T>
struct TypeList {};

template <class InputVoxel, class OutputVoxel>
struct Pair {
  using In = InputVoxel;
  using Out = OutputVoxel;
};

using AllVoxelTypes = TypeList<int8, uint8, int16, uint16, int32, uint32, float32, float64>;
using IntegerVoxelTypes = TypeList<int8, uint8, int16, uint16, int32, uint32>;
using UnsignedVoxelTypes = TypeList<uint8, uint16, uint32>;
using FloatVoxelTypes = TypeList<float32, float64>;

template <class... Lists>
struct ConcatenatedLists;
template <class... T>
struct ConcatenatedLists<TypeList<T...>> {
  using type = TypeList<T...>;
};
template <class... A, class... B, class... Rest>
struct ConcatenatedLists<TypeList<A...>, TypeList<B...>, Rest...> {
  using type = typename ConcatenatedLists<TypeList<A..., B...>, Rest...>::type;
};
/// The elements of all lists, one list after the other.
template <class... Lists>
using Concat = typename ConcatenatedLists<TypeList<>, Lists...>::type;

template <class A, class B>
struct PairedLists;
template <class... A, class... B>
struct PairedLists<TypeList<A...>, TypeList<B...>> {
  template <class In>
  using Row = TypeList<Pair<In, B>...>;
  using type = Concat<Row<A>...>;
};
/// Each type of the first list with each of the second.
template <class Inputs, class Outputs>
using Pairs = typename PairedLists<Inputs, Outputs>::type;

template <class List>
struct SamePairs;
template <class... T>
struct SamePairs<TypeList<T...>> {
  using type = TypeList<Pair<T, T>...>;
};
/// Each type with itself.
template <class List>
using Same = typename SamePairs<List>::type;

template <template <class> class Condition, class List>
struct FilteredList;
template <template <class> class Condition, class... T>
struct FilteredList<Condition, TypeList<T...>> {
  using type = Concat<std::conditional_t<Condition<T>::value, TypeList<T>, TypeList<>>...>;
};
/// The elements for which `Condition<T>::value` holds.
template <template <class> class Condition, class List>
using Filter = typename FilteredList<Condition, List>::type;

/// Calls `body.template operator()<T>()` for each element.
template <class... T, class Body>
void forEachType(TypeList<T...>, Body&& body) {
  (body.template operator()<T>(), ...);
}

template <template <class...> class Operator, class Element>
struct Instance {
  using type = Operator<Tavi::VolumePtr<Element>>;
};
template <template <class...> class Operator, class In, class Out>
struct Instance<Operator, Pair<In, Out>> {
  using type = Operator<Tavi::VolumePtr<In>, Tavi::VolumePtr<Out>>;
};

/// Constructs and destroys an operator of every voxel type or pair in the list, so that each is linked and registered.
template <template <class...> class Operator, class List>
void constructEach() {
  forEachType(List(), []<class Element>() { static_cast<void>(typename Instance<Operator, Element>::type()); });
}

}  // namespace NORV::TaviOperators::Impl
