#include "TiffFiles.hpp"
#include "support/FullDisk.hpp"
#include "support/HostMemory.hpp"

#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <clocale>
#include <limits>
#include <thread>

namespace NORV::Tests {
namespace {

using Frame = TaviOperators::DLL::TiffVolumeWriter::Operator;
using ReaderFrame = TaviOperators::DLL::TiffVolumeReader::Operator;
using Tavi::Dimension;
using Sizes = Tavi::Triple<float32>;

class TiffVolumeWriter : public TiffFiles {
protected:
  std::vector<ParsedPage> parsed(const SmartPointer<WriteParameter>& parameter) const {
    Frame().apply(parameter);
    return takeApart(readFile(parameter->inputFilename.value()));
  }
  const std::string file = folder / "a.tif";
};
class TiffVolumeWriterFailure : public TiffVolumeWriter {};

/// The voxels of a slice of the view.
template <class T>
std::string sliceOf(const TestVolume<T>& volume, const Extents& extents, std::size_t slice) {
  const std::size_t bytes = extents[0] * extents[1] * sizeof(T);
  return bytesOf(volume.voxels()).substr(slice * bytes, bytes);
}

const std::vector<uint16> plainTags{256, 257, 258, 259, 262, 270, 273, 274, 277, 279, 284, 296};

TEST_F(TiffVolumeWriter, IsRegisteredForThreeVoxelTypes) {
  forEachTiffType([]<class T>() { EXPECT_TRUE(isRegistered(typedIdentifier<T>("TiffVolumeWriter"))); });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::TiffVolumeWriter::Operator< "), 3u);
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::TiffVolumeWriter::Parameter"));
}

TEST_F(TiffVolumeWriter, KeysStandInTheirOrderWithTheirDefaults) {
  const auto parameter = makeParameter<WriteParameter>();
  const std::vector<std::string> keys{"inputVolume",      "inputFilename", "inputVoxelSize_mm",
                                      "inputCompression", "inputSoftware", "inputDescription"};
  ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter->getKey(i), keys[i]);
  }
  EXPECT_TRUE(parameter->inputVolume.value() == nullptr);
  EXPECT_EQ(parameter->inputVoxelSize_mm.value(), Sizes(0, 0, 0));
  EXPECT_EQ(parameter->inputCompression.value(), 1);
  EXPECT_EQ(parameter->getValue("inputCompression")->getType(), "NORV::Tavi::Persistence::Data< NORV::uint16 >");
}

TEST_F(TiffVolumeWriter, EachSliceIsADirectoryWithTheseTagsAndOneStrip) {
  const NoFileLeftOpen check;
  forEachTiffType([&]<class T>() {
    for (const Extents& extents : {Extents{1, 1, 1}, Extents{7, 5, 3}, Extents{300, 1, 2}, Extents{1, 70, 4}}) {
      const TestVolume<T> input(extents);
      input.fill(mixedValues<T>(97));
      const auto pages = parsed(toWrite(file, input));
      ASSERT_EQ(pages.size(), extents[2]);
      for (std::size_t z = 0; z < pages.size(); ++z) {
        const ParsedPage& page = pages[z];
        EXPECT_EQ(page.tagNumbers(), plainTags);
        EXPECT_EQ(page.number(256), extents[0]);
        EXPECT_EQ(page.number(257), extents[1]);
        EXPECT_EQ(page.number(258), 8 * sizeof(T));
        EXPECT_EQ(page.number(259), 1u);
        EXPECT_EQ(page.number(262), 1u);
        EXPECT_EQ(page.text(270), metaText("0", "0", "0", "") + std::string(1, '\0'));
        EXPECT_EQ(page.number(274), 1u);
        EXPECT_EQ(page.number(277), 1u);
        EXPECT_EQ(page.number(284), 1u);
        EXPECT_EQ(page.number(296), 1u);
        EXPECT_EQ(page.strips, std::vector<std::string>{sliceOf(input, extents, z)});
      }
    }
  });
}

