#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>

#include <Vectors/Lanes.hpp>

#include <cmath>

/// Rounds every voxel to a number of decimal places. Halves go up, also below zero: -2.5 becomes -2.
///
/// All arithmetic is that of the voxel type, the half included, so a `float32` voxel is rounded to places that
/// `float32` has. Where the scale, 10 to the power of the places, is beyond the voxel type, it is infinite and every
/// voxel NaN. Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::Round {

inline constexpr Impl::Names names{"Round"};

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SizeType> inputDecimalPlaces;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of floating-point voxels to round"});
    append("inputDecimalPlaces", inputDecimalPlaces,
           {Takes::count, optional, "digits that stay behind the decimal point; 0: whole numbers"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, required, "target of the same voxel type"});
  }
  std::string getType() const override { return names.parameterType(); }
};

template <class T>
struct RoundHalfUp {
  using Real = T;
  T scale;

  explicit RoundHalfUp(SizeType places) : scale(std::pow(T(10), static_cast<T>(places))) {}

  template <class L>
  typename L::V map(L, typename L::V x) const {
    const auto scaled = L::mul(L::set(scale), x);
    return L::div(L::floor(L::add(scaled, L::set(T(0.5)))), L::set(scale));
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, getType() + "::apply parameter is NULL");
    const InputPtr input(parameter->inputVolume.value());
    const Impl::LanewiseRule<T, T, RoundHalfUp<T>> rule{RoundHalfUp<T>(parameter->inputDecimalPlaces.value())};
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, getType() + " input volume is NULL");

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    Impl::transformVoxels(*this, threads, Impl::Steps::silent, rule, Impl::viewOf(*output), Impl::inputViewOf(*input));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace NORV::TaviOperators::Round
