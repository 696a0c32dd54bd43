#include "RekFiles.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <limits>
#include <stdexcept>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::RekTypeReader;

using RekTypeReader = RekFiles;

class RekTypeReaderFailure : public RekFiles {
protected:
  /// Requires a runtime error and results that are untouched.
  void expectRefused(const std::string& file, const std::string& text) const {
    const NoFileLeftOpen check;
    const auto parameter = makeParameter<Typed::Parameter>();
    parameter->inputFilename = file;
    parameter->outputVoxelType = std::string("before");
    const auto header = parameter->outputHeader.value();
    expectStandard<std::runtime_error>(
        [&] { createTyped("NORV::TaviOperators::RekTypeReader::Operator")->apply(parameter); }, text);
    EXPECT_EQ(parameter->outputVoxelType.value(), "before");
    EXPECT_EQ(parameter->outputDimension.value(), Dimension<SizeType>());
    EXPECT_EQ(parameter->outputHeader.value(), header);
  }
};

TEST_F(RekTypeReader, ParameterHasItsKeysInOrderAndItsDefaults) {
  const Typed::Parameter parameter;
  ASSERT_EQ(parameter.getNumberOfKeys(), 4u);
  EXPECT_EQ(parameter.getKey(0), "inputFilename");
  EXPECT_EQ(parameter.getKey(1), "outputVoxelType");
  EXPECT_EQ(parameter.getKey(2), "outputDimension");
  EXPECT_EQ(parameter.getKey(3), "outputHeader");
  EXPECT_EQ(parameter.inputFilename.value(), "");
  EXPECT_EQ(parameter.outputVoxelType.value(), "");
  EXPECT_EQ(parameter.outputDimension.value(), Dimension<SizeType>());
  EXPECT_EQ(bytesOf(parameter.outputHeader.value()), HeaderBytes().bytes());
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::RekTypeReader::Parameter");
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::RekTypeReader::Parameter"));
}

TEST_F(RekTypeReader, IsMadeByName) {
  const auto made = createTyped("NORV::TaviOperators::RekTypeReader::Operator");
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputFilename = write(HeaderBytes().code(8).shortSize(1, 2, 3).with(6));
  made->apply(parameter);
  EXPECT_EQ(parameter->outputVoxelType.value(), "NORV::uint8");
}

TEST_F(RekTypeReader, KnowsTenVoxelTypes) {
  const NoFileLeftOpen check;
  for (const RekType& type : rekTypes) {
    const HeaderBytes header = HeaderBytes().code(type.code).longSize(3, 5, 2);
    const auto parameter = lookInto(write(header.with(30 * type.bytes)));
    EXPECT_EQ(parameter->outputVoxelType.value(), type.name);
    EXPECT_EQ(parameter->outputDimension.value(), Dimension<SizeType>(3, 5, 2)) << type.name;
    EXPECT_EQ(bytesOf(parameter->outputHeader.value()), header.bytes());
  }
}

TEST_F(RekTypeReader, HeaderPassesThroughByteForByte) {
  HeaderBytes header(std::string(2048, '\x5A'));
  header.code(16).longSize(2, 1, 1);
  const auto parameter = lookInto(write(header.with(4)));
  EXPECT_EQ(bytesOf(parameter->outputHeader.value()), header.bytes());
}

TEST_F(RekTypeReader, ConstantsOfTheHeaderAreNotChecked) {
  HeaderBytes header = HeaderBytes().code(8).shortSize(2, 2, 2);
  header.put<uint16>(8, 17).put<uint16>(10, 0).put<uint16>(12, 99).put<uint16>(14, 1);
  for (const bool swapped : {false, true}) {
    header.put<uint32>(1008, swapped ? 0x04030201 : 0).put<uint64>(1016, swapped ? 0x0807060504030201 : 0);
    EXPECT_EQ(lookInto(write(header.with(8)))->outputDimension.value(), Dimension<SizeType>(2, 2, 2));
  }
}

TEST_F(RekTypeReader, TheDescriptionThatFitsTheFileWins) {
  const HeaderBytes header = HeaderBytes().code(8).shortSize(4, 4, 4).longSize(5, 5, 5).imageSize(7, 6);
  EXPECT_EQ(lookInto(write(header.with(64)))->outputDimension.value(), Dimension<SizeType>(4, 4, 4));
  EXPECT_EQ(lookInto(write(header.with(125)))->outputDimension.value(), Dimension<SizeType>(5, 5, 5));
  EXPECT_EQ(lookInto(write(header.with(42)))->outputDimension.value(), Dimension<SizeType>(7, 6, 1));
}

