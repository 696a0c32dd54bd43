#include "Fuzz.hpp"

#include <DLL/RekLz4Reader.hpp>
#include <DLL/RekLz4Writer.hpp>

#include <lz4frame.h>

using namespace NORV;
using namespace NORV::TaviOperators;

namespace {

void attemptAll() {
  Fuzz::attemptPlain("RekLz4TypeReader");
  Fuzz::attemptFrame<DLL::RekLz4Reader::Operator>("RekLz4Reader");
  Fuzz::attemptTyped("RekLz4Reader");
}

}  // namespace

/// The input is the file; then it is its content, so that checksums keep no damage from the reader.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  {
    const Fuzz::MemoryFile file(data, size);
    attemptAll();
  }
  std::string packed(LZ4F_compressFrameBound(size, nullptr), '\0');
  packed.resize(LZ4F_compressFrame(packed.data(), packed.size(), data, size, nullptr));
  const Fuzz::MemoryFile file(packed);
  attemptAll();
  return 0;
}

std::vector<std::string> Fuzz::seeds() { return writtenOfEachType<DLL::RekLz4Writer::Operator>("RekLz4Writer"); }
