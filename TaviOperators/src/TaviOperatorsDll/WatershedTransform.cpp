#include <DLL/WatershedTransform.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/OperatorByName.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Frame/VoxelTypeDispatch.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <WatershedTransform.hpp>

#include <Reconstruction/Immersion.hpp>
#include <Reconstruction/LevelOrder.hpp>
#include <Reconstruction/PaddedVolume.hpp>

#include <algorithm>
#include <limits>
#include <type_traits>
#include <utility>

namespace NORV::TaviOperators::WatershedTransform {
namespace {

constexpr Impl::Names names{"WatershedTransform"};
constexpr Impl::Names extremesNames{"ExtremeValueCalculation"};
constexpr Impl::Names componentsNames{"ChessboardConnectedComponentsAnalysis"};

/// The same voxels in the same order with the axes of extent 1 last: their neighbours are the same, the shell is
/// smaller.
template <class T>
Impl::View<T> withUnitAxesLast(const Impl::View<T>& view) {
  if (view.size() == 0) {
    return view;
  }
  const SizeType extents[] = {view.dimPrim, view.dimSec, view.dimTert};
  const int64 strides[] = {view.stridePrim, view.strideSec, view.strideTert};
  SizeType kept[] = {1, 1, 1};
  int64 keptStrides[] = {1, 0, 0};
  int count = 0;
  for (int axis = 0; axis < 3; ++axis) {
    if (extents[axis] != 1) {
      kept[count] = extents[axis];
      keptStrides[count++] = strides[axis];
    }
  }
  return {view.data, kept[0], kept[1], kept[2], keptStrides[0], keptStrides[1], keptStrides[2]};
}

/// One run over views that are set up.
template <class In, class Out>
struct Job {
  Impl::View<const In> input;
  Impl::View<Out> output;
  In low, high;
  bool ignoresHighest, hasHugeMinimum;
  int threads;

  Dimension<SizeType> extents() const { return {input.dimPrim, input.dimSec, input.dimTert}; }
  Impl::Shell shell() const {
    return input.dimTert > 1 ? Impl::Shell::around : input.dimSec > 1 ? Impl::Shell::inSlices : Impl::Shell::inRows;
  }
  int rows() const { return input.dimTert > 1 ? 9 : input.dimSec > 1 ? 3 : 1; }
  /// Without a second grey value the levels end at 0.
  bool isLowestFlooded() const { return !ignoresHighest || low != high || low == 0; }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;
  using L = std::conditional_t<sizeof(Out) == 1, uint16, uint32>;

public:
  Operator() {
    this->owns(_border);
    this->owns(_extremes);
    this->owns(_components);
  }

  std::string getType() const override { return Impl::voxelTypeIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" inputVolume is NULL"));
    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());

    // Not to be aborted: what is counted are values between the extremes.
    Impl::Unstoppable copying;
    const Impl::KeptInput<In> kept(copying, threads, withUnitAxesLast(Impl::inputViewOf(std::as_const(*input))),
                                   Impl::RowLayout::dense);
    Job<In, Out> job{kept.view(), withUnitAxesLast(Impl::viewOf(*output)),        0,
                     0,           parameter->inputIgnoreHighestGrayValue.value(), parameter->inputHugeMinimum.value(),
                     threads};
    if (!findExtremes(input, job)) {
      return;
    }
    const SizeType padded = (job.input.dimPrim + 2) * (job.input.dimSec + 2) * (job.input.dimTert + 2);
    const SizeType lastLabel =
        padded < Impl::LevelOrder<uint32>::levelBegin ? flood<uint32>(job, output) : flood<uint64>(job, output);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
      parameter->outputNumberOfLabels = lastLabel + 1;
    }
  }

