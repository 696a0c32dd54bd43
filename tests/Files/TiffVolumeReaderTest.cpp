#include "TiffFiles.hpp"

#include <thread>

namespace NORV::Tests {
namespace {

using Frame = TaviOperators::DLL::TiffVolumeReader::Operator;
using Tavi::Dimension;

class TiffVolumeReader : public TiffFiles {
protected:
  template <class T>
  static std::vector<TiffPage> pagesOf(const std::vector<T>& voxels, uint32 width, uint32 height,
                                       uint32 rowsPerStrip = 0) {
    const std::string bytes = bytesOf(voxels);
    const std::size_t slice = std::size_t{width} * height * sizeof(T);
    std::vector<TiffPage> pages;
    for (std::size_t begin = 0; begin < bytes.size(); begin += slice) {
      pages.push_back(greyPage(width, height, 8 * sizeof(T), bytes.substr(begin, slice), rowsPerStrip));
    }
    return pages;
  }
};

TEST_F(TiffVolumeReader, IsRegisteredForThreeVoxelTypes) {
  forEachTiffType([]<class T>() { EXPECT_TRUE(isRegistered(typedIdentifier<T>("TiffVolumeReader"))); });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::TiffVolumeReader::Operator< "), 3u);
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::TiffVolumeReader::Parameter"));
  EXPECT_TRUE(isRegistered(typeReaderName));
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::TiffVolumeTypeReader::Parameter"));
  EXPECT_EQ(createTyped(typeReaderName)->getProgress().getProgress(), 0.0);
}

TEST_F(TiffVolumeReader, KeysStandInTheirOrderWithTheirDefaults) {
  const auto parameter = makeParameter<ReadParameter>();
  const std::vector<std::string> keys{"inputFilename", "outputVolume", "outputVoxelSize_mm", "outputDescription",
                                      "outputSoftware"};
  ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter->getKey(i), keys[i]);
  }
  EXPECT_TRUE(parameter->outputVolume.value() == nullptr);
  EXPECT_EQ(parameter->outputVoxelSize_mm.value(), Tavi::Triple<float32>(0, 0, 0));
  EXPECT_EQ(parameter->outputDescription.value(), "");
}

TEST_F(TiffVolumeReader, ReadsAllTypesInStripsOfAnyHeightAndEitherByteOrder) {
  forEachTiffType([&]<class T>() {
    const auto voxels = mixedValues<T>(7 * 5 * 3);
    for (const uint32 rows : {0u, 1u, 2u, 4u, 5u, 100u}) {
      const std::string file = write(pagesOf(voxels, 7, 5, rows));
      const NoFileLeftOpen check;
      const auto parameter = toRead(file);
      Frame().apply(parameter);
      EXPECT_EQ(parameter->outputVolume.value()->getDimension(), Dimension<SizeType>(7, 5, 3));
      expectSameVoxels(voxelsRead<T>(parameter), voxels);
      EXPECT_EQ(typeOf(file), Tavi::typeName<T>);
    }
    std::vector<T> swapped = voxels;
    for (T& value : swapped) {
      auto* const bytes = reinterpret_cast<char*>(&value);
      std::reverse(bytes, bytes + sizeof(T));
    }
    const auto parameter = toRead(write(layOut(pagesOf(swapped, 7, 5, 2), true)));
    Frame().apply(parameter);
    expectSameVoxels(voxelsRead<T>(parameter), voxels);
  });
}

TEST_F(TiffVolumeReader, ReadsIntoEveryView) {
  forEachTiffType([&]<class T>() {
    const auto voxels = mixedValues<T>(5 * 4 * 3);
    const std::string file = write(pagesOf(voxels, 5, 4, 3));
    for (const Layout& layout : allLayouts()) {
      const TestVolume<T> output({5, 4, 3}, layout);
      const auto parameter = toRead(file, output);
      Frame().apply(parameter);
      EXPECT_TRUE(parameter->outputVolume.value().get() == SmartPointer<IVolume>(output).get());
      expectSameVoxels(output.voxels(), voxels);
      output.expectUntouchedOutside();
    }
  });
}

