#include "support/ExpectFailure.hpp"
#include "support/HostMemory.hpp"
#include "support/Operators.hpp"
#include "support/TemporaryDirectory.hpp"
#include "support/Volumes.hpp"

#include <DLL/XscReader.hpp>
#include <DLL/XscWriter.hpp>
#include <Tavi/Exceptions.hpp>
#include <XscReader.hpp>
#include <XscWriter.hpp>

#include <filesystem>

namespace NORV::Tests {
namespace {

using Tavi::Dimension;
using Tavi::Volume;
using Tavi::VolumePtr;
using Frame = TaviOperators::DLL::XscWriter::Operator;
using TaviOperators::XscWriter::Parameter;

const std::string apply = "NORV::TaviOperators::XscWriter::Operator::apply";

class XscWriter : public testing::Test {
protected:
  SmartPointer<Parameter> request(const SmartPointer<IVolume>& input, const std::string& name = "a.xsc") const {
    const auto parameter = makeParameter<Parameter>();
    parameter->inputFilename = folder / name;
    parameter->inputVolume = input;
    return parameter;
  }

  const TemporaryDirectory folder;
};
using XscWriterFailure = XscWriter;

std::string fileOf(uint16 width, uint16 height, const std::vector<uint16>& voxels) {
  std::vector<uint16> all{width, height};
  all.insert(all.end(), voxels.begin(), voxels.end());
  return {reinterpret_cast<const char*>(all.data()), all.size() * 2};
}

TEST_F(XscWriter, ParameterHasItsKeysInOrder) {
  const Parameter parameter;
  ASSERT_EQ(parameter.getNumberOfKeys(), 2u);
  EXPECT_EQ(parameter.getKey(0), "inputVolume");
  EXPECT_EQ(parameter.getKey(1), "inputFilename");
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::XscWriter::Parameter");
  EXPECT_EQ(countRegistered("NORV::TaviOperators::XscWriter::Operator< "), 1u);
}

TEST_F(XscWriter, WritesEveryKindOfViewByteForByte) {
  const NoFileLeftOpen check;
  const std::vector<uint16> voxels = mixedValues<uint16>(15);
  for (const Layout& layout : allLayouts()) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, layout.name());
    const TestVolume<uint16> input({5, 3, 1}, layout);
    input.fill(voxels);
    Frame frame;
    frame.apply(request(input));
    EXPECT_TRUE(readFile(folder / "a.xsc") == fileOf(5, 3, voxels));
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
  }
}

TEST_F(XscWriter, ReaderGivesBackWhatWasWritten) {
  for (const Extents& extents : {Extents{1, 1, 1}, Extents{32767, 2, 1}, Extents{1, 32767, 1}}) {
    const TestVolume<uint16> input(extents);
    input.fill(mixedValues<uint16>(997));
    Frame().apply(request(input));
    const auto parameter = makeParameter<TaviOperators::XscReader::Parameter>();
    parameter->inputFilename = folder / "a.xsc";
    TaviOperators::DLL::XscReader::Operator().apply(parameter);
    const VolumePtr<uint16> volume(parameter->outputVolume.value());
    EXPECT_EQ(volume->getDimension(), input.volume()->getDimension());
    expectSameVoxels(voxelsOf(SmartPointer<Volume<uint16>>(volume)), input.voxels());
  }
}

TEST_F(XscWriter, AFullDiskIsNoFailure) {
  const NoFileLeftOpen check;
  const TestVolume<uint16> input({300, 200, 1});
  const auto parameter = request(input);
  parameter->inputFilename = std::string("/dev/full");
  Frame().apply(parameter);
}

TEST_F(XscWriterFailure, TheVolumeIsCheckedBeforeTheNameAndTheNameBeforeTheExtents) {
  const NoFileLeftOpen check;
  const auto expect = [&](const SmartPointer<IVolume>& input, const std::string& name, const std::string& words) {
    const auto parameter = makeParameter<Parameter>();
    parameter->inputVolume = input;
    parameter->inputFilename = name;
    expectRefusal([&] { Frame().apply(parameter); }, apply + words);
    expectRefusal([&] { createTyped(typedIdentifier<uint16>("XscWriter"))->apply(parameter); }, apply + words);
  };
  const TestVolume<uint16> deep({2, 2, 2}), flat({2, 2, 1});
  const SmartPointer<IVolume> wide(untouchableVolume<uint16>({32768, 1, 1}));
  expect(SmartPointer<IVolume>(), "", " input volume is NULL");
  expect(deep, "", " input volume dim tert must be 1");
  expect(SmartPointer<IVolume>(VolumePtr<uint16>(new Volume<uint16>)), "", " input volume dim tert must be 1");
  expect(flat, "", " input filename is empty");
  expect(flat, "a=b", " input filename is invalid");
  expect(wide, "a=b", " input filename is invalid");
}

TEST_F(XscWriterFailure, ExtentsBeyondTheSignedFieldOverflowBeforeTheFileIsTouched) {
  const auto expect = [&](const Dimension<SizeType>& extents, const std::string& number) {
    writeFile(folder / "a.xsc", "precious");
    expectStandard<std::overflow_error>(
        [&] { Frame().apply(request(SmartPointer<IVolume>(untouchableVolume<uint16>(extents)))); },
        "Couldn't cast " + number + " (64 bit unsigned integer) to 16 bit signed integer without loss of data!");
    EXPECT_EQ(readFile(folder / "a.xsc"), "precious");
  };
  expect({32768, 1, 1}, "32768");
  expect({1, 70000, 1}, "70000");
  expect({40000, 70000, 1}, "40000");
}

TEST_F(XscWriterFailure, FilesThatCannotBeCreated) {
  const NoFileLeftOpen check;
  const TestVolume<uint16> input({2, 2, 1});
  for (const std::string name : {"absent/a.xsc", "."}) {
    expectFailure<Exceptions::FileCreate>([&] { Frame().apply(request(input, name)); },
                                          "Couldn't create file '" + (folder / name) + "'!", apply);
  }
}

TEST_F(XscWriterFailure, OtherVoxelTypesAndParametersAreRefused) {
  const TestVolume<int16> other({2, 2, 1});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(request(other)); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier " +
          typedIdentifier<int16>("XscWriter") + " is registered");
  expectRefusal([&] { createTyped(typedIdentifier<uint16>("XscWriter"))->apply(request(other)); },
                apply + " input volume is NULL");
  const SmartPointer<IComposite> reader(new TaviOperators::XscReader::Parameter);
  expectRefusal([&] { Frame().apply(reader); },
                "NORV::TaviOperators::DLL::XscWriter::Operator::getOperatorTypeFromParameterObject: invalid parameter "
                "object!");
  expectRefusal([&] { createTyped(typedIdentifier<uint16>("XscWriter"))->apply(reader); }, apply);
}

}  // namespace
}  // namespace NORV::Tests