TEST_F(RekTypeReader, SettlesTheExtentsByTheRules) {
  const NoFileLeftOpen check;
  int found = 0, ambiguous = 0, negative = 0, unfit = 0;
  forManyFields(4000, [&](const Fields& fields, std::size_t voxels) {
    const RekType& type = rekTypes[voxels % rekTypes.size()];
    const std::string file = write(fields.header(type.code).with(voxels * type.bytes));
    const Settled expected = settle(fields, voxels * type.bytes, type.bytes, true);
    if (expected.extents) {
      const auto [x, y, z] = *expected.extents;
      EXPECT_EQ(lookInto(file)->outputDimension.value(), Dimension<SizeType>(x, y, z));
      ++found;
    } else if (expected.isNegative) {
      expectStandard<std::out_of_range>([&] { lookInto(file); }, expected.failure);
      ++negative;
    } else {
      expectStandard<std::runtime_error>([&] { lookInto(file); },
                                         "NORV::TaviOperators::RekTypeReader::Operator" + expected.failure);
      ++(expected.failure.ends_with("ambiguous") ? ambiguous : unfit);
    }
  });
  EXPECT_GT(found, 100);
  EXPECT_GT(ambiguous, 10);
  EXPECT_GT(negative, 100);
  EXPECT_GT(unfit, 100);
}

TEST_F(RekTypeReader, SizesBeyondFourGibibytes) {
  const std::string file = write(HeaderBytes().code(16).longSize(2048, 1024, 1100).bytes());
  const off_t size = 2048 + off_t{2048} * 1024 * 1100 * 2;
  if (truncate(file.c_str(), size) != 0) {
    GTEST_SKIP() << "the file system makes no sparse file of this size: " << std::strerror(errno);
  }
  EXPECT_EQ(lookInto(file)->outputDimension.value(), Dimension<SizeType>(2048, 1024, 1100));
}

TEST_F(RekTypeReaderFailure, FileNamesAreChecked) {
  const NoFileLeftOpen check;
  expectStandard<std::invalid_argument>([] { lookInto(""); },
                                        "NORV::TaviOperators::RekTypeReader::Operator input filename is empty");
  for (const std::string name : {"a=b.rek", "a?.rek", "scans//part.rek", "ab:c"}) {
    expectStandard<std::invalid_argument>([&] { lookInto(name); },
                                          "NORV::TaviOperators::RekTypeReader::Operator input filename is invalid");
  }
}

TEST_F(RekTypeReaderFailure, AnotherParameterObjectIsRefused) {
  for (const SmartPointer<IComposite>& other :
       {SmartPointer<IComposite>(), SmartPointer<IComposite>(new Data<int32>(1)),
        SmartPointer<IComposite>(new TaviOperators::RekReader::Parameter)}) {
    expectRefusal([&] { createTyped("NORV::TaviOperators::RekTypeReader::Operator")->apply(other); },
                  "NORV::TaviOperators::RekTypeReader::Operator::apply");
  }
}

TEST_F(RekTypeReaderFailure, WhatIsNoFileDoesNotOpen) {
  const std::string text = "NORV::TaviOperators::RekTypeReader::Operator failed to open file";
  expectRefused(folder / "absent.rek", text);
  expectRefused(folder.path(), text);
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  expectRefused(pipe, text);
}

TEST_F(RekTypeReaderFailure, AFileMustHoldMoreThanAHeader) {
  const std::string text = "NORV::TaviOperators::RekTypeReader::Operator file is smaller than the REK header";
  const std::string header = HeaderBytes().code(8).shortSize(1, 1, 1).bytes();
  for (const std::size_t length : {0u, 1u, 2u, 16u, 567u, 1024u, 2047u, 2048u}) {
    expectRefused(write(header.substr(0, length)), text);
  }
  expectRefused("/dev/null", text);
  expectRefused("/dev/zero", text);
  EXPECT_EQ(lookInto(write(header + "a"))->outputDimension.value(), Dimension<SizeType>(1, 1, 1));
}

TEST_F(RekTypeReaderFailure, UnknownVoxelTypes) {
  for (const unsigned code :
       {0u, 1u, 6u, 9u, 14u, 17u, 23u, 25u, 30u, 33u, 52u, 54u, 62u, 65u, 128u, 256u + 8u, 0x0800u, 32768u, 65535u}) {
    expectRefused(write(HeaderBytes().code(static_cast<uint16>(code)).shortSize(2, 2, 2).with(8)),
                  "NORV::TaviOperators::RekTypeReader::Operator unknown voxel type");
  }
}

TEST_F(RekTypeReaderFailure, TheVoxelTypeIsLookedAtBeforeTheExtents) {
  expectRefused(write(HeaderBytes().code(1).shortSize(-2, 2, 2).with(8)),
                "NORV::TaviOperators::RekTypeReader::Operator unknown voxel type");
}

TEST_F(RekTypeReaderFailure, ExtentsThatFitAndDifferAreAmbiguous) {
  const std::string text =
      "NORV::TaviOperators::RekTypeReader::Operator the dimensions specified in the header are ambiguous";
  expectRefused(write(HeaderBytes().code(8).shortSize(4, 4, 4).longSize(8, 4, 2).with(64)), text);
  expectRefused(write(HeaderBytes().code(8).shortSize(4, 4, 4).imageSize(8, 8).with(64)), text);
  expectRefused(write(HeaderBytes().code(8).longSize(4, 4, 4).imageSize(8, 8).with(64)), text);
}

