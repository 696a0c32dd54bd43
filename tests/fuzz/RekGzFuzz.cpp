#include "Fuzz.hpp"

#include <DLL/RekGzReader.hpp>
#include <DLL/RekGzWriter.hpp>

#include <zlib.h>

using namespace NORV;
using namespace NORV::TaviOperators;

namespace {

void attemptAll() {
  Fuzz::attemptPlain("RekGzTypeReader");
  Fuzz::attemptFrame<DLL::RekGzReader::Operator>("RekGzReader");
  Fuzz::attemptTyped("RekGzReader");
}

}  // namespace

/// The input is the file; then it is its content, so that checksums keep no damage from the reader.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  {
    const Fuzz::MemoryFile file(data, size);
    attemptAll();
  }
  const Fuzz::MemoryFile file;
  const gzFile packed = gzopen(Fuzz::MemoryFile::name().c_str(), "w1");
  gzwrite(packed, data, static_cast<unsigned>(size));
  gzclose(packed);
  attemptAll();
  return 0;
}

std::vector<std::string> Fuzz::seeds() { return writtenOfEachType<DLL::RekGzWriter::Operator>("RekGzWriter"); }
