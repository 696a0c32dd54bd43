#include <RekTypeReader.hpp>

#include <Files/FileStream.hpp>
#include <Files/Rek/RekOperators.hpp>

namespace NORV::TaviOperators::RekTypeReader {
namespace {

struct Form {
  using Stream = Impl::File;
  using TypeReaderParameter = Parameter;
  static constexpr Impl::Names typeReader{"RekTypeReader"};
};

// Never called: that it could be is what makes the class register itself.
[[maybe_unused]] __attribute__((used)) void constructRekTypeReader() {
  static_cast<void>(Impl::RekTypeReaderOperator<Form>());
}

}  // namespace
}  // namespace NORV::TaviOperators::RekTypeReader
