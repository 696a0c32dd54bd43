#include <DLL/RekLz4Writer.hpp>
#include <RekLz4Writer.hpp>

#include <Files/Lz4File.hpp>
#include <Files/Rek/RekOperators.hpp>

namespace NORV::TaviOperators::RekLz4Writer {
namespace {

struct Form {
  using Stream = Impl::Lz4Stream;
  using WriterParameter = Parameter;
  static constexpr Impl::Names writer{"RekLz4Writer"};
};

template <class InputPtr>
using Operator = Impl::RekWriterOperator<Form, InputPtr>;

}  // namespace
}  // namespace NORV::TaviOperators::RekLz4Writer

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::RekLz4Writer;

RekLz4Writer::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
RekLz4Writer::Operator::Operator(const Operator&) = default;
RekLz4Writer::Operator::~Operator() = default;
RekLz4Writer::Operator& RekLz4Writer::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RekLz4Writer::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createRekWriter<Typed::Form>(composite);
}

}  // namespace NORV::TaviOperators::DLL
