#include "RekFiles.hpp"
#include "support/FullDisk.hpp"
#include "support/HostMemory.hpp"

#include <DLL/RekReader.hpp>
#include <DLL/RekWriter.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <thread>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::RekWriter;
using Frame = TaviOperators::DLL::RekWriter::Operator;

const std::string byteWriter = "NORV::TaviOperators::RekWriter::Operator< " + byteVolume + " >";

SmartPointer<Typed::Parameter> request(const std::string& file, const SmartPointer<IVolume>& input) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputFilename = file;
  parameter->inputVolume = input;
  return parameter;
}

using RekWriter = RekFiles;

class RekWriterFailure : public RekFiles {
protected:
  void expectFailed(IOperator& op, const SmartPointer<Typed::Parameter>& parameter, const std::string& text) const {
    const NoFileLeftOpen check;
    expectStandard<std::runtime_error>([&] { op.apply(parameter); }, text);
  }

  SmartPointer<IOperator> writer = createTyped(byteWriter);
};

TEST_F(RekWriter, ParameterHasItsKeysInOrderAndItsDefaults) {
  const Typed::Parameter parameter;
  ASSERT_EQ(parameter.getNumberOfKeys(), 3u);
  EXPECT_EQ(parameter.getKey(0), "inputFilename");
  EXPECT_EQ(parameter.getKey(1), "inputVolume");
  EXPECT_EQ(parameter.getKey(2), "inputHeader");
  EXPECT_EQ(parameter.inputFilename.value(), "");
  EXPECT_EQ(parameter.inputVolume.value(), nullptr);
  EXPECT_EQ(parameter.inputHeader.value(), nullptr);
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::RekWriter::Parameter");
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::RekWriter::Parameter"));
}

TEST_F(RekWriter, HasEightInstances) {
  EXPECT_EQ(countRegistered("NORV::TaviOperators::RekWriter::Operator< "), 8u);
  forEachVoxelType([]<class T>() { EXPECT_TRUE(isRegistered(typedIdentifier<T>("RekWriter"))); });
}

TEST_F(RekWriter, WritesEveryKindOfViewByteForByte) {
  const NoFileLeftOpen check;
  const std::string file = folder / "volume.rek";
  forEachVoxelType([&]<class T>() {
    const std::vector<T> voxels = mixedValues<T>(5 * 4 * 3, 9);
    const std::string expected = written(HeaderBytes(), rekTypeOf<T>().code, {5, 4, 3}, "rek").with(bytesOf(voxels));
    for (const Layout& layout : allLayouts()) {
      const testing::ScopedTrace trace(__FILE__, __LINE__, layout.name());
      const TestVolume<T> input({5, 4, 3}, layout);
      input.fill(voxels);
      const auto regions = input.volume()->getRoiStack();
      Frame frame;
      frame.apply(request(file, input));
      EXPECT_TRUE(readFile(file) == expected);
      EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
      EXPECT_TRUE(input.volume()->getRoiStack() == regions);
      expectSameVoxels(input.voxels(), voxels);
      input.expectUntouchedOutside();
    }
  });
}

TEST_F(RekWriter, WritesViewsOfSingleRowsColumnsAndSlices) {
  const std::string file = folder / "volume.rek";
  for (const Extents& extents : {Extents{1, 1, 1}, Extents{9, 1, 1}, Extents{1, 9, 1}, Extents{1, 1, 9},
                                 Extents{1, 5, 4}, Extents{5, 1, 4}, Extents{5, 4, 1}}) {
    const auto [x, y, z] = extents;
    const std::vector<float32> voxels = mixedValues<float32>(x * y * z, 5);
    for (const Layout& layout : allLayouts()) {
      const TestVolume<float32> input(extents, layout);
      input.fill(voxels);
      Frame().apply(request(file, input));
      EXPECT_TRUE(readFile(file) == written(HeaderBytes(), 24, extents, "rek").with(bytesOf(voxels)));
    }
  }
}

TEST_F(RekWriter, ReaderGivesBackWhatWasWritten) {
  forEachVoxelType([this]<class T>() {
    for (const std::string name : {"a.rek", "a.raw", "a.dat"}) {
      for (const Extents& extents : {Extents{3, 5, 7}, Extents{40000, 2, 1}, Extents{2, 40000, 1}}) {
        const TestVolume<T> input(extents);
        input.fill(mixedValues<T>(997));
        Frame().apply(request(folder / name, input));
        const auto parameter = makeParameter<TaviOperators::RekReader::Parameter>();
        parameter->inputFilename = folder / name;
        TaviOperators::DLL::RekReader::Operator().apply(parameter);
        const auto [x, y, z] = extents;
        ASSERT_EQ(parameter->outputVolume.value()->getDimension(), Dimension<SizeType>(x, y, z));
        expectSameVoxels(voxelsOf(SmartPointer<Volume<T>>(VolumePtr<T>(parameter->outputVolume.value()))),
                         input.voxels());
      }
    }
  });
}