TEST_F(RekTypeReaderFailure, ExtentsThatDoNotFitTheFile) {
  const std::string text =
      "NORV::TaviOperators::RekTypeReader::Operator file size does not fit to the dimensions specified in the header";
  expectRefused(write(HeaderBytes().code(8).with(8)), text);
  const HeaderBytes header = HeaderBytes().code(16).shortSize(2, 2, 2).longSize(3, 3, 3).imageSize(5, 5);
  for (const std::size_t bytes : {1u, 8u, 15u, 17u, 27u, 53u, 55u, 25u, 51u, 1000u}) {
    expectRefused(write(header.with(bytes)), text);
  }
}

TEST_F(RekTypeReaderFailure, NegativeFieldsAreNoDimension) {
  const NoFileLeftOpen check;
  const auto expectNegative = [&](const HeaderBytes& header, const std::string& numbers) {
    const std::string file = write(header.with(64));
    expectStandard<std::out_of_range>(
        [&] { lookInto(file); },
        "NORV::Tavi::Dimension< NORV::int64 >::check invalid values detected ( " + numbers + " ) ");
  };
  const HeaderBytes fits = HeaderBytes().code(8).shortSize(4, 4, 4);
  expectNegative(HeaderBytes(fits).shortSize(-4, 4, 4), "-4 , 4 , 4");
  expectNegative(HeaderBytes(fits).shortSize(-4, -4, 4), "-4 , -4 , 4");
  expectNegative(HeaderBytes(fits).shortSize(4, 4, -32768), "4 , 4 , -32768");
  expectNegative(HeaderBytes(fits).longSize(1, -2147483647 - 1, 1), "1 , -2147483648 , 1");
  expectNegative(HeaderBytes(fits).imageSize(-1, -1), "-1 , -1 , 1");
  // A description with a zero does not count, negative or not.
  const HeaderBytes header = HeaderBytes(fits).longSize(-1, 0, 5).imageSize(0, -7);
  EXPECT_EQ(lookInto(write(header.with(64)))->outputDimension.value(), Dimension<SizeType>(4, 4, 4));
}

TEST_F(RekTypeReaderFailure, ExtentsBeyondSixtyFourBitsOverflow) {
  const NoFileLeftOpen check;
  constexpr int32 largest = std::numeric_limits<int32>::max();
  const HeaderBytes header = HeaderBytes().code(8).shortSize(4, 4, 4).longSize(largest, largest, largest);
  const std::string file = write(header.with(64));
  expectStandard<std::overflow_error>(
      [&] { lookInto(file); },
      "NORV::Tavi::Dimension< NORV::uint64 >::size current size exceeds to boundarys of NORV::uint64");
  // All descriptions are taken before any is multiplied.
  const std::string both = write(HeaderBytes(header).imageSize(-1, 1).with(64));
  expectStandard<std::out_of_range>(
      [&] { lookInto(both); }, "NORV::Tavi::Dimension< NORV::int64 >::check invalid values detected ( -1 , 1 , 1 ) ");
}

TEST_F(RekTypeReaderFailure, BytesBeyondSixtyFourBitsFitNoFile) {
  const std::string text =
      "NORV::TaviOperators::RekTypeReader::Operator file size does not fit to the dimensions specified in the header";
  // 2^61 voxels of 8 bytes: 0 in 64 bits.
  expectRefused(write(HeaderBytes().code(53).longSize(1 << 30, 1 << 30, 2).with(8)), text);
  // 2^61 + 4 voxels of 8 bytes: 32 in 64 bits.
  expectRefused(write(HeaderBytes().code(53).longSize(1263665316, 1824726041, 1).with(32)), text);
}

TEST_F(RekTypeReaderFailure, FilesWithoutPermissionDoNotOpen) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root may read every file";
  }
  const std::string file = write(HeaderBytes().code(8).shortSize(2, 2, 2).with(8));
  std::filesystem::permissions(file, std::filesystem::perms::none);
  expectRefused(file, "NORV::TaviOperators::RekTypeReader::Operator failed to open file");
}

TEST_F(RekTypeReaderFailure, FailingAllocationsLeaveNothingBehind) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const std::string file = write(HeaderBytes().code(8).shortSize(2, 2, 2).with(8));
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputFilename = file;
  const auto files = openFiles();
  const int failures =
      failEachAllocation([&] { createTyped("NORV::TaviOperators::RekTypeReader::Operator")->apply(parameter); },
                         [&] { EXPECT_EQ(openFiles(), files); });
  EXPECT_GT(failures, 3);
  EXPECT_EQ(openFiles(), files);
  EXPECT_EQ(parameter->outputDimension.value(), Dimension<SizeType>(2, 2, 2));
}

}  // namespace
}  // namespace NORV::Tests
