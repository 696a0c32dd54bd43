#include "support/ExpectFailure.hpp"
#include "support/RekFile.hpp"

#include <RekHeaderComposite.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace NORV::Tests {
namespace {

using Header = TaviOperators::RekHeaderComposite<RecHeader_V260>;
using Tavi::SmartPointer;
using Tavi::Persistence::Data;
using Tavi::Persistence::IComposite;

SmartPointer<IComposite> text(const std::string& value) {
  return SmartPointer<IComposite>(new Data<std::string>(value));
}
std::string bytesIn(const IComposite& header) {
  return SmartPointer<Data<std::string>>(header.getValue("header"))->getValue();
}

/// Each byte differs from its neighbours.
std::string countingBytes(std::size_t count) {
  std::string bytes(count, '\0');
  for (std::size_t i = 0; i < count; ++i) {
    bytes[i] = static_cast<char>(i * 7 + i / 256);
  }
  return bytes;
}

TEST(RekHeaderComposite, BeginsAsTheDefaultHeader) { EXPECT_EQ(bytesIn(Header()), HeaderBytes().bytes()); }

TEST(RekHeaderComposite, FieldsStandAtTheirOffsets) {
  EXPECT_EQ(sizeof(RecHeader_V260), 2048u);
  EXPECT_EQ(offsetof(RecHeader_V260, shortX), 0u);
  EXPECT_EQ(offsetof(RecHeader_V260, shortY), 2u);
  EXPECT_EQ(offsetof(RecHeader_V260, voxelTypeCode), 4u);
  EXPECT_EQ(offsetof(RecHeader_V260, shortZ), 6u);
  EXPECT_EQ(offsetof(RecHeader_V260, headerSize), 8u);
  EXPECT_EQ(offsetof(RecHeader_V260, versionMajor), 10u);
  EXPECT_EQ(offsetof(RecHeader_V260, versionMinor), 12u);
  EXPECT_EQ(offsetof(RecHeader_V260, versionRevision), 14u);
  EXPECT_EQ(offsetof(RecHeader_V260, imageWidth), 40u);
  EXPECT_EQ(offsetof(RecHeader_V260, imageHeight), 44u);
  EXPECT_EQ(offsetof(RecHeader_V260, longX), 568u);
  EXPECT_EQ(offsetof(RecHeader_V260, longY), 572u);
  EXPECT_EQ(offsetof(RecHeader_V260, longZ), 576u);
  EXPECT_EQ(offsetof(RecHeader_V260, byteOrderMark32), 1008u);
  EXPECT_EQ(offsetof(RecHeader_V260, byteOrderMark64), 1016u);
}

TEST(RekHeaderComposite, PassesAllBytesThrough) {
  const std::string bytes = countingBytes(2048);
  Header header;
  header.setValue("header", text(bytes));
  EXPECT_EQ(bytesIn(header), bytes);
  EXPECT_EQ(header.getHeader().longY, HeaderBytes(bytes).get<int32>(572));
  EXPECT_EQ(bytesIn(Header(header.getHeader())), bytes);
}

TEST(RekHeaderComposite, HandsOutACopy) {
  const Header header;
  SmartPointer<Data<std::string>>(header.getValue("header"))->setValue("changed");
  EXPECT_EQ(bytesIn(header), HeaderBytes().bytes());
}

TEST(RekHeaderComposite, DescribesItself) {
  const Header header;
  EXPECT_EQ(header.getType(), "NORV::TaviOperators::RekHeaderComposite< NORV::RecHeader_V260 >");
  EXPECT_EQ(header.getNumberOfKeys(), 1u);
  EXPECT_EQ(header.getKey(0), "header");
}

TEST(RekHeaderComposite, TypeNamesTheVersionOfADefaultHeader) {
  Header header;
  header.setValue("header", text(countingBytes(2048)));
  EXPECT_EQ(header.getType(), "NORV::TaviOperators::RekHeaderComposite< NORV::RecHeader_V260 >");
}

TEST(RekHeaderComposite, IsMadeByName) {
  const auto made = Tavi::Factory::getClassFactory().createInstance(
      "NORV::TaviOperators::RekHeaderComposite< NORV::RecHeader_V260 >");
  EXPECT_NE(SmartPointer<Header>(made), nullptr);
}

TEST(RekHeaderCompositeFailure, OtherKeysAreUnknown) {
  Header header;
  expectStandard<std::invalid_argument>([&] { header.setValue("Header", text("")); }, "Header is an unknown key");
  expectStandard<std::invalid_argument>([&] { header.setValue("", SmartPointer<IComposite>()); }, " is an unknown key");
  expectStandard<std::invalid_argument>([&] { header.getValue("size"); }, "size is an unknown key");
}

TEST(RekHeaderCompositeFailure, OtherIndicesAreOutOfRange) {
  const Header header;
  expectStandard<std::out_of_range>([&] { header.getKey(1); }, "index_ is out of the valid range");
  expectStandard<std::out_of_range>([&] { header.getKey(~Tavi::SizeType{}); }, "index_ is out of the valid range");
}

TEST(RekHeaderCompositeFailure, ValuesThatAreNoTextAreInvalidPointers) {
  Header header;
  expectStandard<std::invalid_argument>([&] { header.setValue("header", SmartPointer<IComposite>()); },
                                        "value_ is an invalid pointer");
  expectStandard<std::invalid_argument>(
      [&] { header.setValue("header", SmartPointer<IComposite>(new Data<int32>(2048))); },
      "value_ is an invalid pointer");
}

TEST(RekHeaderCompositeFailure, TextsOfAnotherLengthAreInvalidAndChangeNothing) {
  Header header;
  for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{2047}, std::size_t{2049}}) {
    expectStandard<std::invalid_argument>([&] { header.setValue("header", text(std::string(length, 'x'))); },
                                          "value_ contains invalid data");
  }
  EXPECT_EQ(bytesIn(header), HeaderBytes().bytes());
}

}  // namespace
}  // namespace NORV::Tests
