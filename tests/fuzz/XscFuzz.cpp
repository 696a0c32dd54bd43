#include "Fuzz.hpp"

#include <DLL/XscReader.hpp>
#include <DLL/XscWriter.hpp>

#include <algorithm>
#include <cstring>

using namespace NORV;
using namespace NORV::TaviOperators;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  uint16 extents[2] = {};
  std::memcpy(extents, data, std::min(size, sizeof extents));
  if (Fuzz::SizeType{extents[0]} * extents[1] > 1 << 20) {
    return 0;  // the format lets four bytes ask for 8 GiB, which is no failure
  }
  const Fuzz::MemoryFile file(data, size);
  Fuzz::attemptFrame<DLL::XscReader::Operator>("XscReader");
  const auto parameter = Fuzz::parameterOf("XscReader");
  const Tavi::VolumePtr<uint16> view(new Tavi::Volume<uint16>(Tavi::Dimension<Fuzz::SizeType>(2, 2, 1)));
  view->setOrientation(Tavi::Orientation(3, 1, 4));
  parameter->setValue("outputVolume", Fuzz::SmartPointer<Fuzz::IComposite>(view));
  DLL::XscReader::Operator frame;
  Fuzz::attempt(frame, parameter);
  return 0;
}

std::vector<std::string> Fuzz::seeds() {
  return {written<DLL::XscWriter::Operator>("XscWriter", smallVolume<uint16>(5, 3, 1)),
          written<DLL::XscWriter::Operator>("XscWriter", smallVolume<uint16>(1, 1, 1))};
}
