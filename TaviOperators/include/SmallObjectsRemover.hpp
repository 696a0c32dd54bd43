#pragma once

#include <Impl/ObjectSelection.hpp>

/// Removes the objects of fewer than a given number of voxels.
///
/// Objects are told by a label volume; one label can be protected. Extra memory: 9 bytes per label value up to the
/// largest that occurs. One thread, three steps of progress per slice.
namespace NORV::TaviOperators::SmallObjectsRemover {

/// Label values that occur in no voxel are counted among the removed objects where the threshold is above 0.

struct Rule {
  static constexpr Impl::Names names{"SmallObjectsRemover"};
  static constexpr bool hasThreshold = true;

  static Impl::Decision decide(Impl::LabelCounts& counts, uint64 threshold, bool protects, SizeType background) {
    if (protects && background < counts.size()) {
      counts[background] = threshold;
    }
    return Impl::decideByCount(counts, [threshold](uint64 count) { return count < threshold; });
  }
};

inline constexpr const Impl::Names& names = Rule::names;

class Parameter final : public Impl::SelectionParameter<Parameter, Rule> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
};

template <class InputPtr, class LabelPtr, class OutputPtr>
class Operator final
    : public Impl::SelectionOperator<Operator<InputPtr, LabelPtr, OutputPtr>, Parameter, Rule, InputPtr, LabelPtr> {};

}  // namespace NORV::TaviOperators::SmallObjectsRemover
