#include <DLL/RekGzWriter.hpp>
#include <RekGzWriter.hpp>

#include <Files/GzipFile.hpp>
#include <Files/Rek/RekOperators.hpp>

namespace NORV::TaviOperators::RekGzWriter {
namespace {

struct Form {
  using Stream = Impl::GzipFile;
  using WriterParameter = Parameter;
  static constexpr Impl::Names writer{"RekGzWriter"};
};

template <class InputPtr>
using Operator = Impl::RekWriterOperator<Form, InputPtr>;

}  // namespace
}  // namespace NORV::TaviOperators::RekGzWriter

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::RekGzWriter;

RekGzWriter::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
RekGzWriter::Operator::Operator(const Operator&) = default;
RekGzWriter::Operator::~Operator() = default;
RekGzWriter::Operator& RekGzWriter::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RekGzWriter::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createRekWriter<Typed::Form>(composite);
}

}  // namespace NORV::TaviOperators::DLL
