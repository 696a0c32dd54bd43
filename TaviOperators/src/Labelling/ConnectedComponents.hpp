#pragma once

#include <ConnectedComponentsParameter.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/DenseOutput.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/Workers.hpp>
#include <Operator.hpp>

#include <Labelling/LabelSlabs.hpp>
#include <Labelling/RowLabels.hpp>
#include <Labelling/VoxelLabels.hpp>

#include <algorithm>
#include <string>
#include <utility>

/// Numbers the objects of a volume: the connected sets of voxels that differ from the background.
///
/// Two passes with a union-find table of labels, the output holding the labels in between (A. Rosenfeld, J. L. Pfaltz:
/// Sequential Operations in Digital Picture Processing. Journal of the ACM 13, 1966). Slabs of slices are labelled in
/// parallel, then joined where they touch.
///
/// A new label is needed for each voxel whose visited neighbours are all background, before it is known which of them
/// meet further on: these raw labels must fit the output's voxel type, else NumericalOverflow is thrown and the output
/// keeps them. The table of raw labels stays with the operator for the next run. Further memory: a bit per voxel, in
/// words of 64 and two more for each row; volumes like input and output where their rows are not dense. All threads
/// that the runtime offers, for slabs of a volume that is not small; one where rows have less than 16 voxels or raw
/// labels are about to run out. Two steps of progress per slice.
namespace NORV::TaviOperators::Impl {

/// Both operators report under one name.
inline constexpr Names connectedComponentsFailures{"CityblockConnectedComponentsAnalysis"};

/// The voxels that differ from the background, whatever their type.
class Foreground {
public:
  template <class T>
  Foreground(const View<const T>& view, const T& background)
      : _view(&view),
        _background(&background),
        _findRow([](const Foreground& self, SizeType sec, SizeType tert, uint64* bits) {
          const auto& volume = *static_cast<const View<const T>*>(self._view);
          findForeground(volume.row(sec, tert), volume.stridePrim, volume.dimPrim,
                         *static_cast<const T*>(self._background), bits);
        }),
        _isVoxel([](const Foreground& self, SizeType prim, SizeType sec, SizeType tert) {
          return static_cast<const View<const T>*>(self._view)->at(prim, sec, tert) !=
                 *static_cast<const T*>(self._background);
        }) {}

  void findRow(SizeType sec, SizeType tert, uint64* bits) const { _findRow(*this, sec, tert, bits); }
  bool operator()(SizeType prim, SizeType sec, SizeType tert) const { return _isVoxel(*this, prim, sec, tert); }

private:
  const void* _view;
  const void* _background;
  void (*_findRow)(const Foreground&, SizeType, SizeType, uint64*);
  bool (*_isVoxel)(const Foreground&, SizeType, SizeType, SizeType);
};

/// Into how many slabs the slices of a volume are cut: some for each thread, as objects are not spread evenly, where
/// they do not get thin; one in small volumes.
template <class L>
SizeType labelSlabs(int threads, const View<L>& labels) {
  constexpr SizeType leastVoxels = 32768, perThread = 4, thickness = 16;
  const SizeType workers = workersFor(threads, labels.dimTert, labels.size(), leastVoxels);
  return workers == 1 ? 1 : std::max(workers, std::min(perThread * workers, labels.dimTert / thickness));
}

/// One run over views that are set up. Each slice of each pass is a step: the abort is looked for before it.
template <Neighbours set, class L>
class ConnectedComponentsRun {
public:
  /// So many slabs of slices are labelled in parallel.
  ConnectedComponentsRun(OperatorBase& self, int threads, SizeType slabs, const View<L>& labels, LabelTable<L>& table,
                         const Exceptions::Origin& overflow)
      : _self(self),
        _threads(threads),
        _slabs(slabs),
        _labels(labels),
        _table(table),
        _overflow(overflow) {
    _self.setTotal(2 * labels.dimTert);
  }

