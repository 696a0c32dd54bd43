// One class factory, one reporting state and one identity per class on both sides of the library's boundary, for a host
// that compiles the same headers as the library. Built twice: linked with the library, and without, to load it at run
// time with local visibility, as a plug-in of a host would be.
//
//   boundary <path of the library>

#include <DLL/Saturation.hpp>
#include <Saturation.hpp>
#include <Tavi/Allocators.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/CompositeLeaf.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/IOperator.hpp>
#include <Tavi/Progress.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Volume.hpp>

#include <dlfcn.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

using namespace NORV;
using Tavi::Dimension;
using Tavi::IOperator;
using Tavi::SizeType;
using Tavi::SmartPointer;
using Tavi::Volume;
using Tavi::VolumePtr;
using Tavi::Factory::CompositeFactory;
using Tavi::Factory::getClassFactory;
using Tavi::Persistence::Data;
using Tavi::Persistence::DataPtr;
using Tavi::Persistence::IComposite;
using External = Tavi::Allocator::ExternalBufferAllocator<Tavi::Allocator::SingleBlockAllocator>;
using SaturationFrame = TaviOperators::DLL::Saturation::Operator;

namespace {

const std::string volumeOfUint8 = "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >";
const std::string typedSaturation =
    "NORV::TaviOperators::Saturation::Operator< " + volumeOfUint8 + ", " + volumeOfUint8 + " >";

void require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "boundary broken: %s\n", what);
    std::exit(1);
  }
}

class Sink final : public Exceptions::IReportSink {
public:
  void print(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    char buffer[512];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    text += buffer;
  }
  std::string text;
};

[[maybe_unused]] void* find(void* library, const char* mangledName) {
  void* const symbol = dlsym(library, mangledName);
  require(symbol != nullptr, mangledName);
  return symbol;
}

/// A frame that lives in the host's memory; its code is the library's.
class Frame {
public:
  explicit Frame([[maybe_unused]] void* library) {
#ifdef TAVI_BOUNDARY_LINKED
    ::new (_memory) SaturationFrame;
#else
    using Constructor = void (*)(void*);
    void* const constructor = find(library, "_ZN4NORV13TaviOperators3DLL10Saturation8OperatorC1Ev");
    reinterpret_cast<Constructor>(constructor)(_memory);
#endif
  }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;
  ~Frame() { get().~IOperator(); }

  IOperator& get() { return *std::launder(reinterpret_cast<SaturationFrame*>(_memory)); }

private:
  alignas(SaturationFrame) std::byte _memory[sizeof(SaturationFrame)];
};

SmartPointer<IComposite> makeParameter(const SmartPointer<IComposite>& input) {
  const SmartPointer<IComposite> parameter(new TaviOperators::Saturation::Parameter);
  parameter->setValue("inputVolume", input);
  parameter->setValue("inputLowerLimit", DataPtr<uint8>(new Data<uint8>(10)));
  parameter->setValue("inputUpperLimit", DataPtr<uint8>(new Data<uint8>(20)));
  return parameter;
}

/// An operator that only the host knows, for volumes that the library has no operator for.
class HostOperator final : public IOperator, public Tavi::Persistence::CompositeLeaf<HostOperator> {
public:
  HostOperator() {}  // written out: an implicit one would not register the class
  std::string getType() const override {
    const std::string volume = Volume<uint8, External>::identifier();
    return "NORV::TaviOperators::Saturation::Operator< " + volume + ", " + volume + " >";
  }
  void apply(SmartPointer<IComposite>) override { ++runs; }
  Tavi::Progress getProgress() const override { return Tavi::Progress(1.0); }
  void abort() override {}

  static inline int runs = 0;
};

/// The frame's code looks up the class that the host registered: there is no second factory inside the library. That
/// its functions may be inlined there leaves no address to compare.
void checkOneFactory(IOperator& frame) {
  const VolumePtr<uint8> owner(new Volume<uint8>(Dimension<SizeType>(1, 1, 1)));
  owner->getData()[0] = 0;
  const VolumePtr<uint8, External> view(new Volume<uint8, External>(owner));
  frame.apply(makeParameter(view));
  require(HostOperator::runs == 1, "the library makes the operator that the host registered");
}