TEST_F(TiffVolumeWriter, BytesAreThoseOfTheLibraryCalledDirectly) {
  const TestVolume<uint16> input({5, 4, 3});
  input.fill(mixedValues<uint16>(60));
  for (const uint16 compression : {uint16{1}, uint16{5}}) {
    const auto parameter = toWrite(file, input);
    parameter->inputVoxelSize_mm = Sizes(0.1f, 0.05f, 0.2f);
    parameter->inputCompression = compression;
    parameter->inputSoftware = std::string("maker");
    parameter->inputDescription = std::string("told");
    Frame().apply(parameter);
    const std::string direct = folder / "direct.tif";
    TIFF* const tiff = TIFFOpen(direct.c_str(), "w");
    ASSERT_NE(tiff, nullptr);
    const std::string text = metaText("0.100000001", "0.0500000007", "0.200000003", "told");
    for (int z = 0; z < 3; ++z) {
      TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 16);
      TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
      TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, text.c_str());
      TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 4);
      TIFFSetField(tiff, TIFFTAG_ORIENTATION, 1);
      TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, 1);
      TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 100.0);
      TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 200.0);
      TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, 1);
      TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, 3);
      TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
      TIFFSetField(tiff, TIFFTAG_SOFTWARE, "maker");
      TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 5);
      std::string slice = sliceOf(input, {5, 4, 3}, static_cast<std::size_t>(z));
      EXPECT_EQ(TIFFWriteEncodedStrip(tiff, 0, slice.data(), 40), 40);
      if (z < 2) {
        EXPECT_EQ(TIFFWriteDirectory(tiff), 1);
      }
    }
    TIFFClose(tiff);
    EXPECT_TRUE(readFile(file) == readFile(direct)) << compression;
  }
}

TEST_F(TiffVolumeWriter, ResolutionIsSetWhereSizesAreAboveZero) {
  struct Case {
    Sizes size;
    uint64 unit;
    std::optional<std::pair<double, double>> resolution;
  };
  constexpr float32 nan = std::numeric_limits<float32>::quiet_NaN(),
                    infinite = std::numeric_limits<float32>::infinity();
  const TestVolume<uint8> input({2, 2, 1});
  for (const Case& one :
       {Case{{0.1f, 0.05f, 0}, 3, {{100, 200}}}, Case{{0, 0, 1}, 1, {}}, Case{{-1, -2, 1}, 1, {}},
        Case{{0.1f, 0, 0}, 1, {{100, 0}}}, Case{{0, 0.1f, 0}, 1, {{0, 100}}}, Case{{20, 40, 0}, 3, {{0.5, 0.25}}},
        Case{{nan, nan, nan}, 1, {}}, Case{{infinite, infinite, infinite}, 1, {}}}) {
    const auto parameter = toWrite(file, input);
    parameter->inputVoxelSize_mm = one.size;
    const auto pages = parsed(parameter);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_EQ(pages[0].number(296), one.unit);
    EXPECT_EQ(pages[0].tags.count(282), one.resolution.has_value() ? 1u : 0u);
    EXPECT_EQ(pages[0].tags.count(283), one.resolution.has_value() ? 1u : 0u);
    if (one.resolution) {
      const auto value = [&](uint16 tag) {
        return static_cast<double>(pages[0].number(tag, 0)) / static_cast<double>(pages[0].number(tag, 1));
      };
      EXPECT_DOUBLE_EQ(value(282), one.resolution->first);
      EXPECT_DOUBLE_EQ(value(283), one.resolution->second);
    }
  }
}

TEST_F(TiffVolumeWriter, TextsPassThroughTheDocument) {
  const TestVolume<uint8> input({2, 2, 2});
  const std::vector<std::string> texts{"", "plain", "<a b='c'>&amp;\"</a>", "line\nline\ttab\r", "\xC4\xFC\xDF", "  "};
  for (const std::string& text : texts) {
    const auto parameter = toWrite(file, input);
    parameter->inputDescription = text;
    parameter->inputSoftware = text;
    parameter->inputVoxelSize_mm = Sizes(0.123456789f, 1e-30f, 3e30f);
    Frame().apply(parameter);
    const auto read = toRead(file);
    ReaderFrame().apply(read);
    EXPECT_EQ(read->outputDescription.value(), text);
    EXPECT_EQ(read->outputSoftware.value(), text);
    EXPECT_EQ(read->outputVoxelSize_mm.value(), Sizes(0.123456789f, 1e-30f, 3e30f));
  }
}