  /// The number of objects and one, or 0 after an abort.
  [[gnu::noinline]] uint64 run(const Foreground& foreground) {
    // Bits of narrow rows would take more memory than they are worth.
    constexpr SizeType narrow = 16;
    if (_labels.dimPrim < narrow) {
      return runByVoxels(foreground, 0, 0);
    }
    BitRows bits(_labels.dimPrim, _labels.dimSec, _labels.dimTert);
    const auto findBits = [&](SizeType tert) {
      for (SizeType sec = 0; sec < _labels.dimSec; ++sec) {
        bits.set(sec, tert, [&](uint64* words) { foreground.findRow(sec, tert, words); });
      }
    };
    if (_slabs > 1) {
      LabelSlabs<set, L> slabs(_self, _threads, _slabs, _labels, bits, _table);
      const bool isEnough = slabs.count(findBits);
      if (_self.isAborted()) {
        return 0;
      }
      if (isEnough) {
        slabs.label();
        return replaceByRows(bits, slabs.number());
      }
    }
    return runByRows(foreground, bits, findBits);
  }

private:
  bool beginStep(SizeType step) {
    _self.setDone(step);
    return !_self.isAborted();
  }

  /// In the order of the scan, which finds the voxel at which labels run out.
  template <class FindBits>
  uint64 runByRows(const Foreground& foreground, const BitRows& bits, const FindBits& findBits) {
    const RowLabels<set, L> rows(_labels, bits);
    for (SizeType tert = 0; tert < _labels.dimTert; ++tert) {
      if (!beginStep(tert)) {
        return 0;
      }
      // At once for the slice, as reading between the stores of labels would be slower.
      findBits(tert);
      for (SizeType sec = 0; sec < _labels.dimSec; ++sec) {
        if (!labelRow(rows, sec, tert)) {
          return runByVoxels(foreground, sec, tert);
        }
      }
    }
    beginStep(_labels.dimTert);
    return replaceByRows(bits, _table.renumber());
  }

  /// Whether the type has labels enough for the row. Without, nothing is done.
  bool labelRow(const RowLabels<set, L>& rows, SizeType sec, SizeType tert) {
    if (rows.mostFresh() > std::min(_table.free(), _table.room())) {
      const SizeType fresh = rows.countFresh(sec, tert);
      if (fresh > _table.room()) {
        return false;
      }
      _table.reserve(fresh);
    }
    LabelForest<L> forest = _table.forest();
    rows.labelRow(forest, sec, tert);
    _table.setCount(forest.next() - 1);
    return true;
  }

  uint64 replaceByRows(const BitRows& bits, SizeType objects) {
    const RowLabels<set, L> rows(_labels, bits);
    return replace(objects, [&](SizeType sec, SizeType tert) { rows.replaceRow(_table, sec, tert); });
  }

  uint64 runByVoxels(const Foreground& foreground, SizeType sec, SizeType tert) {
    if (!labelVoxels(foreground, sec, tert)) {
      return 0;
    }
    beginStep(_labels.dimTert);
    return replace(_table.renumber(), [this](SizeType y, SizeType z) {
      replaceLabels(_table, _labels.row(y, z), _labels.stridePrim, _labels.dimPrim);
    });
  }

  /// The second pass.
  template <class ReplaceRow>
  uint64 replace(SizeType objects, const ReplaceRow& replaceRow) {
    const bool isDone = forEachSliceInParts(_self, _threads, _slabs, _labels.dimTert, [&](SizeType, SizeType tert) {
      for (SizeType sec = 0; sec < _labels.dimSec; ++sec) {
        replaceRow(sec, tert);
      }
      _self.advance();
    });
    if (!isDone) {
      return 0;
    }
    _self.setTotal(1);
    _self.setDone(1);
    return objects + 1;
  }

