#include <DLL/HistogramUpdateErosion.hpp>
#include <HistogramUpdateErosion.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Rank/HistogramUpdate.hpp>
#include <Rank/MinimumRows.hpp>

#include <utility>
#include <vector>

namespace NORV::TaviOperators::HistogramUpdateErosion {
namespace {

constexpr Impl::Names names{"HistogramUpdateErosion"};

struct Traits {
  static constexpr const Impl::Names& names = HistogramUpdateErosion::names;
  static SizeType rank(SizeType) { return 0; }
  static double stepsPerVoxel(SizeType) { return 1.0; }

  template <class T>
  class Rows {
  public:
    static constexpr SizeType lanes = 64 / sizeof(T);
    explicit Rows(std::vector<int64> offsets) : _offsets(std::move(offsets)) {}
    void operator()(const T* from, T* to, SizeType length) const {
      Impl::minimumDense(Impl::RowsAtOffsets<T>{from, _offsets.data()}, _offsets.size(), to, length);
    }

  private:
    std::vector<int64> _offsets;
  };
};

template <class InputPtr, class OutputPtr, class MaskPointer>
class Operator final : public Impl::HistogramUpdateOperator<Operator<InputPtr, OutputPtr, MaskPointer>, Parameter,
                                                            Traits, InputPtr, OutputPtr, MaskPointer> {};

}  // namespace
}  // namespace NORV::TaviOperators::HistogramUpdateErosion

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::HistogramUpdateErosion;
using Typed::names;

template <class InputPtr, class OutputPtr>
using WithMask = Typed::Operator<InputPtr, OutputPtr, Impl::MaskPtr>;
using Instances = Impl::Same<Impl::TypeList<int8, uint8, int16, uint16>>;

}  // namespace

HistogramUpdateErosion::Operator::Operator() {
  Typed::Parameter();  // it is registered by its constructor, which nothing else here calls
  Impl::constructEach<WithMask, Instances>();
}
HistogramUpdateErosion::Operator::Operator(const Operator&) = default;
HistogramUpdateErosion::Operator::~Operator() = default;
HistogramUpdateErosion::Operator& HistogramUpdateErosion::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> HistogramUpdateErosion::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const Impl::Names texts("Erosion");  // the texts name the plain erosion
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, texts.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, texts.inFrame("inputVolume is NULL!"));
  Impl::requireGiven(parameter->inputMask.value(), texts.inFrame("inputMask is NULL!"));
  return Impl::createMaskedOperator(names, *input);
}

}  // namespace NORV::TaviOperators::DLL
