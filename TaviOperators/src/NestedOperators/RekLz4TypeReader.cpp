#include <RekLz4TypeReader.hpp>

#include <Files/Lz4File.hpp>
#include <Files/Rek/RekOperators.hpp>

namespace NORV::TaviOperators::RekLz4TypeReader {
namespace {

struct Form {
  using Stream = Impl::Lz4Stream;
  using TypeReaderParameter = Parameter;
  static constexpr Impl::Names typeReader{"RekLz4TypeReader"};
};

// Never called: that it could be is what makes the class register itself.
[[maybe_unused]] __attribute__((used)) void constructRekLz4TypeReader() {
  static_cast<void>(Impl::RekTypeReaderOperator<Form>());
}

}  // namespace
}  // namespace NORV::TaviOperators::RekLz4TypeReader
