#include "VtiFiles.hpp"
#include "support/FullDisk.hpp"
#include "support/HostMemory.hpp"

#include <sys/stat.h>

#include <clocale>
#include <filesystem>
#include <locale>
#include <sstream>
#include <thread>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::VtiWriter;
using Frame = TaviOperators::DLL::VtiWriter::Operator;

const std::string inApply = "NORV::TaviOperators::VtiWriter::Operator::apply";

using VtiWriter = VtiFiles;
using VtiWriterFailure = VtiFiles;

/// The numbers as a stream writes them, 8-bit ones as numbers too.
template <class T>
std::string asText(const std::vector<T>& voxels) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  for (const T voxel : voxels) {
    stream << ' ' << +voxel;
  }
  return stream.str().empty() ? "" : stream.str().substr(1);
}

template <class T>
std::string payloadOf(const std::vector<T>& voxels, const Extents& extents, const std::string& format,
                      bool isCompressed) {
  const std::string bytes = rawBytes(voxels);
  return format == "ascii" ? asText(voxels)
         : isCompressed    ? blockPayload(bytes, extents[0] * extents[1] * sizeof(T))
                           : plainPayload(bytes);
}

template <class T>
void expectWritten(const TestVolume<T>& input, const Extents& extents, const std::string& file) {
  const std::vector<T> voxels = input.voxels();
  for (const std::string format : {"ascii", "binary", "appended"}) {
    for (const bool isCompressed : {false, true}) {
      Frame frame;
      frame.apply(writeRequest(file, input, format, isCompressed));
      const bool isBlocks = isCompressed && format != "ascii";
      ASSERT_EQ(readFile(file),
                writtenDocument(vtiType<T>(), extents, format, isBlocks, payloadOf(voxels, extents, format, isBlocks)))
          << format << " " << isCompressed;
      EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
    }
  }
}

TEST_F(VtiWriter, ParameterHasItsKeysInOrderAndItsDefaults) {
  const Typed::Parameter parameter;
  ASSERT_EQ(parameter.getNumberOfKeys(), 6u);
  const std::array keys{"inputVolume", "inputFilename", "inputSpacing",
                        "inputOrigin", "inputFormat",   "inputCompression"};
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter.getKey(i), keys[i]);
  }
  EXPECT_EQ(parameter.inputVolume.value(), nullptr);
  EXPECT_EQ(parameter.inputFilename.value(), "");
  EXPECT_EQ(parameter.inputSpacing.value(), Triple<double>(0, 0, 0));
  EXPECT_EQ(parameter.inputOrigin.value(), Triple<double>(0, 0, 0));
  EXPECT_EQ(parameter.inputFormat.value(), "appended");
  EXPECT_EQ(parameter.inputCompression.value(), "");
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::VtiWriter::Parameter");
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::VtiWriter::Parameter"));
}

TEST_F(VtiWriter, HasEightInstances) {
  EXPECT_EQ(countRegistered("NORV::TaviOperators::VtiWriter::Operator< "), 8u);
  forEachVoxelType([]<class T>() { EXPECT_TRUE(isRegistered(typedIdentifier<T>("VtiWriter"))); });
}

TEST_F(VtiWriter, WritesTheBytesOfASmallVolume) {
  const TestVolume<uint16> input({2, 1, 2});
  input.fill({1, 2, 3, 65535});
  const auto parameter = writeRequest(folder / "a.vti", input);
  parameter->inputSpacing = Triple<double>(0.5, 2, 1e-7);
  parameter->inputOrigin = Triple<double>(-1.25, 0, 1.0 / 3);
  writeVti(parameter);
  EXPECT_EQ(readFile(folder / "a.vti"),
            "<?xml version=\"1.0\"?>\n"
            "<VTKFile type=\"ImageData\" version=\"0.1\" byte_order=\"LittleEndian\">\n"
            "\t<ImageData WholeExtent=\"0 1 0 0 0 1\" Origin=\"-1.25 0 0.333333\" Spacing=\"0.5 2 1e-07\">\n"
            "\t\t<Piece Extent=\"0 1 0 0 0 1\">\n"
            "\t\t\t<PointData Scalars=\"Volume\">\n"
            "\t\t\t\t<DataArray type=\"UInt16\" Name=\"Volume\" NumberOfComponents=\"1\" format=\"appended\" "
            "offset=\"0\" />\n"
            "\t\t\t</PointData>\n"
            "\t\t\t<CellData />\n"
            "\t\t</Piece>\n"
            "\t</ImageData>\n"
            "\t<AppendedData encoding=\"base64\">_CAAAAAEAAgADAP//</AppendedData>\n"
            "</VTKFile>\n");
}

