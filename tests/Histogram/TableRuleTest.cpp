#include <Impl/Frame/Instances.hpp>

#include <Vectors/TableRule.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

using namespace NORV;
using Tavi::SizeType;
namespace Impl = TaviOperators::Impl;

namespace {

/// A table with so many places where its value changes.
template <class Out>
std::vector<Out> staircase(SizeType bins, SizeType steps, std::mt19937& random) {
  std::vector<Out> table(bins, static_cast<Out>(random()));
  for (SizeType step = 1; step <= steps; ++step) {
    const SizeType from = step * bins / (steps + 1);
    const auto rise = static_cast<int>(1 + random() % 100);  // wraps around
    std::fill(table.begin() + static_cast<std::ptrdiff_t>(from), table.end(), static_cast<Out>(table[from - 1] + rise));
  }
  return table;
}

}  // namespace

TEST(TableRule, MapsAsTheTableSaysWhateverItsNumberOfSteps) {
  std::mt19937 random(5);
  const auto onePair = [&random]<class Types>() {
    using In = typename Types::In;
    using Out = typename Types::Out;
    using Rule = Impl::TableRule<In, Out>;
    std::vector<In> input(5000);
    for (In& value : input) {
      value = static_cast<In>(random());
    }
    input[7] = std::numeric_limits<In>::max();
    input[8] = std::numeric_limits<In>::min();
    for (const SizeType steps : {0U, 1U, 3U, 4U, 5U, 7U, 8U, 9U, 15U, 16U, 17U, 200U, 255U}) {
      SCOPED_TRACE(std::string(Tavi::typeName<In>) + " to " + Tavi::typeName<Out> + ", " + std::to_string(steps) +
                   " steps");
      const std::vector<Out> table = staircase<Out>(Rule::bins, steps, random);
      const Rule rule(table.data());
      for (const SizeType count : {0U, 1U, 3U, 63U, 1023U, 1025U, 4999U}) {
        std::vector<Out> output(count + 1, Out(77));
        rule.row(input.data() + 1, output.data(), count);
        for (SizeType i = 0; i < count; ++i) {
          const Out expected = table[static_cast<std::make_unsigned_t<In>>(input[i + 1])];
          ASSERT_EQ(output[i], expected) << i << " of " << count;
          ASSERT_EQ(rule(input[i + 1]), expected);
        }
        ASSERT_EQ(output[count], Out(77)) << "wrote behind " << count;
      }
      if constexpr (std::is_same_v<In, Out>) {
        std::vector<In> inPlace = input;
        rule.row(inPlace.data(), inPlace.data(), inPlace.size());
        for (SizeType i = 0; i < input.size(); ++i) {
          ASSERT_EQ(inPlace[i], rule(input[i])) << "in place, " << i;
        }
      }
    }
  };
  using Types = Impl::TypeList<uint8, uint16>;
  Impl::forEachType(Impl::Pairs<Types, Types>(), onePair);
  Impl::forEachType(Impl::Same<Impl::TypeList<int8, int16>>(), onePair);
}
