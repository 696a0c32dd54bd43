#include <DLL/Thinning.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/DenseOutput.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/Exceptions.hpp>
#include <Thinning.hpp>

#include <Reconstruction/PaddedVolume.hpp>
#include <Reconstruction/ThinningPasses.hpp>
#include <Reconstruction/VoxelBits.hpp>

#include <algorithm>
#include <atomic>
#include <source_location>
#include <utility>

namespace NORV::TaviOperators::Thinning {
namespace {

constexpr Impl::Names names{"Thinning"};

/// Calls `body(word, first, count)` for the words of a row: the number of the word, its first voxel and how many.
template <class Body>
void forEachWord(SizeType voxels, const Body& body) {
  for (SizeType word = 0, first = 0; first < voxels; ++word, first += Impl::voxelsPerWord) {
    body(word, first, std::min(Impl::voxelsPerWord, voxels - first));
  }
}

[[noreturn]] void throwNotBinary() {
  const auto line = std::source_location::current().line();
  throw Exceptions::InvalidData(Exceptions::Origin("NORV::TaviOperators::Thinning::Operator::apply",
                                                   "TaviOperators/include/DLL/../Thinning", line),
                                "Volume is not binary!");
}

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;
  using Bits = Impl::PaddedVolume<uint32>;

public:
  Operator() : _shell(Bits::shellOperator()) { this->owns(_shell); }
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    _false = parameter->inputBinaryFalse.template extractValue<T>();
    _true = parameter->inputBinaryTrue.template extractValue<T>();
    const InputPtr input(parameter->inputVolume.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));
    const SmartPointer<IVolume> given = parameter->outputVolume.value();
    if (given != nullptr && OutputPtr(given) == nullptr) {
      this->template checkOutputVolume<OutputPtr>(given, input->getDimension());  // throws
    }
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());

    // The input is read whole before the output is resized or written, as they may share voxels.
    const auto extents = input->getDimension();
    Bits object({(extents.prim + Impl::voxelsPerWord - 1) / Impl::voxelsPerWord, extents.sec, extents.tert});
    this->executeOperator(_shell, object.requestShell(0));
    {
      const Impl::KeptInput<T> dense(*this, threads, viewOf(std::as_const(*input)), Impl::RowLayout::dense);
      if (!this->isAborted()) {
        read(threads, dense.view(), object);
      }
    }
    if (this->isAborted()) {
      return;
    }
    const auto output = this->template checkOutputVolume<OutputPtr>(given, extents);
    Impl::ThinningPasses(*this, threads, object).run();
    const Impl::DenseOutput<T> dense(viewOf(*output));
    write(threads, object, dense.view());
    if (!this->isAborted()) {
      dense.store(threads);
      parameter->outputVolume = output;
    }
  }

private:
  void read(int threads, const Impl::View<const T>& input, Bits& object) {
    const Impl::View<uint32> bits = object.interior();
    std::atomic<bool> isBinary{true};
    Impl::forEachSlice(*this, threads, input.dimTert, Impl::Steps::silent, [&](SizeType tert) {
      for (SizeType sec = 0; sec < input.dimSec && isBinary.load(std::memory_order_relaxed); ++sec) {
        const T* const row = input.row(sec, tert);
        uint32* const words = bits.row(sec, tert);
        bool isRowBinary = true;
        forEachWord(input.dimPrim, [&](SizeType word, SizeType first, SizeType count) {
          const auto read = Impl::readBinary(row + static_cast<int64>(first) * input.stridePrim, input.stridePrim,
                                             count, _false, _true);
          words[word] = read.isTrue;
          isRowBinary = isRowBinary && read.isBinary;
        });
        if (!isRowBinary) {
          isBinary.store(false, std::memory_order_relaxed);
        }
      }
    });
    if (!isBinary) {
      throwNotBinary();
    }
  }

  void write(int threads, Bits& object, const Impl::View<T>& output) {
    const Impl::View<uint32> bits = object.interior();
    Impl::forEachSlice(*this, threads, output.dimTert, Impl::Steps::silent, [&](SizeType tert) {
      for (SizeType sec = 0; sec < output.dimSec; ++sec) {
        T* const row = output.row(sec, tert);
        const uint32* const words = bits.row(sec, tert);
        forEachWord(output.dimPrim, [&](SizeType word, SizeType first, SizeType count) {
          Impl::writeBinary(words[word], row + static_cast<int64>(first) * output.stridePrim, output.stridePrim, count,
                            _false, _true);
        });
      }
    });
  }

  T _false = 0, _true = 0;
  Impl::OperatorByName _shell;
};

using Instances = Impl::Same<Impl::UnsignedVoxelTypes>;

}  // namespace
}  // namespace NORV::TaviOperators::Thinning

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::Thinning;

Thinning::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
Thinning::Operator::Operator(const Operator&) = default;
Thinning::Operator::~Operator() = default;
Thinning::Operator& Thinning::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Thinning::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createForInput<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
