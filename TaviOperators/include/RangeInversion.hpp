#pragma once

#include <ExtremeValueCalculation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>

#include <type_traits>

/// Mirrors the grey values of a volume within the range that they have: a voxel x becomes n - x + m, where m is the
/// smallest and n the largest voxel of the view.
///
/// The arithmetic is that of the voxel type. It is computed for each voxel also where the few values of a narrow range
/// would fit a table: a look into a table takes longer than two additions and gives the same. A NaN voxel stays NaN; if
/// it is the first of the volume, all voxels become NaN. Extra memory: two values per slice. Parallel over slices; the
/// search for the extremes is half of the progress, the slices are the other half.
namespace NORV::TaviOperators::RangeInversion {

inline constexpr Impl::Names names{"RangeInversion"};

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to mirror"});
    append("outputVolume", outputVolume, {Takes::volume, required, "target of the same voxel type"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return names.parameterType(); }
};

/// In integers each result lies in the range again, though a step on the way may not: it wraps around and back.
template <class T>
struct Mirror {
  T lowest, highest;
  T operator()(T x) const {
    if constexpr (std::is_floating_point_v<T>) {
      return highest - x + lowest;
    } else {
      using Wrapping = std::make_unsigned_t<T>;
      const auto sum = static_cast<Wrapping>(static_cast<Wrapping>(highest) + static_cast<Wrapping>(lowest));
      return static_cast<T>(static_cast<Wrapping>(sum - static_cast<Wrapping>(x)));
    }
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  Operator() { this->owns(_extremes); }
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" the input volume is NULL"));

    const auto from = Impl::inputViewOf(*input);
    this->setTotal(from.dimTert);
    const SmartPointer<ExtremeValueCalculation::Parameter> range(new ExtremeValueCalculation::Parameter);
    range->inputVolume = input;
    range->inputNumberOfThreads = threads;
    this->executeOperator(_extremes, range);
    if (this->isAborted()) {
      return;  // the extremes mean nothing then
    }
    const Mirror<T> mirror{range->outputMinimumValue.template extractValue<T>(),
                           range->outputMaximumValue.template extractValue<T>()};

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    Impl::transformVoxels(*this, threads, Impl::Steps::counted, mirror, Impl::viewOf(*output), from);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  ExtremeValueCalculation::Operator<InputPtr> _extremes;
};

}  // namespace NORV::TaviOperators::RangeInversion
