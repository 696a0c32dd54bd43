#include "Fuzz.hpp"

#include <DLL/BmpReader.hpp>
#include <DLL/BmpWriter.hpp>

using namespace NORV;
using namespace NORV::TaviOperators;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Fuzz::MemoryFile file(data, size);
  Fuzz::attemptFrame<DLL::BmpReader::Operator>("BmpReader");
  return 0;
}

std::vector<std::string> Fuzz::seeds() {
  return {written<DLL::BmpWriter::Operator>("BmpWriter", smallVolume<uint8>(5, 3, 1)),
          written<DLL::BmpWriter::Operator>("BmpWriter", smallVolume<uint8>(4, 1, 1))};
}
