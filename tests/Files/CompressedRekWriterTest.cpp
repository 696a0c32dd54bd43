#include "CompressedRek.hpp"
#include "support/FullDisk.hpp"
#include "support/HostMemory.hpp"

#include <filesystem>
#include <thread>

namespace NORV::Tests {
namespace {

using CompressedRekWriter = CompressedRek;
using CompressedRekWriterFailure = CompressedRek;

TEST_P(CompressedRekWriter, ParameterHasTheKeysOfThePlainFormInOrder) {
  const auto parameter = form().parameter("Writer");
  ASSERT_EQ(parameter->getNumberOfKeys(), 3u);
  EXPECT_EQ(parameter->getKey(0), "inputFilename");
  EXPECT_EQ(parameter->getKey(1), "inputVolume");
  EXPECT_EQ(parameter->getKey(2), "inputHeader");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::" + form().name + "Writer::Parameter");
}

TEST_P(CompressedRekWriter, HasEightInstances) {
  EXPECT_EQ(countRegistered("NORV::TaviOperators::" + form().name + "Writer::Operator< "), 8u);
  forEachVoxelType([this]<class T>() { EXPECT_TRUE(isRegistered(form().writer(volumeIdentifier<T>()))); });
}

TEST_P(CompressedRekWriter, EveryKindOfViewComesBack) {
  const NoFileLeftOpen check;
  const std::string file = folder / ("volume.rek." + form().extension);
  forEachVoxelType([&]<class T>() {
    const std::vector<T> voxels = mixedValues<T>(5 * 4 * 3, 9);
    const std::string expected = written(HeaderBytes(), rekTypeOf<T>().code, {5, 4, 3}, "gz").with(bytesOf(voxels));
    for (const Layout& layout : allLayouts()) {
      const testing::ScopedTrace trace(__FILE__, __LINE__, layout.name());
      const TestVolume<T> input({5, 4, 3}, layout);
      input.fill(voxels);
      const auto regions = input.volume()->getRoiStack();
      const auto frame = form().writerFrame();
      frame->apply(form().writing(file, input));
      EXPECT_TRUE(form().unpack(readFile(file)) == expected);
      EXPECT_EQ(frame->getProgress().getProgress(), 1.0);
      EXPECT_TRUE(input.volume()->getRoiStack() == regions);
      input.expectUntouchedOutside();
    }
    const auto parameter = form().reading(file);
    form().readerFrame()->apply(parameter);
    expectSameVoxels(voxelsOf(SmartPointer<Volume<T>>(VolumePtr<T>(volumeIn(parameter)))), voxels);
  });
}

TEST_P(CompressedRekWriter, TheExtensionDecidesWhichFieldsHoldTheExtents) {
  for (const auto& [name, extension] : {std::pair<std::string, std::string>{"a.rek", "rek"},
                                        {"a.REK", "rek"},
                                        {"a.raw", "raw"},
                                        {"a.rek.gz", "gz"},
                                        {"a.rek.lz4", "lz4"},
                                        {"a", ""},
                                        {"a.", ""},
                                        {"a.gz.rek", "rek"}}) {
    for (const Extents& extents :
         {Extents{4, 10, 3}, Extents{40000, 10, 1}, Extents{2, 40000, 3}, Extents{32767, 1, 1}, Extents{1, 1, 32768}}) {
      const TestVolume<uint8> input(extents);
      form().writerFrame()->apply(form().writing(folder / name, input));
      EXPECT_TRUE(form().unpack(readFile(folder / name)).substr(0, 2048) ==
                  written(HeaderBytes(), 8, extents, extension).bytes())
          << name;
    }
  }
}

TEST_P(CompressedRekWriter, AGivenHeaderKeepsAllThatIsNotWritten) {
  HeaderBytes given(std::string(2048, '\x5A'));
  given.shortSize(11, 12, 13).longSize(21, 22, 23).imageSize(31, 32);
  const TestVolume<int16> input({40000, 2, 1});
  const auto parameter = form().writing(folder / "a.raw", input);
  parameter->setValue("inputHeader", SmartPointer<IComposite>(headerOf(given)));
  form().writerFrame()->apply(parameter);
  EXPECT_TRUE(form().unpack(readFile(folder / "a.raw")) ==
              written(given, 15, {40000, 2, 1}, "raw").with(bytesOf(input.voxels())));
}

TEST_P(CompressedRekWriter, ReplacesALongerFile) {
  const std::string file = write(std::string(100000, 'x'));
  const TestVolume<uint8> input({2, 2, 2});
  form().writerFrame()->apply(form().writing(file, input));
  EXPECT_LT(std::filesystem::file_size(file), 1000u);
}

TEST_P(CompressedRekWriter, AnEmptyVolumeIsAHeaderOfZeroExtents) {
  const NoFileLeftOpen check;
  const std::string file = folder / "a.rek";
  form().writerFrame()->apply(form().writing(file, SmartPointer<IVolume>(VolumePtr<uint16>(new Volume<uint16>))));
  EXPECT_TRUE(form().unpack(readFile(file)) == HeaderBytes().code(16).bytes());
  expectStandard<std::runtime_error>([&] { form().readerFrame()->apply(form().reading(file)); },
                                     form().typeReader() + " cannot read volume dimensions");
}

TEST_P(CompressedRekWriter, AbortedInTheMiddleLeavesWholeSlices) {
  constexpr SizeType slices = 1'000'000;
  for (const Layout& layout : {denseLayout, Layout{{1, 2, 4}}}) {
    const NoFileLeftOpen check;
    const std::string file = folder / "a.rek";
    const TestVolume<uint8> input({3, 1, slices}, layout, uint8('v'));
    const auto writer = createTyped(form().writer(byteVolume));
    std::thread run([&] { writer->apply(form().writing(file, input)); });
    while (writer->getProgress().getProgress() == 0.0) {
      std::this_thread::yield();
    }
    writer->abort();
    run.join();
    const std::string content = form().unpack(readFile(file));
    const SizeType voxels = content.size() - 2048;
    EXPECT_GT(voxels, 0u);
    EXPECT_LT(voxels, 3 * slices);
    EXPECT_EQ(voxels % 3, 0u);
    EXPECT_TRUE(content == written(HeaderBytes(), 8, {3, 1, slices}, "rek").with(std::string(voxels, 'v')));
    EXPECT_DOUBLE_EQ(writer->getProgress().getProgress(),
                     static_cast<double>(voxels / 3) / static_cast<double>(slices));
  }
}

TEST_P(CompressedRekWriter, ViewsTakeOneSliceOfExtraMemory) {
  const std::string file = folder / "a.rek";
  const TestVolume<uint16> input({1000, 1000, 3}, Layout{{1, 2, 4}});
  const auto extra = extraBytesOf([&] { form().writerFrame()->apply(form().writing(file, input)); });
  EXPECT_LT(extra, 5 << 20);  // 2 MB of voxels and as much of encoded bytes
}

TEST_P(CompressedRekWriterFailure, FileNamesAndVolumeAreCheckedInOrderBeforeTheFileIsTouched) {
  const NoFileLeftOpen check;
  const std::string name = form().writer(byteVolume);
  const auto writer = createTyped(name);
  const SmartPointer<IVolume> none;
  expectStandard<std::invalid_argument>([&] { writer->apply(form().writing("", none)); },
                                        name + " input filename is empty");
  expectStandard<std::invalid_argument>([&] { writer->apply(form().writing("a=b.rek", none)); },
                                        name + " input filename is invalid");
  const std::string file = write("precious");
  expectStandard<std::invalid_argument>([&] { writer->apply(form().writing(file, none)); },
                                        name + " missing input volume");
  const TestVolume<int8> other({2, 2, 2});
  expectStandard<std::invalid_argument>([&] { writer->apply(form().writing(file, other)); },
                                        name + " missing input volume");
  EXPECT_EQ(readFile(file), "precious");
}

TEST_P(CompressedRekWriterFailure, TheFrameReportsWhatItIsNotGiven) {
  const std::string where =
      "NORV::TaviOperators::DLL::" + form().name + "Writer::Operator::getOperatorTypeFromParameterObject: ";
  expectRefusal([&] { form().writerFrame()->apply(form().writing("a.rek", SmartPointer<IVolume>())); },
                where + "inputVolume or outputVolume is NULL!");
  for (const SmartPointer<IComposite>& other :
       {SmartPointer<IComposite>(new Data<int32>(1)), SmartPointer<IComposite>(new TaviOperators::RekWriter::Parameter),
        form().parameter("Reader")}) {
    expectRefusal([&] { form().writerFrame()->apply(other); }, where + "invalid parameter object!");
    expectRefusal([&] { createTyped(form().writer(byteVolume))->apply(other); },
                  "NORV::TaviOperators::" + form().name + "Writer::Operator::apply");
  }
}

TEST_P(CompressedRekWriterFailure, WhatCannotBeWrittenDoesNotOpen) {
  const NoFileLeftOpen check;
  const TestVolume<uint8> input({2, 2, 2});
  for (const std::string& name : {folder / "absent/a.rek", folder.path()}) {
    expectStandard<std::runtime_error>([&] { form().writerFrame()->apply(form().writing(name, input)); },
                                       form().writer(byteVolume) + " failed to open file");
  }
}

TEST_P(CompressedRekWriterFailure, AFullDiskIsReportedHoweverSmallTheVolume) {
  const NoFileLeftOpen check;
  const std::string name = form().writer(byteVolume);
  const std::string text = form().name == "RekGz" ? name + " could not write raw data" : "Could not write to file";
  for (const Layout& layout : {denseLayout, regionLayout}) {
    for (const Extents& extents : {Extents{2, 2, 2}, Extents{300, 200, 20}}) {
      const TestVolume<uint8> input(extents, layout);
      input.fill(mixedValues<uint8>(99991));
      expectStandard<std::runtime_error>([&] { form().writerFrame()->apply(form().writing("/dev/full", input)); },
                                         text);
    }
  }
  const TestVolume<uint8> input({300, 200, 20});
  input.fill(mixedValues<uint8>(99991));
  const std::string file = folder / "a.rek";
  form().writerFrame()->apply(form().writing(file, input));
  const std::string whole = readFile(file);
  for (const std::size_t room : {std::size_t{0}, std::size_t{1}, std::size_t{1000}, whole.size() - 1}) {
    {
      const FullDisk disk(room);
      expectStandard<std::runtime_error>([&] { form().writerFrame()->apply(form().writing(file, input)); }, text);
    }
    EXPECT_TRUE(readFile(file) == whole.substr(0, room));
  }
}

TEST_P(CompressedRekWriterFailure, ExtentsBeyondThirtyTwoBitsOverflow) {
  const NoFileLeftOpen check;
  const SmartPointer<IVolume> input(untouchableVolume<uint8>({1, 2147483648u, 1}));
  expectStandard<std::overflow_error>(
      [&] { form().writerFrame()->apply(form().writing(folder / "a.rek.gz", input)); },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
}

TEST_P(CompressedRekWriterFailure, FailingAllocationsLeaveNothingBehind) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const std::string file = folder / "a.rek";
  const TestVolume<uint8> input({4, 2, 2}, regionLayout);
  const auto parameter = form().writing(file, input);
  const auto frame = form().writerFrame();
  frame->apply(parameter);
  const std::string expected = readFile(file);
  const auto files = openFiles();
  const int failures = failEachAllocation([&] { frame->apply(parameter); }, [&] { EXPECT_EQ(openFiles(), files); });
  EXPECT_GT(failures, 3);
  EXPECT_TRUE(readFile(file) == expected);
}

INSTANTIATE_TEST_SUITE_P(Files, CompressedRekWriter, testing::Values(&gzipForm, &lz4Form), nameOf);
INSTANTIATE_TEST_SUITE_P(Files, CompressedRekWriterFailure, testing::Values(&gzipForm, &lz4Form), nameOf);

}  // namespace
}  // namespace NORV::Tests
