#include <Array.hpp>
#include <CombinedMatrix.hpp>
#include <DLL/PrincipalComponentsAnalysis.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <PrincipalComponentsAnalysis.hpp>

#include <Measurement/PositionTable.hpp>
#include <Measurement/PrincipalAxes.hpp>
#include <Measurement/SelectedVoxels.hpp>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::PrincipalComponentsAnalysis {
namespace {

constexpr Impl::Names names{"PrincipalComponentsAnalysis"};
using MatrixPtr = AffineTransformMatrixPtr<float64>;
using Translation = SmartPointer<TranslationMatrix<float64>>;
using Rotation = SmartPointer<EulerRotationMatrix<float64>>;

std::string identifierFor(const std::string& volume) {
  return Impl::composeIdentifier(names, volume + ", " + MatrixPtr::identifier());
}
std::string withoutInput() { return names.inApply(" input volume is NULL"); }

/// The whole part of the mean is divided as an integer, so that large sums lose no digits.
double meanOf(uint64 sum, uint64 count) {
  if (count == 0) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  return static_cast<double>(sum / count) + static_cast<double>(sum % count) / static_cast<double>(count);
}

/// Adds up the slices and enters into each how many voxels stand before it.
Impl::SliceSelection foldSlices(std::vector<Impl::SliceSelection>& slices) {
  Impl::SliceSelection all;
  for (Impl::SliceSelection& slice : slices) {
    slice.before = all.count;
    all.count += slice.count;
    all.sumX += slice.sumX;
    all.sumY += slice.sumY;
    all.sumZ += slice.sumZ;
  }
  return all;
}

Translation makeTranslation(const Impl::Vector3& by) {
  return Translation(new TranslationMatrix<float64>(by[0], by[1], by[2]));
}
Translation makeCentring(const Impl::Vector3& centre) { return makeTranslation({-centre[0], -centre[1], -centre[2]}); }
Rotation makeRotation(const Impl::EulerAngles& angles) {
  return Rotation(new EulerRotationMatrix<float64>(0.0, 0.0, 0.0, angles.heading, angles.attitude, angles.bank));
}

template <class InputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return identifierFor(InputPtr::Pointee::identifier()); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    Impl::requireGiven(input, withoutInput());
    const T value = parameter->inputValue.template extractValue<T>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    this->setTotal(2 * input->getDimTert());
    const Impl::KeptInput<T> kept(*this, threads, Impl::viewOf(std::as_const(*input)), Impl::RowLayout::dense);
    const auto& view = kept.view();

    std::vector<Impl::SliceSelection> slices(view.dimTert);
    Impl::forEachSlice(*this, threads, view.dimTert, Impl::Steps::counted,
                       [&](SizeType tert) { slices[tert] = Impl::selectSlice(view, tert, value); });
    if (this->isAborted()) {
      return;
    }
    const Impl::SliceSelection all = foldSlices(slices);
    const Impl::Vector3 centre{meanOf(all.sumX, all.count), meanOf(all.sumY, all.count), meanOf(all.sumZ, all.count)};

    Impl::PositionTable table(all.count);
    Impl::forEachSlice(*this, threads, view.dimTert, Impl::Steps::counted, [&](SizeType tert) {
      if (slices[tert].count != 0) {
        table.enterSlice(view, tert, value, centre, slices[tert].before);
      }
    });
    if (!this->isAborted()) {
      store(*parameter, threads, centre, table);
    }
  }

private:
  void store(Parameter& parameter, int threads, const Impl::Vector3& centre, const Impl::PositionTable& table) {
    const Impl::EigenSystem system = Impl::eigenSystem(table.covariance());
    const Impl::Matrix3 basis = Impl::rightHandedBasis(system.vectors);
    const Impl::EulerAngles angles = Impl::eulerAnglesOf(basis);
    const bool isBoxed = parameter.inputEnableAffineTransform.value();
    const auto bounds = isBoxed ? table.boundsAlong(*this, threads, basis) : Impl::PositionTable::Bounds();
    if (this->isAborted()) {
      return;
    }
    parameter.outputTranslationMatrix = makeCentring(centre);
    parameter.outputRotationMatrix = makeRotation(angles);
    parameter.outputEigenValues = Triple<float64>(system.values[0], system.values[1], system.values[2]);
    if (isBoxed) {
      storeBox(parameter, centre, angles, bounds);
    }
  }

  static void storeBox(Parameter& parameter, const Impl::Vector3& centre, const Impl::EulerAngles& angles,
                       const Impl::PositionTable::Bounds& bounds) {
    Impl::Vector3 origin{};
    std::array<SizeType, 3> size{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      origin[axis] = std::floor(Impl::roundedBound(bounds.low[axis]));
      const double extent = std::ceil(Impl::roundedBound(bounds.high[axis])) - origin[axis] + 1.0;
      size[axis] = std::isfinite(extent) ? static_cast<SizeType>(extent) : 0;
    }
    const SmartPointer<CombinedMatrix<float64>> all(new CombinedMatrix<float64>);
    all->addTransform(makeCentring(centre));
    all->addTransform(makeRotation(angles));
    all->addTransform(makeTranslation({-origin[0], -origin[1], -origin[2]}));
    parameter.outputDimension = Dimension<SizeType>(size[0], size[1], size[2]);
    parameter.outputAffineTransformMatrix = MatrixPtr(all);
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::PrincipalComponentsAnalysis

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::PrincipalComponentsAnalysis;
using Typed::names;

PrincipalComponentsAnalysis::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
PrincipalComponentsAnalysis::Operator::Operator(const Operator&) = default;
PrincipalComponentsAnalysis::Operator::~Operator() = default;
PrincipalComponentsAnalysis::Operator& PrincipalComponentsAnalysis::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> PrincipalComponentsAnalysis::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, Typed::withoutInput());  // the same words as in the typed operator
  return Impl::createByIdentifier(Typed::identifierFor(input->getType()));
}

}  // namespace NORV::TaviOperators::DLL
