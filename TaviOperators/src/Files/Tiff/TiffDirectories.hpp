#pragma once

#include <Impl/Frame/Names.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>
#include <TiffImageInformation.hpp>

#include <Files/Tiff/TiffFile.hpp>

#include <limits>
#include <string>
#include <utility>

/// The directories of a TIFF file, and when they are the slices of a volume.
namespace NORV::TaviOperators::Impl {

/// Calls `visit` at each directory while it returns true. Returns false if the chain of directories has no end that can
/// be reached: it is cyclic, leads out of the file, or costs more to follow than a file of this size explains.
template <class Visit>
bool forEachDirectory(const TiffSource& file, const Visit& visit) {
  TIFF* const tiff = file.handle();
  // A table of strips may be announced without being there; libtiff makes one for each directory.
  SizeType strips = file.size() + (SizeType{4} << 20);
  do {
    if (!visit(tiff)) {
      return true;
    }
    const SizeType here = TIFFIsTiled(tiff) != 0 ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
    if (here > strips) {
      return false;
    }
    strips -= here;
  } while (TIFFReadDirectory(tiff) == 1);
  return TIFFCurrentDirOffset(tiff) == 0;
}

/// Whether two directories may be slices of one volume. A resolution that is NaN is like none.
inline bool areSlicesOfOneVolume(const TiffImageInformation& a, const TiffImageInformation& b) {
  return a.width.value() == b.width.value() && a.height.value() == b.height.value() &&
         a.bitsPerSample.value() == b.bitsPerSample.value() && a.orientation.value() == b.orientation.value() &&
         a.pixelsPerResolutionUnitX.value() == b.pixelsPerResolutionUnitX.value() &&
         a.pixelsPerResolutionUnitY.value() == b.pixelsPerResolutionUnitY.value() &&
         a.planarConfiguration.value() == b.planarConfiguration.value() &&
         a.resolutionUnit.value() == b.resolutionUnit.value() &&
         a.photometricInterpretation.value() == b.photometricInterpretation.value() &&
         a.samplesPerPixel.value() == b.samplesPerPixel.value();
}

/// How many bytes of an image at most come out of one byte of the file; a generous bound where a codec has none.
inline SizeType largestExpansion(uint16 compression) {
  switch (compression) {
    case COMPRESSION_NONE:
      return 1;
    case COMPRESSION_PACKBITS:
      return 64;
    case COMPRESSION_LZW:
      return 2600;  // codes of 12 bits for strings of up to 3839 bytes
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
      return 1040;
    default:
      return SizeType{1} << 20;
  }
}

/// The fewest bytes in which a file can hold the image of a directory; at most so many as 64 bits count.
inline SizeType fewestBytes(const TiffImageInformation& image) {
  const SizeType pixels = SizeType{image.width.value()} * image.height.value();
  SizeType bits = 0;
  if (__builtin_mul_overflow(pixels, SizeType{image.bitsPerSample.value()}, &bits)) {
    bits = std::numeric_limits<SizeType>::max();
  }
  return bits / 8 / largestExpansion(image.compression.value());
}

/// The images of a file as the slices of a volume.
struct TiffSlices {
  Tavi::SmartPointer<TiffImageInformation> first{new TiffImageInformation};
  SizeType count = 0;
  bool areAlike = true;   ///< and their chain has an end
  bool canBeHeld = true;  ///< by a file of this size
};

inline TiffSlices readSlices(const TiffSource& file) {
  TiffSlices slices;
  TiffImageInformation current;
  SizeType bytesLeft = file.size();
  const bool hasEnd = forEachDirectory(file, [&](TIFF* tiff) {
    TiffImageInformation& here = slices.count++ == 0 ? *slices.first : current;
    here.read(tiff);
    slices.areAlike = slices.areAlike && (slices.count == 1 || areSlicesOfOneVolume(here, *slices.first));
    const SizeType bytes = fewestBytes(here);
    slices.canBeHeld = slices.canBeHeld && bytes <= bytesLeft;
    bytesLeft -= slices.canBeHeld ? bytes : 0;
    return true;
  });
  slices.areAlike = slices.areAlike && hasEnd;
  return slices;
}

[[noreturn]] inline void failAsNoVolume(const TiffSource& file, const Names& names) {
  const std::string where = names.inApply();
  throw file.messages().addedTo(
      Exceptions::InvalidData(where.c_str(), "Images of TIFF file cannot be combined to a volume!"));
}

}  // namespace NORV::TaviOperators::Impl
