#include <RekTypeReader.hpp>

// Not a template: whoever could construct it has it registered.
[[maybe_unused]] __attribute__((used)) static void constructRekTypeReader() {
  static_cast<void>(NORV::TaviOperators::RekTypeReader::Operator());
}