private:
  static SmartPointer<IComposite> request(const Impl::Names& op) {
    return Tavi::Factory::getClassFactory().createInstance(op.parameterType());
  }
  template <class T>
  static SmartPointer<IComposite> dataOf(T value) {
    return SmartPointer<IComposite>(new Data<T>(value));
  }

  /// Returns whether they were found before an abort.
  bool findExtremes(const InputPtr& input, Job<In, Out>& job) {
    const SmartPointer<IComposite> extremes = request(extremesNames);
    extremes->setValue("inputVolume", SmartPointer<IComposite>(input));
    extremes->setValue("inputNumberOfThreads", dataOf(static_cast<int32>(job.threads)));
    this->executeOperator(_extremes, extremes);
    if (this->isAborted()) {
      return false;
    }
    job.low = DataPtr<In>(extremes->getValue("outputMinimumValue"))->getValue();
    job.high = DataPtr<In>(extremes->getValue("outputMaximumValue"))->getValue();
    return true;
  }

  /// Returns the last label.
  template <class Offset>
  SizeType flood(const Job<In, Out>& job, const OutputPtr& output) {
    const auto strides = Impl::PaddedVolume<L>::stridesFor(job.extents(), job.shell());
    Impl::LevelOrder<Offset> order(*this, job.threads, job.input, strides, job.low, job.high);
    if (this->isAborted()) {
      return 0;
    }
    const SizeType lowest = job.input.size() - order.size();
    if (job.ignoresHighest && order.size() != 0) {
      order.dropHighest();
    }
    this->setTotal((job.isLowestFlooded() ? lowest : 0) + order.size());

    // Before there is memory for the flooding.
    const SizeType numbered = job.hasHugeMinimum ? numberLowest(job, output) : 0;
    Impl::PaddedVolume<L> labels(job.extents(), job.shell());
    this->executeOperator(_border, labels.requestShell(0));
    Impl::Immersion<L, Offset> immersion(*this, job.threads, labels, job.rows(), std::numeric_limits<Out>::max());
    if (job.hasHugeMinimum) {
      immersion.setLastLabel(numbered);
      Impl::transformVoxels(
          *this, job.threads, Impl::Steps::silent, [](Out label) { return static_cast<L>(label); }, labels.interior(),
          Impl::readOnly(job.output));
    } else {
      markLowest(job, labels.interior());
      immersion.floodWaiting();
    }
    SizeType done = lowest;
    this->setDone(done);
    for (SizeType begin = 0; begin < order.size() && !this->isAborted();) {
      const SizeType end = order.levelEnd(begin);
      immersion.floodLevel(order.begin() + begin, end - begin);
      done += end - begin;
      this->setDone(done);
      begin = end;
    }
    if (!this->isAborted()) {
      Impl::transformVoxels(
          *this, job.threads, Impl::Steps::silent, [](L label) { return static_cast<Out>(label); }, job.output,
          Impl::readOnly(labels.interior()));
    }
    return immersion.lastLabel();
  }

  /// The voxels of the lowest level wait, the others are not visited.
  void markLowest(const Job<In, Out>& job, const Impl::View<L>& labels) {
    const L mark = job.isLowestFlooded() ? Impl::FloodWords<L>::waiting : L{0};
    Impl::transformVoxels(
        *this, job.threads, Impl::Steps::silent, [low = job.low, mark](In value) { return value == low ? mark : L{0}; },
        labels, job.input);
  }

  /// Numbers the connected sets of the lowest level in the output. Returns the last label.
  SizeType numberLowest(const Job<In, Out>& job, const OutputPtr& output) {
    const VolumePtr<int8> lowest(new Volume<int8>(output->getDimension()));
    Impl::transformVoxels(
        *this, job.threads, Impl::Steps::silent,
        [low = job.low](In value) { return static_cast<int8>(value == low ? 4 : 0); },
        withUnitAxesLast(Impl::viewOf(*lowest)), job.input);
    const SmartPointer<IComposite> components = request(componentsNames);
    components->setValue("inputFirstVolume", SmartPointer<IComposite>(lowest));
    components->setValue("inputBackgroundValue", dataOf(int8{0}));
    components->setValue("inputExpectedNumberOfLabels", dataOf(std::clamp<uint64>(job.input.size() / 16, 64, 65536)));
    components->setValue("outputVolume", SmartPointer<IComposite>(output));
    this->executeOperator(_components, components);
    if (this->isAborted()) {
      return 0;
    }
    return DataPtr<uint64>(components->getValue("outputNumberOfLabels"))->getValue() - 1;
  }

  Impl::OperatorByName _border{Impl::PaddedVolume<L>::shellOperator()};
  Impl::OperatorByName _extremes{Impl::composeIdentifier(extremesNames, InputPtr::Pointee::identifier())};
  Impl::OperatorByName _components{
      Impl::composeIdentifier(componentsNames, std::string(Tavi::typeName<int8>) + " , " + Tavi::typeName<Out>)};
};

using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;

}  // namespace
}  // namespace NORV::TaviOperators::WatershedTransform

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::WatershedTransform;

WatershedTransform::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
WatershedTransform::Operator::Operator(const Operator&) = default;
WatershedTransform::Operator::~Operator() = default;
WatershedTransform::Operator& WatershedTransform::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> WatershedTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createByVoxelTypes<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