TEST_F(RekWriter, TheExtensionDecidesWhichFieldsHoldTheExtents) {
  const HeaderBytes plain;
  const auto headerIn = [&](const std::string& name, const Extents& extents) {
    const TestVolume<uint8> input(extents);
    Frame().apply(request(folder / name, input));
    return HeaderBytes(readFile(folder / name).substr(0, 2048));
  };
  const auto expectFields = [&](const std::string& name, const Extents& extents, const Fields& fields) {
    EXPECT_TRUE(headerIn(name, extents).bytes() == fields.header(8).bytes()) << name;
  };
  expectFields("a.rek", {40000, 10, 1}, {{}, {40000, 10, 1}, {}});
  expectFields("a.dat", {40000, 10, 1}, {{}, {40000, 10, 1}, {40000, 10}});
  expectFields("a.raw", {40000, 10, 1}, {{}, {}, {40000, 10}});
  expectFields("a.REK", {40000, 10, 1}, {{}, {40000, 10, 1}, {}});
  expectFields("a.RaW", {40000, 10, 1}, {{}, {}, {40000, 10}});
  expectFields("a", {40000, 10, 1}, {{}, {40000, 10, 1}, {40000, 10}});
  expectFields("a.", {40000, 10, 1}, {{}, {40000, 10, 1}, {40000, 10}});
  expectFields("a.rek.gz", {40000, 10, 1}, {{}, {40000, 10, 1}, {40000, 10}});
  expectFields("a.rek ", {40000, 10, 1}, {{}, {40000, 10, 1}, {40000, 10}});
  expectFields("a.gz.rek", {40000, 10, 1}, {{}, {40000, 10, 1}, {}});
  expectFields("rek", {40000, 10, 1}, {{}, {40000, 10, 1}, {40000, 10}});

  expectFields("a.rek", {4, 10, 3}, {{4, 10, 3}, {4, 10, 3}, {}});
  expectFields("a.raw", {4, 10, 3}, {{4, 10, 3}, {}, {}});
  expectFields("a.dat", {4, 10, 3}, {{4, 10, 3}, {4, 10, 3}, {}});
  expectFields("a.dat", {4, 10, 1}, {{4, 10, 1}, {4, 10, 1}, {}});

  expectFields("a.rek", {2, 40000, 3}, {{}, {2, 40000, 3}, {}});
  expectFields("a.raw", {2, 40000, 3}, {{}, {}, {2, 40000}});
  expectFields("a.dat", {2, 40000, 3}, {{}, {2, 40000, 3}, {}});

  for (const Extents& extents : {Extents{32767, 1, 1}, Extents{1, 32767, 1}, Extents{1, 1, 32767}}) {
    const std::array<int32, 3> all{static_cast<int32>(extents[0]), static_cast<int32>(extents[1]),
                                   static_cast<int32>(extents[2])};
    expectFields("a.rek", extents, {all, all, {}});
    expectFields("a.raw", extents, {all, {}, {}});
  }
  expectFields("a.raw", {32768, 1, 1}, {{}, {}, {32768, 1}});
  expectFields("a.raw", {1, 32768, 1}, {{}, {}, {1, 32768}});
  expectFields("a.raw", {1, 1, 32768}, {{}, {}, {1, 1}});
  expectFields("a.rek", {1, 1, 32768}, {{}, {1, 1, 32768}, {}});
  expectFields("a.dat", {1, 1, 32768}, {{}, {1, 1, 32768}, {}});
}

TEST_F(RekWriter, ADotInAFolderBeginsTheExtensionOfANameWithoutOne) {
  std::filesystem::create_directory(folder / "scan.rek");
  const TestVolume<uint8> input({40000, 1, 1});
  Frame().apply(request(folder / "scan.rek/part", input));
  EXPECT_TRUE(readFile(folder / "scan.rek/part").substr(0, 2048) ==
              (Fields{{}, {40000, 1, 1}, {40000, 1}}).header(8).bytes());
}

