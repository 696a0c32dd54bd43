// The C++ samples of the pages on concepts, each between its marks. `make docs` copies them into the pages; CTest
// compiles and runs them.
#include <DLL/Saturation.hpp>
#include <Saturation.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Orientation.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

using namespace NORV::TaviOperators;
using NORV::uint16;
using NORV::uint8;
using NORV::Tavi::Orientation;

namespace {

void require(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "not as the page says: %s\n", what);
    std::exit(1);
  }
}

VolumePtr<uint16> makeScan() {
  const VolumePtr<uint16> scan(new Volume<uint16>(Dimension<SizeType>(64, 48, 32)));
  for (SizeType i = 0; i < scan->getSize(); ++i) {
    scan->getData()[i] = static_cast<uint16>(i);
  }
  return scan;
}

SmartPointer<Saturation::Parameter> makeClamp(const SmartPointer<IVolume>& scan) {
  const SmartPointer<Saturation::Parameter> parameter(new Saturation::Parameter);
  parameter->inputVolume = scan;
  parameter->inputLowerLimit.setValue(uint16(100));
  parameter->inputUpperLimit.setValue(uint16(200));
  return parameter;
}

void views() {
  // [volume]
  const VolumePtr<uint16> scan(new Volume<uint16>(Dimension<SizeType>(64, 48, 32)));
  std::fill_n(scan->getData(), scan->getSize(), uint16(0));
  // x = 10, y = 20, z = 30
  scan->getData()[10 + 64 * (20 + 48 * 30)] = 7;
  const uint16 value = scan->getValueAt(Position<SizeType>(10, 20, 30));
  // [/volume]
  require(value == 7, "a voxel lies at x + X * (y + Y * z)");

  // [walk]
  const auto& view = scan->getIterationData();
  SizeType sum = 0;
  for (SizeType z = 0; z < view.dimTert; ++z) {
    for (SizeType y = 0; y < view.dimSec; ++y) {
      const uint16* row = scan->getData() + view.startOffset + static_cast<NORV::int64>(z) * view.strideTert +
                          static_cast<NORV::int64>(y) * view.strideSec;
      for (SizeType x = 0; x < view.dimPrim; ++x) {
        sum += row[static_cast<NORV::int64>(x) * view.stridePrim];
      }
    }
  }
  // [/walk]
  require(sum == 7, "the walk reaches every voxel once");
}

void regions() {
  const VolumePtr<uint16> scan = makeScan();
  // [region]
  // 20 x 10 x 5 voxels whose first one is (4, 8, 16)
  scan->setRoi(RegionOfInterest(Dimension<SizeType>(20, 10, 5), Position<SizeType>(4, 8, 16)));
  const SmartPointer<Saturation::Parameter> parameter = makeClamp(scan);
  DLL::Saturation::Operator().apply(parameter);
  const SmartPointer<IVolume> cut = parameter->outputVolume;  // 20 x 10 x 5 voxels
  scan->popRoi();                                             // the whole scan again
  // [/region]
  require(cut->getDimension().prim == 20 && scan->getDimension().prim == 64, "a region is what operators see");
  // [slices]
  for (SizeType z = 0; z < scan->getDimTert(); ++z) {
    scan->setRoiToSlice(z);
    // ... one slice
    scan->popRoi();
  }
  // [/slices]
  require(scan->getDimTert() == 32, "the stack is balanced");
}

void orientations() {
  const VolumePtr<uint16> scan = makeScan();
  // [orientation]
  scan->setOrientation(Orientation(1, 2, 4));  // x reversed: a mirror
  const bool mirrored = scan->getValueAt(Position<SizeType>(0, 0, 0)) == 63;
  scan->setOrientation(Orientation(4, 2, 0));  // x and z swapped: 32 x 48 x 64
  const SizeType width = scan->getDimPrim();
  scan->setOrientation(Orientation(0, 2, 4));  // as stored
  // [/orientation]
  require(mirrored && width == 32, "codes name storage axis and sense");
}

