#include <DLL/RekWriter.hpp>
#include <DLL/Saturation.hpp>
#include <RekWriter.hpp>
#include <Saturation.hpp>

#include <cstdio>
#include <numeric>
using namespace NORV::TaviOperators;
int main() try {
  VolumePtr<NORV::uint16> input(new Volume<NORV::uint16>(Dimension<SizeType>(64, 64, 64)));
  std::iota(input->getData(), input->getData() + input->getSize(), NORV::uint16(0));
  SmartPointer<IComposite> clamp(new Saturation::Parameter);
  clamp->setValue("inputVolume", input);
  clamp->setValue("inputLowerLimit", DataPtr<NORV::uint16>(new Data<NORV::uint16>(1000)));
  clamp->setValue("inputUpperLimit", DataPtr<NORV::uint16>(new Data<NORV::uint16>(50000)));
  DLL::Saturation::Operator().apply(clamp);
  SmartPointer<IComposite> save(new RekWriter::Parameter);
  save->setValue("inputFilename", DataPtr<std::string>(new Data<std::string>("clamped.rek")));
  save->setValue("inputVolume", clamp->getValue("outputVolume"));
  DLL::RekWriter::Operator().apply(save);
} catch (const NORV::Exceptions::Exception& e) {
  return std::fprintf(stderr, "%s\n", e.getErrorMessage()), 1;
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}