TEST_F(TiffVolumeReader, ResizesAnOutputOfOtherExtents) {
  const auto voxels = mixedValues<uint16>(5 * 4 * 3);
  const TestVolume<uint16> output({9, 9, 1});
  const auto parameter = toRead(write(pagesOf(voxels, 5, 4)), output);
  Frame().apply(parameter);
  EXPECT_EQ(output.volume()->getDimension(), Dimension<SizeType>(5, 4, 3));
  expectSameVoxels(voxelsOf(output.volume()), voxels);
}

TEST_F(TiffVolumeReader, ASinglePageIsAVolumeOfOneSlice) {
  const auto parameter = toRead(write({greyPage(2, 2, 8, "abcd")}));
  Frame().apply(parameter);
  EXPECT_EQ(parameter->outputVolume.value()->getDimension(), Dimension<SizeType>(2, 2, 1));
  expectSameVoxels(voxelsRead<uint8>(parameter), {'a', 'b', 'c', 'd'});
}

TEST_F(TiffVolumeReader, FloatingPointSamplesAreReadAsTheirBits) {
  const std::vector<float32> values{1.0f, -2.5f, 1e30f, 0.0f};
  std::vector<uint32> bits(4);
  std::memcpy(bits.data(), values.data(), 16);
  const std::string file = write({greyPage(2, 2, 32, bytesOf(values)).set(339, 3)});
  EXPECT_EQ(typeOf(file), "NORV::uint32");
  const auto parameter = toRead(file);
  Frame().apply(parameter);
  expectSameVoxels(voxelsRead<uint32>(parameter), bits);
}

TEST_F(TiffVolumeReader, SignedSamplesPalettesAndInvertedGreyAreReadAsTheyAre) {
  for (const TiffPage& page : {greyPage(2, 2, 8, "abcd").set(339, 2), greyPage(2, 2, 8, "abcd").set(262, 0)}) {
    const auto parameter = toRead(write({page}));
    Frame().apply(parameter);
    expectSameVoxels(voxelsRead<uint8>(parameter), {'a', 'b', 'c', 'd'});
  }
}

TEST_F(TiffVolumeReader, PackedBitsAreDecoded) {
  TiffPage page = greyPage(4, 2, 8, "").set(259, 32773);
  page.strips = {std::string("\x03wxyz\xFD", 6) + "q"};
  const auto parameter = toRead(write({page}));
  Frame().apply(parameter);
  expectSameVoxels(voxelsRead<uint8>(parameter), {'w', 'x', 'y', 'z', 'q', 'q', 'q', 'q'});
}

TEST_F(TiffVolumeReader, VoxelSizeComesFromTheResolutionWithoutADocument) {
  const auto sizesOf = [&](const TiffPage& page) {
    const auto parameter = toRead(write({page}));
    Frame().apply(parameter);
    EXPECT_EQ(parameter->outputDescription.value(), "no document");
    return parameter->outputVoxelSize_mm.value();
  };
  const TiffPage page = greyPage(2, 2, 8, "abcd").set(270, TiffEntry::of("no document"));
  using Sizes = Tavi::Triple<float32>;
  EXPECT_EQ(sizesOf(TiffPage(page).resolution(2, 254, 508)), Sizes(0.1f, 0.05f, 0));
  EXPECT_EQ(sizesOf(TiffPage(page).resolution(3, 100, 25)), Sizes(0.1f, 0.4f, 0));
  EXPECT_EQ(sizesOf(TiffPage(page).resolution(3, 0, 25)), Sizes(0, 0.4f, 0));
  EXPECT_EQ(sizesOf(TiffPage(page).resolution(1, 100, 25)), Sizes(0, 0, 0));
  EXPECT_EQ(sizesOf(TiffPage(page).resolution(3, 100, 25).without(296)), Sizes(0, 0, 0));
  EXPECT_EQ(sizesOf(TiffPage(page).resolution(2, 7, 9).without(283)), Sizes(static_cast<float32>(25.4 / 7.0), 0, 0));
  EXPECT_EQ(sizesOf(page), Sizes(0, 0, 0));
}