TEST_F(TiffVolumeWriter, NumbersDoNotDependOnTheLocaleOfTheHost) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  const bool hasComma =
      std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr || std::setlocale(LC_ALL, "fr_FR.UTF-8") != nullptr;
  const TestVolume<uint8> input({2, 2, 1});
  const auto parameter = toWrite(file, input);
  parameter->inputVoxelSize_mm = Sizes(0.5f, 0.25f, 0.125f);
  Frame().apply(parameter);
  const auto read = toRead(file);
  ReaderFrame().apply(read);
  std::setlocale(LC_ALL, before.c_str());
  EXPECT_EQ(read->outputVoxelSize_mm.value(), Sizes(0.5f, 0.25f, 0.125f));
  EXPECT_EQ(takeApart(readFile(file))[0].text(270), metaText("0.5", "0.25", "0.125", "") + std::string(1, '\0'));
  if (!hasComma) {
    GTEST_SKIP() << "no locale with a decimal comma is installed";
  }
}

TEST_F(TiffVolumeWriter, EveryViewIsReadBack) {
  forEachTiffType([&]<class T>() {
    for (const uint16 compression : {uint16{1}, uint16{5}}) {
      for (const Layout& layout : allLayouts()) {
        const TestVolume<T> input({5, 4, 3}, layout);
        input.fill(mixedValues<T>(53));
        const auto regions = input.volume()->getRoiStack();
        const auto parameter = toWrite(file, input);
        parameter->inputCompression = compression;
        Frame frame;
        frame.apply(parameter);
        EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
        EXPECT_TRUE(input.volume()->getRoiStack() == regions);
        const auto read = toRead(file);
        ReaderFrame().apply(read);
        expectSameVoxels(voxelsRead<T>(read), input.voxels());
      }
    }
  });
}

TEST_F(TiffVolumeWriter, LargeCompressedSlicesAreReadBack) {
  const TestVolume<uint16> input({611, 503, 2});
  input.fill(mixedValues<uint16>(9973));
  const auto parameter = toWrite(file, input);
  parameter->inputCompression = uint16{5};
  EXPECT_EQ(parsed(parameter)[0].strips.size(), 1u);
  const auto read = toRead(file);
  ReaderFrame().apply(read);
  expectSameVoxels(voxelsRead<uint16>(read), input.voxels());
  const TestVolume<uint16> constant({2000, 1000, 2});  // as small as the format can make it
  parameter->inputVolume = constant.volume();
  Frame().apply(parameter);
  ReaderFrame().apply(read);
  expectSameVoxels(voxelsRead<uint16>(read), constant.voxels());
}

TEST_F(TiffVolumeWriter, ReplacesALongerFile) {
  writeFile(file, std::string(100000, 'x'));
  const TestVolume<uint8> input({2, 2, 1});
  EXPECT_EQ(parsed(toWrite(file, input)).size(), 1u);
  EXPECT_LT(std::filesystem::file_size(file), 1000u);
}

TEST_F(TiffVolumeWriter, AnEmptyVolumeIsAHeaderOnly) {
  const auto parameter = toWrite(file, SmartPointer<IVolume>(VolumePtr<uint16>(new Tavi::Volume<uint16>)));
  parameter->inputCompression = uint16{2};  // no slice is there to refuse it
  const auto writer = typedWriter<uint16>();
  writer->apply(parameter);
  EXPECT_EQ(readFile(file), std::string("II*\0\0\0\0\0", 8));
  EXPECT_EQ(writer->getProgress().getProgress(), 1.0);
}

