#include <ChessboardDistanceTransform.hpp>
#include <DLL/ChessboardDistanceTransform.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/VoxelTypeDispatch.hpp>

#include <Distance/DistanceTransform.hpp>

#include <array>

namespace NORV::TaviOperators::ChessboardDistanceTransform {
namespace {

using Tavi::Orientation;

/// In which order the axes of a view are scanned, innermost first: those with one or two voxels come last.
class ThinAxesLast {
public:
  ThinAxesLast(IVolume& input, IVolume& output)
      : _input(input),
        _output(output),
        _inputBefore(input.getOrientation()),
        _outputBefore(output.getOrientation()) {
    const Order order = orders[classOf(input.getDimTert())][classOf(input.getDimSec())][classOf(input.getDimPrim())];
    _input.setOrientation(inOrder(_inputBefore, order));
    _output.setOrientation(inOrder(_outputBefore, order));
  }
  void end() {
    _input.setOrientation(_inputBefore);
    _output.setOrientation(_outputBefore);
  }

private:
  using Order = std::array<uint8, 3>;  // view axes: 0 prim, 1 sec, 2 tert

  /// One voxel, two voxels, or more.
  static std::size_t classOf(SizeType extent) { return extent < 2 ? 0 : extent == 2 ? 1 : 2; }

  /// By the classes of tert, sec and prim.
  static constexpr Order orders[3][3][3] = {
      {{{0, 1, 2}, {0, 1, 2}, {0, 1, 2}}, {{1, 0, 2}, {0, 1, 2}, {0, 1, 2}}, {{1, 0, 2}, {1, 0, 2}, {0, 1, 2}}},
      {{{2, 0, 1}, {0, 2, 1}, {0, 2, 1}}, {{1, 2, 0}, {0, 1, 2}, {0, 1, 2}}, {{1, 2, 0}, {1, 0, 2}, {0, 1, 2}}},
      {{{2, 0, 1}, {2, 0, 1}, {0, 2, 1}}, {{2, 1, 0}, {2, 0, 1}, {0, 2, 1}}, {{1, 2, 0}, {1, 2, 0}, {0, 1, 2}}}};

  /// The orientation that shows the axes of another in an order.
  static Orientation inOrder(const Orientation& before, const Order& order) {
    const auto axes = before.storageAxes();
    const auto code = [&](std::size_t i) {
      return static_cast<uint8>(2 * axes[order[i]] + (before.isReversed(order[i]) ? 1 : 0));
    };
    return {code(0), code(1), code(2)};
  }

  IVolume& _input;
  IVolume& _output;
  const Orientation _inputBefore, _outputBefore;
};

struct Traits {
  static constexpr Impl::Names names{"ChessboardDistanceTransform"};
  static constexpr Impl::Names namesInFailures{"ChamferDistanceTransform"};
  static constexpr Impl::Neighbours neighbours = Impl::Neighbours::all;
  using Scan = ThinAxesLast;
};

constexpr const Impl::Names& names = Traits::names;

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::DistanceOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

}  // namespace
}  // namespace NORV::TaviOperators::ChessboardDistanceTransform

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::ChessboardDistanceTransform;

using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::IntegerVoxelTypes>;

}  // namespace

ChessboardDistanceTransform::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
ChessboardDistanceTransform::Operator::Operator(const Operator&) = default;
ChessboardDistanceTransform::Operator::~Operator() = default;
ChessboardDistanceTransform::Operator& ChessboardDistanceTransform::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> ChessboardDistanceTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createByVoxelTypes<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
