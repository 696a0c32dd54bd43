#include <DLL/RekWriter.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <RekWriter.hpp>

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::RekWriter;

RekWriter::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
RekWriter::Operator::Operator(const Operator&) = default;
RekWriter::Operator::~Operator() = default;
RekWriter::Operator& RekWriter::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RekWriter::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto& names = Typed::names;
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume or outputVolume is NULL!"));
  return Impl::createOperator(names, input);
}

}  // namespace NORV::TaviOperators::DLL
