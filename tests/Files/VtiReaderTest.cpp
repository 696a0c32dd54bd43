#include "VtiFiles.hpp"

#include <sys/stat.h>

#include <filesystem>
#include <limits>
#include <random>
#include <thread>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::VtiReader;
using Frame = TaviOperators::DLL::VtiReader::Operator;

using VtiReader = VtiFiles;

template <class T>
SmartPointer<Typed::Parameter> readTyped(const std::string& file) {
  const auto parameter = readRequest(file);
  createTyped(typedIdentifier<T>("VtiReader"))->apply(parameter);
  return parameter;
}

/// A document of these voxels in a form.
template <class T>
std::string documentOf(const std::vector<T>& voxels, const Extents& extents, const VtiForm& form,
                       std::size_t blockVoxels) {
  const std::string bytes = rawBytes(voxels);
  const std::string payload = form.isCompressed ? blockPayload(bytes, blockVoxels * sizeof(T)) : plainPayload(bytes);
  VtiDocumentText document;
  document.extents(extents).template type<T>();
  if (form.isCompressed) {
    document.compressed();
  }
  document.payload = "_" + payload;
  return (form.format == "binary" ? document.inArray("binary", payload) : document).text();
}

TEST_F(VtiReader, ParameterHasItsKeysInOrderAndItsDefaults) {
  const Typed::Parameter parameter;
  ASSERT_EQ(parameter.getNumberOfKeys(), 4u);
  const std::array keys{"inputFilename", "outputVolume", "outputSpacing", "outputOrigin"};
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter.getKey(i), keys[i]);
  }
  EXPECT_EQ(parameter.inputFilename.value(), "");
  EXPECT_EQ(parameter.outputVolume.value(), nullptr);
  EXPECT_EQ(parameter.outputSpacing.value(), Triple<double>(0, 0, 0));
  EXPECT_EQ(parameter.outputOrigin.value(), Triple<double>(0, 0, 0));
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::VtiReader::Parameter");
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::VtiReader::Parameter"));
}

TEST_F(VtiReader, HasEightInstances) {
  EXPECT_EQ(countRegistered("NORV::TaviOperators::VtiReader::Operator< "), 8u);
  forEachVoxelType([]<class T>() {
    EXPECT_TRUE(isRegistered(typedIdentifier<T>("VtiReader")));
    EXPECT_EQ(createTyped(typedIdentifier<T>("VtiReader"))->getProgress().getProgress(), 0.0);
  });
}

TEST_F(VtiReader, MakesAVolumeOfTheTypeExtentsAndPlaceOfTheFile) {
  const NoFileLeftOpen check;
  forEachVoxelType([this]<class T>() {
    const std::vector<T> voxels = mixedValues<T>(7 * 3 * 5);
    for (const VtiForm& form : exactForms()) {
      std::string text = documentOf(voxels, {7, 3, 5}, form, 21);
      text.replace(text.find("Origin=\"0 0 0\" Spacing=\"1 1 1\""), 30,
                   "Origin=\" -1.5 2e3\t+4 \" Spacing=\"0.25 1 1e-300\"");
      text.replace(text.find("\"0 6 0 2 0 4\""), 13, "\" -3 3 10 12 -100 -96\"");
      text.replace(text.find("\"0 6 0 2 0 4\""), 13, "\"-3 3  10 12 -100 -96\"");
      const auto parameter = readRequest(write(text));
      Frame frame;
      frame.apply(parameter);
      EXPECT_EQ(parameter->outputVolume.value()->getDimension(), Dimension<SizeType>(7, 3, 5));
      expectSameVoxels(voxelsRead<T>(parameter), voxels);
      EXPECT_EQ(parameter->outputOrigin.value(), Triple<double>(-1.5, 2000, 4));
      EXPECT_EQ(parameter->outputSpacing.value(), Triple<double>(0.25, 1, 1e-300));
      EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
      const auto typed = createTyped(typedIdentifier<T>("VtiReader"));
      typed->apply(parameter);
      EXPECT_EQ(typed->getProgress().getProgress(), 1.0);
    }
  });
}

