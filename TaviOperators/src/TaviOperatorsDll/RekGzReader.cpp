#include <DLL/RekGzReader.hpp>
#include <RekGzReader.hpp>
#include <RekGzTypeReader.hpp>

#include <Files/GzipFile.hpp>
#include <Files/Rek/RekOperators.hpp>

namespace NORV::TaviOperators::RekGzReader {
namespace {

struct Form {
  using Stream = Impl::GzipFile;
  using ReaderParameter = Parameter;
  using TypeReaderParameter = RekGzTypeReader::Parameter;
  static constexpr Impl::Names reader{"RekGzReader"};
  static constexpr Impl::Names typeReader{"RekGzTypeReader"};
};

template <class OutputPtr>
using Operator = Impl::RekReaderOperator<Form, OutputPtr>;

}  // namespace
}  // namespace NORV::TaviOperators::RekGzReader

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::RekGzReader;

RekGzReader::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
RekGzReader::Operator::Operator(const Operator&) = default;
RekGzReader::Operator::~Operator() = default;
RekGzReader::Operator& RekGzReader::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RekGzReader::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createRekReader<Typed::Form>(composite);
}

}  // namespace NORV::TaviOperators::DLL