void checkRegistrations(const std::vector<std::string>& before) {
  const std::vector<std::string> after = getClassFactory().getIdentifiers();
  require(std::includes(after.begin(), after.end(), before.begin(), before.end()), "what the host registered stays");
  require(std::adjacent_find(after.begin(), after.end()) == after.end(), "one registration per class");
  require(getClassFactory().isRegistered(typedSaturation), "the library's classes are registered");
  for (const std::string& identifier : after) {
    const SmartPointer<IComposite> instance = getClassFactory().createInstance(identifier);
    require(instance != nullptr && instance->getType() == identifier, "what is created has the type asked for");
  }
  require(SmartPointer<IOperator>(getClassFactory().createInstance(typedSaturation)) != nullptr,
          "an operator of the library is the host's IOperator");
  const SmartPointer<IComposite> volume = getClassFactory().createInstance(volumeOfUint8);
  const IComposite& made = *volume;
  require(typeid(made) == typeid(Volume<uint8>) && VolumePtr<uint8>(volume) != nullptr,
          "a volume of the factory is the host's volume");
}

void checkRun(IOperator& frame) {
  const VolumePtr<uint8> input(new Volume<uint8>(Dimension<SizeType>(5, 3, 2)));
  for (SizeType i = 0; i < input->getSize(); ++i) {
    input->getData()[i] = static_cast<uint8>(i);
  }
  const SmartPointer<IComposite> parameter = makeParameter(input);
  frame.apply(parameter);
  const VolumePtr<uint8> output(parameter->getValue("outputVolume"));
  require(output != nullptr, "a volume that the library made casts to the host's class");
  require(VolumePtr<uint16>(parameter->getValue("outputVolume")) == nullptr, "and to no other");
  for (SizeType i = 0; i < output->getSize(); ++i) {
    require(output->getData()[i] == std::clamp<SizeType>(i, 10, 20), "voxels");
  }
  require(frame.getProgress().getProgress() == 1.0, "progress");
}

void checkCatches(IOperator& frame) {
  bool caught = false;
  try {
    frame.apply(SmartPointer<IComposite>());
  } catch (const IOperator::InvalidParameterObjectException&) {
    caught = true;
  }
  require(caught, "a parameter failure is caught by its class");

  Sink sink;
  Exceptions::addReportSink(sink);
  const VolumePtr<uint8> input(new Volume<uint8>(Dimension<SizeType>(1, 1, 1)));
  const SmartPointer<IComposite> parameter = makeParameter(input);
  parameter->setValue("inputUpperLimit", SmartPointer<IComposite>());
  const int64 living = Exceptions::getNumberOfLivingExceptions();
  caught = false;
  try {
    frame.apply(parameter);
  } catch (const Exceptions::Exception& failure) {
    caught = true;
    require(std::string(failure.getClassName()) == "NULLPointer", "class name of the failure");
    require(dynamic_cast<const Exceptions::NULLPointer*>(&failure) != nullptr, "the failure is the host's class");
    require(dynamic_cast<const std::invalid_argument*>(&failure) != nullptr, "and of its standard class");
    require(Exceptions::getNumberOfLivingExceptions() == living + 1, "the host counts the library's failure");
    require(sink.text.find("NULLPointer was thrown!") != std::string::npos, "the host's sink hears the library");
    require(Exceptions::getSummary().find("NULLPointer") != std::string::npos, "the summary is of this failure");
    bool again = false;
    try {
      failure.rethrow();
    } catch (const Exceptions::NULLPointer&) {
      again = true;
    }
    require(again, "a rethrown failure keeps its class");
  }
  require(caught, "a failure of the family is caught by its base");
  require(Exceptions::getNumberOfLivingExceptions() == living, "no failure stays behind");
  Exceptions::removeReportSink(sink);
}

}  // namespace

int main(int argc, char** argv) {
  require(argc == 2, "one argument: the path of the library");
#ifndef TAVI_BOUNDARY_LINKED
  require(!getClassFactory().isRegistered(typedSaturation), "nothing of the library before it is loaded");
#endif
  require(getClassFactory().isRegistered("NORV::TaviOperators::Saturation::Parameter"), "the host's own class");
  const std::vector<std::string> before = getClassFactory().getIdentifiers();

  void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  checkRegistrations(before);
  {
    Frame frame(library);
    checkOneFactory(frame.get());
    checkRun(frame.get());
    checkCatches(frame.get());
  }
  // The factory keeps creation functions of the library, which therefore stays in memory.
  dlclose(library);
  require(getClassFactory().createInstance(typedSaturation) != nullptr, "the library outlives its handle");

  std::puts("boundary holds");
  return 0;
}