TEST_F(RekWriter, AGivenHeaderKeepsAllThatIsNotWritten) {
  const NoFileLeftOpen check;
  HeaderBytes given(std::string(2048, '\x5A'));
  given.shortSize(11, 12, 13).longSize(21, 22, 23).imageSize(31, 32);
  forEachVoxelType([&]<class T>() {
    for (const std::string extension : {"rek", "raw", "dat"}) {
      for (const Extents& extents : {Extents{3, 2, 2}, Extents{40000, 2, 1}, Extents{2, 40000, 2}}) {
        const TestVolume<T> input(extents);
        const std::string file = folder / ("a." + extension);
        const auto parameter = request(file, input);
        parameter->inputHeader = headerOf(given);
        Frame().apply(parameter);
        const HeaderBytes expected = written(given, rekTypeOf<T>().code, extents, extension);
        EXPECT_TRUE(readFile(file) == expected.with(bytesOf(input.voxels()))) << extension;
        EXPECT_EQ(bytesOf(parameter->inputHeader.value()), given.bytes());  // the host's own stays as it is
      }
    }
  });
  HeaderBytes stale = given;
  stale.code(8).longSize(40000, 2, 1);
  EXPECT_EQ(written(given, 8, {40000, 2, 1}, "rek").bytes(), stale.bytes());
}

TEST_F(RekWriter, StaleExtentsAreSettledByTheSizeOfTheFile) {
  const TestVolume<uint8> input({40000, 2, 1});
  const auto parameter = request(folder / "a.rek", input);
  parameter->inputHeader = headerOf(HeaderBytes().shortSize(11, 12, 13));
  Frame().apply(parameter);
  EXPECT_EQ(HeaderBytes(readFile(folder / "a.rek").substr(0, 2048)).get<int16>(6), 13);
  EXPECT_EQ(lookInto(folder / "a.rek")->outputDimension.value(), Dimension<SizeType>(40000, 2, 1));
}

TEST_F(RekWriter, HeaderOfAReaderPassesThrough) {
  HeaderBytes header(std::string(2048, '\x42'));
  header.code(8).shortSize(2, 2, 2).longSize(0, 0, 0).imageSize(0, 0);
  const std::string whole = header.with("abcdefgh");
  const auto reading = makeParameter<TaviOperators::RekReader::Parameter>();
  reading->inputFilename = write(whole, "in.raw");
  TaviOperators::DLL::RekReader::Operator().apply(reading);
  const SmartPointer<IComposite> parameter(new Typed::Parameter);
  parameter->setValue("inputFilename", SmartPointer<IComposite>(new Data<std::string>(folder / "out.raw")));
  parameter->setValue("inputVolume", SmartPointer<IComposite>(reading)->getValue("outputVolume"));
  parameter->setValue("inputHeader", SmartPointer<IComposite>(reading)->getValue("outputHeader"));
  Frame().apply(parameter);
  EXPECT_TRUE(readFile(folder / "out.raw") == whole);
}

TEST_F(RekWriter, ReplacesALongerFile) {
  const std::string file = write(std::string(10000, 'x'));
  const TestVolume<uint8> input({2, 2, 2});
  Frame().apply(request(file, input));
  EXPECT_EQ(std::filesystem::file_size(file), 2056u);
}

TEST_F(RekWriter, AnEmptyVolumeIsAHeaderOfZeroExtents) {
  const NoFileLeftOpen check;
  for (const std::string extension : {"rek", "raw", "dat"}) {
    const std::string file = folder / ("a." + extension);
    const auto parameter = request(file, SmartPointer<IVolume>(VolumePtr<uint16>(new Volume<uint16>)));
    parameter->inputHeader = headerOf(HeaderBytes().imageSize(5, 5));
    Frame().apply(parameter);
    EXPECT_TRUE(readFile(file) == HeaderBytes().code(16).imageSize(5, 5).bytes());
    expectStandard<std::runtime_error>(
        [&] { lookInto(file); }, "NORV::TaviOperators::RekTypeReader::Operator file is smaller than the REK header");
  }
}

TEST_F(RekWriter, AbortedInTheMiddleLeavesWholeSlices) {
  constexpr SizeType slices = 1'000'000;
  for (const Layout& layout : {denseLayout, Layout{{1, 2, 4}}}) {
    const NoFileLeftOpen check;
    const std::string file = folder / "a.rek";
    const TestVolume<uint8> input({3, 1, slices}, layout, uint8('v'));
    const auto writer = createTyped(byteWriter);
    std::thread run([&] { writer->apply(request(file, input)); });
    while (writer->getProgress().getProgress() == 0.0) {
      std::this_thread::yield();
    }
    writer->abort();
    run.join();
    const std::string bytes = readFile(file);
    const SizeType voxels = bytes.size() - 2048;
    EXPECT_GT(voxels, 0u);
    EXPECT_LT(voxels, 3 * slices);
    EXPECT_EQ(voxels % 3, 0u);
    EXPECT_TRUE(bytes == written(HeaderBytes(), 8, {3, 1, slices}, "rek").with(std::string(voxels, 'v')));
    EXPECT_DOUBLE_EQ(writer->getProgress().getProgress(),
                     static_cast<double>(voxels / 3) / static_cast<double>(slices));
  }
}

