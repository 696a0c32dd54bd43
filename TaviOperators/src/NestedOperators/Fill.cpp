#include <Fill.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/NestedOperator.hpp>
#include <Impl/Loops/FillVoxels.hpp>

namespace NORV::TaviOperators::Fill {
namespace {

constexpr Impl::Names names{"Fill"};

template <class ModifyPtr>
class Operator final : public TaviOperators::Operator<Operator<ModifyPtr>> {
  using T = VoxelOf<ModifyPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<ModifyPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const ModifyPtr volume(parameter->modifyVolume.value());
    Impl::requireGiven(volume, names.inApply(" modifyVolume is NULL"));
    const T value = parameter->inputValue.template extractValue<T>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::fillVoxels(*this, threads, Impl::viewOf(*volume), value);
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::Fill

template struct NORV::TaviOperators::Impl::NestedOperator<NORV::TaviOperators::Fill::Operator,
                                                          NORV::TaviOperators::Impl::TypeList<NORV::int8>>;