TEST_F(TiffVolumeReader, DescriptionAndSizesComeFromTheDocumentWhereItIsOne) {
  struct Case {
    std::string text, description;
    Tavi::Triple<float32> size;
  };
  const Tavi::Triple<float32> fromTags(0.1f, 0.2f, 0), none(0, 0, 0);
  const std::string information = "<Information name='";
  const std::vector<Case> cases{
      {metaText("0.5", "1e-3", "7", "told"), "told", {0.5f, 1e-3f, 7.0f}},
      {metaText("0.5mm", "x", " 7", "&lt;a&amp;b&gt;&#10;"), "<a&b>\n", {0.5f, 0, 7.0f}},
      {"<MetaInformation/>", "", none},
      {"<MetaInformation>" + information + "description' value='first'/>" + information +
           "description' value='second'/></MetaInformation>",
       "first", none},
      {"<MetaInformation>" + information + "description'/>" + information +
           "description' value='with value'/></MetaInformation>",
       "with value", none},
      {"<MetaInformation><x>" + information + "description' value='deep'/></x></MetaInformation>", "", none},
      {"<MetaInformation>" + information + "pixelSizeTert_mm' value='0x1p-2'/></MetaInformation>", "", {0, 0, 0.25f}},
      {"<?xml version='1.0' encoding='utf-8'?>\n<!-- c -->\n<MetaInformation>" + information +
           "pixelSizePrim_mm' value='2'/></MetaInformation>",
       "",
       {2, 0, 0}},
      {"<metaInformation/>", "<metaInformation/>", fromTags},
      {"<a><MetaInformation/></a>", "<a><MetaInformation/></a>", fromTags},
      {"<MetaInformation>", "<MetaInformation>", fromTags},
      {"<MetaInformation></Information>", "<MetaInformation></Information>", fromTags},
      {"plain & text", "plain & text", fromTags},
      {"", "", fromTags}};
  for (const Case& one : cases) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, one.text);
    TiffPage page = greyPage(2, 2, 8, "abcd").resolution(3, 100, 50).set(305, TiffEntry::of("maker"));
    page.set(270, TiffEntry::of(one.text));
    // Of several pages the first tells.
    const auto parameter = toRead(write({page, TiffPage(page).set(270, TiffEntry::of("other"))}));
    Frame().apply(parameter);
    EXPECT_EQ(parameter->outputDescription.value(), one.description);
    EXPECT_EQ(parameter->outputVoxelSize_mm.value(), one.size);
    EXPECT_EQ(parameter->outputSoftware.value(), "maker");
  }
}

TEST_F(TiffVolumeReader, DeepDocumentsAndEntitiesDoNoHarm) {
  std::string deep = "<MetaInformation>";
  for (int i = 0; i < 300000; ++i) {
    deep += "<a>";
  }
  std::string closed = deep;
  for (int i = 0; i < 300000; ++i) {
    closed += "</a>";
  }
  closed += "</MetaInformation>";
  const std::string entities =
      "<!DOCTYPE x [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><MetaInformation><Information name='description' "
      "value='&e;'/></MetaInformation>";
  for (const auto& [text, description] :
       std::vector<std::pair<std::string, std::string>>{{deep, deep}, {closed, ""}, {entities, "&e;"}}) {
    const auto parameter = toRead(write({greyPage(2, 2, 8, "abcd").set(270, TiffEntry::of(text))}));
    Frame().apply(parameter);
    EXPECT_TRUE(parameter->outputDescription.value() == description);
  }
}