TEST_F(TiffVolumeWriter, AbortedInTheMiddleLeavesWholeDirectories) {
  constexpr SizeType slices = 50'000;
  for (const Layout& layout : {denseLayout, Layout{{1, 2, 4}}}) {
    const NoFileLeftOpen check;
    const TestVolume<uint8> input({3, 2, slices}, layout, uint8('v'));
    const auto writer = typedWriter<uint8>();
    std::thread run([&] { writer->apply(toWrite(file, input)); });
    while (writer->getProgress().getProgress() == 0.0) {
      std::this_thread::yield();
    }
    writer->abort();
    run.join();
    const auto pages = takeApart(readFile(file));
    EXPECT_GT(pages.size(), 0u);
    EXPECT_LT(pages.size(), slices);
    for (const ParsedPage& page : pages) {
      ASSERT_EQ(page.tagNumbers(), plainTags);
      ASSERT_EQ(page.strips, std::vector<std::string>{"vvvvvv"});
    }
    EXPECT_EQ(writer->getProgress().getProgress(), 1.0);
    const auto read = toRead(file);
    ReaderFrame().apply(read);
    EXPECT_EQ(read->outputVolume.value()->getDimension(), Dimension<SizeType>(3, 2, pages.size()));
  }
}

TEST_F(TiffVolumeWriter, SeveralWritersMayShareOneVolume) {
  const TestVolume<uint16> input({31, 17, 40}, regionLayout);
  input.fill(mixedValues<uint16>(997));
  Frame().apply(toWrite(file, input));
  const std::string expected = readFile(file);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, name = folder / (std::to_string(i) + ".tif")] {
      Frame().apply(toWrite(name, input));
      ReaderFrame().apply(toRead(name));
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (int i = 0; i < 4; ++i) {
    EXPECT_TRUE(readFile(folder / (std::to_string(i) + ".tif")) == expected) << i;
  }
}

TEST_F(TiffVolumeWriterFailure, VolumeAndFileNamesAreCheckedInOrder) {
  const std::string none = inWriter + " input volume is NULL";
  expectRefusal([&] { Frame().apply(toWrite("", SmartPointer<IVolume>())); }, none);
  expectRefusal([&] { typedWriter<uint8>()->apply(toWrite("", SmartPointer<IVolume>())); }, none);
  const TestVolume<int8> other({2, 2, 2});
  expectRefusal([&] { typedWriter<uint8>()->apply(toWrite("", other)); }, none);
  const TestVolume<uint8> input({2, 2, 2});
  expectRefusal([&] { Frame().apply(toWrite("", input)); }, inWriter + " input filename is empty");
  expectRefusal([&] { Frame().apply(toWrite("a=b.tif", input)); }, inWriter + " input filename is invalid");
}

TEST_F(TiffVolumeWriterFailure, AnotherParameterObjectIsRefused) {
  const SmartPointer<IComposite> other(new ReadParameter);
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::TiffVolumeWriter::Operator::getOperatorTypeFromParameterObject: invalid "
                "parameter object!");
  expectRefusal([&] { typedWriter<uint8>()->apply(other); }, inWriter);
}

TEST_F(TiffVolumeWriterFailure, OtherVoxelTypesHaveNoInstance) {
  const TestVolume<float32> input({2, 2, 2});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(toWrite(file, input)); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier " +
          typedIdentifier<float32>("TiffVolumeWriter") + " is registered");
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(TiffVolumeWriterFailure, OtherCompressionsAreRefusedAndTheFileKeepsItsContent) {
  const NoFileLeftOpen check;
  const TestVolume<uint8> input({2, 2, 2});
  for (const uint16 compression : std::initializer_list<uint16>{0, 2, 3, 4, 6, 8, 32773, 65535}) {
    writeFile(file, "precious");
    const auto parameter = toWrite(file, input);
    parameter->inputCompression = compression;
    expectFailure<Exceptions::InvalidData>([&] { Frame().apply(parameter); },
                                           "Invalid value for TIF tag: TIFFTAG_COMPRESSION",
                                           "NORV::TaviOperators::TiffImageInformation::write");
    EXPECT_EQ(readFile(file), "precious");
  }
}

