#include <Tavi/Subtraction.hpp>

// The parameter object only: whoever could construct it has it registered.
[[maybe_unused]] __attribute__((used)) static void constructUncheckedSubtraction() {
  static_cast<void>(NORV::Tavi::ArithmeticOperators::Subtraction::UncheckedSubtraction::Parameter());
}
