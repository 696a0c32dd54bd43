#include "Fuzz.hpp"

#include <DLL/TiffVolumeReader.hpp>
#include <DLL/TiffVolumeWriter.hpp>

using namespace NORV;
using namespace NORV::TaviOperators;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Fuzz::MemoryFile file(data, size);
  Fuzz::attemptPlain("TiffImageInformationReader");
  Fuzz::attemptFrame<DLL::TiffVolumeReader::Operator>("TiffVolumeReader");
  return 0;
}

std::vector<std::string> Fuzz::seeds() {
  return {written<DLL::TiffVolumeWriter::Operator>("TiffVolumeWriter", smallVolume<uint8>(5, 3, 2)),
          written<DLL::TiffVolumeWriter::Operator>("TiffVolumeWriter", smallVolume<uint16>(2, 2, 1))};
}