TEST_F(TiffVolumeWriterFailure, WhatCannotBeCreatedIsNamed) {
  const TestVolume<uint8> input({2, 2, 2});
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& name :
       {folder / "absent/a.tif", std::string(folder.path()), pipe, std::string("/dev/full")}) {
    const NoFileLeftOpen check;
    const auto parameter = toWrite(name, input);
    parameter->inputCompression = uint16{name == pipe ? uint16{2} : uint16{1}};  // the file comes first
    expectFailure<Exceptions::FileCreate>([&] { Frame().apply(parameter); }, "Couldn't create file '" + name + "'!",
                                          inWriter);
  }
  if (geteuid() != 0) {
    writeFile(file, "precious");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    expectFailure<Exceptions::FileCreate>([&] { Frame().apply(toWrite(file, input)); },
                                          "Couldn't create file '" + file + "'!", inWriter);
    EXPECT_EQ(readFile(file), "precious");
  }
}

TEST_F(TiffVolumeWriterFailure, AFullDiskIsNoSilentSuccess) {
  const TestVolume<uint8> input({10, 10, 4});
  Frame().apply(toWrite(file, input));
  const auto whole = std::filesystem::file_size(file);
  const std::string text = "Couldn't write to file '" + file + "'!";
  testing::internal::CaptureStderr();
  for (std::size_t room = 8; room < whole; room += room < 800 ? 7 : 97) {
    const NoFileLeftOpen check;
    const FullDisk disk(room);
    expectFailure<Exceptions::FileWrite>([&] { typedWriter<uint8>()->apply(toWrite(file, input)); }, text, inWriter);
  }
  for (const std::size_t room : {std::size_t{0}, std::size_t{7}}) {
    const FullDisk disk(room);
    expectFailure<Exceptions::FileCreate>([&] { typedWriter<uint8>()->apply(toWrite(file, input)); },
                                          "Couldn't create file '" + file + "'!", inWriter);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  const FullDisk disk(whole);
  typedWriter<uint8>()->apply(toWrite(file, input));
}

TEST_F(TiffVolumeWriterFailure, FilesBeyondFourGibibytesAreRefusedBeforeTheFirstByte) {
  const NoFileLeftOpen check;
  writeFile(file, "precious");
  const auto expectOverflow = [&](const Dimension<SizeType>& extents, const std::string& number) {
    const SmartPointer<IVolume> input(untouchableVolume<uint8>(extents));
    expectStandard<std::overflow_error>(
        [&] { Frame().apply(toWrite(file, input)); },
        "Couldn't cast " + number + " (64 bit unsigned integer) to 32 bit unsigned integer without loss of data!");
    EXPECT_EQ(readFile(file), "precious");
  };
  const SizeType text = metaText("0", "0", "0", "").size();
  expectOverflow({65536, 65536, 1}, std::to_string(8 + 4294967296u + 150 + text));
  expectOverflow({65536, 32768, 2}, std::to_string(8 + 2 * (2147483648u + 150 + text)));
  expectOverflow({1, 1, 100'000'000}, std::to_string(8 + 100'000'000 * (1 + 150 + text)));
  expectOverflow({4294967296u, 1, 1}, "4294967296");
  expectOverflow({1, 4294967296u, 1}, "4294967296");
}

TEST_F(TiffVolumeWriterFailure, FailingAllocationsLeaveNothingBehind) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  for (const Layout& layout : {denseLayout, regionLayout}) {
    const TestVolume<uint8> input({4, 2, 2}, layout);
    input.fill(mixedValues<uint8>(16));
    const auto parameter = toWrite(file, input);
    Frame frame;
    frame.apply(parameter);
    const std::string expected = readFile(file);
    const auto files = openFiles();
    const auto regions = input.volume()->getRoiStack();
    const int failures = failEachAllocation([&] { frame.apply(parameter); },
                                            [&] {
                                              EXPECT_EQ(openFiles(), files);
                                              EXPECT_TRUE(input.volume()->getRoiStack() == regions);
                                            });
    EXPECT_GT(failures, 3);
    EXPECT_TRUE(readFile(file) == expected);
  }
}

}  // namespace
}  // namespace NORV::Tests