void parameterObjects() {
  const VolumePtr<uint16> scan = makeScan();
  // [typed]
  const SmartPointer<Saturation::Parameter> typed(new Saturation::Parameter);
  typed->inputVolume = scan;
  typed->inputLowerLimit.setValue(uint16(100));
  typed->inputUpperLimit.setValue(uint16(200));
  typed->inputNumberOfThreads = 2;
  // [/typed]
  // [keys]
  const SmartPointer<IComposite> byKey(
      NORV::Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::Saturation::Parameter"));
  byKey->setValue("inputVolume", scan);
  byKey->setValue("inputLowerLimit", DataPtr<uint16>(new Data<uint16>(100)));
  byKey->setValue("inputUpperLimit", DataPtr<uint16>(new Data<uint16>(200)));
  for (SizeType i = 0; i < byKey->getNumberOfKeys(); ++i) {
    std::cout << byKey->getKey(i) << '\n';
  }
  // [/keys]
  // [result]
  DLL::Saturation::Operator saturation;
  saturation.apply(byKey);
  const VolumePtr<uint16> clamped(byKey->getValue("outputVolume"));  // empty if it were of another type
  // [/result]
  saturation.apply(typed);
  require(clamped != nullptr && clamped->getValueAt(Position<SizeType>(0, 0, 0)) == 100, "both ways run");

  // [describe]
  for (const auto& key : typed->describe()) {
    std::cout << key.key << ": " << key.info.meaning << '\n';
  }
  // [/describe]
}

void failures() {
  const SmartPointer<IComposite> parameter(new Saturation::Parameter);  // no volume
  DLL::Saturation::Operator saturation;
  std::string seen;
  const auto log = [&](const char* text, const char*) { seen = text; };
  const auto logPlain = [&](const char* text) { seen = text; };
  // [handlers]
  try {
    saturation.apply(parameter);
  } catch (const NORV::Exceptions::Exception& e) {
    log(e.getErrorMessage(), e.getOrigin());
  } catch (const std::exception& e) {
    logPlain(e.what());
  }
  // [/handlers]
  require(!seen.empty(), "a missing volume is a failure");
}

void threads() {
  const VolumePtr<uint16> scan = makeScan();
  // [threads]
  std::vector<std::thread> hosts;
  std::vector<SmartPointer<Saturation::Parameter>> runs;
  for (int i = 0; i < 4; ++i) {
    runs.push_back(makeClamp(scan));  // inputs may be shared: nobody changes them
    runs.back()->inputNumberOfThreads = 1;
    hosts.emplace_back([parameter = runs.back()] { DLL::Saturation::Operator().apply(parameter); });
  }
  for (std::thread& host : hosts) {
    host.join();
  }
  // [/threads]
  for (const auto& run : runs) {
    require(SmartPointer<IVolume>(run->outputVolume) != nullptr, "each run has its result");
  }
}

void memory() {
  const SizeType x = 64, y = 48, z = 32;
  auto* const pointer = static_cast<uint8*>(std::calloc(x * y * z, 1));
  bool released = false;
  const auto release = [&](uint8* block) {
    std::free(block);
    released = true;
  };
  {
    // [own]
    VolumePtr<uint8> volume(
        new Volume<uint8>(Dimension<SizeType>(x, y, z), pointer, [&](uint8* block) { release(block); }));
    // [/own]
    require(volume->getData() == pointer, "nothing is copied");
  }
  require(released, "the block goes with the last pointer");

  const VolumePtr<uint16> scan = makeScan();
  // [reuse]
  const SmartPointer<Saturation::Parameter> parameter = makeClamp(scan);
  parameter->outputVolume = VolumePtr<uint16>(new Volume<uint16>(scan->getDimension()));
  DLL::Saturation::Operator saturation;
  for (int run = 0; run < 3; ++run) {
    saturation.apply(parameter);  // writes into the same volume each time
  }
  // [/reuse]
  // [in-place]
  parameter->outputVolume = scan;
  saturation.apply(parameter);
  // [/in-place]
  require(scan->getValueAt(Position<SizeType>(0, 0, 0)) == 100, "the input is the output");
}

}  // namespace

int main() try {
  views();
  regions();
  orientations();
  parameterObjects();
  failures();
  threads();
  memory();
  std::puts("the pages hold");
} catch (const NORV::Exceptions::Exception& e) {
  return std::fprintf(stderr, "%s\n", e.getErrorMessage()), 1;
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}
