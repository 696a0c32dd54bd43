// Reads a volume, removes its noise with a median, writes the result.
//
//   load_filter_save [scan.rek filtered.rek]     without names: writes a small scan first
#include <DLL/HistogramUpdateMedian.hpp>
#include <DLL/RekReader.hpp>
#include <DLL/RekWriter.hpp>
#include <HistogramUpdateMedian.hpp>
#include <RekReader.hpp>
#include <RekWriter.hpp>

#include <algorithm>
#include <cstdio>
#include <string>

using namespace NORV::TaviOperators;

namespace {

/// The frame finds the voxel type in the file; the host need not know it.
SmartPointer<IVolume> load(const std::string& file) {
  const SmartPointer<RekReader::Parameter> parameter(new RekReader::Parameter);
  parameter->inputFilename = file;
  DLL::RekReader::Operator().apply(parameter);
  return parameter->outputVolume;
}

void save(const std::string& file, const SmartPointer<IVolume>& volume) {
  const SmartPointer<RekWriter::Parameter> parameter(new RekWriter::Parameter);
  parameter->inputFilename = file;
  parameter->inputVolume = volume;
  DLL::RekWriter::Operator().apply(parameter);
}

/// The median of 3 x 3 x 3 voxels. Voxels at the border of the volume keep the value that the output held before, so
/// the output begins as a copy of the input: here the input itself is the output.
SmartPointer<IVolume> filter(const SmartPointer<IVolume>& scan) {
  const VolumePtr<NORV::uint8> mask(new Volume<NORV::uint8>(Dimension<SizeType>(3, 3, 3)));
  std::fill_n(mask->getData(), mask->getSize(), NORV::uint8(1));

  const SmartPointer<HistogramUpdateMedian::Parameter> parameter(new HistogramUpdateMedian::Parameter);
  parameter->inputVolume = scan;
  parameter->inputMask = mask;
  parameter->inputAnchor = Position<SizeType>(1, 1, 1);
  parameter->outputVolume = scan;
  DLL::HistogramUpdateMedian::Operator().apply(parameter);
  return parameter->outputVolume;
}

/// A bright block in a dark surrounding, with a dark voxel in its middle that the filter will remove.
SmartPointer<IVolume> makeScan() {
  const VolumePtr<NORV::uint16> scan(new Volume<NORV::uint16>(Dimension<SizeType>(32, 24, 16)));
  const auto extents = scan->getDimension();
  for (SizeType z = 0; z < extents.tert; ++z) {
    for (SizeType y = 0; y < extents.sec; ++y) {
      for (SizeType x = 0; x < extents.prim; ++x) {
        const bool inside = x >= 8 && x < 24 && y >= 6 && y < 18 && z >= 4 && z < 12;
        const bool noise = x == 16 && y == 12 && z == 8;
        scan->getData()[scan->getOffset(Position<SizeType>(x, y, z))] = inside && !noise ? 900 : 100;
      }
    }
  }
  return scan;
}

}  // namespace

int main(int count, char** arguments) try {
  const bool named = count == 3;
  const std::string from = named ? arguments[1] : "scan.rek", to = named ? arguments[2] : "filtered.rek";
  if (!named) {
    save(from, makeScan());
  }
  save(to, filter(load(from)));

  if (!named) {
    const VolumePtr<NORV::uint16> filtered(load(to));
    if (filtered == nullptr || filtered->getValueAt(Position<SizeType>(16, 12, 8)) != 900) {
      return std::fprintf(stderr, "the noise is still there\n"), 1;
    }
  }
  std::printf("%s: filtered to %s\n", from.c_str(), to.c_str());
} catch (const NORV::Exceptions::Exception& e) {
  return std::fprintf(stderr, "%s\n", e.getErrorMessage()), 1;
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}