TEST_F(VtiWriter, WritesEveryKindOfViewByteForByte) {
  const NoFileLeftOpen check;
  const RuntimeSettings settings;
  omp_set_num_threads(1);
  forEachVoxelType([this]<class T>() {
    for (const Layout& layout : allLayouts()) {
      const testing::ScopedTrace trace(__FILE__, __LINE__, layout.name());
      const TestVolume<T> input({5, 4, 3}, layout);
      input.fill(mixedValues<T>(60, 9));
      const auto regions = input.volume()->getRoiStack();
      expectWritten(input, {5, 4, 3}, folder / "a.vti");
      EXPECT_TRUE(input.volume()->getRoiStack() == regions);
      input.expectUntouchedOutside();
    }
  });
}

TEST_F(VtiWriter, WritesViewsOfSingleRowsColumnsAndSlices) {
  const RuntimeSettings settings;
  omp_set_num_threads(1);
  for (const Extents& extents : {Extents{1, 1, 1}, Extents{9, 1, 1}, Extents{1, 9, 1}, Extents{1, 1, 9},
                                 Extents{1, 5, 4}, Extents{5, 1, 4}, Extents{5, 4, 1}}) {
    for (const Layout& layout : someLayouts()) {
      const TestVolume<float32> input(extents, layout);
      input.fill(mixedValues<float32>(37, 5));
      expectWritten(input, extents, folder / "a.vti");
    }
  }
}

TEST_F(VtiWriter, WritesLargeVolumesThroughItsBuffer) {
  for (const Extents& extents : {Extents{311, 97, 11}, Extents{7000, 1, 5}, Extents{1, 1, 5003}}) {
    for (const Layout& layout : {denseLayout, regionLayout, Layout{{1, 2, 4}}}) {
      const TestVolume<uint8> bytes(extents, layout);
      bytes.fill(mixedValues<uint8>(9973, 5));
      expectWritten(bytes, extents, folder / "a.vti");
    }
  }
}

TEST_F(VtiWriter, TheNumberOfThreadsChangesNothing) {
  const RuntimeSettings settings;
  const TestVolume<int16> input({61, 47, 19}, regionLayout);
  input.fill(mixedValues<int16>(997));
  for (const int threads : {1, 2, 5, 33}) {
    omp_set_num_threads(threads);
    expectWritten(input, {61, 47, 19}, folder / "a.vti");
  }
}

TEST_F(VtiWriter, NumbersDoNotDependOnTheLocale) {
  class Comma final : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
  const TestVolume<float32> input({1, 1, 2});
  input.fill({1234.5F, -0.25F});
  const auto parameter = writeRequest(folder / "a.vti", input, "ascii");
  parameter->inputSpacing = Triple<double>(1234.5, 0.5, 2);
  writeVti(parameter);
  const auto back = readVti(folder / "a.vti");
  std::locale::global(before);
  EXPECT_EQ(readFile(folder / "a.vti"), writtenDocument("Float32", {1, 1, 2}, "ascii", false, "1234.5 -0.25",
                                                        "Origin=\"0 0 0\" Spacing=\"1234.5 0.5 2\""));
  EXPECT_EQ(voxelsRead<float32>(back), (std::vector<float32>{1234.5F, -0.25F}));
}

TEST_F(VtiWriter, AnEmptyVolumeHasNoVoxelsInItsPayload) {
  const SmartPointer<IVolume> empty(VolumePtr<uint16>(new Volume<uint16>));
  const auto written = [&](const std::string& format, bool isCompressed) {
    writeVti(writeRequest(folder / "a.vti", empty, format, isCompressed));
    return readFile(folder / "a.vti");
  };
  const Extents none{0, 0, 0};
  EXPECT_EQ(written("appended", false), writtenDocument("UInt16", none, "appended", false, "AAAAAA=="));
  EXPECT_EQ(written("appended", true), writtenDocument("UInt16", none, "appended", true, "AAAAAAAAAAAAAAAA"));
  EXPECT_EQ(readVti(folder / "a.vti")->outputVolume.value()->getSize(), 0u);
  EXPECT_EQ(written("ascii", false), writtenDocument("UInt16", none, "ascii", false, ""));
  EXPECT_EQ(written("binary", false), writtenDocument("UInt16", none, "binary", false, "AAAAAA=="));
  EXPECT_EQ(readVti(folder / "a.vti")->outputVolume.value()->getSize(), 0u);
}

