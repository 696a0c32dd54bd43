#include "Files/PngFiles.hpp"
#include "support/ExpectFailure.hpp"
#include "support/Operators.hpp"
#include "support/TemporaryDirectory.hpp"
#include "support/Volumes.hpp"

#include <DLL/PngReader.hpp>
#include <PngReader.hpp>
#include <PngTypeReader.hpp>
#include <PngWriter.hpp>
#include <Tavi/Exceptions.hpp>

namespace NORV::Tests {
namespace {

using PngFiles::Image;
using PngFiles::imageOf;
using Tavi::Dimension;
using Tavi::Volume;
using Tavi::VolumePtr;
using Frame = TaviOperators::DLL::PngReader::Operator;
using TaviOperators::PngReader::Parameter;
namespace TypeReader = TaviOperators::PngTypeReader;

const std::string apply = "NORV::TaviOperators::PngReader::Operator::apply";
const std::string applyType = "NORV::TaviOperators::PngTypeReader::Operator::apply";

class PngReader : public testing::Test {
protected:
  SmartPointer<Parameter> request(const std::string& bytes) const {
    writeFile(folder / "a.png", bytes);
    const auto parameter = makeParameter<Parameter>();
    parameter->inputFilename = folder / "a.png";
    return parameter;
  }
  template <class T>
  static std::vector<T> voxelsIn(const SmartPointer<Parameter>& parameter) {
    return voxelsOf(SmartPointer<Volume<T>>(VolumePtr<T>(parameter->outputVolume.value())));
  }
  SmartPointer<TypeReader::Parameter> readType(const std::string& bytes) const {
    writeFile(folder / "a.png", bytes);
    const auto parameter = makeParameter<TypeReader::Parameter>();
    parameter->inputFilename = folder / "a.png";
    createTyped("NORV::TaviOperators::PngTypeReader::Operator")->apply(parameter);
    return parameter;
  }
  void expectInvalid(const std::string& bytes, const std::string& text, const std::string& origin) const {
    const NoFileLeftOpen check;
    const auto parameter = request(bytes);
    expectFailure<Exceptions::InvalidData>([&] { Frame().apply(parameter); }, text, origin);
    EXPECT_EQ(parameter->outputVolume.value(), nullptr);
  }

  const TemporaryDirectory folder;
};
using PngReaderFailure = PngReader;

TEST_F(PngReader, ParameterHasItsKeysInOrder) {
  const Parameter parameter;
  const std::vector<std::string> keys{
      "inputFilename",           "inputIncorrectByteOrder", "outputVolume", "outputPixelsPerMeterPrim",
      "outputPixelsPerMeterSec", "outputInformationMap"};
  ASSERT_EQ(parameter.getNumberOfKeys(), keys.size());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter.getKey(i), keys[i]);
  }
  EXPECT_EQ(countRegistered("NORV::TaviOperators::PngReader::Operator< "), 2u);
}

TEST_F(PngReader, ReadsBothTypes) {
  const auto bytes = mixedValues<uint8>(15);
  const auto narrow = request(imageOf<uint8>(5, 3, bytes).file());
  Frame().apply(narrow);
  EXPECT_EQ(voxelsIn<uint8>(narrow), bytes);
  const auto words = mixedValues<uint16>(15);
  const auto wide = request(imageOf<uint16>(3, 5, words).file());
  Frame().apply(wide);
  EXPECT_EQ(voxelsIn<uint16>(wide), words);
  EXPECT_EQ(wide->outputVolume.value()->getDimension(), Dimension<SizeType>(3, 5, 1));
}

TEST_F(PngReader, KeepsTheByteOrderOfTheFileWhereAsked) {
  const auto parameter = request(imageOf<uint16>(2, 1, {0x1234, 0x00FF}).file());
  parameter->inputIncorrectByteOrder = true;
  Frame().apply(parameter);
  EXPECT_EQ(voxelsIn<uint16>(parameter), (std::vector<uint16>{0x3412, 0xFF00}));
}

TEST_F(PngReader, TakesAnInterlacedImage) {
  // One voxel: all passes but the first are empty.
  Image image = imageOf<uint8>(1, 1, {77});
  std::string file = image.file();
  const std::string header =
      PngFiles::chunk("IHDR", PngFiles::number(1) + PngFiles::number(1) + std::string{8, 0, 0, 0, 1});
  file.replace(8, header.size(), header);
  const auto parameter = request(file);
  Frame().apply(parameter);
  EXPECT_EQ(voxelsIn<uint8>(parameter), std::vector<uint8>{77});
}

TEST_F(PngReader, MakesANewVolumeAndLeavesAGivenOneAlone) {
  const TestVolume<uint8> given({2, 2, 1});
  given.fill({1, 2, 3, 4});
  const auto parameter = request(imageOf<uint8>(1, 1, {9}).file());
  parameter->outputVolume = given;
  Frame().apply(parameter);
  EXPECT_NE(parameter->outputVolume.value(), SmartPointer<IVolume>(given.volume()));
  expectSameVoxels(given.voxels(), std::vector<uint8>{1, 2, 3, 4});
}