TEST_F(VtiReader, FillsEveryKindOfViewAndNothingElse) {
  const NoFileLeftOpen check;
  const RuntimeSettings settings;
  omp_set_num_threads(1);
  forEachVoxelType([this]<class T>() {
    const std::vector<T> voxels = mixedValues<T>(5 * 4 * 3, 3);
    for (const VtiForm& form : {VtiForm{"appended", false}, VtiForm{"binary", true}}) {
      const std::string file = write(documentOf(voxels, {5, 4, 3}, form, 7));
      for (const Layout& layout : allLayouts()) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, layout.name());
        const TestVolume<T> output({5, 4, 3}, layout);
        const auto regions = output.volume()->getRoiStack();
        const auto parameter = readRequest(file, output);
        createTyped(typedIdentifier<T>("VtiReader"))->apply(parameter);
        EXPECT_EQ(parameter->outputVolume.value(), SmartPointer<IVolume>(output.volume()));
        expectSameVoxels(output.voxels(), voxels);
        output.expectUntouchedOutside();
        EXPECT_TRUE(output.volume()->getRoiStack() == regions);
      }
    }
  });
}

TEST_F(VtiReader, ReadsBlocksOfEverySize) {
  const NoFileLeftOpen check;
  const RuntimeSettings settings;
  const Extents extents{5, 4, 3};
  const std::vector<uint16> voxels = mixedValues<uint16>(60, 4);
  for (std::size_t blockVoxels = 1; blockVoxels <= 61; ++blockVoxels) {
    omp_set_num_threads(blockVoxels % 2 == 0 ? 3 : 1);
    for (const VtiForm& form : {VtiForm{"appended", true}, VtiForm{"binary", true}}) {
      const std::string file = write(documentOf(voxels, extents, form, blockVoxels));
      for (const Layout& layout : someLayouts()) {
        const TestVolume<uint16> output(extents, layout);
        createTyped(typedIdentifier<uint16>("VtiReader"))->apply(readRequest(file, output));
        expectSameVoxels(output.voxels(), voxels);
        output.expectUntouchedOutside();
      }
    }
  }
}