TEST_F(VtiWriter, ReplacesALongerFile) {
  const std::string file = write(std::string(10000, 'x'));
  const TestVolume<uint8> input({2, 2, 2});
  expectWritten(input, {2, 2, 2}, file);
}

TEST_F(VtiWriter, AbortedInTheMiddleLeavesWholeSlices) {
  constexpr SizeType slices = 300'000;
  for (const VtiForm& form : {VtiForm{"ascii", false}, VtiForm{"binary", false}, VtiForm{"appended", false}}) {
    const NoFileLeftOpen check;
    const TestVolume<uint8> input({5, 1, slices}, Layout{{1, 2, 4}}, uint8('v'));
    const auto writer = createTyped(typedIdentifier<uint8>("VtiWriter"));
    const std::string file = folder / "a.vti";
    std::thread run([&] { writer->apply(writeRequest(file, input, form.format)); });
    while (writer->getProgress().getProgress() == 0.0) {
      std::this_thread::yield();
    }
    writer->abort();
    run.join();
    const double progress = writer->getProgress().getProgress();
    EXPECT_GT(progress, 0.0);
    const auto written = static_cast<SizeType>(progress * slices + 0.5);
    const std::string bytes(5 * written, 'v'), text = readFile(file);
    const std::string expected =
        form.format == "ascii" ? asText(std::vector<uint8>(5 * written, 'v')) : naiveBase64(word(5 * slices) + bytes);
    if (written < slices) {
      EXPECT_TRUE(text.ends_with((form.format == "appended" ? "_" : ">") + expected)) << form.format;
    }
  }
}

TEST_F(VtiWriter, AbortedWhileItCompressesMakesNoFile) {
  constexpr SizeType slices = 20'000;
  const TestVolume<uint16> input({64, 16, slices});
  const auto writer = createTyped(typedIdentifier<uint16>("VtiWriter"));
  std::thread run([&] { writer->apply(writeRequest(folder / "a.vti", input, "appended", true)); });
  while (writer->getProgress().getProgress() == 0.0) {
    std::this_thread::yield();
  }
  writer->abort();
  run.join();
  if (writer->getProgress().getProgress() < 0.5) {
    EXPECT_FALSE(std::filesystem::exists(folder / "a.vti"));
  }
}

TEST_F(VtiWriterFailure, ParametersAreCheckedInOrderBeforeTheFileIsTouched) {
  const NoFileLeftOpen check;
  const auto writer = createTyped(typedIdentifier<uint8>("VtiWriter"));
  const std::string file = write("precious");
  const SmartPointer<IVolume> none;
  const auto parameter = writeRequest("", none, "text");
  parameter->inputCompression = std::string("gzip");
  expectRefusal([&] { writer->apply(parameter); }, inApply + " input volume is NULL");
  parameter->inputVolume = TestVolume<int8>({2, 2, 2});
  expectRefusal([&] { writer->apply(parameter); }, inApply + " input volume is NULL");
  parameter->inputVolume = TestVolume<uint8>({2, 2, 2});
  expectRefusal([&] { writer->apply(parameter); }, inApply + " input filename is empty");
  parameter->inputFilename = std::string("a=b.vti");
  expectRefusal([&] { writer->apply(parameter); }, inApply + " input filename is invalid");
  parameter->inputFilename = file;
  for (const std::string format : {"text", "", "ASCII", "appended "}) {
    parameter->inputFormat = format;
    expectRefusal([&] { writer->apply(parameter); }, inApply + " unknown inputFormat");
  }
  for (const std::string format : {"ascii", "binary", "appended"}) {
    parameter->inputFormat = format;
    expectRefusal([&] { writer->apply(parameter); },
                  inApply + " if compression is enabled, it must be vtkZLibDataCompressor");
  }
  EXPECT_EQ(readFile(file), "precious");
}

