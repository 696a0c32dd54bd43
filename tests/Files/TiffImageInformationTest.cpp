#include "TiffFiles.hpp"

#include <tiffio.h>

namespace NORV::Tests {
namespace {

using Tavi::Persistence::Data;
using TaviOperators::TiffImageInformation;
using TiffImageInformationFailure = TiffFiles;

class TiffImageInformationTest : public TiffFiles {};

const std::vector<std::string> keys{"bitsPerSample",
                                    "compression",
                                    "copyright",
                                    "description",
                                    "height",
                                    "orientation",
                                    "photometricInterpretation",
                                    "pixelsPerResolutionUnitX",
                                    "pixelsPerResolutionUnitY",
                                    "planarConfiguration",
                                    "resolutionUnit",
                                    "samplesPerPixel",
                                    "software",
                                    "width"};
const std::vector<std::string> types{"uint16",  "uint16",  "string", "string", "uint32", "uint16", "uint16",
                                     "float32", "float32", "uint16", "uint16", "uint16", "string", "uint32"};

template <class T>
void put(TiffImageInformation& image, const std::string& key, const T& value) {
  image.setValue(key, SmartPointer<IComposite>(new Data<T>(value)));
}

/// All values are such that `write` takes them.
SmartPointer<TiffImageInformation> validImage() {
  const SmartPointer<TiffImageInformation> image(new TiffImageInformation);
  put<uint16>(*image, "bitsPerSample", 8);
  put<uint32>(*image, "height", 3);
  put<uint16>(*image, "photometricInterpretation", 1);
  put<uint16>(*image, "samplesPerPixel", 1);
  put<uint32>(*image, "width", 4);
  return image;
}

TEST_F(TiffImageInformationTest, HasTheKeysInTheirOrderWithTheirTypes) {
  const SmartPointer<TiffImageInformation> image(new TiffImageInformation);
  ASSERT_EQ(image->getNumberOfKeys(), keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(image->getKey(i), keys[i]);
    const std::string type = types[i] == "string" ? "std::string" : "NORV::" + types[i];
    EXPECT_EQ(image->getValue(keys[i])->getType(), "NORV::Tavi::Persistence::Data< " + type + " >") << keys[i];
  }
  EXPECT_EQ(image->getType(), "NORV::TaviOperators::TiffImageInformation");
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::TiffImageInformation"));
  expectFailure<Exceptions::InvalidArg>([&] { image->getValue("Width"); }, "No such key 'Width'!",
                                        "NORV::TaviOperators::IStruct::getValue");
}

TEST_F(TiffImageInformationTest, ListIsAContainerOfRecords) {
  const TaviOperators::TiffImageInformationListPtr list(new TaviOperators::TiffImageInformationList);
  EXPECT_EQ(list->getType(), "NORV::Tavi::Container::List< NORV::TaviOperators::TiffImageInformation >");
  EXPECT_TRUE(isRegistered(list->getType()));
  EXPECT_EQ(list->getNumberOfKeys(), 0u);
}

TEST_F(TiffImageInformationTest, ReadsEveryTag) {
  TiffPage page = greyPage(5, 3, 16, std::string(30, 'v'), 2);
  page.set(33432, TiffEntry::of("copied")).set(270, TiffEntry::of("told")).set(305, TiffEntry::of("made"));
  page.resolution(3, 25, 50, 2).set(274, 6).set(284, 2).set(262, 0);
  const auto list = listOf(write({page}));
  ASSERT_EQ(list->size(), 1u);
  const TiffImageInformation& image = *list->front();
  EXPECT_EQ(image.bitsPerSample.value(), 16);
  EXPECT_EQ(image.compression.value(), 1);
  EXPECT_EQ(image.copyright.value(), "copied");
  EXPECT_EQ(image.description.value(), "told");
  EXPECT_EQ(image.height.value(), 3u);
  EXPECT_EQ(image.orientation.value(), 6);
  EXPECT_EQ(image.photometricInterpretation.value(), 0);
  EXPECT_EQ(image.pixelsPerResolutionUnitX.value(), 12.5f);
  EXPECT_EQ(image.pixelsPerResolutionUnitY.value(), 25.0f);
  EXPECT_EQ(image.planarConfiguration.value(), 2);
  EXPECT_EQ(image.resolutionUnit.value(), 3);
  EXPECT_EQ(image.samplesPerPixel.value(), 1);
  EXPECT_EQ(image.software.value(), "made");
  EXPECT_EQ(image.width.value(), 5u);
}

TEST_F(TiffImageInformationTest, AbsentTagsHaveTheirDefaults) {
  const auto list = listOf(write({greyPage(5, 3, 8, std::string(15, 'v')).without(259)}));
  const TiffImageInformation& image = *list->front();
  EXPECT_EQ(image.compression.value(), 1);
  EXPECT_EQ(image.copyright.value(), "");
  EXPECT_EQ(image.description.value(), "");
  EXPECT_EQ(image.orientation.value(), 1);
  EXPECT_EQ(image.pixelsPerResolutionUnitX.value(), 0.0f);
  EXPECT_EQ(image.pixelsPerResolutionUnitY.value(), 0.0f);
  EXPECT_EQ(image.planarConfiguration.value(), 1);
  EXPECT_EQ(image.resolutionUnit.value(), 1);
  EXPECT_EQ(image.software.value(), "");
}

TEST_F(TiffImageInformationTest, WritesToAHandleAndReadsBack) {
  const auto image = validImage();
  put<std::string>(*image, "copyright", "mine");
  put<float32>(*image, "pixelsPerResolutionUnitX", 2.5f);
  put<float32>(*image, "pixelsPerResolutionUnitY", 0.5f);
  put<uint16>(*image, "orientation", 8);
  put<uint16>(*image, "resolutionUnit", 2);
  const std::string file = folder / "a.tif";
  TIFF* tiff = TIFFOpen(file.c_str(), "w");
  ASSERT_NE(tiff, nullptr);
  image->write(tiff);
  std::string voxels(12, 'v');
  EXPECT_EQ(TIFFWriteEncodedStrip(tiff, 0, voxels.data(), 12), 12);
  TIFFClose(tiff);
  const auto pages = takeApart(readFile(file));
  ASSERT_EQ(pages.size(), 1u);
  EXPECT_EQ(pages[0].tagNumbers(),
            (std::vector<uint16>{256, 257, 258, 259, 262, 273, 274, 277, 279, 282, 283, 284, 296, 33432}));
  EXPECT_EQ(pages[0].strips, std::vector<std::string>{voxels});

  tiff = TIFFOpen(file.c_str(), "r");
  ASSERT_NE(tiff, nullptr);
  TiffImageInformation again;
  again.read(tiff);
  TIFFClose(tiff);
  for (const std::string& key : keys) {
    const SmartPointer<Tavi::Persistence::IData> read(again.getValue(key)), written(image->getValue(key));
    EXPECT_EQ(read->toString(), written->toString()) << key;
  }
}

TEST_F(TiffImageInformationFailure, EachRequiredTagIsMissedByName) {
  const std::map<uint16, std::string> required{
      {258, "TIFFTAG_BITSPERSAMPLE"}, {262, "TIFFTAG_PHOTOMETRIC"}, {277, "TIFFTAG_SAMPLESPERPIXEL"}};
  for (const auto& [tag, name] : required) {
    const TiffPage whole = greyPage(5, 3, 8, std::string(15, 'v'));
    for (const bool isSecond : {false, true}) {
      std::vector<TiffPage> pages{TiffPage(whole).without(tag)};
      if (isSecond) {
        pages.insert(pages.begin(), whole);
      }
      const std::string file = write(pages);
      const auto expectMissing = [&, name = name](const auto& act) {
        expectFailure<Exceptions::InvalidData>(act, "Missing TIF tag: " + name,
                                               "NORV::TaviOperators::TiffImageInformation::read");
      };
      const NoFileLeftOpen check;
      expectMissing([&] { listOf(file); });
      expectMissing([&] { typeOf(file); });
      expectMissing([&] { typedReader<uint8>()->apply(toRead(file)); });
      expectMissing([&] { TaviOperators::DLL::TiffVolumeReader::Operator().apply(toRead(file)); });
    }
  }
}

TEST_F(TiffImageInformationFailure, TagsAreMissedInTheOrderOfTheKeys) {
  const std::vector<std::pair<uint16, std::string>> order{{258, "BITSPERSAMPLE"}, {262, "PHOTOMETRIC"}};
  TiffPage page = greyPage(5, 3, 8, std::string(15, 'v')).without(258).without(262).without(277);
  for (const auto& [tag, name] : order) {
    expectFailure<Exceptions::InvalidData>([&] { listOf(write({page})); }, "Missing TIF tag: TIFFTAG_" + name,
                                           "NORV::TaviOperators::TiffImageInformation::read");
    page.set(tag, tag == 258 ? 8 : 1);
  }
  // A new directory that nothing was set in has no extents either.
  const std::string file = folder / "a.tif";
  TIFF* const tiff = TIFFOpen(file.c_str(), "w");
  ASSERT_NE(tiff, nullptr);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TiffImageInformation image;
  const auto expectMissing = [&](const std::string& name) {
    expectFailure<Exceptions::InvalidData>([&] { image.read(tiff); }, "Missing TIF tag: TIFFTAG_" + name,
                                           "NORV::TaviOperators::TiffImageInformation::read");
  };
  expectMissing("IMAGELENGTH");
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 3);
  expectMissing("PHOTOMETRIC");
  TIFFClose(tiff);
}

TEST_F(TiffImageInformationFailure, EachValueThatIsNotAllowedIsNamed) {
  const std::string file = folder / "a.tif";
  TIFF* const tiff = TIFFOpen(file.c_str(), "w");
  ASSERT_NE(tiff, nullptr);
  const auto expectRefused = [&]<class T>(const std::string& key, const std::vector<T>& allowed, T last,
                                          const std::string& tag) {
    for (T value = 0; value <= last; ++value) {
      const auto image = validImage();
      put<T>(*image, key, value);
      if (std::find(allowed.begin(), allowed.end(), value) != allowed.end()) {
        image->check();
        continue;
      }
      expectFailure<Exceptions::InvalidData>([&] { image->write(tiff); }, "Invalid value for TIF tag: TIFFTAG_" + tag,
                                             "NORV::TaviOperators::TiffImageInformation::write");
    }
  };
  expectRefused.operator()<uint16>("bitsPerSample", {8, 16, 24, 32}, 70, "BITSPERSAMPLE");
  expectRefused.operator()<uint16>("compression", {1, 5}, 10, "COMPRESSION");
  expectRefused.operator()<uint32>("height", {1, 2, 3}, 3, "IMAGELENGTH");
  expectRefused.operator()<uint16>("orientation", {1, 2, 3, 4, 5, 6, 7, 8}, 10, "ORIENTATION");
  expectRefused.operator()<uint16>("photometricInterpretation", {1}, 10, "PHOTOMETRIC");
  expectRefused.operator()<uint16>("planarConfiguration", {1}, 10, "PLANARCONFIG");
  expectRefused.operator()<uint16>("resolutionUnit", {1, 2, 3}, 10, "RESOLUTIONUNIT");
  expectRefused.operator()<uint16>("samplesPerPixel", {1, 3}, 10, "SAMPLESPERPIXEL");
  expectRefused.operator()<uint32>("width", {1, 2, 3}, 3, "IMAGEWIDTH");

  // The first in the order of the keys is named.
  const SmartPointer<TiffImageInformation> empty(new TiffImageInformation);
  expectFailure<Exceptions::InvalidData>([&] { empty->write(tiff); },
                                         "Invalid value for TIF tag: TIFFTAG_BITSPERSAMPLE",
                                         "NORV::TaviOperators::TiffImageInformation::write");
  TIFFClose(tiff);
}

}  // namespace
}  // namespace NORV::Tests
