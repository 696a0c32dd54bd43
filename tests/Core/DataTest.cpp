#include "support/ExpectFailure.hpp"

#include <Tavi/CheckedCast.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <complex>
#include <limits>
#include <locale>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

using namespace NORV;
using NORV::Exceptions::InvalidArg;
using NORV::Tavi::checkedCast;
using NORV::Tavi::PlainException;
using NORV::Tavi::SmartPointer;
using NORV::Tavi::Persistence::Data;
using NORV::Tavi::Persistence::DataPtr;
using NORV::Tavi::Persistence::IComposite;
using NORV::Tavi::Persistence::IData;

namespace {

template <class T>
struct Named {
  using type = T;
  const char* name;
};

template <class Act>
void forEachIntegerType(const Act& act) {
  act(Named<int8>{"NORV::int8"});
  act(Named<uint8>{"NORV::uint8"});
  act(Named<int16>{"NORV::int16"});
  act(Named<uint16>{"NORV::uint16"});
  act(Named<int32>{"NORV::int32"});
  act(Named<uint32>{"NORV::uint32"});
  act(Named<int64>{"NORV::int64"});
  act(Named<uint64>{"NORV::uint64"});
}
template <class Act>
void forEachFloatType(const Act& act) {
  act(Named<float32>{"NORV::float32"});
  act(Named<float64>{"NORV::float64"});
}
template <class Act>
void forEachNumericType(const Act& act) {
  forEachIntegerType(act);
  forEachFloatType(act);
}

/// Same number, where NaN is the same as NaN and zeros differ by their sign.
template <class T>
bool same(T a, T b) {
  if constexpr (std::is_floating_point_v<T>) {
    return (std::isnan(a) && std::isnan(b) && std::signbit(a) == std::signbit(b)) ||
           (a == b && std::signbit(a) == std::signbit(b));
  } else {
    return a == b;
  }
}

template <class T>
std::vector<T> notableValues() {
  using Limits = std::numeric_limits<T>;
  std::vector<T> values{T(0), T(1), T(10), T(32), T(127), Limits::max(), Limits::lowest(), T(Limits::max() - T(1))};
  if constexpr (std::is_floating_point_v<T>) {
    for (const T value : {Limits::infinity(), Limits::quiet_NaN(), Limits::min(), Limits::denorm_min(),
                          Limits::min() / T(3), Limits::epsilon(), T(0), T(0.1), T(1) / T(3), T(123456789.123456789),
                          std::nextafter(T(1), T(2)), std::nextafter(Limits::max(), T(0))}) {
      values.push_back(value);
      values.push_back(-value);
    }
  }
  return values;
}

template <class T>
void expectRoundTrip(const T& value) {
  const Data<T> written(value);
  Data<T> read;
  read.fromString(written.toString());
  if constexpr (std::is_arithmetic_v<T>) {
    EXPECT_TRUE(same(read.getValue(), value)) << value << " came back from '" << written.toString() << "'";
  } else {
    EXPECT_EQ(read.getValue(), value);
  }
}

class GermanPunctuation final : public std::numpunct<char> {
protected:
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

}  // namespace

TEST(DataTest, IdentifiersNameTheType) {
  forEachNumericType([](auto named) {
    using T = typename decltype(named)::type;
    const std::string name = named.name;
    EXPECT_EQ(Data<T>().getType(), "NORV::Tavi::Persistence::Data< " + name + " >");
    EXPECT_EQ(Data<std::complex<T>>().getType(), "NORV::Tavi::Persistence::Data< std::complex< " + name + " > >");
  });
  EXPECT_EQ(Data<bool>().getType(), "NORV::Tavi::Persistence::Data< bool >");
  EXPECT_EQ(Data<std::string>().getType(), "NORV::Tavi::Persistence::Data< std::string >");
}

TEST(DataTest, EveryTypeIsMadeByItsIdentifier) {
  const auto check = []<class T>(const Data<T>& example) {
    const SmartPointer<IComposite> made = Tavi::Factory::getClassFactory().createInstance(example.getType());
    const DataPtr<T> data(made);
    ASSERT_TRUE(data != 0) << example.getType();
    EXPECT_EQ(data->getValue(), T{});
    EXPECT_TRUE(SmartPointer<IData>(made) != 0);
  };
  forEachNumericType([&](auto named) {
    using T = typename decltype(named)::type;
    check(Data<T>());
    check(Data<std::complex<T>>());
  });
  check(Data<bool>());
  check(Data<std::string>());
}

TEST(DataTest, ValueIsSetInEachWay) {
  Data<int16> data;
  EXPECT_EQ(data.getValue(), 0);
  data.setValue(int16{-3});
  EXPECT_EQ(data.getValue(), -3);
  data = int16{4};
  EXPECT_EQ(data.getValue(), 4);
  data.fromString("-32768");
  EXPECT_EQ(data.getValue(), -32768);
  EXPECT_EQ(Data<int16>(int16{5}).getValue(), 5);
}

TEST(DataTest, EightBitNumbersStandAsNumbersAndAllPassThroughText) {
  for (int value = 0; value < 256; ++value) {
    EXPECT_EQ(Data<uint8>(static_cast<uint8>(value)).toString(), std::to_string(value));
    expectRoundTrip(static_cast<uint8>(value));
    EXPECT_EQ(Data<int8>(static_cast<int8>(value - 128)).toString(), std::to_string(value - 128));
    expectRoundTrip(static_cast<int8>(value - 128));
  }
}

TEST(DataTest, NotableValuesOfEveryTypePassThroughText) {
  forEachNumericType([](auto named) {
    using T = typename decltype(named)::type;
    SCOPED_TRACE(named.name);
    for (const T value : notableValues<T>()) {
      expectRoundTrip(value);
    }
  });
  expectRoundTrip(true);
  expectRoundTrip(false);
}

TEST(DataTest, RandomBitPatternsPassThroughText) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    const uint64 bits = random();
    expectRoundTrip(bits);
    expectRoundTrip(std::bit_cast<int64>(bits));
    expectRoundTrip(std::bit_cast<float64>(bits));
    expectRoundTrip(std::bit_cast<float32>(static_cast<uint32>(bits)));
  }
}