  /// Voxel by voxel from the beginning. The rows before the place given hold labels already: there it is these that
  /// tell the foreground, as the input may be the same volume.
  bool labelVoxels(const Foreground& foreground, SizeType sec, SizeType tert) {
    const auto wasLabelled = [this](SizeType x, SizeType y, SizeType z) { return _labels.at(x, y, z) != 0; };
    VoxelLabels<set, L> voxels(_labels, _table, _overflow);
    _table.clear();
    for (SizeType z = 0; z < _labels.dimTert; ++z) {
      if (z >= tert && !beginStep(z)) {
        return false;
      }
      for (SizeType y = 0; y < _labels.dimSec; ++y) {
        if (z < tert || (z == tert && y < sec)) {
          voxels.labelRow(y, z, wasLabelled);
        } else {
          voxels.labelRow(y, z, foreground);
        }
      }
    }
    return true;
  }

  OperatorBase& _self;
  const int _threads;
  const SizeType _slabs;
  const View<L> _labels;
  LabelTable<L>& _table;
  const Exceptions::Origin _overflow;
};

/// `Traits` gives the set of neighbours, the names and the place where labels of an input type run out.
template <class Derived, class Parameter, class Traits, class InputPtr, class OutputPtr>
class ConnectedComponentsOperator : public TaviOperators::Operator<Derived> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;

public:
  std::string getType() const override {
    return composeIdentifier(Traits::names, std::string(Tavi::typeName<In>) + " , " + Tavi::typeName<Out>);
  }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const Names& failures = connectedComponentsFailures;
    const auto parameter = castParameter<Parameter>(composite, failures.inApply());
    parameter->outputNumberOfLabels = 0;
    const InputPtr input(parameter->inputFirstVolume.value());
    requireGiven(input, failures.inApply(" input volume is NULL"));
    // A volume that is made is stored at once; one that is given is not resized before the background is known.
    requireOutputClass<OutputPtr>(parameter->outputVolume.value());
    if (parameter->outputVolume.value() == nullptr) {
      parameter->outputVolume = OutputPtr(new Volume<Out>(input->getDimension()));
    }
    const In background = parameter->inputBackgroundValue.template extractValue<In>();
    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    _table.reset(parameter->inputExpectedNumberOfLabels.value());

    const int threads = threadCount(0);
    const auto target = viewOf(*output);
    const DenseOutput<Out> labels(target);
    const KeptInput<In> source(*this, threads, viewOf(std::as_const(*input)), target, Aliasing::identical,
                               RowLayout::dense);
    const auto run = [&](const View<Out>& view) {
      return ConnectedComponentsRun<Traits::neighbours, Out>(*this, threads, labelSlabs(threads, view), view, _table,
                                                             Traits::template overflow<In>())
          .run(Foreground(source.view(), background));
    };
    try {
      parameter->outputNumberOfLabels = run(labels.view());
    } catch (const Exceptions::NumericalOverflow&) {
      if (!labels.isOutput()) {
        _table.reset(parameter->inputExpectedNumberOfLabels.value());
        run(target);  // fails at the same voxel, with the raw labels in the output
      }
      throw;
    }
    if (!this->isAborted()) {
      labels.store(threads);
    }
  }

private:
  LabelTable<Out> _table;
};

/// The typed operator that fits the volumes of a parameter object; without an output volume, the one whose labels are
/// of the input's voxel type.
template <class Parameter>
SmartPointer<IOperator> createConnectedComponentsOperator(const Names& names,
                                                          const SmartPointer<IComposite>& composite) {
  const auto parameter = castParameter<Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputFirstVolume.value();
  requireGiven(input, names.inFrame("inputVolume is NULL!"));
  const SmartPointer<IVolume> output = orElse(parameter->outputVolume.value(), input);
  return createByIdentifier(composeIdentifier(names, input->getVoxelType() + " , " + output->getVoxelType()));
}

}  // namespace NORV::TaviOperators::Impl
