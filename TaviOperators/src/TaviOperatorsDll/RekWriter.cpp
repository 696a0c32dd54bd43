#include <DLL/RekWriter.hpp>
#include <RekWriter.hpp>

#include <Files/FileStream.hpp>
#include <Files/Rek/RekOperators.hpp>

namespace NORV::TaviOperators::RekWriter {
namespace {

struct Form {
  using Stream = Impl::File;
  using WriterParameter = Parameter;
  static constexpr Impl::Names writer{"RekWriter"};
};

template <class InputPtr>
using Operator = Impl::RekWriterOperator<Form, InputPtr>;

}  // namespace
}  // namespace NORV::TaviOperators::RekWriter

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::RekWriter;

RekWriter::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
RekWriter::Operator::Operator(const Operator&) = default;
RekWriter::Operator::~Operator() = default;
RekWriter::Operator& RekWriter::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RekWriter::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createRekWriter<Typed::Form>(composite);
}

}  // namespace NORV::TaviOperators::DLL
