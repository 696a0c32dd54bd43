#include "support/ExpectFailure.hpp"

#include <Rational.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Types.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <numeric>

namespace NORV::Tests {
namespace {

using Numera::Rational;

template <class Body>
void forEachWidth(const Body& body) {
  body.template operator()<int8>();
  body.template operator()<int16>();
  body.template operator()<int32>();
  body.template operator()<int64>();
}

template <class T>
void expectFraction(const Rational<T>& fraction, int64 numerator, int64 denominator) {
  EXPECT_EQ(int64{fraction.getNumerator()}, numerator);
  EXPECT_EQ(int64{fraction.getDenominator()}, denominator);
}

TEST(Rational, TheSignMovesToTheNumeratorAndTheFractionIsReduced) {
  forEachWidth([]<class T>() {
    expectFraction(Rational<T>(4, -6), -2, 3);
    expectFraction(Rational<T>(-4, -6), 2, 3);
    expectFraction(Rational<T>(-4, 6), -2, 3);
    expectFraction(Rational<T>(6, 3), 2, 1);
    expectFraction(Rational<T>(7, 5), 7, 5);
    expectFraction(Rational<T>(100, 125), 4, 5);
  });
}

TEST(Rational, ZeroIsZeroOverOne) {
  forEachWidth([]<class T>() {
    expectFraction(Rational<T>(0, 5), 0, 1);
    expectFraction(Rational<T>(0, -5), 0, 1);
    expectFraction(Rational<T>(), 0, 1);
  });
}

TEST(Rational, TheSmallestValueGivesTheInvalidFraction) {
  forEachWidth([]<class T>() {
    constexpr T smallest = std::numeric_limits<T>::min();
    for (const T other : {T(1), T(-1), T(2), T(0), std::numeric_limits<T>::max(), smallest}) {
      expectFraction(Rational<T>(smallest, other == T(0) ? T(1) : other), smallest, smallest);
      expectFraction(Rational<T>(other, smallest), smallest, smallest);
      EXPECT_FALSE(Rational<T>(other, smallest).isValid());
    }
    EXPECT_TRUE(Rational<T>(1, 2).isValid());
  });
}

TEST(Rational, TheLargestValuesAreReduced) {
  forEachWidth([]<class T>() {
    constexpr T largest = std::numeric_limits<T>::max();
    expectFraction(Rational<T>(largest, largest), 1, 1);
    expectFraction(Rational<T>(-largest, largest), -1, 1);
    expectFraction(Rational<T>(largest, static_cast<T>(-1)), -int64{largest}, 1);
    expectFraction(Rational<T>(1, static_cast<T>(-largest)), -1, largest);
  });
}

TEST(Rational, EveryFractionOfSmallNumbersIsInLowestTerms) {
  for (int n = -127; n <= 127; ++n) {
    for (int d = -127; d <= 127; ++d) {
      if (d == 0) {
        continue;
      }
      const Rational<int8> fraction(static_cast<int8>(n), static_cast<int8>(d));
      ASSERT_GT(fraction.getDenominator(), 0);
      ASSERT_EQ(fraction.getNumerator() * d, fraction.getDenominator() * n) << n << "/" << d;
      ASSERT_EQ(std::gcd(fraction.getNumerator(), fraction.getDenominator()), 1) << n << "/" << d;
    }
  }
}

TEST(RationalFailure, ADenominatorOfZero) {
  forEachWidth([]<class T>() {
    for (const T numerator : {T(1), T(0), T(-1), std::numeric_limits<T>::min()}) {
      expectFailure<Exceptions::InvalidArg>([&] { Rational<T>(numerator, T(0)); }, "The denominator can't be zero!",
                                            "Rational constructor");
    }
  });
}

}  // namespace
}  // namespace NORV::Tests
