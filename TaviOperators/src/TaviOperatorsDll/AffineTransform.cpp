#include <AffineTransform.hpp>
#include <DLL/AffineTransform.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/ThreadCount.hpp>
#include <Impl/Loops/View.hpp>
#include <MatrixVolume.hpp>

#include <Geometry/Resample.hpp>

namespace NORV::TaviOperators::AffineTransform {
namespace {

constexpr Impl::Names names{"AffineTransform"};

template <class InputPtr, class MatrixPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, MatrixPtr>> {
  using Voxel = VoxelOf<InputPtr>;

public:
  std::string getType() const override {
    return Impl::composeIdentifier(names,
                                   std::string(Tavi::typeName<Voxel>) + ", " + Tavi::typeName<VoxelOf<MatrixPtr>>);
  }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const MatrixPtr matrixVolume(parameter->inputMatrixVolume.value());
    const InputPtr output(parameter->outputVolume.value());
    Impl::require(input != nullptr && matrixVolume != nullptr && output != nullptr, names.inApply(" volume is NULL"));

    const auto outer = parameter->inputOuterValue.template extractValue<Voxel>();
    const bool isLinear = parameter->inputLinearInterpolation.value();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::require(hasMatrixExtents(*matrixVolume), names.inApply(" matrix volume has invalid dimension"));
    TransformMatrix inverse = readMatrix(*matrixVolume);
    inverse.Invert();

    const auto mode = isLinear ? Geometry::Interpolation::linear : Geometry::Interpolation::nearest;
    Geometry::resample<Voxel>(*this, threads, Geometry::AffineMap(inverse), mode, outer, Impl::inputViewOf(*input),
                              Impl::viewOf(*output));
  }
};

using Instances = Impl::Pairs<Impl::AllVoxelTypes, Impl::FloatVoxelTypes>;

}  // namespace
}  // namespace NORV::TaviOperators::AffineTransform

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::AffineTransform;
using Typed::names;

AffineTransform::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
AffineTransform::Operator::Operator(const Operator&) = default;
AffineTransform::Operator::~Operator() = default;
AffineTransform::Operator& AffineTransform::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> AffineTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> matrix = parameter->inputMatrixVolume.value();
  Impl::require(input != nullptr && matrix != nullptr, names.inFrame("inputVolume or inputMatrixVolume is NULL!"));
  return Impl::createByIdentifier(
      Impl::composeIdentifier(names, input->getVoxelType() + ", " + matrix->getVoxelType()));
}

}  // namespace NORV::TaviOperators::DLL
