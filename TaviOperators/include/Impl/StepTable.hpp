#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// A rule for `transformVoxels` that maps each value of an 8- or 16-bit unsigned type by a table with one entry per
/// value. Where the table is a staircase with few steps, as a segmentation is, whole vectors of voxels are compared
/// with the steps instead: loads of single entries would be several times slower than memory.
template <class In, class Out>
class StepTable {
  static_assert(std::is_unsigned_v<In> && sizeof(In) <= 2 && std::is_unsigned_v<Out>);

public:
  static constexpr SizeType bins = SizeType{1} << (8 * sizeof(In));

  /// `table` has `bins` entries and must outlive the rule.
  explicit StepTable(const Out* table) : _table(table) {
    for (SizeType i = 1; i < bins; ++i) {
      if (table[i] != table[i - 1]) {
        if (_steps == maxSteps) {
          _steps = tooMany;
          return;
        }
        _from[_steps] = static_cast<In>(i);
        _rise[_steps] = static_cast<Out>(table[i] - table[i - 1]);
        ++_steps;
      }
    }
  }

  Out operator()(In value) const { return _table[value]; }

  void row(const In* input, Out* output, SizeType count) const {
    if (_steps == tooMany) {
      for (SizeType i = 0; i < count; ++i) {
        output[i] = _table[input[i]];
      }
      return;
    }
    // A buffer, as the input is read once per group of steps and may be the output.
    constexpr SizeType block = 1024;
    std::array<Out, block> values;
    for (SizeType done = 0; done < count; done += block) {
      const SizeType size = std::min(block, count - done);
      std::fill_n(values.data(), size, _table[0]);
      for (SizeType step = 0; step < _steps; step += stepsPerPass) {
        climb(input + done, values.data(), size, &_from[step], &_rise[step]);
      }
      std::memcpy(output + done, values.data(), size * sizeof(Out));
    }
  }

private:
  static constexpr SizeType stepsPerPass = 4;
  static constexpr SizeType maxSteps = 16;
  static constexpr SizeType tooMany = maxSteps + 1;

  static void climb(const In* input, Out* values, SizeType count, const In* from, const Out* rise) {
    const In from0 = from[0], from1 = from[1], from2 = from[2], from3 = from[3];
    const Out rise0 = rise[0], rise1 = rise[1], rise2 = rise[2], rise3 = rise[3];
    for (SizeType i = 0; i < count; ++i) {
      const In x = input[i];
      const auto low = static_cast<Out>(Out(x >= from0 ? rise0 : Out(0)) + Out(x >= from1 ? rise1 : Out(0)));
      const auto high = static_cast<Out>(Out(x >= from2 ? rise2 : Out(0)) + Out(x >= from3 ? rise3 : Out(0)));
      values[i] = static_cast<Out>(values[i] + low + high);
    }
  }

  const Out* _table;
  SizeType _steps = 0;
  std::array<In, maxSteps> _from{};  // steps that are not there rise by 0
  std::array<Out, maxSteps> _rise{};
};

}  // namespace NORV::TaviOperators::Impl
