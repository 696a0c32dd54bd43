#include <DLL/RekReader.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <RekReader.hpp>
#include <RekTypeReader.hpp>

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::RekReader;

RekReader::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
RekReader::Operator::Operator(const Operator&) = default;
RekReader::Operator::~Operator() = default;
RekReader::Operator& RekReader::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RekReader::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto& names = Typed::names;
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<RekTypeReader::Parameter> type(new RekTypeReader::Parameter);
  type->inputFilename = parameter->inputFilename.value();
  RekTypeReader::Operator().apply(type);
  return Impl::createByIdentifier(
      Impl::composeIdentifier(names, Impl::composeVolumeIdentifier(type->outputVoxelType.value())));
}

}  // namespace NORV::TaviOperators::DLL
