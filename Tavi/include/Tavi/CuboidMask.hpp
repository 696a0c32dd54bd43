#pragma once

#include <Tavi/Operator.hpp>
#include <Tavi/StructuringElements.hpp>
#include <Tavi/View.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>

/// Fills a mask, so that its whole box is the structuring element.
///
/// Extra memory: none. Runs on the calling thread.
namespace NORV::Tavi::MaskFactory::StructuringElements::CuboidMask {

/// One run. The foreground value is a `Data<uint8>`.
class Parameter final : public Persistence::CompositeOfProperties<Parameter> {
public:
  Property<Dimension<SizeType>> inputDimension;
  Property<Persistence::IData> inputForegroundValue;
  Property<SmartPointer<IVolume>> outputMask;

  Parameter() {
    append("inputDimension", inputDimension, Impl::dimensionKey);
    append("inputForegroundValue", inputForegroundValue, Impl::foregroundKey);
    append("outputMask", outputMask, Impl::maskKey);
  }
  std::string getType() const override { return "NORV::Tavi::MaskFactory::StructuringElements::CuboidMask::Parameter"; }
};

template <class MaskPtr>
class Operator final : public Tavi::Operator<Operator<MaskPtr>> {
  using T = typename MaskPtr::Voxel;

public:
  std::string getType() const override {
    return "NORV::Tavi::MaskFactory::StructuringElements::CuboidMask::Operator< " + MaskPtr::Pointee::identifier() +
           " >";
  }

  void apply(SmartPointer<Persistence::IComposite> composite) override {
    this->beginApply();
    const SmartPointer<Parameter> parameter(composite);
    if (parameter == nullptr) {
      throw IOperator::InvalidParameterObjectException(getType() + "::apply parameter is NULL");
    }
    const Dimension<SizeType> asked = parameter->inputDimension.value();
    const T foreground = parameter->inputForegroundValue.template extractValue<T>();
    if (asked.prim == 0 && asked.sec == 0 && asked.tert == 0) {
      throw std::invalid_argument(getType() + "::apply Input dimension is zero!");
    }
    // Extents of which only some are zero are no failure: they make the empty volume.
    const bool isEmpty = asked.prim == 0 || asked.sec == 0 || asked.tert == 0;
    const MaskPtr mask = this->template checkOutputVolume<MaskPtr>(parameter->outputMask.value(),
                                                                   isEmpty ? Dimension<SizeType>() : asked);
    fill(viewOf(*mask), foreground);
    parameter->outputMask = mask;
    this->_progress.setProgress(1.0);
  }

private:
  static void fill(const View<T>& mask, T value) {
    for (SizeType tert = 0; tert < mask.dimTert; ++tert) {
      for (SizeType sec = 0; sec < mask.dimSec; ++sec) {
        T* voxel = mask.row(sec, tert);
        if (mask.hasDenseRows()) {
          std::fill_n(voxel, mask.dimPrim, value);
          continue;
        }
        for (SizeType prim = 0; prim < mask.dimPrim; ++prim, voxel += mask.stridePrim) {
          *voxel = value;
        }
      }
    }
  }
};

}  // namespace NORV::Tavi::MaskFactory::StructuringElements::CuboidMask