TEST_F(RekWriter, SeveralWritersMayShareOneVolume) {
  const TestVolume<uint16> input({31, 17, 40}, regionLayout);
  input.fill(mixedValues<uint16>(997));
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, file = folder / (std::to_string(i) + ".rek")] { Frame().apply(request(file, input)); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const std::string expected = written(HeaderBytes(), 16, {31, 17, 40}, "rek").with(bytesOf(input.voxels()));
  for (int i = 0; i < 4; ++i) {
    EXPECT_TRUE(readFile(folder / (std::to_string(i) + ".rek")) == expected) << i;
  }
}

TEST_F(RekWriterFailure, FileNamesAndVolumeAreCheckedInOrderBeforeTheFileIsTouched) {
  const NoFileLeftOpen check;
  const SmartPointer<IVolume> none;
  expectStandard<std::invalid_argument>([&] { writer->apply(request("", none)); },
                                        byteWriter + " input filename is empty");
  expectStandard<std::invalid_argument>([&] { writer->apply(request("a=b.rek", none)); },
                                        byteWriter + " input filename is invalid");
  const std::string file = write("precious");
  expectStandard<std::invalid_argument>([&] { writer->apply(request(file, none)); },
                                        byteWriter + " missing input volume");
  const TestVolume<int8> other({2, 2, 2});
  expectStandard<std::invalid_argument>([&] { writer->apply(request(file, other)); },
                                        byteWriter + " missing input volume");
  EXPECT_EQ(readFile(file), "precious");

  const TestVolume<uint8> input({2, 2, 2});
  expectStandard<std::invalid_argument>([&] { Frame().apply(request("", input)); },
                                        byteWriter + " input filename is empty");
  expectStandard<std::invalid_argument>([&] { Frame().apply(request("a?.rek", input)); },
                                        byteWriter + " input filename is invalid");
}

TEST_F(RekWriterFailure, AMissingVolumeIsReportedByTheFrame) {
  expectRefusal([&] { Frame().apply(request(folder / "a.rek", SmartPointer<IVolume>())); },
                "NORV::TaviOperators::DLL::RekWriter::Operator::getOperatorTypeFromParameterObject: inputVolume or "
                "outputVolume is NULL!");
  expectRefusal([&] { Frame().apply(request("", SmartPointer<IVolume>())); },
                "NORV::TaviOperators::DLL::RekWriter::Operator::getOperatorTypeFromParameterObject: inputVolume or "
                "outputVolume is NULL!");
  EXPECT_FALSE(std::filesystem::exists(folder / "a.rek"));
}

TEST_F(RekWriterFailure, AnotherParameterObjectIsRefused) {
  for (const SmartPointer<IComposite>& other : {SmartPointer<IComposite>(new Data<int32>(1)),
                                                SmartPointer<IComposite>(new TaviOperators::RekReader::Parameter)}) {
    expectRefusal(
        [&] { Frame().apply(other); },
        "NORV::TaviOperators::DLL::RekWriter::Operator::getOperatorTypeFromParameterObject: invalid parameter "
        "object!");
    expectRefusal([&] { writer->apply(other); }, "NORV::TaviOperators::RekWriter::Operator::apply");
  }
  expectRefusal([&] { writer->apply(SmartPointer<IComposite>()); }, "NORV::TaviOperators::RekWriter::Operator::apply");
}

TEST_F(RekWriterFailure, AVolumeOverMemoryOfAnotherHasNoInstance) {
  using External = Tavi::Allocator::ExternalBufferAllocator<Tavi::Allocator::SingleBlockAllocator>;
  const TestVolume<uint8> owner({2, 2, 2});
  const SmartPointer<IVolume> view(new Volume<uint8, External>(owner.volume()));
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(request(folder / "a.rek", view)); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::RekWriter::Operator< NORV::Tavi::Volume< NORV::uint8 , "
      "NORV::Tavi::Allocator::ExternalBufferAllocator< NORV::Tavi::Allocator::SingleBlockAllocator > > > is "
      "registered");
}

