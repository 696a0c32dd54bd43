#include <DLL/ZeroCrossingEdgeDetector.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Frame/VoxelTypeDispatch.hpp>
#include <Impl/Loops/AxisOrder.hpp>
#include <Impl/Loops/FillVoxels.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <ZeroCrossingEdgeDetector.hpp>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace NORV::TaviOperators::ZeroCrossingEdgeDetector {
namespace {

constexpr Impl::Names names{"ZeroCrossingEdgeDetector"};

/// A row and the four beside it. Outside of the volume all is 0, which crosses nothing: a row that is missing there is
/// stood for by the row itself, whose voxels cross nothing either where it matters.
template <class In>
struct Cross {
  const In* row;
  std::array<const In*, 4> beside;
  int64 stride;
};

/// An edge voxel is not above zero and has a neighbour above zero; a NaN is neither above zero nor a crossing beside.
template <class In, class Out>
[[gnu::noinline]] void markRow(const Cross<In>& cross, Out* output, int64 outputStride, SizeType count, Out edge,
                               Out background) {
  const auto mark = [&](const auto stride, const auto toStride) {
    const In *const a = cross.beside[0], *const b = cross.beside[1], *const c = cross.beside[2],
                    *const d = cross.beside[3];
    const In* const row = cross.row;
    const auto one = [&](SizeType index, int64 left, int64 right) {
      const int64 i = static_cast<int64>(index) * stride;
      const bool above = (row[i - left] > In(0)) | (row[i + right] > In(0)) | (a[i] > In(0)) | (b[i] > In(0)) |
                         (c[i] > In(0)) | (d[i] > In(0));
      output[static_cast<int64>(index) * toStride] = (!(row[i] > In(0)) & above) ? edge : background;
    };
    one(0, 0, count > 1 ? stride : 0);
    for (SizeType i = 1; i + 1 < count; ++i) {
      one(i, stride, stride);
    }
    if (count > 1) {
      one(count - 1, stride, 0);
    }
  };
  if (cross.stride == 1 && outputStride == 1) {
    mark(std::integral_constant<int64, 1>(), std::integral_constant<int64, 1>());
  } else {
    mark(cross.stride, outputStride);
  }
}

/// The axes of two views of equal extents, those of extent 1 last. The result says whether there is one, beside longer
/// ones.
template <class In, class Out>
bool bringLongAxesFirst(Impl::View<const In>& input, Impl::View<Out>& output) {
  std::array<std::array<int64, 3>, 3> axes{{{static_cast<int64>(input.dimPrim), input.stridePrim, output.stridePrim},
                                            {static_cast<int64>(input.dimSec), input.strideSec, output.strideSec},
                                            {static_cast<int64>(input.dimTert), input.strideTert, output.strideTert}}};
  const auto isLong = [](const std::array<int64, 3>& axis) { return axis[0] != 1; };
  const auto firstShort = std::stable_partition(axes.begin(), axes.end(), isLong);
  const auto arrange = [&](auto& view, std::size_t stride) {
    view.dimPrim = static_cast<SizeType>(axes[0][0]);
    view.dimSec = static_cast<SizeType>(axes[1][0]);
    view.dimTert = static_cast<SizeType>(axes[2][0]);
    view.stridePrim = axes[0][stride];
    view.strideSec = axes[1][stride];
    view.strideTert = axes[2][stride];
  };
  arrange(input, 1);
  arrange(output, 2);
  return firstShort != axes.begin() && firstShort != axes.end();
}

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;

public:
  std::string getType() const override { return Impl::voxelTypeIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, getType() + "::apply parameter is NULL");
    const Out edge = parameter->inputEdgeValue.template extractValue<Out>();
    const Out background = parameter->inputBackgroundValue.template extractValue<Out>();
    const InputPtr input(parameter->inputVolume.value());
    Impl::requireGiven(input, names.inApply(" inputVolume is NULL"));
    Impl::requireOutputClass<OutputPtr>(parameter->outputVolume.value());
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());

    Impl::Unstoppable filling;
    const Impl::AxisOrder order = Impl::commonOrder(Impl::viewOf(*output));
    const auto to = arranged(Impl::viewOf(*output), order);
    const Impl::KeptInput<In> source(filling, threads, arranged(Impl::viewOf(std::as_const(*input)), order), to,
                                     Impl::Aliasing::none, Impl::RowLayout::dense);
    Impl::fillVoxels(filling, threads, to, Out(0));
    mark(source.view(), to, threads, stepsOf(*input), edge, background);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  /// One for each slice, or each row of a flat volume.
  static SizeType stepsOf(const typename InputPtr::Pointee& input) {
    auto view = Impl::viewOf(input);
    auto same = view;
    return bringLongAxesFirst(view, same) ? view.dimSec : view.dimTert;
  }

  void mark(Impl::View<const In> from, Impl::View<Out> to, int threads, SizeType steps, Out edge, Out background) {
    const bool isFlat = bringLongAxesFirst(from, to);
    const auto markOne = [&](SizeType sec, SizeType tert) {
      const In* const row = from.row(sec, tert);
      const Cross<In> cross{
          row,
          {sec > 0 ? from.row(sec - 1, tert) : row, sec + 1 < from.dimSec ? from.row(sec + 1, tert) : row,
           tert > 0 ? from.row(sec, tert - 1) : row, tert + 1 < from.dimTert ? from.row(sec, tert + 1) : row},
          from.stridePrim};
      markRow(cross, to.row(sec, tert), to.stridePrim, from.dimPrim, edge, background);
    };
    const auto slice = [&](SizeType tert) {
      for (SizeType sec = 0; sec < from.dimSec; ++sec) {
        markOne(sec, tert);
      }
    };
    if (from.size() == 0) {
      return;
    }
    this->setTotal(steps);
    const auto forEach = [&, this](SizeType parts, const auto& part) {
      Impl::forEachPartOf(*this, threads, parts, steps, Impl::Steps::counted, part, Impl::Schedule::fixed);
    };
    if (isFlat) {
      forEach(from.dimSec, [&](SizeType sec) { markOne(sec, 0); });
    } else {
      forEach(from.dimTert, slice);
    }
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::ZeroCrossingEdgeDetector

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::ZeroCrossingEdgeDetector;

using Instances = Impl::Pairs<Impl::TypeList<int8, int16, int32, float32, float64>, Impl::TypeList<uint8, uint16>>;

}  // namespace

ZeroCrossingEdgeDetector::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
ZeroCrossingEdgeDetector::Operator::Operator(const Operator&) = default;
ZeroCrossingEdgeDetector::Operator::~Operator() = default;
ZeroCrossingEdgeDetector::Operator& ZeroCrossingEdgeDetector::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> ZeroCrossingEdgeDetector::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createByVoxelTypes<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
