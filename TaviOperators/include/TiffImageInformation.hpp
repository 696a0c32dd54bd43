#pragma once

#include <IStruct.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/ContainerBase.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/List.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>

#include <new>
#include <string>

namespace NORV::TaviOperators {

/// The tags of one directory of a TIFF file, which is one image. A tag that is absent in the file keeps the value that
/// its entry has at first.
class TAVI_EXPORT TiffImageInformation final : public IStruct,
                                               private Tavi::Factory::StaticFactorySubscriber<TiffImageInformation> {
public:
  StructProperty<uint16> bitsPerSample;  ///< required
  StructProperty<uint16> compression{1};
  StructProperty<std::string> copyright;
  StructProperty<std::string> description;
  StructProperty<uint32> height;  ///< required; in pixels
  StructProperty<uint16> orientation{1};
  StructProperty<uint16> photometricInterpretation;        ///< required
  StructProperty<float32> pixelsPerResolutionUnitX{0.0f};  ///< 0 where the file has none
  StructProperty<float32> pixelsPerResolutionUnitY{0.0f};
  StructProperty<uint16> planarConfiguration{1};
  StructProperty<uint16> resolutionUnit{1};  ///< 1 none, 2 inch, 3 centimetre
  StructProperty<uint16> samplesPerPixel;    ///< required
  StructProperty<std::string> software;
  StructProperty<uint32> width;  ///< required; in pixels

  TiffImageInformation() {
    reserve(14);
    append("bitsPerSample", bitsPerSample);
    append("compression", compression);
    append("copyright", copyright);
    append("description", description);
    append("height", height);
    append("orientation", orientation);
    append("photometricInterpretation", photometricInterpretation);
    append("pixelsPerResolutionUnitX", pixelsPerResolutionUnitX);
    append("pixelsPerResolutionUnitY", pixelsPerResolutionUnitY);
    append("planarConfiguration", planarConfiguration);
    append("resolutionUnit", resolutionUnit);
    append("samplesPerPixel", samplesPerPixel);
    append("software", software);
    append("width", width);
  }

  std::string getType() const override { return identifier(); }
  static std::string identifier() { return "NORV::TaviOperators::TiffImageInformation"; }

  /// Reads the tags of the current directory of a `TIFF*`. Throws InvalidData if a required one is missing. A template,
  /// so that only its users need the header and the library of the format.
  template <class Tiff>
  void read(Tiff* tiff) {
    bitsPerSample = requiredTag<uint16>(tiff, bitsTag, "Missing TIF tag: TIFFTAG_BITSPERSAMPLE");
    compression = optionalTag<uint16>(tiff, compressionTag, 1);
    copyright = text(tiff, copyrightTag);
    description = text(tiff, descriptionTag);
    height = requiredTag<uint32>(tiff, heightTag, "Missing TIF tag: TIFFTAG_IMAGELENGTH");
    orientation = optionalTag<uint16>(tiff, orientationTag, 1);
    photometricInterpretation = requiredTag<uint16>(tiff, photometricTag, "Missing TIF tag: TIFFTAG_PHOTOMETRIC");
    pixelsPerResolutionUnitX = optionalTag<float32>(tiff, resolutionXTag, 0.0f);
    pixelsPerResolutionUnitY = optionalTag<float32>(tiff, resolutionYTag, 0.0f);
    planarConfiguration = optionalTag<uint16>(tiff, planarTag, 1);
    resolutionUnit = optionalTag<uint16>(tiff, unitTag, 1);
    samplesPerPixel = requiredTag<uint16>(tiff, samplesTag, "Missing TIF tag: TIFFTAG_SAMPLESPERPIXEL");
    software = text(tiff, softwareTag);
    width = requiredTag<uint32>(tiff, widthTag, "Missing TIF tag: TIFFTAG_IMAGEWIDTH");
  }

  /// Sets the tags of the current directory of a `TIFF*`, of which none is set before all have passed `check`. Empty
  /// texts and resolutions that are not above 0 are left out.
  template <class Tiff>
  void write(Tiff* tiff) const {
    check();
    TIFFSetField(tiff, bitsTag, bitsPerSample.value());
    TIFFSetField(tiff, compressionTag, compression.value());
    setText(tiff, copyrightTag, copyright);
    setText(tiff, descriptionTag, description);
    TIFFSetField(tiff, heightTag, height.value());
    TIFFSetField(tiff, orientationTag, orientation.value());
    TIFFSetField(tiff, photometricTag, photometricInterpretation.value());
    setResolution(tiff, resolutionXTag, pixelsPerResolutionUnitX);
    setResolution(tiff, resolutionYTag, pixelsPerResolutionUnitY);
    TIFFSetField(tiff, planarTag, planarConfiguration.value());
    TIFFSetField(tiff, unitTag, resolutionUnit.value());
    TIFFSetField(tiff, samplesTag, samplesPerPixel.value());
    setText(tiff, softwareTag, software);
    TIFFSetField(tiff, widthTag, width.value());
  }

  /// Throws InvalidData for the first value that `write` does not take.
  void check() const {
    const uint16 bits = bitsPerSample, scheme = compression, direction = orientation, samples = samplesPerPixel,
                 unit = resolutionUnit;
    require(bits == 8 || bits == 16 || bits == 24 || bits == 32, "Invalid value for TIF tag: TIFFTAG_BITSPERSAMPLE");
    require(scheme == 1 || scheme == 5, "Invalid value for TIF tag: TIFFTAG_COMPRESSION");
    require(height.value() != 0, "Invalid value for TIF tag: TIFFTAG_IMAGELENGTH");
    require(direction >= 1 && direction <= 8, "Invalid value for TIF tag: TIFFTAG_ORIENTATION");
    require(photometricInterpretation.value() == 1, "Invalid value for TIF tag: TIFFTAG_PHOTOMETRIC");
    require(planarConfiguration.value() == 1, "Invalid value for TIF tag: TIFFTAG_PLANARCONFIG");
    require(unit >= 1 && unit <= 3, "Invalid value for TIF tag: TIFFTAG_RESOLUTIONUNIT");
    require(samples == 1 || samples == 3, "Invalid value for TIF tag: TIFFTAG_SAMPLESPERPIXEL");
    require(width.value() != 0, "Invalid value for TIF tag: TIFFTAG_IMAGEWIDTH");
  }

private:
  // As the format numbers them; the names of the format's library are macros that not every user has.
  static constexpr uint32 widthTag = 256, heightTag = 257, bitsTag = 258, compressionTag = 259, photometricTag = 262,
                          descriptionTag = 270, orientationTag = 274, samplesTag = 277, resolutionXTag = 282,
                          resolutionYTag = 283, planarTag = 284, unitTag = 296, softwareTag = 305, copyrightTag = 33432;

  template <class T, class Tiff>
  static T requiredTag(Tiff* tiff, uint32 tag, const char* otherwise) {
    T value{};
    if (TIFFGetField(tiff, tag, &value) != 1) {
      throw Exceptions::InvalidData("NORV::TaviOperators::TiffImageInformation::read", "%s", otherwise);
    }
    return value;
  }
  template <class T, class Tiff>
  static T optionalTag(Tiff* tiff, uint32 tag, T absent) {
    T value{};
    return TIFFGetField(tiff, tag, &value) == 1 ? value : absent;
  }
  template <class Tiff>
  static std::string text(Tiff* tiff, uint32 tag) {
    const char* const value = optionalTag<const char*>(tiff, tag, nullptr);
    return value != nullptr ? value : "";
  }

  static void require(bool condition, const char* otherwise) {
    if (!condition) {
      throw Exceptions::InvalidData("NORV::TaviOperators::TiffImageInformation::write", "%s", otherwise);
    }
  }
  template <class Tiff>
  static void setText(Tiff* tiff, uint32 tag, const std::string& value) {
    if (!value.empty() && TIFFSetField(tiff, tag, value.c_str()) != 1) {
      throw std::bad_alloc();  // the library copies it
    }
  }
  template <class Tiff>
  static void setResolution(Tiff* tiff, uint32 tag, float32 value) {
    if (value > 0.0f) {
      TIFFSetField(tiff, tag, static_cast<float64>(value));
    }
  }
};

/// One record for each directory, in the order of the file.
using TiffImageInformationList = Tavi::Container::List<Tavi::SmartPointer<TiffImageInformation>>;
using TiffImageInformationListPtr = Tavi::Container::ListPtr<Tavi::SmartPointer<TiffImageInformation>>;

}  // namespace NORV::TaviOperators

namespace NORV::Tavi::Container {

template <>
struct ElementName<SmartPointer<TaviOperators::TiffImageInformation>> {
  static std::string compose() { return TaviOperators::TiffImageInformation::identifier(); }
};

}  // namespace NORV::Tavi::Container