TEST_F(VtiReader, GivesBackWhatTheWriterWrote) {
  const NoFileLeftOpen check;
  forEachVoxelType([this]<class T>() {
    for (const Extents& extents :
         {Extents{1, 1, 1}, Extents{3, 5, 7}, Extents{311, 3, 17}, Extents{20'000, 2, 1}, Extents{1, 2, 2000}}) {
      const TestVolume<T> input(extents, regionLayout);
      input.fill(mixedValues<T>(9973));
      for (const VtiForm& form : exactForms()) {
        writeVti(writeRequest(folder / "a.vti", input, form.format, form.isCompressed));
        expectSameVoxels(voxelsRead<T>(readVti(folder / "a.vti")), input.voxels());
      }
      if constexpr (!std::is_floating_point_v<T>) {
        writeVti(writeRequest(folder / "a.vti", input, "ascii"));
        expectSameVoxels(voxelsRead<T>(readVti(folder / "a.vti")), input.voxels());
      }
    }
  });
}

TEST_F(VtiReader, NumbersThatAreNoneComeBackFromText) {
  using Limits = std::numeric_limits<float32>;
  const TestVolume<float32> input({1, 2, 2});
  input.fill({Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), -0.0F});
  writeVti(writeRequest(folder / "a.vti", input, "ascii"));
  const auto voxels = voxelsRead<float32>(readVti(folder / "a.vti"));
  EXPECT_TRUE(std::isnan(voxels[0]));
  EXPECT_EQ(voxels[1], Limits::infinity());
  EXPECT_EQ(voxels[2], -Limits::infinity());
  EXPECT_TRUE(isSameValue(voxels[3], -0.0F));
}

TEST_F(VtiReader, TheNumberOfThreadsChangesNothing) {
  const RuntimeSettings settings;
  const TestVolume<int16> input({61, 47, 19}, regionLayout);
  input.fill(mixedValues<int16>(997));
  writeVti(writeRequest(folder / "a.vti", input, "appended", true));
  for (const int threads : {1, 2, 5, 33}) {
    omp_set_num_threads(threads);
    for (const Layout& layout : someLayouts()) {
      const TestVolume<int16> output({61, 47, 19}, layout);
      Frame().apply(readRequest(folder / "a.vti", output));
      expectSameVoxels(output.voxels(), input.voxels());
    }
  }
}

TEST_F(VtiReader, ResizesAVolumeOfOtherExtents) {
  const std::string file = write(VtiDocumentText().text());
  for (const Layout& layout : allLayouts()) {
    const TestVolume<uint8> output({4, 1, 3}, layout);
    const auto parameter = readRequest(file, output);
    Frame().apply(parameter);
    EXPECT_EQ(parameter->outputVolume.value(), SmartPointer<IVolume>(output.volume()));
    EXPECT_EQ(rawBytes(voxelsRead<uint8>(parameter)), "abcdefgh");
  }
}

TEST_F(VtiReader, AnOffsetMovesTheStartOfThePayload) {
  VtiDocumentText document;
  for (const std::size_t offset : {0u, 1u, 4u, 5000u}) {
    document.payload = " \n junk_" + std::string(offset, '+') + plainPayload("abcdefgh") + plainPayload("other");
    document.array = "type=\"UInt8\" Name=\"Volume\" format=\"appended\" offset=\"" + std::to_string(offset) + "\"";
    EXPECT_EQ(rawBytes(voxelsRead<uint8>(readVti(write(document.text())))), "abcdefgh");
  }
}

TEST_F(VtiReader, ReadsArraysWithAndWithoutNumberOfComponents) {
  for (const std::string components : {"", " NumberOfComponents=\"1\"", " NumberOfComponents=\" 1 \""}) {
    VtiDocumentText document;
    document.array += components;
    EXPECT_EQ(rawBytes(voxelsRead<uint8>(readVti(write(document.text())))), "abcdefgh");
  }
}

TEST_F(VtiReader, FindsTheArrayByTheNameOfTheScalars) {
  VtiDocumentText document;
  document.points = "Scalars=\"it's &quot;x&quot;\" Vectors=\"v\"";
  document.array = "type=\"UInt8\" Name=\"it's &quot;x&quot;\" format=\"appended\" offset=\"0\"";
  EXPECT_EQ(rawBytes(voxelsRead<uint8>(readVti(write(document.text())))), "abcdefgh");
  // Other arrays may follow, and those without the attributes do not count.
  std::string text = VtiDocumentText().text();
  text.insert(text.find("</PointData>"), "<DataArray Name=\"Volume\" type=\"Int8\" format=\"ascii\">1</DataArray>");
  EXPECT_EQ(rawBytes(voxelsRead<uint8>(readVti(write(text)))), "abcdefgh");
  EXPECT_EQ(rawBytes(voxelsRead<uint8>(readTyped<uint8>(write(text)))), "abcdefgh");
}

TEST_F(VtiReader, SkipsWhiteSpaceAroundThePayload) {
  for (const std::string space : {" ", "\n\t  ", "\r\n"}) {
    const VtiDocumentText document = VtiDocumentText().inArray("binary", space + plainPayload("abcdefgh") + space);
    EXPECT_EQ(rawBytes(voxelsRead<uint8>(readVti(write(document.text())))), "abcdefgh");
  }
}

/// Texts of a length that the parser does not see, in documents that need a parser.
TEST_F(VtiReader, LongPayloadsReadInDocumentsOfAllKinds) {
  const Extents extents{41, 37, 11};
  const std::vector<uint8> voxels = mixedValues<uint8>(41 * 37 * 11);
  const auto expectRead = [&](const std::string& text) {
    expectSameVoxels(voxelsRead<uint8>(readTyped<uint8>(write(text))), voxels);
  };
  for (const VtiForm& form : exactForms()) {
    const std::string text = documentOf(voxels, extents, form, 1000);
    const auto with = [&text](const std::string& before, const std::string& inserted) {
      std::string changed = text;
      return changed.insert(changed.find(before), inserted);
    };
    const std::string lookalike = ">" + std::string(5000, 'A') + "<";
    expectRead(text);
    expectRead("\xEF\xBB\xBF" + text);
    expectRead(with("<VTKFile", "<!-- comment -->"));
    expectRead(with("<VTKFile", "<!--" + lookalike + "-->"));
    expectRead(with("<VTKFile", "<!DOCTYPE VTKFile [<!ENTITY a SYSTEM \"file:///etc/passwd\">]>"));
    expectRead(with("<Piece", "<Other><![CDATA[" + lookalike + "]]></Other>"));
    expectRead(with("<Piece", "<?other " + lookalike + "?>"));
    expectRead(with("<Piece", "<Other a='" + lookalike + "'/>"));
    expectRead(with("<Piece", "<Other" + lookalike + "/Other>"));
    expectRead(with("<Piece", "<Other>&amp;" + std::string(5000, 'A') + "</Other>"));
    std::string latin = with("<Piece", "<Other a='\xE4'/>");
    latin.replace(latin.find("version=\"1.0\""), 13, "version=\"1.0\" encoding=\"ISO-8859-1\"");
    expectRead(latin);
    std::string wide = "\xFF\xFE";
    for (const char c : text) {
      wide += {c, '\0'};
    }
    expectRead(wide);
  }
}

TEST_F(VtiReader, ReadsNumbersAsStreamsDo) {
  const auto numbers = [&](const char* type, const std::string& text) {
    VtiDocumentText document = VtiDocumentText().extents({2, 1, 3}).inArray("ascii", text);
    document.array.replace(document.array.find("UInt8"), 5, type);
    return readVti(write(document.text()));
  };
  EXPECT_EQ(voxelsRead<int8>(numbers("Int8", "\n 1\t-128 127\r\n+5\v0\f48 99 and more")),
            (std::vector<int8>{1, -128, 127, 5, 0, 48}));
  EXPECT_EQ(voxelsRead<uint8>(numbers("UInt8", "0 255 49 007 9 8")), (std::vector<uint8>{0, 255, 49, 7, 9, 8}));
  EXPECT_EQ(voxelsRead<int32>(numbers("Int32", "1-2+3-2147483648 2147483647 0")),
            (std::vector<int32>{1, -2, 3, -2147483648, 2147483647, 0}));
  EXPECT_EQ(voxelsRead<float32>(numbers("Float32", "1.5.25 -.5e1 1e-60 +3 7")),
            (std::vector<float32>{1.5F, 0.25F, -5, 0, 3, 7}));
  EXPECT_EQ(voxelsRead<float64>(numbers("Float64", "4.9e-324 1e-400 0.1 1e308 -0 2")),
            (std::vector<float64>{4.9e-324, 0, 0.1, 1e308, -0.0, 2}));
}

TEST_F(VtiReader, ASmallFileIsReadWithoutSteps) {
  // No valid document has fewer than a hundred bytes.
  const auto reader = createTyped(typedIdentifier<uint8>("VtiReader"));
  expectFailure<Exceptions::BadFile>([&] { reader->apply(readRequest(write("<VTKFile/>" + std::string(89, ' ')))); },
                                     "Invalid VTI header", "VtiReader");
  EXPECT_EQ(reader->getProgress().getProgress(), 0.0);
  expectFailure<Exceptions::BadFile>([&] { reader->apply(readRequest(write("<VTKFile/>" + std::string(90, ' ')))); },
                                     "Invalid VTI header", "VtiReader");
  EXPECT_DOUBLE_EQ(reader->getProgress().getProgress(), 1.0 / 3);
}

TEST_F(VtiReader, AbortedInTheMiddleKeepsWhatWasRead) {
  constexpr SizeType slices = 400'000;
  const NoFileLeftOpen check;
  const std::string file =
      write(documentOf(std::vector<uint8>(5 * slices, 'v'), {5, 1, slices}, {"appended", false}, 1));
  const TestVolume<uint8> output({5, 1, slices}, Layout{{1, 2, 4}}, uint8(7));
  const auto reader = createTyped(typedIdentifier<uint8>("VtiReader"));
  const auto parameter = readRequest(file, output);
  std::thread run([&] { reader->apply(parameter); });
  while (reader->getProgress().getProgress() <= 0.5) {
    std::this_thread::yield();
  }
  reader->abort();
  run.join();
  const double progress = reader->getProgress().getProgress();
  const auto read = static_cast<SizeType>((2 * progress - 1) * static_cast<double>(5 * slices) + 0.5);
  EXPECT_EQ(read % 5, 0u);
  const std::vector<uint8> voxels = output.voxels();
  EXPECT_TRUE(std::all_of(voxels.begin(), voxels.begin() + static_cast<std::ptrdiff_t>(read),
                          [](uint8 v) { return v == 'v'; }));
  EXPECT_TRUE(
      std::all_of(voxels.begin() + static_cast<std::ptrdiff_t>(read), voxels.end(), [](uint8 v) { return v == 7; }));
  EXPECT_EQ(parameter->outputSpacing.value(), Triple<double>(1, 1, 1));
}

}  // namespace
}  // namespace NORV::Tests
