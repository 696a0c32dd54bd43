#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"
#include "support/HostMemory.hpp"
#include "support/Operators.hpp"
#include "support/TemporaryDirectory.hpp"
#include "support/Volumes.hpp"

#include <DLL/XscReader.hpp>
#include <Tavi/Exceptions.hpp>
#include <XscReader.hpp>
#include <XscWriter.hpp>

#include <sys/stat.h>

#include <cstring>
#include <filesystem>

namespace NORV::Tests {
namespace {

using Tavi::Dimension;
using Tavi::Volume;
using Tavi::VolumePtr;
using Tavi::Persistence::Data;
using Frame = TaviOperators::DLL::XscReader::Operator;
using TaviOperators::XscReader::Parameter;

const std::string apply = "NORV::TaviOperators::XscReader::Operator::apply";

std::string fileOf(uint16 width, uint16 height, const std::vector<uint16>& voxels) {
  std::vector<uint16> all{width, height};
  all.insert(all.end(), voxels.begin(), voxels.end());
  return {reinterpret_cast<const char*>(all.data()), all.size() * 2};
}

class XscReader : public testing::Test {
protected:
  SmartPointer<Parameter> request(const std::string& bytes) const {
    writeFile(folder / "a.xsc", bytes);
    const auto parameter = makeParameter<Parameter>();
    parameter->inputFilename = folder / "a.xsc";
    return parameter;
  }
  static VolumePtr<uint16> read(const SmartPointer<Parameter>& parameter) {
    Frame().apply(parameter);
    return VolumePtr<uint16>(parameter->outputVolume.value());
  }

  const TemporaryDirectory folder;
};
using XscReaderFailure = XscReader;

TEST_F(XscReader, ParameterHasItsKeysInOrderAndItsDefaults) {
  const Parameter parameter;
  ASSERT_EQ(parameter.getNumberOfKeys(), 2u);
  EXPECT_EQ(parameter.getKey(0), "inputFilename");
  EXPECT_EQ(parameter.getKey(1), "outputVolume");
  EXPECT_EQ(parameter.inputFilename.value(), "");
  EXPECT_EQ(parameter.outputVolume.value(), nullptr);
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::XscReader::Parameter");
}

TEST_F(XscReader, HasOneInstance) {
  EXPECT_EQ(countRegistered("NORV::TaviOperators::XscReader::Operator< "), 1u);
  EXPECT_TRUE(isRegistered(typedIdentifier<uint16>("XscReader")));
}

TEST_F(XscReader, MakesAVolumeOfOneSlice) {
  const NoFileLeftOpen check;
  const std::vector<uint16> voxels = mixedValues<uint16>(15);
  const auto parameter = request(fileOf(5, 3, voxels));
  Frame frame;
  frame.apply(parameter);
  const VolumePtr<uint16> volume(parameter->outputVolume.value());
  EXPECT_EQ(volume->getDimension(), Dimension<SizeType>(5, 3, 1));
  expectSameVoxels(voxelsOf(SmartPointer<Volume<uint16>>(volume)), voxels);
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
}

TEST_F(XscReader, FillsEveryKindOfViewAndNothingElse) {
  const std::vector<uint16> voxels = mixedValues<uint16>(15);
  for (const Layout& layout : allLayouts()) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, layout.name());
    const TestVolume<uint16> output({5, 3, 1}, layout);
    const auto parameter = request(fileOf(5, 3, voxels));
    parameter->outputVolume = output;
    EXPECT_EQ(read(parameter), output.volume());
    expectSameVoxels(output.voxels(), voxels);
    output.expectUntouchedOutside();
  }
}

TEST_F(XscReader, ResizesAVolumeOfOtherExtents) {
  for (const Layout& layout : someLayouts()) {
    const TestVolume<uint16> output({2, 4, 3}, layout);
    const auto parameter = request(fileOf(3, 2, {1, 2, 3, 4, 5, 6}));
    parameter->outputVolume = output;
    EXPECT_EQ(read(parameter), output.volume());
    EXPECT_EQ(output.volume()->getDimension(), Dimension<SizeType>(3, 2, 1));
    expectSameVoxels(voxelsOf(SmartPointer<Volume<uint16>>(output.volume())), {1, 2, 3, 4, 5, 6});
  }
}

TEST_F(XscReader, TwoZerosGiveAnEmptyVolume) {
  EXPECT_EQ(read(request(fileOf(0, 0, {})))->getDimension(), Dimension<SizeType>());
  EXPECT_EQ(read(request(fileOf(0, 0, {1, 2})))->getDimension(), Dimension<SizeType>());
  EXPECT_EQ(read(request(""))->getDimension(), Dimension<SizeType>());
  const TestVolume<uint16> output({2, 4, 3});
  const auto parameter = request(fileOf(0, 0, {}));
  parameter->outputVolume = output;
  EXPECT_EQ(read(parameter)->getDimension(), Dimension<SizeType>());
}

