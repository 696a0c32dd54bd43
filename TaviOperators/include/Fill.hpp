#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/FillVoxels.hpp>
#include <Operator.hpp>

/// Sets every voxel of the view of a volume to one value. It has no exported frame.
///
/// Extra memory: none. Parallel over slices; the progress stays 0.
namespace NORV::TaviOperators::Fill {

inline constexpr Impl::Names names{"Fill"};

/// One run. The value is a `Data<T>` of the voxel type of modifyVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> modifyVolume;
  Property<IData> inputValue;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("modifyVolume", modifyVolume, {Takes::volume, required, "volume whose view is filled"});
    append("inputValue", inputValue, like("modifyVolume", required, "grey value that every voxel takes"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return names.parameterType(); }
};

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

}  // namespace NORV::TaviOperators::Fill