TEST_F(VtiWriterFailure, TheFrameRefusesWhatHasNoInstance) {
  expectRefusal([&] { Frame().apply(writeRequest("", SmartPointer<IVolume>())); },
                "NORV::TaviOperators::DLL::VtiWriter::Operator::getOperatorTypeFromParameterObject: inputVolume or "
                "outputVolume is NULL!");
  for (const SmartPointer<IComposite>& other : {SmartPointer<IComposite>(new Data<int32>(1)),
                                                SmartPointer<IComposite>(new TaviOperators::VtiReader::Parameter)}) {
    expectRefusal([&] { Frame().apply(other); },
                  "NORV::TaviOperators::DLL::VtiWriter::Operator::getOperatorTypeFromParameterObject: invalid "
                  "parameter object!");
    expectRefusal([&] { createTyped(typedIdentifier<uint8>("VtiWriter"))->apply(other); }, inApply);
  }
  using External = Tavi::Allocator::ExternalBufferAllocator<Tavi::Allocator::SingleBlockAllocator>;
  const TestVolume<uint8> owner({2, 2, 2});
  expectStandard<std::invalid_argument>(
      [&] {
        Frame().apply(
            writeRequest(folder / "a.vti", SmartPointer<IVolume>(new Volume<uint8, External>(owner.volume()))));
      },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::VtiWriter::Operator< NORV::Tavi::Volume< NORV::uint8 , "
      "NORV::Tavi::Allocator::ExternalBufferAllocator< NORV::Tavi::Allocator::SingleBlockAllocator > > > is "
      "registered");
}

TEST_F(VtiWriterFailure, WhatCannotBeWrittenIsNotCreated) {
  const NoFileLeftOpen check;
  const TestVolume<uint8> input({2, 2, 2});
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& file : {folder / "absent/a.vti", folder.path(), pipe}) {
    expectFailure<Exceptions::FileCreate>([&] { Frame().apply(writeRequest(file, input)); },
                                          "Couldn't create file '" + file + "'!", "VtiWriter");
  }
}

TEST_F(VtiWriterFailure, AFullDiskIsReported) {
  const NoFileLeftOpen check;
  const TestVolume<uint8> input({100, 100, 100});
  input.fill(mixedValues<uint8>(9973));
  for (const std::string format : {"ascii", "binary", "appended"}) {
    for (const bool isCompressed : {false, true}) {
      const std::string file = folder / "a.vti";
      Frame().apply(writeRequest(file, input, format, isCompressed));
      const std::string whole = readFile(file);
      for (const std::size_t room : {std::size_t{0}, std::size_t{1}, std::size_t{500}, whole.size() - 1}) {
        {
          const FullDisk disk(room);
          expectFailure<Exceptions::FileWrite>([&] { Frame().apply(writeRequest(file, input, format, isCompressed)); },
                                               "Couldn't write to file '" + file + "'!", "VtiWriter");
        }
        EXPECT_TRUE(readFile(file) == whole.substr(0, room));
      }
    }
  }
  expectFailure<Exceptions::FileWrite>([&] { Frame().apply(writeRequest("/dev/full", input)); },
                                       "Couldn't write to file '/dev/full'!", "VtiWriter");
}

TEST_F(VtiWriterFailure, CountsBeyondThirtyTwoBitsOverflowBeforeTheFileIsCreated) {
  const auto expectOverflow = [&](const SmartPointer<IVolume>& input, bool isCompressed, const std::string& number) {
    for (const std::string format : {"binary", "appended"}) {
      expectStandard<std::overflow_error>(
          [&] { Frame().apply(writeRequest(folder / "a.vti", input, format, isCompressed)); },
          "Couldn't cast " + number + " (64 bit unsigned integer) to 32 bit unsigned integer without loss of data!");
      EXPECT_FALSE(std::filesystem::exists(folder / "a.vti"));
    }
  };
  const SmartPointer<IVolume> large(untouchableVolume<uint16>({65536, 32768, 1}));
  expectOverflow(large, false, "4294967296");
  expectOverflow(large, true, "4294967296");
  const SmartPointer<IVolume> deep(untouchableVolume<uint8>({1, 1, 4294967297}));
  expectOverflow(deep, false, "4294967297");
  expectOverflow(deep, true, "4294967297");
}

}  // namespace
}  // namespace NORV::Tests