TEST_F(XscReader, ATruncatedFileIsNoFailure) {
  const NoFileLeftOpen check;
  const std::string whole = fileOf(100, 100, mixedValues<uint16>(10000));
  const auto volume = read(request(whole.substr(0, 100)));
  EXPECT_EQ(volume->getDimension(), Dimension<SizeType>(100, 100, 1));
  EXPECT_EQ(std::memcmp(volume->getData(), whole.data() + 4, 96), 0);

  for (const std::size_t length : {4u, 5u, 1003u, 20003u}) {
    for (const Layout& layout : someLayouts()) {
      const TestVolume<uint16> output({100, 100, 1}, layout);
      const auto parameter = request(whole.substr(0, length));
      parameter->outputVolume = output;
      read(parameter);
      const std::vector<uint16> voxels = output.voxels();
      EXPECT_EQ(std::memcmp(voxels.data(), whole.data() + 4, length - 4), 0);
      output.expectUntouchedOutside();
    }
  }
}

TEST_F(XscReader, HeaderFieldsHaveNoSign) {
  const auto volume = read(request(fileOf(0xFFFF, 1, {1, 2, 3})));
  EXPECT_EQ(volume->getDimension(), Dimension<SizeType>(65535, 1, 1));
  EXPECT_EQ(volume->getData()[2], 3);
}

TEST_F(XscReader, AHugePromiseTouchesNoMemoryBeyondTheFile) {
  SKIP_UNLESS_MEMORY_CAN_BE_LIMITED();
  try {
    const auto volume = read(request(fileOf(0xFFFF, 0xFFFF, {1, 2, 3})));  // 8 GiB
    EXPECT_EQ(volume->getDimension(), Dimension<SizeType>(65535, 65535, 1));
    EXPECT_EQ(volume->getData()[1], 2);
  } catch (const std::bad_alloc&) {
    GTEST_SKIP() << "the system reserves no 8 GiB";
  }
}

TEST_F(XscReader, AnAbortChangesNothing) {
  const auto reader = createTyped(typedIdentifier<uint16>("XscReader"));
  std::vector<uint16> memory(3);
  const auto output = hostVolume(memory, [&] { reader->abort(); });  // while the volume is made ready
  const auto parameter = request(fileOf(2, 2, {1, 2, 3, 4}));
  parameter->outputVolume = output;
  reader->apply(parameter);
  expectSameVoxels(voxelsOf(SmartPointer<Volume<uint16>>(output)), {1, 2, 3, 4});
  EXPECT_EQ(reader->getProgress().getProgress(), 0.0);
}

TEST_F(XscReaderFailure, OneZeroIsNoExtent) {
  const NoFileLeftOpen check;
  expectStandard<std::out_of_range>(
      [&] { read(request(fileOf(0, 5, {}))); },
      "NORV::Tavi::Dimension< NORV::uint64 >::check invalid values detected ( 0 , 5 , 1 ) ");
  expectStandard<std::out_of_range>(
      [&] { read(request(std::string("\x05\0", 2))); },
      "NORV::Tavi::Dimension< NORV::uint64 >::check invalid values detected ( 5 , 0 , 1 ) ");
}

TEST_F(XscReaderFailure, FileNamesAreChecked) {
  const NoFileLeftOpen check;
  const auto parameter = makeParameter<Parameter>();
  expectRefusal([&] { Frame().apply(parameter); }, apply + " input filename is empty");
  parameter->inputFilename = std::string("a=b.xsc");
  expectRefusal([&] { Frame().apply(parameter); }, apply + " input filename is invalid");
}

TEST_F(XscReaderFailure, FilesThatDoNotOpen) {
  const NoFileLeftOpen check;
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& name : {folder / "absent.xsc", folder.path(), pipe}) {
    const auto parameter = makeParameter<Parameter>();
    parameter->inputFilename = name;
    expectFailure<Exceptions::FileOpen>([&] { Frame().apply(parameter); }, "Couldn't open file '" + name + "'!", apply);
    EXPECT_EQ(parameter->outputVolume.value(), nullptr);
  }
}

TEST_F(XscReaderFailure, AnotherParameterObjectIsRefused) {
  const SmartPointer<IComposite> other(new TaviOperators::XscWriter::Parameter);
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::XscReader::Operator::getOperatorTypeFromParameterObject: invalid parameter "
                "object!");
  expectRefusal([&] { createTyped(typedIdentifier<uint16>("XscReader"))->apply(other); }, apply);
}

TEST_F(XscReaderFailure, AVolumeOfAnotherClassIsRefusedAndKept) {
  const NoFileLeftOpen check;
  const TestVolume<int16> other({2, 2, 1});
  const auto parameter = request(fileOf(2, 2, {1, 2, 3, 4}));
  parameter->outputVolume = other;
  expectRefusal([&] { Frame().apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  EXPECT_EQ(other.voxels(), std::vector<int16>(4, 77));
}

TEST_F(XscReaderFailure, FailingAllocationsLeaveNothingBehind) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const TestVolume<uint16> output({3, 2, 1}, regionLayout);
  const auto parameter = request(fileOf(3, 2, {1, 2, 3, 4, 5, 6}));
  parameter->outputVolume = output;
  const auto files = openFiles();
  const int failures = failEachAllocation([&] { Frame().apply(parameter); }, [&] { EXPECT_EQ(openFiles(), files); });
  EXPECT_GT(failures, 3);
  expectSameVoxels(output.voxels(), {1, 2, 3, 4, 5, 6});
}

}  // namespace
}  // namespace NORV::Tests
