#include <DLL/XscWriter.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Tavi/CheckedCast.hpp>
#include <Tavi/Exceptions.hpp>
#include <XscWriter.hpp>

#include <Files/FileStream.hpp>
#include <Files/SliceTransfer.hpp>

#include <array>
#include <cstdio>

namespace NORV::TaviOperators::XscWriter {
namespace {

constexpr Impl::Names names{"XscWriter"};

/// Writes without a look at how much the disk took.
void writeUnchecked(std::FILE* file, const void* bytes, SizeType count) {
  [[maybe_unused]] const std::size_t written = std::fwrite(bytes, 1, count, file);
}

template <class InputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr>> {
public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));
    const auto extents = input->getDimension();
    Impl::require(extents.tert == 1, names.inApply(" input volume dim tert must be 1"));
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    const std::array<int16, 2> header{Tavi::checkedCast<int16>(extents.prim), Tavi::checkedCast<int16>(extents.sec)};

    const Impl::FileHandle file = Impl::openFile(name, Impl::ByteStream::Mode::write);
    if (file == nullptr) {
      throw Exceptions::FileCreate(names.inApply().c_str(), name);
    }
    writeUnchecked(file.get(), header.data(), sizeof header);
    Impl::Unstoppable unstoppable;
    Impl::transferSlices(unstoppable, input, Impl::Direction::outOfVolume,
                         [&](const void* slice, SizeType bytes) { writeUnchecked(file.get(), slice, bytes); });
  }
};

using Instances = Impl::TypeList<uint16>;

}  // namespace
}  // namespace NORV::TaviOperators::XscWriter

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::XscWriter;
using Typed::names;

XscWriter::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
XscWriter::Operator::Operator(const Operator&) = default;
XscWriter::Operator::~Operator() = default;
XscWriter::Operator& XscWriter::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> XscWriter::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  // The typed operator reports an absent volume.
  return input == nullptr ? Impl::createByIdentifier(Impl::typedIdentifier<VolumePtr<uint16>>(names))
                          : Impl::createOperator(names, input);
}

}  // namespace NORV::TaviOperators::DLL
