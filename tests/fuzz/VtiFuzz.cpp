// Feeds any bytes to the VTI type reader and the VTI reader. Failures are exceptions; all else is a finding.

#include <DLL/VtiReader.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Exceptions.hpp>
#include <VtiReader.hpp>
#include <VtiTypeReader.hpp>

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace {

using namespace NORV;
using Tavi::IOperator;
using Tavi::SmartPointer;

/// A file in memory that has a name.
class MemoryFile {
public:
  MemoryFile(const std::uint8_t* bytes, std::size_t size) : _descriptor(memfd_create("fuzz", 0)) {
    for (std::size_t done = 0; done < size;) {
      const auto count = write(_descriptor, bytes + done, size - done);
      if (count <= 0) {
        std::perror("memfd");
        std::abort();
      }
      done += static_cast<std::size_t>(count);
    }
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { close(_descriptor); }
  std::string name() const { return "/proc/self/fd/" + std::to_string(_descriptor); }

private:
  int _descriptor;
};

template <class Parameter>
void run(IOperator& op, const std::string& file) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputFilename = file;
  try {
    op.apply(parameter);
  } catch (const Exceptions::Exception&) {
  } catch (const std::exception&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const MemoryFile file(bytes, size);
  const SmartPointer<IOperator> typeReader(
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::VtiTypeReader::Operator"));
  run<TaviOperators::VtiTypeReader::Parameter>(*typeReader, file.name());
  TaviOperators::DLL::VtiReader::Operator reader;
  run<TaviOperators::VtiReader::Parameter>(reader, file.name());
  // The reader alone takes documents that the type reader refuses.
  const SmartPointer<IOperator> byteReader(Tavi::Factory::getClassFactory().createInstance(
      "NORV::TaviOperators::VtiReader::Operator< NORV::Tavi::Volume< NORV::uint8 , "
      "NORV::Tavi::Allocator::SingleBlockAllocator > >"));
  run<TaviOperators::VtiReader::Parameter>(*byteReader, file.name());
  return 0;
}
