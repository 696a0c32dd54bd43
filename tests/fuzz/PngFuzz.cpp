#include "Fuzz.hpp"

#include <DLL/PngReader.hpp>
#include <DLL/PngWriter.hpp>

using namespace NORV;
using namespace NORV::TaviOperators;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Fuzz::MemoryFile file(data, size);
  Fuzz::attemptFrame<DLL::PngReader::Operator>("PngReader");
  Fuzz::attemptTyped("PngReader");
  return 0;
}

std::vector<std::string> Fuzz::seeds() {
  return {written<DLL::PngWriter::Operator>("PngWriter", smallVolume<uint8>(5, 3, 1)),
          written<DLL::PngWriter::Operator>("PngWriter", smallVolume<uint8>(4, 1, 1))};
}
