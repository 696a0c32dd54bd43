#include <DLL/XscReader.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Tavi/Exceptions.hpp>
#include <XscReader.hpp>

#include <Files/FileStream.hpp>
#include <Files/SliceTransfer.hpp>

#include <cstdio>
#include <cstring>

namespace NORV::TaviOperators::XscReader {
namespace {

constexpr Impl::Names names{"XscReader"};

/// The next extent in a file, 0 at its end. The field is signed, but read as if it were not.
SizeType readExtent(std::FILE* file) {
  uint32 extent = 0;
  [[maybe_unused]] const std::size_t bytes = std::fread(&extent, 1, sizeof(uint16), file);
  return extent;
}

/// Reads what a file holds of a slice, and clears the rest. Larger rests stay as the system gave them, in pages of
/// zeros: four bytes of a file may promise 8 GiB, and clearing them would take the memory.
void readSlice(std::FILE* file, void* slice, SizeType bytes) {
  constexpr SizeType cleared = SizeType{64} << 20;
  const SizeType count = std::fread(slice, 1, bytes, file);
  std::memset(static_cast<char*>(slice) + count, 0, std::min(bytes - count, cleared));
}

template <class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<OutputPtr>> {
public:
  std::string getType() const override { return Impl::typedIdentifier<OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    const Impl::FileHandle file = Impl::openFile(name, Impl::ByteStream::Mode::read);
    if (file == nullptr) {
      throw Exceptions::FileOpen(names.inApply().c_str(), name);
    }
    const SizeType width = readExtent(file.get()), height = readExtent(file.get());
    const auto extents = width == 0 && height == 0 ? Dimension<SizeType>() : Dimension<SizeType>(width, height, 1);

    const auto output = this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), extents);
    Impl::Unstoppable unstoppable;
    Impl::transferSlices(unstoppable, output, Impl::Direction::intoVolume,
                         [&](void* slice, SizeType bytes) { readSlice(file.get(), slice, bytes); });
    parameter->outputVolume = output;
  }
};

using Instances = Impl::TypeList<uint16>;

}  // namespace
}  // namespace NORV::TaviOperators::XscReader

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::XscReader;
using Typed::names;

XscReader::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
XscReader::Operator::Operator(const Operator&) = default;
XscReader::Operator::~Operator() = default;
XscReader::Operator& XscReader::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> XscReader::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  return Impl::createByIdentifier(Impl::typedIdentifier<VolumePtr<uint16>>(names));
}

}  // namespace NORV::TaviOperators::DLL
