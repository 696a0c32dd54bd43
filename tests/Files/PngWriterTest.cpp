#include "Files/PngFiles.hpp"
#include "support/ExpectFailure.hpp"
#include "support/Operators.hpp"
#include "support/TemporaryDirectory.hpp"
#include "support/Volumes.hpp"

#include <DLL/PngReader.hpp>
#include <DLL/PngWriter.hpp>
#include <PngReader.hpp>
#include <PngWriter.hpp>
#include <Tavi/Exceptions.hpp>

#include <filesystem>

namespace NORV::Tests {
namespace {

using PngFiles::chunk;
using PngFiles::imageOf;
using PngFiles::number;
using Tavi::Volume;
using Tavi::VolumePtr;
using Frame = TaviOperators::DLL::PngWriter::Operator;
using TaviOperators::PngWriter::InformationMap;
using TaviOperators::PngWriter::Parameter;

const std::string apply = "NORV::TaviOperators::PngWriter::Operator::apply";

class PngWriter : public testing::Test {
protected:
  SmartPointer<Parameter> request(const SmartPointer<IVolume>& input) const {
    const auto parameter = makeParameter<Parameter>();
    parameter->inputFilename = folder / "a.png";
    parameter->inputVolume = input;
    return parameter;
  }
  template <class T>
  std::vector<T> readBack(bool keepsByteOrder = false) const {
    const auto parameter = makeParameter<TaviOperators::PngReader::Parameter>();
    parameter->inputFilename = folder / "a.png";
    parameter->inputIncorrectByteOrder = keepsByteOrder;
    TaviOperators::DLL::PngReader::Operator().apply(parameter);
    return voxelsOf(SmartPointer<Volume<T>>(VolumePtr<T>(parameter->outputVolume.value())));
  }
  /// What stands before the image.
  std::string head() const {
    const std::string bytes = readFile(folder / "a.png");
    return bytes.substr(0, bytes.find("IDAT") - 4);
  }
  template <class T>
  void checkViews() const {
    const std::vector<T> voxels = mixedValues<T>(15);
    for (const Layout& layout : allLayouts()) {
      const testing::ScopedTrace trace(__FILE__, __LINE__, layout.name());
      const TestVolume<T> input({5, 3, 1}, layout);
      input.fill(voxels);
      Frame().apply(request(input));
      EXPECT_EQ(head(), PngFiles::signature + imageOf<T>(5, 3, voxels).header());
      EXPECT_EQ(readBack<T>(), voxels);
    }
  }

  const TemporaryDirectory folder;
};
using PngWriterFailure = PngWriter;

TEST_F(PngWriter, ParameterHasItsKeysInOrderAndItsDefaults) {
  const Parameter parameter;
  const std::vector<std::string> keys{"inputVolume",
                                      "inputFilename",
                                      "inputFilters",
                                      "inputCompressionLevel",
                                      "inputIncorrectByteOrder",
                                      "inputPixelsPerMeterPrim",
                                      "inputPixelsPerMeterSec",
                                      "inputInformationMap"};
  ASSERT_EQ(parameter.getNumberOfKeys(), keys.size());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter.getKey(i), keys[i]);
  }
  EXPECT_EQ(parameter.inputFilters.value(), 8);
  EXPECT_EQ(parameter.inputCompressionLevel.value(), -1);
  EXPECT_EQ(countRegistered("NORV::TaviOperators::PngWriter::Operator< "), 2u);
}

TEST_F(PngWriter, WritesEveryKindOfView) {
  checkViews<uint8>();
  checkViews<uint16>();
}

TEST_F(PngWriter, StoresVoxelsAsTheyAreWithoutFilterAndCompression) {
  const TestVolume<uint16> input({2, 1, 1});
  input.fill({0x1234, 0x00FF});
  const auto parameter = request(input);
  parameter->inputCompressionLevel = 0;
  Frame().apply(parameter);
  EXPECT_NE(readFile(folder / "a.png").find(std::string("\0\x12\x34\x00\xFF", 5)), std::string::npos);
  parameter->inputIncorrectByteOrder = true;
  Frame().apply(parameter);
  EXPECT_NE(readFile(folder / "a.png").find(std::string("\0\x34\x12\xFF\x00", 5)), std::string::npos);
  EXPECT_EQ(readBack<uint16>(true), (std::vector<uint16>{0x1234, 0x00FF}));
}

