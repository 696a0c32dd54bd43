#pragma once

#include <Labelling/ObjectSelection.hpp>

/// Removes all objects of a volume but the largest, or those that share the largest size.
namespace NORV::TaviOperators::BiggestObjectKeeper {

struct Traits {
  static constexpr Impl::Names names{"BiggestObjectKeeper"};

  static Impl::SizeRule rule(Impl::ObjectSizes& sizes, uint64* protectedSize, uint64) {
    if (protectedSize == nullptr) {
      return {sizes.largest(), true};
    }
    *protectedSize = 0;
    *protectedSize = sizes.largest();
    return {*protectedSize, true};
  }
};

inline constexpr const Impl::Names& names = Traits::names;

/// One run. The background label is a `Data` of the voxel type of inputLabelVolume, the substitution value one of that
/// of inputVolume.
class Parameter final : public Impl::BiggestSelectionParameter<Parameter, Traits> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
};

template <class InputPtr, class LabelPtr, class OutputPtr>
class Operator final : public Impl::SelectionOperator<Operator<InputPtr, LabelPtr, OutputPtr>, Parameter, Traits,
                                                      InputPtr, LabelPtr, OutputPtr> {};

}  // namespace NORV::TaviOperators::BiggestObjectKeeper
