#include <DLL/RekLz4Reader.hpp>
#include <RekLz4Reader.hpp>
#include <RekLz4TypeReader.hpp>

#include <Files/Lz4File.hpp>
#include <Files/Rek/RekOperators.hpp>

namespace NORV::TaviOperators::RekLz4Reader {
namespace {

struct Form {
  using Stream = Impl::Lz4Stream;
  using ReaderParameter = Parameter;
  using TypeReaderParameter = RekLz4TypeReader::Parameter;
  static constexpr Impl::Names reader{"RekLz4Reader"};
  static constexpr Impl::Names typeReader{"RekLz4TypeReader"};
};

template <class OutputPtr>
using Operator = Impl::RekReaderOperator<Form, OutputPtr>;

}  // namespace
}  // namespace NORV::TaviOperators::RekLz4Reader

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::RekLz4Reader;

RekLz4Reader::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
RekLz4Reader::Operator::Operator(const Operator&) = default;
RekLz4Reader::Operator::~Operator() = default;
RekLz4Reader::Operator& RekLz4Reader::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RekLz4Reader::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createRekReader<Typed::Form>(composite);
}

}  // namespace NORV::TaviOperators::DLL
