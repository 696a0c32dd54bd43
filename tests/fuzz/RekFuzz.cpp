#include "Fuzz.hpp"

#include <DLL/RekReader.hpp>
#include <DLL/RekWriter.hpp>
#include <RekHeaderComposite.hpp>

using namespace NORV;
using namespace NORV::TaviOperators;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Fuzz::MemoryFile file(data, size);
  Fuzz::attemptPlain("RekTypeReader");
  Fuzz::attemptFrame<DLL::RekReader::Operator>("RekReader");
  Fuzz::attemptTyped("RekReader");
  try {
    const RekHeaderPtr header(new RekHeaderPtr::Pointee);
    header->setValue("header", Fuzz::text({reinterpret_cast<const char*>(data), size}));
  } catch (const std::invalid_argument&) {
  }
  return 0;
}

std::vector<std::string> Fuzz::seeds() { return writtenOfEachType<DLL::RekWriter::Operator>("RekWriter"); }
