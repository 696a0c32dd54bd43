#pragma once

#include <Tavi/CompositeOfProperties.hpp>
#include <Tavi/ForEachParallel.hpp>
#include <Tavi/Operator.hpp>
#include <Tavi/StreamingStore.hpp>
#include <Tavi/View.hpp>
#include <Tavi/Volume.hpp>

#include <cstring>
#include <memory>
#include <string>

/// Copies the view of a volume, region and orientation included, into a volume of its own.
///
/// Extra memory: none. Works on as many slabs as the runtime offers threads.
namespace NORV::Tavi::Copy {

class Parameter final : public Persistence::CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    using Persistence::Takes;
    append("inputVolume", inputVolume, {Takes::volume, Persistence::required, "volume whose view is copied"});
    append("outputVolume", outputVolume,
           {Takes::volume, Persistence::optional, "target of the same class; made if absent"});
  }
  std::string getType() const override { return "NORV::Tavi::Copy::Parameter"; }
};

/// Moves one voxel's bytes, so that a voxel may be copied onto itself.
template <class T>
class ChunkCopyFunctor : public Iterating::Functor {
public:
  /// Rows are moved at once where the views share no voxel; otherwise voxel after voxel, as their order shows then.
  ChunkCopyFunctor(const View<T>& from, const View<T>& to)
      : _disjoint(!mayOverlap(from, to)),
        _streaming(_disjoint && to.size() * sizeof(T) >= Streaming::threshold) {}

  void operator()(T& from, T& to) const { std::memmove(std::addressof(to), std::addressof(from), sizeof(T)); }

  void row(T* from, T* to, SizeType count) const {
    if (!_disjoint) {
      for (SizeType i = 0; i < count; ++i) {
        (*this)(from[i], to[i]);
      }
    } else if (_streaming && count * sizeof(T) >= 1024) {
      Streaming::copy(to, from, count * sizeof(T));
      Streaming::finish();
    } else {
      std::memcpy(to, from, count * sizeof(T));
    }
  }

private:
  bool _disjoint;
  bool _streaming;
};

template <class InputPtr, class OutputPtr>
class Operator final : public Tavi::Operator<Operator<InputPtr, OutputPtr>> {
  using T = typename InputPtr::Voxel;
  static_assert(std::is_same_v<T, typename OutputPtr::Voxel>);

public:
  std::string getType() const override {
    return "NORV::Tavi::Copy::Operator< " + InputPtr::Pointee::identifier() + ", " + OutputPtr::Pointee::identifier() +
           " >";
  }

  void apply(SmartPointer<Persistence::IComposite> composite) override {
    this->beginApply();
    const SmartPointer<Parameter> parameter(composite);
    if (parameter == nullptr) {
      throw IOperator::InvalidParameterObjectException("NORV::Tavi::Copy::Operator::apply");
    }
    const SmartPointer<IVolume> given = parameter->inputVolume.value();
    if (given == nullptr) {
      throw IOperator::InvalidParameterObjectException("NORV::Tavi::Copy::Operator::apply input volume is NULL");
    }
    const InputPtr input(given);
    if (input == nullptr) {
      throw IOperator::InvalidParameterObjectException("Unsupported voxel type!");
    }
    const OutputPtr output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const ChunkCopyFunctor<T> functor(viewOf(*input), viewOf(*output));
    Iterating::ForEachParallel::apply(&functor, input, output, &this->_progress, &this->_aborted);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace NORV::Tavi::Copy
