#pragma once

#include <ExtremeValueCalculation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>

#include <Histogram/CountVoxels.hpp>
#include <Histogram/HistogramKMeans.hpp>
#include <Vectors/TableRule.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

/// Divides the grey values of a volume into classes around centres and labels each voxel with the number of its class,
/// from 1 on. The classes come from k-means (S. Lloyd, "Least squares quantization in PCM", IEEE Trans. Inf. Theory 28,
/// 1982) on the histogram, with evenly spaced seeds: no random start, and no cost per voxel and iteration.
///
/// Labels are those of the last assignment, in the order of the seeds; a number that the labels' type does not hold is
/// narrowed. InvalidParameterObjectException for no class or more than 2^24. Extra memory: 24 bytes per class, at most
/// 1.5 MiB of tables, and per thread 4 KiB (uint8) or 512 KiB (uint16) while voxels are counted. Parallel over slices.
/// Three steps of progress per slice: counted, clustered (a guess), labelled.
namespace NORV::TaviOperators::KMeansHistogramSegmentation {

inline constexpr Impl::Names names{"KMeansHistogramSegmentation"};

inline constexpr SizeType noLimit = std::numeric_limits<SizeType>::max();

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SizeType> inputNumberOfClasses;
  Property<SizeType> inputNumberOfIterations;
  Property<double> inputEpsilon;
  Property<int32> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputLabelVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to segment, uint8 or uint16"});
    append("inputNumberOfClasses", inputNumberOfClasses, {Takes::count, required, "number of classes, at least 1"});
    append("inputNumberOfIterations", inputNumberOfIterations,
           {Takes::count, optional, "most iterations; 0 and the default: until the centres rest"});
    append("inputEpsilon", inputEpsilon,
           {Takes::number, optional, "grey values by which all centres together may still move at the end"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputLabelVolume", outputLabelVolume,
           {Takes::volume, optional, "class of each voxel, uint8 or uint16; made like the input if absent"});
    inputNumberOfIterations = noLimit;
    inputEpsilon = std::numeric_limits<double>::epsilon();
  }
  std::string getType() const override { return names.parameterType(); }
};

/// More classes than any use has, and few enough for their tables.
inline constexpr SizeType mostClasses = SizeType{1} << 24;

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;

public:
  Operator() { this->owns(_extremes); }
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, getType() + "::apply parameter is NULL");
    const InputPtr input(parameter->inputVolume.value());
    const SizeType classes = parameter->inputNumberOfClasses.value();
    const SizeType iterations = parameter->inputNumberOfIterations.value();
    const double epsilon = parameter->inputEpsilon.value();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" inputVolume is NULL"));
    Impl::require(classes >= 1, names.inApply(" inputNumberOfClasses must be at least 1"));
    Impl::require(classes <= mostClasses, names.inApply(" inputNumberOfClasses must be at most 16777216"));

    Impl::HistogramKMeans means(classes);  // where memory fails, the output is as it was
    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputLabelVolume.value(), input->getDimension());
    const auto view = Impl::inputViewOf(*input);
    this->setTotal(3 * view.dimTert);
    const SizeType largest = largestValue(input, threads);
    if (this->isAborted()) {
      return;
    }
    std::vector<uint64> histogram = Impl::countVoxels(*this, threads, Impl::Steps::counted, view);
    if (this->isAborted()) {
      return;
    }
    histogram.resize(largest + 1);
    cluster(means, histogram, iterations == 0 ? noLimit : iterations, epsilon, view.dimTert);
    const std::vector<Out> labels = labelsOf(means, histogram);
    this->setDone(2 * view.dimTert);
    Impl::transformVoxels(*this, threads, Impl::Steps::counted, Impl::TableRule<In, Out>(labels.data()),
                          Impl::viewOf(*output), view);
    if (!this->isAborted()) {
      parameter->outputLabelVolume = output;
    }
  }

private:
  SizeType largestValue(const InputPtr& input, int threads) {
    const SmartPointer<ExtremeValueCalculation::Parameter> extremes(new ExtremeValueCalculation::Parameter);
    extremes->inputVolume = input;
    extremes->inputNumberOfThreads = threads;
    this->executeOperator(_extremes, extremes);
    return this->isAborted() ? 0 : extremes->outputMaximumValue.template extractValue<In>();
  }

  void cluster(Impl::HistogramKMeans& means, const std::vector<uint64>& histogram, SizeType limit, double epsilon,
               SizeType slices) {
    means.seed(histogram.size() - 1);
    double moved = 0.0;
    SizeType iteration = 0;
    do {
      moved = means.iterate(histogram);
      ++iteration;
      this->setDone(slices + guessedSteps(slices, epsilon, moved, iteration, limit));
      // Centres that rest will do so for ever, also under an epsilon that no sum of moves reaches.
    } while (!(epsilon >= moved) && moved != 0.0 && iteration != limit && !this->isAborted());
  }

  /// The label for each value of the voxel type. Values that do not occur get that of a neighbour, which makes the
  /// table a staircase.
  static std::vector<Out> labelsOf(const Impl::HistogramKMeans& means, const std::vector<uint64>& histogram) {
    std::vector<Out> labels(Impl::TableRule<In, Out>::bins);
    Out label = 0;
    for (SizeType value = 0; value < labels.size(); ++value) {
      if (value < histogram.size() && histogram[value] != 0) {
        label = static_cast<Out>(means.classOf(value) + 1);
      }
      labels[value] = label;
    }
    return labels;
  }

  /// How many of the slices' steps an iteration is worth, by how near the centres are to rest.
  static SizeType guessedSteps(SizeType slices, double epsilon, double moved, SizeType iteration, SizeType limit) {
    const double guess = std::floor(static_cast<double>(slices) * epsilon / moved + 0.5);
    const SizeType byMoves = guess > 0.0 ? static_cast<SizeType>(std::min(guess, static_cast<double>(slices))) : 0;
    return std::min(byMoves, slices * iteration / limit);
  }

  ExtremeValueCalculation::Operator<InputPtr> _extremes;
};

}  // namespace NORV::TaviOperators::KMeansHistogramSegmentation
