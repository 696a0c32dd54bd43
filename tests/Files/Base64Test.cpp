#include "VtiFiles.hpp"

#include <Files/Vti/Base64.hpp>

#include <random>

namespace NORV::Tests {
namespace {

namespace Base64 = TaviOperators::Impl::Base64;

std::string randomBytes(std::size_t count, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::string bytes(count, '\0');
  for (char& byte : bytes) {
    byte = static_cast<char>(random());
  }
  return bytes;
}

std::string encoded(const std::string& bytes, std::size_t piece) {
  std::string text(Base64::encodedSize(bytes.size()) + 1, '#');
  Base64::Encoder encoder;
  char* end = text.data();
  for (std::size_t i = 0; i < bytes.size(); i += piece) {
    end = encoder.append(bytes.data() + i, std::min(piece, bytes.size() - i), end);
  }
  end = encoder.finish(end);
  EXPECT_EQ(end, text.data() + text.size() - 1);
  EXPECT_EQ(text.back(), '#') << "written behind the end";
  text.pop_back();
  return text;
}

TEST(Base64, HasTheLengthOfWholeQuanta) {
  EXPECT_EQ(Base64::encodedSize(0), 0u);
  EXPECT_EQ(Base64::encodedSize(1), 4u);
  EXPECT_EQ(Base64::encodedSize(3), 4u);
  EXPECT_EQ(Base64::encodedSize(4), 8u);
  EXPECT_EQ(Base64::encodedSize(~SizeType{0} / 4 * 3), ~SizeType{0} / 4 * 3 / 3 * 4 + 0u);
}

TEST(Base64, EncodesTheExamplesOfTheStandard) {
  const std::array<std::array<std::string, 2>, 7> examples{{{"", ""},
                                                            {"f", "Zg=="},
                                                            {"fo", "Zm8="},
                                                            {"foo", "Zm9v"},
                                                            {"foob", "Zm9vYg=="},
                                                            {"fooba", "Zm9vYmE="},
                                                            {"foobar", "Zm9vYmFy"}}};
  for (const auto& [bytes, text] : examples) {
    EXPECT_EQ(encoded(bytes, 1), text);
    EXPECT_EQ(Base64::measure(text.data(), text.size()), bytes.size());
  }
}

TEST(Base64, EncodesAllLengthsInPiecesOfAllSizes) {
  for (std::size_t length = 0; length < 300; ++length) {
    const std::string bytes = randomBytes(length, static_cast<unsigned>(length));
    const std::string expected = naiveBase64(bytes);
    for (const std::size_t piece : {1u, 2u, 3u, 4u, 5u, 47u, 64u, 300u}) {
      ASSERT_EQ(encoded(bytes, piece), expected) << length << " in pieces of " << piece;
    }
  }
}

TEST(Base64, EncodesAndDecodesEveryTripleOfBytes) {
  std::string bytes;
  for (unsigned i = 0; i < 1u << 24; i += 257 * 13) {  // all values of each byte in many combinations
    bytes += {static_cast<char>(i), static_cast<char>(i >> 8), static_cast<char>(i >> 16)};
  }
  for (unsigned i = 0; i < 256; ++i) {
    bytes += {static_cast<char>(i), static_cast<char>(255 - i), static_cast<char>(i * 7)};
  }
  const std::string text = encoded(bytes, bytes.size());
  EXPECT_TRUE(text == naiveBase64(bytes));
  std::string decoded(bytes.size(), '\0');
  Base64::decode(text.data(), 0, decoded.size(), decoded.data());
  EXPECT_TRUE(decoded == bytes);
}

TEST(Base64, DecodesEveryRangeAndWritesNothingElse) {
  const std::string bytes = randomBytes(260), text = naiveBase64(bytes);
  for (std::size_t first = 0; first < 140; ++first) {
    for (std::size_t count = 0; first + count <= bytes.size(); count += count < 20 ? 1 : 7) {
      std::string target(count + 2, '#');
      Base64::decode(text.data(), first, count, target.data() + 1);
      ASSERT_EQ(target, "#" + bytes.substr(first, count) + "#") << first << " " << count;
    }
  }
}

TEST(Base64, FindsEveryCharacterOutsideTheAlphabetAtEveryPlace) {
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  while (text.size() < 600) {
    text += alphabet;
  }
  EXPECT_EQ(Base64::alphabetRun(text.data(), text.size()), text.size());
  for (unsigned c = 0; c < 256; ++c) {
    const bool isInside = c != 0 && alphabet.find(static_cast<char>(c)) != std::string::npos;
    for (const std::size_t place : {0u, 1u, 63u, 64u, 255u, 256u, 300u, 599u}) {
      std::string wrong = text.substr(0, 600);
      wrong[place] = static_cast<char>(c);
      EXPECT_EQ(Base64::alphabetRun(wrong.data(), wrong.size()), isInside ? wrong.size() : place) << c;
    }
  }
}

TEST(Base64, MeasuresPaddingOnlyAtTheEnd) {
  EXPECT_EQ(Base64::measure("", 0), 0u);
  EXPECT_EQ(Base64::measure("AAAAAAAA", 8), 6u);
  EXPECT_EQ(Base64::measure("AAAAAAA=", 8), 5u);
  EXPECT_EQ(Base64::measure("AAAAAA==", 8), 4u);
  for (const std::string text : {"AAAAA===", "AAA=AAAA", "AAAA====", "AAAAAA=A", "AAAA\nAAA", "AAA AAAA", "AAAAAAA",
                                 "AAAA-AAA", "AAAAAAA_", "========"}) {
    expectFailure<Exceptions::InvalidData>([&] { Base64::measure(text.data(), text.size()); },
                                           "String is not base64 encoded!", "NORV::TaviOperators::Base64");
  }
}

TEST(Base64, RefusesNullPointers) {
  char byte = 0;
  expectFailure<Exceptions::InvalidData>([] { Base64::measure(nullptr, 4); }, "encoded is NULL!",
                                         "NORV::TaviOperators::Base64");
  expectFailure<Exceptions::InvalidData>([&] { Base64::decode(nullptr, 0, 1, &byte); }, "encoded is NULL!",
                                         "NORV::TaviOperators::Base64");
  expectFailure<Exceptions::InvalidData>([] { Base64::decode("AAAA", 0, 1, nullptr); }, "data is NULL!",
                                         "NORV::TaviOperators::Base64");
}

}  // namespace
}  // namespace NORV::Tests