TEST_F(PngWriter, TakesEveryFilterAndLevel) {
  const std::vector<uint8> voxels = mixedValues<uint8>(35);
  const TestVolume<uint8> input({7, 5, 1});
  input.fill(voxels);
  for (const int32 filters : {8, 16, 32, 64, 128, 248}) {
    for (const int32 level : {-1, 0, 9}) {
      const auto parameter = request(input);
      parameter->inputFilters = filters;
      parameter->inputCompressionLevel = level;
      Frame().apply(parameter);
      EXPECT_EQ(readBack<uint8>(), voxels);
    }
  }
}

TEST_F(PngWriter, WritesResolutionAndTextsInTheOrderOfTheMap) {
  const TestVolume<uint8> input({1, 1, 1});
  const auto parameter = request(input);
  parameter->inputPixelsPerMeterPrim = 1000;
  parameter->inputPixelsPerMeterSec = 2000;
  const SmartPointer<InformationMap> map(new InformationMap);
  (*map)["Title"] = "a part";
  (*map)["Author"] = "me";
  parameter->inputInformationMap = map;
  Frame().apply(parameter);
  EXPECT_EQ(head(), PngFiles::signature + imageOf<uint8>(1, 1, {0}).header() +
                        chunk("pHYs", number(1000) + number(2000) + '\1') +
                        chunk("tEXt", std::string("Author\0me", 9)) + chunk("tEXt", std::string("Title\0a part", 12)));
}

TEST_F(PngWriter, LeavesTheResolutionOutWhereItIsZeroAlongPrim) {
  const TestVolume<uint8> input({1, 1, 1});
  const auto parameter = request(input);
  parameter->inputPixelsPerMeterSec = 2000;
  Frame().apply(parameter);
  EXPECT_EQ(head().find("pHYs"), std::string::npos);
}

TEST_F(PngWriterFailure, ParametersThatAllowNoRun) {
  expectRefusal([&] { Frame().apply(request(SmartPointer<IVolume>())); }, apply + " input volume is NULL");
  const TestVolume<uint8> deep({2, 2, 2}), flat({2, 2, 1});
  expectRefusal([&] { Frame().apply(request(deep)); }, apply + " input volume dim tert must be 1");
  const auto name = request(flat);
  name->inputFilename = std::string();
  expectRefusal([&] { Frame().apply(name); }, apply + " input filename is empty");
  name->inputFilename = std::string("a?b");
  expectRefusal([&] { Frame().apply(name); }, apply + " input filename is invalid");
  const SmartPointer<IComposite> other(new TaviOperators::PngReader::Parameter);
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::PngWriter::Operator::getOperatorTypeFromParameterObject: invalid parameter "
                "object!");
  expectRefusal([&] { createTyped(typedIdentifier<uint8>("PngWriter"))->apply(other); }, apply);
}

TEST_F(PngWriterFailure, WhatLibpngRefuses) {
  const NoFileLeftOpen check;
  const TestVolume<uint8> input({2, 2, 1});
  const auto level = request(input);
  level->inputCompressionLevel = 77;
  expectFailure<Exceptions::InvalidData>([&] { Frame().apply(level); }, "Couldn't set png jump buffer!", apply);
}

TEST_F(PngWriterFailure, FilesThatCannotBeCreatedOrWritten) {
  const NoFileLeftOpen check;
  const TestVolume<uint8> input({5, 3, 1});
  const auto parameter = request(input);
  parameter->inputFilename = folder / "none/a.png";
  expectFailure<Exceptions::FileCreate>([&] { Frame().apply(parameter); },
                                        "Couldn't create file '" + (folder / "none/a.png") + "'!", apply);
  if (std::filesystem::exists("/dev/full")) {
    parameter->inputFilename = std::string("/dev/full");
    EXPECT_THROW(Frame().apply(parameter), Exceptions::Exception);
  }
}

}  // namespace
}  // namespace NORV::Tests