TEST_F(RekWriterFailure, WhatCannotBeWrittenDoesNotOpen) {
  const TestVolume<uint8> input({2, 2, 2});
  const std::string text = byteWriter + " failed to open file";
  expectFailed(*writer, request(folder / "absent/a.rek", input), text);
  expectFailed(*writer, request(folder.path(), input), text);
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  expectFailed(*writer, request(pipe, input), text);
  if (geteuid() != 0) {
    const std::string file = write("precious");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    expectFailed(*writer, request(file, input), text);
    EXPECT_EQ(readFile(file), "precious");
  }
}

TEST_F(RekWriterFailure, AFullDeviceTakesNoHeader) {
  const TestVolume<uint8> input({2, 2, 2});
  expectFailed(*writer, request("/dev/full", input), byteWriter + " failed to write REK header");
  Frame frame;
  expectFailed(frame, request("/dev/full", input), byteWriter + " failed to write REK header");
}

TEST_F(RekWriterFailure, AFullDiskKeepsWhatWasWritten) {
  for (const Layout& layout : {denseLayout, regionLayout, Layout{{1, 3, 4}}}) {
    const TestVolume<uint8> input({10, 10, 10}, layout);
    input.fill(mixedValues<uint8>(997));
    const std::string whole = written(HeaderBytes(), 8, {10, 10, 10}, "rek").with(bytesOf(input.voxels()));
    const std::string file = folder / "a.rek";
    const auto regions = input.volume()->getRoiStack();
    for (const std::size_t room : {0u, 1u, 2047u, 2048u, 2049u, 2148u, 2500u, 3047u}) {
      {
        const FullDisk disk(room);
        expectFailed(*writer, request(file, input),
                     byteWriter + (room < 2048 ? " failed to write REK header" : " could not write raw data"));
      }
      EXPECT_TRUE(readFile(file) == whole.substr(0, room)) << room;
      EXPECT_EQ(writer->getProgress().getProgress(), static_cast<double>(room < 2048 ? 0 : (room - 2048) / 100) / 10.0);
      EXPECT_TRUE(input.volume()->getRoiStack() == regions);
    }
    writer->apply(request(file, input));
    EXPECT_TRUE(readFile(file) == whole);
  }
}

TEST_F(RekWriterFailure, ExtentsBeyondThirtyTwoBitsOverflowBeforeTheHeaderIsWritten) {
  const NoFileLeftOpen check;
  const std::string text =
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!";
  for (const auto& extents : {Dimension<SizeType>(2147483648u, 1, 1), Dimension<SizeType>(1, 2147483648u, 1),
                              Dimension<SizeType>(1, 1, 2147483648u)}) {
    const SmartPointer<IVolume> input(untouchableVolume<uint8>(extents));
    for (const std::string name : {"a.rek", "a.dat", "a"}) {
      expectStandard<std::overflow_error>([&] { Frame().apply(request(folder / name, input)); }, text);
      EXPECT_EQ(std::filesystem::file_size(folder / name), 0u);
    }
  }
  const SmartPointer<IVolume> wide(untouchableVolume<uint8>({2147483648u, 1, 1}));
  expectStandard<std::overflow_error>([&] { Frame().apply(request(folder / "a.raw", wide)); }, text);
  const SmartPointer<IVolume> largest(untouchableVolume<uint8>({1, 1, 2147483647u}));
  expectStandard<std::runtime_error>([&] { Frame().apply(request(folder / "a.rek", largest)); },
                                     byteWriter + " could not write raw data");
  EXPECT_TRUE(readFile(folder / "a.rek") == (Fields{{}, {1, 1, 2147483647}, {}}).header(8).bytes());
}

TEST_F(RekWriterFailure, ARawNameStoresNoDepthSoAnyDepthWillDo) {
  const SmartPointer<IVolume> deep(untouchableVolume<uint8>({3, 2, 2147483648u}));
  expectFailed(*writer, request(folder / "a.raw", deep), byteWriter + " could not write raw data");
  EXPECT_TRUE(readFile(folder / "a.raw") == (Fields{{}, {}, {3, 2}}).header(8).bytes());
}

TEST_F(RekWriterFailure, FailingAllocationsLeaveNothingBehind) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const std::string file = folder / "a.rek";
  for (const Layout& layout : {denseLayout, regionLayout}) {
    const TestVolume<uint8> input({4, 2, 2}, layout);
    input.fill(mixedValues<uint8>(16));
    const auto parameter = request(file, input);
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