TEST(DataTest, ComplexNumbersPassThroughText) {
  forEachNumericType([](auto named) {
    using T = typename decltype(named)::type;
    SCOPED_TRACE(named.name);
    const std::vector<T> values = notableValues<T>();
    for (std::size_t i = 0; i < values.size(); ++i) {
      const std::complex<T> value(values[i], values[values.size() - 1 - i]);
      Data<std::complex<T>> read;
      read.fromString(Data<std::complex<T>>(value).toString());
      EXPECT_TRUE(same(read.getValue().real(), value.real()) && same(read.getValue().imag(), value.imag()))
          << Data<std::complex<T>>(value).toString();
    }
  });
  EXPECT_EQ(Data<std::complex<float64>>({1.5, -2.0}).toString(), "(1.5,-2)");
  EXPECT_EQ((Data<std::complex<int8>>(std::complex<int8>(65, -1)).toString()), "(65,-1)");
}

TEST(DataTest, TextsPassUnchanged) {
  for (const std::string& text : {std::string(), std::string(" two words \n"), std::string("a\0b", 3),
                                  std::string("\xc3\xa4"), std::string(100000, 'x')}) {
    expectRoundTrip(text);
    EXPECT_EQ(Data<std::string>(text).toString(), text);
  }
}

TEST(DataTest, NumbersAreWrittenWithTwentyDigits) {
  EXPECT_EQ(Data<float64>(0.1).toString(), "0.10000000000000000555");
  EXPECT_EQ(Data<float64>(1.0).toString(), "1");
  EXPECT_EQ(Data<float64>(1e300).toString(), "1.0000000000000000525e+300");
  EXPECT_EQ(Data<float32>(0.1f).toString(), "0.10000000149011611938");
  EXPECT_EQ(Data<uint64>(std::numeric_limits<uint64>::max()).toString(), "18446744073709551615");
  EXPECT_EQ(Data<bool>(true).toString(), "1");
  EXPECT_EQ(Data<bool>(false).toString(), "0");
}

TEST(DataTest, TextDoesNotDependOnTheLocaleOfTheHost) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new GermanPunctuation));
  EXPECT_EQ(Data<float64>(1234567.5).toString(), "1234567.5");
  EXPECT_EQ(Data<int32>(1234567).toString(), "1234567");
  expectRoundTrip(1234567.5);
  expectRoundTrip(int32{1234567});
  std::locale::global(before);
}

TEST(DataTest, LeavesHaveNoKeys) { EXPECT_EQ(Data<int32>().getNumberOfKeys(), 0u); }

TEST(DataFailures, LeavesRefuseKeysWithTheirWholeTexts) {
  Data<int32> data;
  IComposite& node = data;
  Tests::expectStandard<PlainException>([&] { node.setValue("x", 0); },
                                        "NORV::Tavi::Persistence::CompositeLeaf::setValue( const std::string&, "
                                        "NORV::Tavi::SmartPointer< IComposite > ): A leaf has got no keys and no "
                                        "values!");
  Tests::expectStandard<PlainException>([&] { node.getValue("x"); },
                                        "NORV::Tavi::Persistence::CompositeLeaf::getValue( const std::string&): A leaf "
                                        "has got no keys and no values!");
  Tests::expectStandard<PlainException>([&] { node.getKey(0); },
                                        "NORV::Tavi::Persistence::CompositeLeaf::getKey( NORV::Tavi::SizeType ): A "
                                        "leaf has got no keys and no values!");
  EXPECT_FALSE((std::is_base_of_v<std::logic_error, PlainException>));
  EXPECT_FALSE((std::is_base_of_v<std::runtime_error, PlainException>));
}

