#include <DLL/SubpixelExactBinning.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <SubpixelExactBinning.hpp>

#include <Geometry/BlockSums.hpp>
#include <Geometry/CellWeights.hpp>
#include <Geometry/ReducedOutput.hpp>

#include <array>
#include <string>
#include <utility>

namespace NORV::TaviOperators::SubpixelExactBinning {
namespace {

constexpr Impl::Names names{"SubpixelExactBinning"};

std::string failure(const char* words) { return std::string("NORV::TaviOperators::SubpixelExactBinning") + words; }
constexpr const char* withoutInput = " the InputVolume is NULL";
constexpr const char* withoutOutput = " the OuputVolume is NULL";

/// The cells along the three axes.
struct Cells {
  Impl::CellWeights prim, sec, tert;

  /// Of a cell, in voxels.
  double volume() const { return prim.ratio() * sec.ratio() * tert.ratio(); }
  /// Whether each cell is a block of whole voxels.
  bool areBlocks() const { return prim.isWhole() && sec.isWhole() && tert.isWhole(); }
  Impl::BlockSize block() const {
    return {static_cast<SizeType>(prim.ratio()), static_cast<SizeType>(sec.ratio()),
            static_cast<SizeType>(tert.ratio())};
  }
};

/// Adds the weighted voxels of one row to the sums of the cells from `begin` on. The product of the three weights is
/// rounded in the order of the axes.
template <class T>
void addRow(const T* row, int64 stride, const Impl::CellWeights& cells, double weightSec, double weightTert,
            SizeType begin, SizeType count, double* sums) {
  const auto add = [&](const auto& weigh) {
    for (SizeType i = 0; i < count; ++i) {
      const auto& cell = cells[begin + i];
      const double* const weights = cells.weightsOf(cell);
      const T* const voxels = row + static_cast<int64>(cell.first) * stride;
      double sum = sums[i];
      for (SizeType x = 0; x < cell.count; ++x) {
        sum += weigh(weights[x]) * static_cast<double>(voxels[static_cast<int64>(x) * stride]);
      }
      sums[i] = sum;
    }
  };
  if (weightSec == 1.0 && weightTert == 1.0) {
    add([](double weight) { return weight; });
  } else {
    add([=](double weight) { return weight * weightSec * weightTert; });
  }
}

/// The means of one row of cells.
template <class T>
void averageCells(const Impl::View<const T>& input, SizeType sec, SizeType tert, const Cells& cells,
                  const Impl::View<T>& output) {
  constexpr SizeType most = 512;
  std::array<double, most> sums;
  T* const to = output.row(sec, tert);
  const double volume = cells.volume();
  const auto& cellSec = cells.sec[sec];
  const auto& cellTert = cells.tert[tert];
  for (SizeType begin = 0; begin < output.dimPrim; begin += most) {
    const SizeType count = std::min(most, output.dimPrim - begin);
    std::fill_n(sums.begin(), count, 0.0);
    for (SizeType z = 0; z < cellTert.count; ++z) {
      for (SizeType y = 0; y < cellSec.count; ++y) {
        addRow(input.row(cellSec.first + y, cellTert.first + z), input.stridePrim, cells.prim,
               cells.sec.weightsOf(cellSec)[y], cells.tert.weightsOf(cellTert)[z], begin, count, sums.data());
      }
    }
    for (SizeType i = 0; i < count; ++i) {
      to[static_cast<int64>(begin + i) * output.stridePrim] = Impl::convertPlainly<T>(sums[i] / volume);
    }
  }
}

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, failure(": wrong parameter object!"));
    const InputPtr input(parameter->inputVolume.value());
    const OutputPtr given(parameter->outputVolume.value());
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, failure(withoutInput));
    Impl::requireGiven(given, failure(withoutOutput));
    const Impl::KeptInput<T> kept(*this, threads, Impl::viewOf(std::as_const(*input)), Impl::RowLayout::dense);
    const auto& view = kept.view();
    const Dimension<SizeType> extents = given->getDimension();
    Impl::require(view.size() != 0 || extents.prim == 0, failure(" the InputVolume is empty"));

    const auto output = Impl::fillOutput<OutputPtr>(
        *this, threads, given, extents, view, [&](const Impl::View<T>& target) { average(view, target, threads); });
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  void average(const Impl::View<const T>& input, const Impl::View<T>& output, int threads) {
    this->setTotal(output.dimTert);
    if (output.size() == 0) {
      return;
    }
    const Cells cells{{input.dimPrim, output.dimPrim}, {input.dimSec, output.dimSec}, {input.dimTert, output.dimTert}};
    if (!cells.areBlocks()) {
      averageSlices(output, threads,
                    [&](SizeType sec, SizeType tert) { averageCells(input, sec, tert, cells, output); });
    } else {
      const Impl::BlockSize block = cells.block();
      const auto averageRow = Impl::chooseAverage(input, block);
      averageSlices(output, threads, [&](SizeType sec, SizeType tert) { averageRow(input, sec, tert, block, output); });
    }
  }

  template <class AverageRow>
  void averageSlices(const Impl::View<T>& output, int threads, const AverageRow& averageRow) {
    Impl::forEachSlice(*this, threads, output.dimTert, Impl::Steps::counted, [&](SizeType tert) {
      for (SizeType sec = 0; sec < output.dimSec; ++sec) {
        averageRow(sec, tert);
      }
    });
  }
};

using Instances = Impl::Same<Impl::Concat<Impl::IntegerVoxelTypes, Impl::TypeList<float32>>>;

}  // namespace
}  // namespace NORV::TaviOperators::SubpixelExactBinning

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::SubpixelExactBinning;
using Typed::names;

SubpixelExactBinning::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
SubpixelExactBinning::Operator::Operator(const Operator&) = default;
SubpixelExactBinning::Operator::~Operator() = default;
SubpixelExactBinning::Operator& SubpixelExactBinning::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> SubpixelExactBinning::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::requireGiven(input, Typed::failure(Typed::withoutInput));  // the same words as in the typed operator
  Impl::requireGiven(output, Typed::failure(Typed::withoutOutput));
  return Impl::createOperator(names, input, output);
}

}  // namespace NORV::TaviOperators::DLL
