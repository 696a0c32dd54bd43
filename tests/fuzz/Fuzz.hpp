#pragma once

#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/IOperator.hpp>
#include <Tavi/IVolume.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>
#include <Tavi/Volume.hpp>

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// One input of a fuzz target. Each <Name>Fuzz.cpp defines it, and `NORV::Fuzz::seeds`.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// What fuzz targets share: files in memory, and operators that may fail but do nothing worse.
namespace NORV::Fuzz {

using Tavi::IOperator;
using Tavi::IVolume;
using Tavi::SizeType;
using Tavi::SmartPointer;
using Tavi::Persistence::IComposite;

/// Whole inputs to begin with, as this library's writers make them.
std::vector<std::string> seeds();

inline void require(bool condition, const char* otherwise) {
  if (!condition) {
    throw std::runtime_error(otherwise);
  }
}

/// A file in memory that operators open by name. There is one per process; the next one replaces its bytes.
class MemoryFile {
public:
  explicit MemoryFile(std::string_view bytes = {}) {
    require(ftruncate(descriptor(), 0) == 0, "a file in memory cannot be emptied");
    require(pwrite(descriptor(), bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
            "a file in memory cannot be written");
  }
  MemoryFile(const void* data, std::size_t size) : MemoryFile(std::string_view(static_cast<const char*>(data), size)) {}

  static std::string name() { return "/proc/self/fd/" + std::to_string(descriptor()); }
  static std::string bytes() {
    std::string all(static_cast<std::size_t>(lseek(descriptor(), 0, SEEK_END)), '\0');
    require(pread(descriptor(), all.data(), all.size(), 0) == static_cast<ssize_t>(all.size()),
            "a file in memory cannot be read");
    return all;
  }

private:
  static int descriptor() {
    static const int file = memfd_create("fuzz", 0);
    require(file >= 0, "there are no files in memory");
    return file;
  }
};

inline SmartPointer<IComposite> text(const std::string& value) {
  return SmartPointer<IComposite>(new Tavi::Persistence::Data<std::string>(value));
}

/// Runs an operator on its parameter object; any failure of the documented classes is as good as success.
inline void attempt(IOperator& op, const SmartPointer<IComposite>& parameter) {
  try {
    op.apply(parameter);
  } catch (const Exceptions::Exception&) {
  } catch (const std::exception&) {
  }
}

/// An empty parameter object of an operator, with the name of the file in memory.
inline SmartPointer<IComposite> parameterOf(const std::string& op) {
  const auto parameter = Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::" + op + "::Parameter");
  parameter->setValue("inputFilename", text(MemoryFile::name()));
  return parameter;
}

/// Runs an operator that has no voxel type.
inline void attemptPlain(const std::string& op) {
  const SmartPointer<IOperator> made(
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::" + op + "::Operator"));
  attempt(*made, parameterOf(op));
}

/// Runs each typed instance of a reader with one volume, past its frame.
inline void attemptTyped(const std::string& reader) {
  const std::string beginning = "NORV::TaviOperators::" + reader + "::Operator< ";
  static const std::vector<std::string> all = Tavi::Factory::getClassFactory().getIdentifiers();
  for (const std::string& identifier : all) {
    if (identifier.starts_with(beginning)) {
      const SmartPointer<IOperator> op(Tavi::Factory::getClassFactory().createInstance(identifier));
      attempt(*op, parameterOf(reader));
    }
  }
}

/// Runs a reader's exported frame, and once more into a volume of bytes whose rows are not dense.
template <class Frame>
void attemptFrame(const std::string& reader) {
  Frame frame;
  attempt(frame, parameterOf(reader));
  const auto parameter = parameterOf(reader);
  const Tavi::VolumePtr<uint8> volume(new Tavi::Volume<uint8>(Tavi::Dimension<SizeType>(2, 2, 2)));
  volume->setOrientation(Tavi::Orientation(3, 1, 4));
  parameter->setValue("outputVolume", SmartPointer<IComposite>(volume));
  attempt(frame, parameter);
}

/// A volume of few voxels, all of them different.
template <class T>
SmartPointer<IVolume> smallVolume(SizeType x, SizeType y, SizeType z) {
  const Tavi::VolumePtr<T> volume(new Tavi::Volume<T>(Tavi::Dimension<SizeType>(x, y, z)));
  for (SizeType i = 0; i < volume->getSize(); ++i) {
    volume->getData()[i] = static_cast<T>(i);
  }
  return SmartPointer<IVolume>(volume);
}

/// The bytes that a writer makes of a volume.
template <class Frame>
std::string written(const std::string& writer, const SmartPointer<IVolume>& volume) {
  const MemoryFile file;
  const auto parameter = parameterOf(writer);
  parameter->setValue("inputVolume", SmartPointer<IComposite>(volume));
  Frame().apply(parameter);
  return MemoryFile::bytes();
}

/// Volumes of each voxel type as a writer stores them.
template <class Frame>
std::vector<std::string> writtenOfEachType(const std::string& writer) {
  return {written<Frame>(writer, smallVolume<int8>(5, 4, 3)),    written<Frame>(writer, smallVolume<uint8>(9, 1, 1)),
          written<Frame>(writer, smallVolume<int16>(3, 3, 2)),   written<Frame>(writer, smallVolume<uint16>(1, 7, 2)),
          written<Frame>(writer, smallVolume<int32>(2, 2, 2)),   written<Frame>(writer, smallVolume<uint32>(1, 1, 9)),
          written<Frame>(writer, smallVolume<float32>(4, 2, 1)), written<Frame>(writer, smallVolume<float64>(2, 1, 2))};
}

}  // namespace NORV::Fuzz
