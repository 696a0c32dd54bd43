#include "Fuzz.hpp"

#include <DLL/VtiReader.hpp>
#include <DLL/VtiWriter.hpp>

using namespace NORV;
using namespace NORV::TaviOperators;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Fuzz::MemoryFile file(data, size);
  Fuzz::attemptPlain("VtiTypeReader");
  Fuzz::attemptFrame<DLL::VtiReader::Operator>("VtiReader");
  Fuzz::attemptTyped("VtiReader");  // it takes documents that the type reader refuses
  return 0;
}

std::vector<std::string> Fuzz::seeds() {
  return {written<DLL::VtiWriter::Operator>("VtiWriter", smallVolume<uint8>(5, 3, 2)),
          written<DLL::VtiWriter::Operator>("VtiWriter", smallVolume<float32>(2, 2, 2))};
}
