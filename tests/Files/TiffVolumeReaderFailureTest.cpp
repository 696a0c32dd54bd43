#include "TiffFiles.hpp"

#include <sys/stat.h>
#include <tiffio.h>

#include <cstdarg>
#include <random>
#include <thread>

namespace NORV::Tests {
namespace {

using Frame = TaviOperators::DLL::TiffVolumeReader::Operator;
using Exceptions::FileOpen;
using Exceptions::FileRead;

class TiffVolumeReaderFailure : public TiffFiles {
protected:
  /// Requires the failure of the typed reader, with the file closed and the host's volume as it was.
  template <class Failure>
  void expectReadFailure(const std::string& file, const std::string& text,
                         const std::source_location& place = std::source_location::current()) const {
    const NoFileLeftOpen check(place);
    const TestVolume<uint8> output({3, 2, 1});
    const auto parameter = toRead(file, output);
    expectFailure<Failure>([&] { typedReader<uint8>()->apply(parameter); }, text, inReader, place);
    EXPECT_EQ(parameter->outputDescription.value(), "");
  }
  /// The same for an image that cannot be decoded.
  void expectUnreadable(const std::string& file,
                        const std::source_location& place = std::source_location::current()) const {
    expectReadFailure<FileRead>(file, "Couldn't read from file '" + file + "'!", place);
  }
  void expectUnopened(const std::string& file,
                      const std::source_location& place = std::source_location::current()) const {
    const NoFileLeftOpen check(place);
    const std::string text = "Couldn't open file '" + file + "'!";
    expectFailure<FileOpen>([&] { typedReader<uint8>()->apply(toRead(file)); }, text, inReader, place);
    expectFailure<FileOpen>([&] { typeOf(file); }, text, inTypeReader, place);
    expectFailure<FileOpen>([&] { listOf(file); }, text, inListReader, place);
    expectFailure<FileOpen>([&] { Frame().apply(toRead(file)); }, text, inTypeReader, place);
  }
};

TEST_F(TiffVolumeReaderFailure, FileNamesAreCheckedByEachOperator) {
  const std::string empty = " input filename is empty", invalid = " input filename is invalid";
  for (const auto& refused : std::vector<std::pair<std::string, std::string>>{{"", empty}, {"a=b.tif", invalid}}) {
    const std::string &name = refused.first, &words = refused.second;  // clang captures no structured binding here
    expectRefusal([&] { typedReader<uint16>()->apply(toRead(name)); }, inReader + words);
    expectRefusal([&] { Frame().apply(toRead(name)); }, inTypeReader + words);
    expectRefusal([&] { typeOf(name); }, inTypeReader + words);
    expectRefusal([&] { listOf(name); }, inListReader + words);
  }
}

TEST_F(TiffVolumeReaderFailure, AnotherParameterObjectIsRefused) {
  for (const SmartPointer<IComposite>& other :
       {SmartPointer<IComposite>(new WriteParameter), SmartPointer<IComposite>()}) {
    expectRefusal([&] { typedReader<uint8>()->apply(other); }, inReader);
    expectRefusal([&] { createTyped(typeReaderName)->apply(other); }, inTypeReader);
    expectRefusal([&] { createTyped(listReaderName)->apply(other); }, inListReader);
  }
  expectRefusal([&] { Frame().apply(SmartPointer<IComposite>(new WriteParameter)); },
                "NORV::TaviOperators::DLL::TiffVolumeReader::Operator::getOperatorTypeFromParameterObject: invalid "
                "parameter object!");
}

TEST_F(TiffVolumeReaderFailure, WhatIsNoTiffFileDoesNotOpen) {
  expectUnopened(folder / "absent.tif");
  expectUnopened(folder.path());
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  expectUnopened(pipe);
  for (const std::string& bytes : {std::string(), std::string("II*"), std::string("II*\0\0\0\0\0", 8),
                                   std::string("II*\0\x08\0\0\0", 8), std::string(100, 'x')}) {
    expectUnopened(write(bytes));
  }
}

TEST_F(TiffVolumeReaderFailure, SecondPageOnePixelWiderIsNoVolume) {
  expectNoVolume(write({greyPage(2, 2, 8, "abcd"), greyPage(3, 2, 8, "abcdef")}));
}

TEST_F(TiffVolumeReaderFailure, EachDifferenceBetweenPagesButCompressionIsNoVolume) {
  const TiffPage page = greyPage(2, 2, 8, "abcd").resolution(2, 10, 20).set(274, 1).set(284, 1);
  for (const TiffPage& other :
       {greyPage(2, 1, 8, "ab").resolution(2, 10, 20), greyPage(2, 2, 16, "abcdefgh").resolution(2, 10, 20),
        TiffPage(page).set(274, 2), TiffPage(page).resolution(2, 11, 20), TiffPage(page).resolution(2, 10, 21),
        TiffPage(page).resolution(3, 10, 20), TiffPage(page).set(284, 2), TiffPage(page).set(262, 0),
        TiffPage(page).without(282)}) {
    expectNoVolume(write({page, page, other, page}));
    expectFailure<Exceptions::InvalidData>([&] { typeOf(write({other, page})); }, noVolume, inTypeReader);
  }
  TiffPage packed = TiffPage(page).set(259, 32773);
  packed.strips = {std::string("\xFDq", 2)};
  const auto parameter = toRead(write({page, packed}));
  Frame().apply(parameter);
  expectSameVoxels(voxelsRead<uint8>(parameter), {'a', 'b', 'c', 'd', 'q', 'q', 'q', 'q'});
}

TEST_F(TiffVolumeReaderFailure, ColourIsAnotherVoxelType) {
  const std::string words = " Voxel type of file is not equal to operator's voxel type";
  TiffPage colour = greyPage(1, 2, 8, "abcdef").set(277, 3).set(258, TiffEntry::of(shorts, {8, 8, 8})).set(262, 2);
  colour.set(278, 2);
  // Also where the pages are no volume either, and only in the first page.
  for (const std::vector<TiffPage>& pages : {std::vector{colour}, {colour, greyPage(9, 9, 8, std::string(81, 'x'))}}) {
    const std::string file = write(pages);
    expectRefusal([&] { typedReader<uint8>()->apply(toRead(file)); }, inReader + words);
    expectRefusal([&] { typeOf(file); }, inTypeReader + words);
    expectRefusal([&] { Frame().apply(toRead(file)); }, inTypeReader + words);
  }
  expectNoVolume(write({greyPage(1, 2, 8, "ab"), colour}));
}

TEST_F(TiffVolumeReaderFailure, OtherBitsAreAnotherVoxelType) {
  const std::string words = inReader + " Voxel type of file is not equal to operator's voxel type";
  const std::string file = write({greyPage(2, 2, 16, "abcdefgh")});
  expectRefusal([&] { typedReader<uint8>()->apply(toRead(file)); }, words);
  expectRefusal([&] { typedReader<uint32>()->apply(toRead(file)); }, words);
}

TEST_F(TiffVolumeReaderFailure, OtherCountsOfBitsAreNotSupported) {
  for (const uint16 bits : std::initializer_list<uint16>{1, 4, 24, 64}) {
    const std::string file = write({greyPage(8, 2, bits, std::string(2u * bits, 'x'))});
    expectFailure<Exceptions::InvalidData>([&] { typeOf(file); }, "Format not supported!", inTypeReader);
    expectFailure<Exceptions::InvalidData>([&] { Frame().apply(toRead(file)); }, "Format not supported!", inTypeReader);
  }
}

TEST_F(TiffVolumeReaderFailure, OutputOfAnotherVoxelTypeIsRefused) {
  const TestVolume<int8> output({2, 2, 1});
  expectRefusal([&] { Frame().apply(toRead(write({greyPage(2, 2, 8, "abcd")}), output)); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
}

TEST_F(TiffVolumeReaderFailure, CyclicDirectoriesEndInAFailure) {
  for (const std::size_t target : {0u, 1u, 2u}) {
    TiffLayout layout;
    for (int i = 0; i < 3; ++i) {
      layout.add(greyPage(2, 2, 8, "abcd"));
    }
    const std::string file = write(layout.link(layout.directories[target]).bytes());
    const NoFileLeftOpen check;
    expectNoVolume(file);
    expectFailure<FileRead>([&] { listOf(file); }, "Couldn't read from file '" + file + "'!", inListReader);
  }
}

TEST_F(TiffVolumeReaderFailure, AChainThatLeadsOutOfTheFileEndsInAFailure) {
  TiffLayout layout;
  layout.add(greyPage(2, 2, 8, "abcd"));
  for (const std::size_t target : {layout.bytes().size(), std::size_t{0xFFFFFFF0}, std::size_t{4}}) {
    TiffLayout broken = layout;
    const std::string file = write(broken.link(target).bytes());
    expectNoVolume(file);
    expectFailure<FileRead>([&] { listOf(file); }, "Couldn't read from file '" + file + "'!", inListReader);
  }
}

TEST_F(TiffVolumeReaderFailure, ExtentsThatNoFileOfThisSizeHoldsAreRefusedWithoutMemory) {
  struct Case {
    uint32 width, height;
    uint16 compression;
  };
  for (const Case& one : {Case{0xFFFFFFFF, 0xFFFFFFFF, 1}, Case{0x80000000, 2, 1}, Case{100000, 100000, 5},
                          Case{0xFFFFFFFF, 0xFFFFFFFF, 5}, Case{20000, 20000, 8}, Case{10000, 1000, 32773},
                          Case{0xFFFFFFFF, 0xFFFFFFFF, 50000}}) {
    TiffPage page = greyPage(1, 1, 8, "a").set(259, one.compression);
    page.set(256, TiffEntry::of(longs, {one.width})).set(257, TiffEntry::of(longs, {one.height}));
    page.set(278, TiffEntry::of(longs, {one.height}));
    const std::string file = write({page});
    std::int64_t bytes = 0;
    try {
      bytes = extraBytesOf([&] { typedReader<uint8>()->apply(toRead(file)); });
      ADD_FAILURE() << "nothing was thrown";
    } catch (const Exceptions::InvalidData& failure) {
      EXPECT_STREQ(failure.getErrorMessage(), noVolume) << one.width;
    } catch (const FileOpen&) {  // what libtiff itself refuses
    }
    EXPECT_LT(bytes, 1 << 20);
  }
}

TEST_F(TiffVolumeReaderFailure, PagesThatShareTheirVoxelsAreNotMultiplied) {
  TiffPage page = greyPage(64, 64, 8, std::string(64 * 64, 'x'));
  TiffLayout layout;
  layout.add(page);
  page.strips.clear();
  page.set(273, TiffEntry::of(longs, {8})).set(279, TiffEntry::of(longs, {64 * 64}));
  for (int i = 0; i < 1000; ++i) {
    layout.add(page);
  }
  expectReadFailure<Exceptions::InvalidData>(write(layout.bytes()), noVolume);
}

TEST_F(TiffVolumeReaderFailure, DirectoriesThatShareALongTextCostNoMoreThanTheFileIsWorth) {
  TiffPage page = greyPage(2, 2, 8, "abcd").set(270, TiffEntry::of(std::string(1'000'000, 't')));
  TiffLayout layout;
  layout.add(page);
  const auto text = static_cast<uint64>(layout.bytes().find(std::string(1000, 't')));
  TiffEntry shared = TiffEntry::of(longs, {text});
  shared.type = ascii;
  shared.count = 1'000'001;
  shared.numbers = {text};
  for (int i = 0; i < 1000; ++i) {
    layout.add(greyPage(2, 2, 8, "abcd").set(270, shared));
  }
  const std::string file = write(layout.bytes());
  std::int64_t bytes = 0;
  expectFailure<FileRead>(
      [&] {
        startPeak();
        bytes = bytesInUse();
        listOf(file);
      },
      "Couldn't read from file '" + file + "'!", inListReader);
  EXPECT_LT(peakOfBytesInUse() - bytes, 100'000'000);
  expectNoVolume(file);
}

TEST_F(TiffVolumeReaderFailure, StripsThatAreNotThereOrDoNotFillTheSliceAreUnreadable) {
  const std::string voxels(6 * 4, 'v');
  const TiffPage page = greyPage(6, 4, 8, voxels, 2);
  for (const uint64 offset : {uint64{0xFFFFFFFF}, uint64{100000}}) {
    expectUnreadable(write({TiffPage(page).set(273, TiffEntry::of(longs, {8, offset}))}));
  }
  expectUnreadable(write(
      {TiffPage(page).set(279, TiffEntry::of(longs, {12, 0xFFFFFFFF})).set(273, TiffEntry::of(longs, {8, 300}))}));
  TiffPage packed = greyPage(6, 4, 8, "", 4).set(259, 32773);
  packed.strips = {std::string("\xF9q", 2)};  // 8 of 24 voxels
  expectUnreadable(write({packed}));
  packed = greyPage(6, 4, 8, "", 4).set(259, 5);
  packed.strips = {"no codes at all"};
  expectUnreadable(write({packed}));
  TiffPage tiled = greyPage(6, 4, 8, "").without(278);
  tiled.strips = {};
  tiled.set(322, 16).set(323, 16).set(324, TiffEntry::of(longs, {8})).set(325, TiffEntry::of(longs, {256}));
  const std::string file = write(std::string("II*\0\x08\1\0\0", 8) + std::string(256, 't') +
                                 layOut({tiled.without(273).without(279)}).substr(8));
  try {
    typedReader<uint8>()->apply(toRead(file));
    ADD_FAILURE() << "tiles are no strips";
  } catch (const Exceptions::Exception&) {
  }
}

TEST_F(TiffVolumeReaderFailure, EveryPrefixOfAFileFails) {
  TiffPage page = greyPage(4, 3, 8, "abcdefghijkl", 2).set(270, TiffEntry::of("some text")).resolution(3, 10, 20);
  const std::string whole = layOut({page, page, page});
  const NoFileLeftOpen check;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::string file = write(whole.substr(0, size));
    try {
      const auto parameter = toRead(file);
      Frame().apply(parameter);
      // What is cut off may be an optional value only.
      EXPECT_EQ(parameter->outputVolume.value()->getDimTert(), 3u) << size;
      EXPECT_EQ(bytesOf(voxelsRead<uint8>(parameter)), "abcdefghijklabcdefghijklabcdefghijkl") << size;
    } catch (const Exceptions::Exception&) {
    }
  }
}

TEST_F(TiffVolumeReaderFailure, ChangedBytesNeverCrash) {
  TiffPage page =
      greyPage(4, 3, 16, "abcdefghijklmnopqrstuvwx", 2).set(270, TiffEntry::of(metaText("1", "2", "3", "d")));
  const std::string whole = layOut({page.resolution(3, 10, 20), page});
  std::mt19937 random(3);
  const NoFileLeftOpen check;
  for (int i = 0; i < 1000; ++i) {
    std::string bytes = whole;
    for (unsigned change = 0; change <= random() % 3; ++change) {
      bytes[random() % bytes.size()] = static_cast<char>(random() % 2 == 0 ? random() : 255);
    }
    const std::string file = write(bytes);
    try {
      listOf(file);
    } catch (const Exceptions::Exception&) {
    }
    try {
      Frame().apply(toRead(file));
    } catch (const Exceptions::Exception&) {
    } catch (const std::exception&) {
    }
  }
}

int callsOfTheHost = 0;
void countCalls(const char*, const char*, std::va_list) { ++callsOfTheHost; }

TEST_F(TiffVolumeReaderFailure, MessagesOfTheLibraryReachTheFailureButNeitherTerminalNorHost) {
  callsOfTheHost = 0;
  const auto error = TIFFSetErrorHandler(&countCalls), warning = TIFFSetWarningHandler(&countCalls);
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  TiffPage packed = greyPage(6, 4, 8, "", 4).set(259, 5).set(65000, 1);  // an unknown tag gives a warning
  packed.strips = {"no codes at all"};
  bool wasThrown = false;
  try {
    Frame().apply(toRead(write({packed})));
  } catch (const FileRead& failure) {
    wasThrown = true;
    EXPECT_GT(failure.getNumberOfAdditionalInformation(), 0u);
    for (const std::string& text : failure.getAdditionalInformation()) {
      EXPECT_EQ(text.substr(0, 9), "libtiff: ") << text;
    }
  }
  EXPECT_TRUE(wasThrown);
  try {
    Frame().apply(toRead(write(std::string(100, 'x'))));
    ADD_FAILURE() << "nothing was thrown";
  } catch (const FileOpen& failure) {
    EXPECT_GT(failure.getNumberOfAdditionalInformation(), 0u);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(callsOfTheHost, 0);
  EXPECT_EQ(TIFFSetErrorHandler(error), &countCalls);
  EXPECT_EQ(TIFFSetWarningHandler(warning), &countCalls);
}

TEST_F(TiffVolumeReaderFailure, FailingAllocationsLeaveNothingBehind) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const std::string file = write(
      {greyPage(2, 2, 8, "abcd").set(270, TiffEntry::of(metaText("1", "2", "3", "d"))), greyPage(2, 2, 8, "efgh")});
  const TestVolume<uint8> output({2, 2, 2}, regionLayout);
  const auto parameter = toRead(file, output);
  Frame frame;
  frame.apply(parameter);
  const auto files = openFiles();
  const auto regions = output.volume()->getRoiStack();
  const int failures = failEachAllocation([&] { frame.apply(parameter); },
                                          [&] {
                                            EXPECT_EQ(openFiles(), files);
                                            EXPECT_TRUE(output.volume()->getRoiStack() == regions);
                                          });
  EXPECT_GT(failures, 3);
  expectSameVoxels(output.voxels(), {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'});
}

}  // namespace
}  // namespace NORV::Tests
