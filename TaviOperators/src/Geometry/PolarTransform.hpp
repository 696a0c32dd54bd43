#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Names.hpp>
#include <Impl/Frame/ThreadCount.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <Tavi/Exceptions.hpp>

#include <Geometry/PolarGrid.hpp>
#include <Geometry/RowSampler.hpp>

#include <algorithm>
#include <cmath>
#include <string>

/// What the transforms between Cartesian coordinates and polar grids share: the run from the parameter object to the
/// output. Each voxel of the output asks the input at a position that the rule of the transform computes.
namespace NORV::TaviOperators::Geometry {

enum class Direction { toPolar, toCartesian };

/// What a position rule is made from.
struct PolarRun {
  OperatorBase& self;
  int threads;
  PolarFrame frame;
  Dimension<SizeType> input, output;
};

/// Fills the output row by row, in parts that stay in the first cache level.
template <class Rule, class In, class Out>
void resampleSlice(const Rule& rule, const RowSampler<In>& sampler, bool isLinear, const View<Out>& output,
                   SizeType slice) {
  PositionRow positions;
  for (SizeType y = 0; y < output.dimSec; ++y) {
    for (SizeType begin = 0; begin < output.dimPrim; begin += PositionRow::capacity) {
      const SizeType count = std::min(PositionRow::capacity, output.dimPrim - begin);
      rule.fill(RowPart{begin, count, y, slice}, positions);
      writeSamples(sampler, isLinear, positions, count, &output.at(begin, y, slice), output.stridePrim);
    }
  }
}

/// Fails where the distances cannot be those of a grid.
inline void checkDistances(const PolarFrame& frame, bool isGridMade, const char* op) {
  const std::string function = std::string(op) + "::apply";
  if (frame.minimum > frame.maximum) {
    throw Exceptions::InvalidArg(function.c_str(), "Maximum distance cannot be smaller than minimum distance!");
  }
  if (isGridMade && !std::isfinite(frame.range())) {
    throw Exceptions::InvalidArg(function.c_str(), "Minimum and maximum distance must be finite!");
  }
}

/// `Traits` gives the name, the direction, for transforms to a polar grid the extents of one that is made, and the
/// position rule.
template <class Derived, class Parameter, class Traits, class InputPtr, class OutputPtr>
class PolarTransform : public TaviOperators::Operator<Derived> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;
  static constexpr bool isOutputRequired = Traits::direction == Direction::toCartesian;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(Impl::Names(Traits::op)); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    constexpr Impl::Names names(Traits::op);
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const PolarFrame frame{parameter->inputCenter.value(), parameter->inputMinimumDistance.value(),
                           parameter->inputMaximumDistance.value()};
    const bool isLinear = parameter->inputLinearInterpolation.value();
    const In outer = parameter->inputOuterValue.template extractValue<In>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    const SmartPointer<IVolume> given = parameter->outputVolume.value();
    if constexpr (isOutputRequired) {
      Impl::require(input != nullptr && OutputPtr(given) != nullptr, names.inApply(" input or output volume is NULL"));
    } else {
      Impl::requireGiven(input, names.inApply(" input volume is NULL"));
    }
    checkDistances(frame, given == nullptr, Traits::op);

    const auto output = this->template checkOutputVolume<OutputPtr>(given, outputExtents(frame, *input, given));
    resample({*this, threads, frame, input->getDimension(), output->getDimension()}, *input, *output, outer, isLinear);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  static Dimension<SizeType> outputExtents(const PolarFrame& frame, const IVolume& input,
                                           const SmartPointer<IVolume>& given) {
    if constexpr (!isOutputRequired) {
      if (given == nullptr) {
        return Traits::gridExtents(frame.range(), input.getDimension());
      }
    }
    return given->getDimension();
  }

  void resample(const PolarRun& run, const typename InputPtr::Pointee& input, typename OutputPtr::Pointee& volume,
                In outer, bool isLinear) {
    const View<Out> output = Impl::viewOf(volume);
    const Impl::KeptInput<In> kept(*this, run.threads, Impl::inputViewOf(input), output, Impl::Aliasing::none);
    const RowSampler<In> sampler(kept.view(), outer);
    this->setTotal(output.dimTert);
    const auto rule = Traits::positionRule(run);
    Impl::forEachSlice(*this, run.threads, output.dimTert, Impl::Steps::counted,
                       [&](SizeType slice) { resampleSlice(rule, sampler, isLinear, output, slice); });
  }
};

}  // namespace NORV::TaviOperators::Geometry