TEST_F(PngReader, TakesTheResolutionInMetresOnly) {
  Image image = imageOf<uint8>(1, 1, {9});
  for (const char unit : {'\1', '\0'}) {
    image.before = PngFiles::chunk("pHYs", PngFiles::number(1000) + PngFiles::number(2000) + unit);
    const auto parameter = request(image.file());
    parameter->outputPixelsPerMeterPrim = 5;
    Frame().apply(parameter);
    EXPECT_EQ(parameter->outputPixelsPerMeterPrim.value(), unit == '\1' ? 1000u : 0u);
    EXPECT_EQ(parameter->outputPixelsPerMeterSec.value(), unit == '\1' ? 2000u : 0u);
  }
}

TEST_F(PngReader, AddsTheTextsToTheMap) {
  Image image = imageOf<uint8>(1, 1, {9});
  image.before =
      PngFiles::chunk("tEXt", std::string("Title\0a part", 12)) + PngFiles::chunk("tEXt", std::string("Author\0", 7));
  const auto parameter = request(image.file());
  Frame().apply(parameter);
  const auto map = parameter->outputInformationMap.value();
  ASSERT_NE(map, nullptr);
  EXPECT_EQ(map->size(), 2u);
  EXPECT_EQ((*map)["Title"], "a part");
  EXPECT_EQ((*map)["Author"], "");
}

TEST_F(PngReader, TypeReaderReadsTypeAndExtentsFromTheHead) {
  Image image = imageOf<uint16>(7, 5, std::vector<uint16>(35));
  const auto type = readType(image.file());
  EXPECT_EQ(type->outputVoxelType.value(), "NORV::uint16");
  EXPECT_EQ(type->outputDim.value(), Dimension<SizeType>(7, 5, 1));
  EXPECT_EQ(readType(imageOf<uint8>(1, 2, {1, 2}).file())->outputVoxelType.value(), "NORV::uint8");
}

TEST_F(PngReaderFailure, WhatIsNoPngFile) {
  for (const std::string& bytes : {std::string(), std::string("\x89PNG"), std::string(100, 'x')}) {
    expectInvalid(bytes, "Invalid png file!", applyType);
  }
}

TEST_F(PngReaderFailure, FormatsThatAreNotSupported) {
  Image image = imageOf<uint8>(1, 1, {9});
  image.bits = 4;
  expectInvalid(image.file(), "Bit depth not supported!", applyType);
  image.bits = 8;
  image.colorType = 2;
  expectInvalid(image.file(), "Unsupported png format!", applyType);
}

TEST_F(PngReaderFailure, AnImageOfTheOtherType) {
  const auto parameter = request(imageOf<uint8>(1, 1, {9}).file());
  expectFailure<Exceptions::InvalidData>([&] { createTyped(typedIdentifier<uint16>("PngReader"))->apply(parameter); },
                                         "Image data don't match the volume type!", apply);
}

TEST_F(PngReaderFailure, WhatLibpngCannotDecode) {
  const std::string good = imageOf<uint8>(50, 50, mixedValues<uint8>(2500)).file();
  expectInvalid(good.substr(0, 20), "Couldn't set png jump buffer!", applyType);
  for (std::size_t length = 60; length + 20 < good.size(); length += 97) {
    expectInvalid(good.substr(0, length), "Couldn't set png jump buffer!", apply);
  }
  std::string damaged = good;
  damaged[good.size() / 2] = static_cast<char>(damaged[good.size() / 2] ^ 0x55);
  expectInvalid(damaged, "Couldn't set png jump buffer!", apply);
}

TEST_F(PngReaderFailure, APromiseOfMoreThanTheFileCanHold) {
  Image image = imageOf<uint8>(1, 1, {9});
  image.width = image.height = 0x7FFFFFFF;
  expectInvalid(image.file(), "Couldn't set png jump buffer!", apply);
}

TEST_F(PngReaderFailure, FileNamesAndFilesThatDoNotOpen) {
  const auto parameter = makeParameter<Parameter>();
  expectRefusal([&] { Frame().apply(parameter); }, applyType + " input filename is empty");
  expectRefusal([&] { createTyped(typedIdentifier<uint8>("PngReader"))->apply(parameter); },
                apply + " input filename is empty");
  parameter->inputFilename = std::string("a=b.png");
  expectRefusal([&] { createTyped(typedIdentifier<uint8>("PngReader"))->apply(parameter); },
                apply + " input filename is invalid");
  parameter->inputFilename = folder / "absent.png";
  expectFailure<Exceptions::FileOpen>([&] { Frame().apply(parameter); },
                                      "Couldn't open file '" + (folder / "absent.png") + "'!", applyType);
}

TEST_F(PngReaderFailure, AnotherParameterObjectIsRefused) {
  const SmartPointer<IComposite> other(new TaviOperators::PngWriter::Parameter);
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::PngReader::Operator::getOperatorTypeFromParameterObject: invalid parameter "
                "object!");
  expectRefusal([&] { createTyped(typedIdentifier<uint8>("PngReader"))->apply(other); }, apply);
}

}  // namespace
}  // namespace NORV::Tests
