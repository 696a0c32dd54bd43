#include <Array.hpp>
#include <DLL/SwitchLabelsRandom.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/View.hpp>
#include <Impl/Loops/Workers.hpp>
#include <SwitchLabelsRandom.hpp>
#include <Tavi/CheckedCast.hpp>

#include <Labelling/ObjectSizes.hpp>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::SwitchLabelsRandom {
namespace {

constexpr Impl::Names names{"SwitchLabelsRandom"};

/// The labels from 0 on, each at its own place.
template <class T>
Array<T> makeLabels(SizeType count) {
  Array<T> labels(1, count);
  for (SizeType i = 0; i < count; ++i) {
    labels.append(static_cast<T>(i));
  }
  return labels;
}

/// Swaps each label in turn with one drawn from those between the first and the last. The draws are those of one by
/// one; some are made at a time, so that the labels they lead to are on their way from memory.
template <class T>
void shuffle(const OperatorBase& self, Array<T>& labels, uint32 last) {
  if (last < 2) {
    return;  // no label lies between them
  }
  constexpr SizeType batch = 32;
  std::array<uint32, batch> drawn{};
  T* const table = labels.data();
  for (SizeType first = 1; first <= last && !self.isAborted(); first += batch) {
    const SizeType count = std::min(batch, last + SizeType{1} - first);
    for (SizeType i = 0; i < count; ++i) {
      do {
        drawn[i] = static_cast<uint32>(std::rand()) % last;
      } while (drawn[i] == 0);
      __builtin_prefetch(table + drawn[i], 1);
    }
    for (SizeType i = 0; i < count; ++i) {
      std::swap(table[first + i], table[drawn[i]]);
    }
  }
}

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, getType() + "::apply parameter is NULL");
    const InputPtr input(parameter->inputVolume.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));
    Impl::requireOutputClass<OutputPtr>(parameter->outputVolume.value());
    const SizeType count = parameter->inputNumberOfLabels.value();
    Impl::require(count != 0, names.inApply(" Number of labels was not provided"));
    const auto last = Tavi::checkedCast<uint32>(count - 1);
    if (last > std::numeric_limits<T>::max()) {
      throw Exceptions::NumericalOverflow(names.inApply().c_str());
    }
    Array<T> labels = makeLabels<T>(count);
    const auto view = Impl::inputViewOf(*input);
    const int threads = Impl::threadCount(0);
    constexpr SizeType leastVoxels = 65536;  // for one thread
    const SizeType parts = Impl::workersFor(threads, view.dimTert, view.size(), leastVoxels);
    if (last < std::numeric_limits<T>::max() && view.size() > 0) {
      const SizeType largest = largestVoxel(threads, parts, view);
      if (this->isAborted()) {
        return;
      }
      static_cast<void>(labels.at(largest));
    }
    shuffle(*this, labels, last);
    if (this->isAborted()) {
      return;
    }
    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const auto target = Impl::viewOf(*output);
    const Impl::KeptInput<T> source(*this, threads, Impl::inputViewOf(*input), target, Impl::Aliasing::identical);
    replace(threads, parts, labels.data(), source.view(), target);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  T largestVoxel(int threads, SizeType parts, const Impl::View<const T>& view) {
    std::vector<T> largest(parts);
    Impl::forEachSliceInParts(*this, threads, parts, view.dimTert, [&](SizeType part, SizeType tert) {
      T found = largest[part];
      for (SizeType sec = 0; sec < view.dimSec; ++sec) {
        found = std::max(found, Impl::largestLabel(view.row(sec, tert), view.stridePrim, view.dimPrim));
      }
      largest[part] = found;
    });
    return *std::max_element(largest.begin(), largest.end());
  }

  void replace(int threads, SizeType parts, const T* labels, const Impl::View<const T>& input,
               const Impl::View<T>& output) {
    this->setTotal(input.dimTert);
    Impl::forEachSliceInParts(*this, threads, parts, input.dimTert, [&](SizeType, SizeType tert) {
      this->advance();
      for (SizeType sec = 0; sec < input.dimSec; ++sec) {
        const T* from = input.row(sec, tert);
        T* to = output.row(sec, tert);
        for (SizeType prim = 0; prim < input.dimPrim; ++prim) {
          *to = labels[*from];
          from += input.stridePrim;
          to += output.stridePrim;
        }
      }
    });
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::SwitchLabelsRandom

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::SwitchLabelsRandom;
using Typed::names;

using Instances = Impl::Same<Impl::UnsignedVoxelTypes>;

}  // namespace

SwitchLabelsRandom::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
SwitchLabelsRandom::Operator::Operator(const Operator&) = default;
SwitchLabelsRandom::Operator::~Operator() = default;
SwitchLabelsRandom::Operator& SwitchLabelsRandom::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> SwitchLabelsRandom::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  return Impl::createOperator(names, input, Impl::orElse(parameter->outputVolume.value(), input));
}

}  // namespace NORV::TaviOperators::DLL
