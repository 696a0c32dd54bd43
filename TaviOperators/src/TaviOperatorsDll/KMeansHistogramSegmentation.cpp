#include <DLL/KMeansHistogramSegmentation.hpp>
#include <ExtremeValueCalculation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <KMeansHistogramSegmentation.hpp>

#include <Histogram/CountVoxels.hpp>
#include <Histogram/HistogramKMeans.hpp>
#include <Vectors/TableRule.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace NORV::TaviOperators::KMeansHistogramSegmentation {
namespace {

constexpr Impl::Names names{"KMeansHistogramSegmentation"};

/// More classes than any use has, and few enough for their tables.
constexpr SizeType mostClasses = SizeType{1} << 24;

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;

public:
  Operator() { this->owns(*_extremes); }
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
    this->executeOperator(*_extremes, extremes);
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

  const SmartPointer<IOperator> _extremes =
      Impl::createByIdentifier(Impl::typedIdentifier<InputPtr>(Impl::Names("ExtremeValueCalculation")));
};

}  // namespace
}  // namespace NORV::TaviOperators::KMeansHistogramSegmentation

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::KMeansHistogramSegmentation;
using Typed::names;

using VoxelTypes = Impl::TypeList<uint8, uint16>;
using Instances = Impl::Pairs<VoxelTypes, VoxelTypes>;

}  // namespace

KMeansHistogramSegmentation::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
KMeansHistogramSegmentation::Operator::Operator(const Operator&) = default;
KMeansHistogramSegmentation::Operator::~Operator() = default;
KMeansHistogramSegmentation::Operator& KMeansHistogramSegmentation::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> KMeansHistogramSegmentation::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputLabelVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  return Impl::createOperator(names, input, Impl::orElse(output, input));
}

}  // namespace NORV::TaviOperators::DLL
