// Any bytes as a TIFF file: the list of its directories, its voxel type and its voxels are read. Every failure that is
// an exception is right.

#include <DLL/TiffVolumeReader.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Exceptions.hpp>
#include <TiffImageInformationReader.hpp>
#include <TiffVolumeReader.hpp>

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>

namespace {

using namespace NORV;
using Tavi::SmartPointer;
using TaviOperators::IComposite;
using TaviOperators::IOperator;

/// A file in memory that holds the bytes, under a name that any operator can open.
class MemoryFile {
public:
  MemoryFile() : _descriptor(memfd_create("fuzz", 0)) {
    if (_descriptor < 0) {
      std::abort();
    }
  }
  void fill(const std::uint8_t* bytes, std::size_t count) const {
    if (ftruncate(_descriptor, 0) != 0 || pwrite(_descriptor, bytes, count, 0) != static_cast<ssize_t>(count)) {
      std::abort();
    }
  }
  std::string name() const { return "/proc/self/fd/" + std::to_string(_descriptor); }

private:
  int _descriptor;
};

template <class Act>
void survive(const Act& act) {
  try {
    act();
  } catch (const Exceptions::Exception&) {
  } catch (const std::exception&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  static const MemoryFile file;
  file.fill(bytes, count);
  survive([] {
    const SmartPointer<TaviOperators::TiffImageInformationReader::Parameter> parameter(
        new TaviOperators::TiffImageInformationReader::Parameter);
    parameter->inputFilename = file.name();
    const std::string reader = "NORV::TaviOperators::TiffImageInformationReader::Operator";
    SmartPointer<IOperator>(Tavi::Factory::getClassFactory().createInstance(reader))->apply(parameter);
  });
  survive([] {
    const SmartPointer<TaviOperators::TiffVolumeReader::Parameter> parameter(
        new TaviOperators::TiffVolumeReader::Parameter);
    parameter->inputFilename = file.name();
    TaviOperators::DLL::TiffVolumeReader::Operator().apply(parameter);
  });
  return 0;
}
