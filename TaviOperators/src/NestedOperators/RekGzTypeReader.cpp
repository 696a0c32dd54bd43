#include <RekGzTypeReader.hpp>

#include <Files/GzipFile.hpp>
#include <Files/Rek/RekOperators.hpp>

namespace NORV::TaviOperators::RekGzTypeReader {
namespace {

struct Form {
  using Stream = Impl::GzipFile;
  using TypeReaderParameter = Parameter;
  static constexpr Impl::Names typeReader{"RekGzTypeReader"};
};

// Never called: that it could be is what makes the class register itself.
[[maybe_unused]] __attribute__((used)) void constructRekGzTypeReader() {
  static_cast<void>(Impl::RekTypeReaderOperator<Form>());
}

}  // namespace
}  // namespace NORV::TaviOperators::RekGzTypeReader