TEST_F(TiffVolumeReader, ReadsThroughKeys) {
  const SmartPointer<IComposite> parameter(new ReadParameter);
  using Tavi::Persistence::Data;
  parameter->setValue("inputFilename",
                      SmartPointer<IComposite>(new Data<std::string>(write({greyPage(2, 2, 8, "abcd")}))));
  Frame frame;
  frame.apply(parameter);
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
  const VolumePtr<uint8> volume(parameter->getValue("outputVolume"));
  ASSERT_TRUE(volume != nullptr);
  expectSameVoxels(voxelsOf(volume), {'a', 'b', 'c', 'd'});
  EXPECT_EQ(parameter->getValue("outputVoxelSize_mm")->getNumberOfKeys(), 3u);
}

TEST_F(TiffVolumeReader, ListHasARecordForEachDirectoryAlsoWhenReadAgain) {
  const auto parameter = makeParameter<TaviOperators::TiffImageInformationReader::Parameter>();
  EXPECT_EQ(parameter->getKey(0), "inputFilename");
  EXPECT_EQ(parameter->getKey(1), "outputTiffImageInformationList");
  ASSERT_TRUE(parameter->outputTiffImageInformationList.value() != nullptr);
  const auto given = parameter->outputTiffImageInformationList.value();
  parameter->inputFilename = write({greyPage(2, 2, 8, "abcd"), greyPage(4, 1, 16, "abcdefgh"),
                                    greyPage(1, 1, 8, "abc").set(277, 3).set(258, TiffEntry::of(shorts, {8, 8, 8}))});
  for (int run = 0; run < 2; ++run) {
    createTyped(listReaderName)->apply(parameter);
    EXPECT_TRUE(parameter->outputTiffImageInformationList.value().get() == given.get());
    ASSERT_EQ(given->getNumberOfKeys(), 3u);
    EXPECT_EQ(given->front()->width.value(), 2u);
    EXPECT_EQ(given->back()->samplesPerPixel.value(), 3);
  }
  parameter->outputTiffImageInformationList = TaviOperators::TiffImageInformationListPtr();
  createTyped(listReaderName)->apply(parameter);
  EXPECT_EQ(parameter->outputTiffImageInformationList.value()->size(), 3u);
}

TEST_F(TiffVolumeReader, AbortedInTheMiddleReturnsNormallyWithItsResults) {
  constexpr SizeType slices = 4'000;
  const TestVolume<uint8> input({16, 16, slices}, denseLayout, uint8('v'));
  const std::string file = folder / "a.tif";
  const auto writing = toWrite(file, input);
  writing->inputSoftware = std::string("maker");
  TaviOperators::DLL::TiffVolumeWriter::Operator().apply(writing);
  for (const Layout& layout : {denseLayout, Layout{{1, 2, 4}}}) {
    const NoFileLeftOpen check;
    const TestVolume<uint8> output({16, 16, slices}, layout, uint8('o'));
    const auto reader = typedReader<uint8>();
    const auto parameter = toRead(file, output);
    std::thread run([&] { reader->apply(parameter); });
    while (reader->getProgress().getProgress() == 0.0) {
      std::this_thread::yield();
    }
    reader->abort();
    run.join();
    const auto voxels = output.voxels();
    const auto read = static_cast<SizeType>(std::count(voxels.begin(), voxels.end(), uint8('v')));
    EXPECT_GT(read, 0u);
    EXPECT_LT(read, voxels.size());
    EXPECT_EQ(read % 256, 0u);
    EXPECT_EQ(parameter->outputSoftware.value(), "maker");
    EXPECT_EQ(reader->getProgress().getProgress(), 1.0);
    reader->apply(parameter);
    expectSameVoxels(output.voxels(), std::vector<uint8>(voxels.size(), 'v'));
  }
}

}  // namespace
}  // namespace NORV::Tests
