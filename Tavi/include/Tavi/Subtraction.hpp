#pragma once

#include <Tavi/CompositeOfProperties.hpp>
#include <Tavi/IVolume.hpp>

#include <string>

/// The parameter object of a voxel-wise subtraction without a test for overflow. The operator itself is left to hosts.
namespace NORV::Tavi::ArithmeticOperators::Subtraction::UncheckedSubtraction {

class Parameter final : public Persistence::CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputFirstVolume;
  Property<SmartPointer<IVolume>> inputSecondVolume;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    using Persistence::Takes;
    append("inputFirstVolume", inputFirstVolume, {Takes::volume, Persistence::required, "volume to subtract from"});
    append("inputSecondVolume", inputSecondVolume, {Takes::volume, Persistence::required, "volume to subtract"});
    append("outputVolume", outputVolume, {Takes::volume, Persistence::optional, "first volume minus second volume"});
  }
  std::string getType() const override {
    return "NORV::Tavi::ArithmeticOperators::Subtraction::UncheckedSubtraction::Parameter";
  }
};

}  // namespace NORV::Tavi::ArithmeticOperators::Subtraction::UncheckedSubtraction