TEST(DataFailures, TextThatIsNoNumberKeepsTheValue) {
  forEachNumericType([](auto named) {
    using T = typename decltype(named)::type;
    for (const std::string text : {"", " ", "x", "-", "(1,2)"}) {
      Data<T> data(T(42));
      Tests::expectFailure<InvalidArg>([&] { data.fromString(text); },
                                       "'" + text + "' is no value of the type '" + named.name + "'!",
                                       "NORV::Tavi::Persistence::Data::fromString");
      EXPECT_EQ(data.getValue(), T(42));
    }
    Data<std::complex<T>> data(std::complex<T>(T(1), T(2)));
    for (const std::string text : {"", "1", "(1)", "(1,2", "1,2)", "(,)", "(x,1)", "(1,x)", "(1,"}) {
      EXPECT_THROW(data.fromString(text), InvalidArg) << text;
      EXPECT_EQ(data.getValue(), (std::complex<T>(T(1), T(2))));
    }
  });
}

TEST(DataFailures, NumbersBeyondTheTypeAreRefused) {
  EXPECT_THROW(Data<int8>().fromString("128"), InvalidArg);
  EXPECT_THROW(Data<int8>().fromString("-129"), InvalidArg);
  EXPECT_THROW(Data<uint8>().fromString("256"), InvalidArg);
  EXPECT_THROW(Data<uint8>().fromString("-1"), InvalidArg);
  EXPECT_THROW(Data<int16>().fromString("32768"), InvalidArg);
  EXPECT_THROW(Data<uint16>().fromString("65536"), InvalidArg);
  EXPECT_THROW(Data<int32>().fromString("2147483648"), InvalidArg);
  EXPECT_THROW(Data<uint32>().fromString("4294967296"), InvalidArg);
  EXPECT_THROW(Data<int64>().fromString("9223372036854775808"), InvalidArg);
  EXPECT_THROW(Data<uint64>().fromString("18446744073709551616"), InvalidArg);
  EXPECT_THROW(Data<float32>().fromString("1e39"), InvalidArg);
  EXPECT_THROW(Data<float64>().fromString("1e309"), InvalidArg);
  EXPECT_THROW(Data<bool>().fromString("2"), InvalidArg);
  EXPECT_THROW(Data<bool>().fromString("yes"), InvalidArg);
}

TEST(CheckedCastTest, ValuesThatFitPass) {
  EXPECT_EQ(checkedCast<int32>(uint64{2147483647}), 2147483647);
  EXPECT_EQ(checkedCast<uint8>(int64{255}), 255);
  EXPECT_EQ(checkedCast<int8>(int64{-128}), -128);
  EXPECT_EQ(checkedCast<uint64>(int8{127}), 127u);
  EXPECT_EQ(checkedCast<bool>(int32{1}), true);
  EXPECT_EQ(checkedCast<bool>(uint8{0}), false);
  EXPECT_EQ(checkedCast<double>(int64{9007199254740992}), 9007199254740992.0);
  EXPECT_EQ(checkedCast<double>(std::numeric_limits<int64>::min()), -9223372036854775808.0);
  EXPECT_EQ(checkedCast<double>(uint64{18446744073709549568u}), 18446744073709549568.0);
  EXPECT_EQ(checkedCast<float>(int32{16777218}), 16777218.0f);
}

TEST(CheckedCastFailures, ValuesThatDoNotFitNameBothTypes) {
  using Overflow = std::overflow_error;
  Tests::expectStandard<Overflow>([] { checkedCast<int32>(uint64{2147483648}); },
                                  "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without "
                                  "loss of data!");
  Tests::expectStandard<Overflow>([] { checkedCast<int32>(std::numeric_limits<uint64>::max()); },
                                  "Couldn't cast 18446744073709551615 (64 bit unsigned integer) to 32 bit signed "
                                  "integer without loss of data!");
  Tests::expectStandard<Overflow>([] { checkedCast<uint64>(int8{-1}); },
                                  "Couldn't cast -1 (8 bit signed integer) to 64 bit unsigned integer without loss of "
                                  "data!");
  Tests::expectStandard<Overflow>([] { checkedCast<int16>(uint64{32768}); },
                                  "Couldn't cast 32768 (64 bit unsigned integer) to 16 bit signed integer without loss "
                                  "of data!");
  Tests::expectStandard<Overflow>([] { checkedCast<double>(int64{9007199254740993}); },
                                  "Couldn't cast 9007199254740993 (64 bit signed integer) to 64 bit floating point "
                                  "without loss of data!");
  Tests::expectStandard<Overflow>([] { checkedCast<double>(std::numeric_limits<uint64>::max()); },
                                  "Couldn't cast 18446744073709551615 (64 bit unsigned integer) to 64 bit floating "
                                  "point without loss of data!");
  EXPECT_THROW(checkedCast<double>(std::numeric_limits<int64>::max()), Overflow);
  EXPECT_THROW(checkedCast<float>(int32{16777217}), Overflow);
  EXPECT_THROW(checkedCast<float>(std::numeric_limits<int32>::max()), Overflow);
  EXPECT_THROW(checkedCast<bool>(uint8{2}), Overflow);
  EXPECT_THROW(checkedCast<bool>(int8{-1}), Overflow);
}
