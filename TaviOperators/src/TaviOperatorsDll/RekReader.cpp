#include <DLL/RekReader.hpp>
#include <RekReader.hpp>
#include <RekTypeReader.hpp>

#include <Files/FileStream.hpp>
#include <Files/Rek/RekOperators.hpp>

namespace NORV::TaviOperators::RekReader {
namespace {

struct Form {
  using Stream = Impl::File;
  using ReaderParameter = Parameter;
  using TypeReaderParameter = RekTypeReader::Parameter;
  static constexpr Impl::Names reader{"RekReader"};
  static constexpr Impl::Names typeReader{"RekTypeReader"};
};

template <class OutputPtr>
using Operator = Impl::RekReaderOperator<Form, OutputPtr>;

}  // namespace
}  // namespace NORV::TaviOperators::RekReader

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::RekReader;

RekReader::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
RekReader::Operator::Operator(const Operator&) = default;
RekReader::Operator::~Operator() = default;
RekReader::Operator& RekReader::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RekReader::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createRekReader<Typed::Form>(composite);
}

}  // namespace NORV::TaviOperators::DLL
