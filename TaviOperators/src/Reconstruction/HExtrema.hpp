#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <Tavi/CheckedCast.hpp>

#include <Reconstruction/DownhillQueue.hpp>
#include <Reconstruction/GeodesicRows.hpp>
#include <Reconstruction/PaddedVolume.hpp>

#include <algorithm>
#include <bit>
#include <limits>
#include <string>
#include <utility>
#include <vector>

/// Grey-scale reconstruction of a volume from itself lowered by a height, or raised by a depth, with 6-connectivity.
///
/// Two raster passes per slab of slices reach most voxels (L. Vincent, IEEE Trans. Image Processing 2, 1993). The
/// voxels that still raise a neighbour are then taken in descending order (K. Robinson, P. F. Whelan, Pattern
/// Recognition Letters 25, 2004), in which each voxel is raised once at most. The result is the fixed point of all ways
/// to it.
namespace NORV::TaviOperators::Impl {

/// The minima of a volume are the maxima of the complements of its values.
enum class Extrema { maxima, minima };

/// The surface that bounds the reconstruction, with the order of its values reversed for minima.
template <class T>
class Relief {
public:
  Relief(const View<const T>& view, Extrema extrema)
      : _view(view),
        _flipped(extrema == Extrema::minima ? std::numeric_limits<T>::max() : T(0)) {}

  const View<const T>& view() const { return _view; }
  /// Maps `x` to the ordering of maxima; the mapping is its own inverse.
  T flip(T x) const { return static_cast<T>(x ^ _flipped); }

  /// A dense row: that of the volume, or one that is written to `buffer`.
  const T* row(SizeType sec, SizeType tert, T* buffer) const {
    const T* voxel = _view.row(sec, tert);
    if (_flipped == 0 && _view.hasDenseRows()) {
      return voxel;
    }
    if (_view.hasDenseRows()) {
      for (SizeType i = 0; i < _view.dimPrim; ++i) {
        buffer[i] = flip(voxel[i]);
      }
    } else {
      for (SizeType i = 0; i < _view.dimPrim; ++i, voxel += _view.stridePrim) {
        buffer[i] = flip(*voxel);
      }
    }
    return buffer;
  }

  int64 offset(const Position<SizeType>& at) const {
    return static_cast<int64>(at.prim) * _view.stridePrim + static_cast<int64>(at.sec) * _view.strideSec +
           static_cast<int64>(at.tert) * _view.strideTert;
  }
  T at(int64 offset) const { return flip(_view.data[offset]); }

private:
  View<const T> _view;
  T _flipped;
};

/// The raster passes over one slab, on one thread. Rows outside of the slab raise nothing.
template <class T>
class SlabPasses {
public:
  SlabPasses(const Relief<T>& relief, const View<T>& results, SizeType begin, SizeType end)
      : _relief(relief),
        _results(results),
        _begin(begin),
        _end(end),
        _zeros(results.dimPrim),
        _buffers(3 * results.dimPrim) {}

  /// Writes the marker and raises it; the marker only where `isRaised` is false.
  void forward(SizeType tert, T height, bool isRaised) {
    for (SizeType sec = 0; sec < _results.dimSec; ++sec) {
      const T* const above = isRaised && sec > 0 ? _results.row(sec - 1, tert) : _zeros.data();
      const T* const behind = isRaised && tert > _begin ? _results.row(sec, tert - 1) : _zeros.data();
      const T* const f = relief(sec, tert, 0);
      T* const row = _results.row(sec, tert);
      if (isRaised) {
        raiseRowForward(f, height, above, behind, row, _results.dimPrim);
      } else {
        lowerRow(f, height, row, _results.dimPrim);
      }
    }
  }

  /// Raises against the direction of the scan and collects the voxels that raise one after them in it.
  template <class Collect>
  void backward(SizeType tert, const Collect& collect) {
    for (SizeType sec = _results.dimSec; sec-- > 0;) {
      const bool hasBelow = sec + 1 < _results.dimSec, hasAhead = tert + 1 < _end;
      const T* const below = hasBelow ? _results.row(sec + 1, tert) : _zeros.data();
      const T* const ahead = hasAhead ? _results.row(sec, tert + 1) : _zeros.data();
      const T* const f = relief(sec, tert, 0);
      T* const row = _results.row(sec, tert);
      raiseRowBackward(f, below, ahead, row, _results.dimPrim);
      const T* const boundBelow = hasBelow ? relief(sec + 1, tert, 1) : _zeros.data();
      const T* const boundAhead = hasAhead ? relief(sec, tert + 1, 2) : _zeros.data();
      forEachPiece([&](SizeType first, SizeType count) {
        const SizeType followed = std::min(count, _results.dimPrim - 1 - first);
        uint64 word = raisingVoxels(row + first, row + first + 1, f + first + 1, followed);
        word |= raisingVoxels(row + first, below + first, boundBelow + first, count);
        word |= raisingVoxels(row + first, ahead + first, boundAhead + first, count);
        collectBits(word, first, sec, tert, collect);
      });
    }
  }

  /// Collects the voxels of one slice that raise one of another, which lies beside it.
  template <class Collect>
  void across(SizeType from, SizeType to, const Collect& collect) {
    for (SizeType sec = 0; sec < _results.dimSec; ++sec) {
      const T* const bound = relief(sec, to, 0);
      forEachPiece([&](SizeType first, SizeType count) {
        const uint64 word =
            raisingVoxels(_results.row(sec, from) + first, _results.row(sec, to) + first, bound + first, count);
        collectBits(word, first, sec, from, collect);
      });
    }
  }

private:
  const T* relief(SizeType sec, SizeType tert, SizeType buffer) {
    return _relief.row(sec, tert, _buffers.data() + buffer * _results.dimPrim);
  }

  static void lowerRow(const T* f, T height, T* row, SizeType count) {
    for (SizeType i = 0; i < count; ++i) {
      row[i] = static_cast<T>(std::max(f[i], height) - height);
    }
  }

  template <class Body>
  void forEachPiece(const Body& body) const {
    constexpr SizeType piece = 64;
    for (SizeType first = 0; first < _results.dimPrim; first += piece) {
      body(first, std::min(piece, _results.dimPrim - first));
    }
  }
  template <class Collect>
  static void collectBits(uint64 word, SizeType first, SizeType sec, SizeType tert, const Collect& collect) {
    for (; word != 0; word &= word - 1) {
      collect(first + static_cast<SizeType>(std::countr_zero(word)), sec, tert);
    }
  }

  const Relief<T>& _relief;
  const View<T> _results;
  const SizeType _begin, _end;
  std::vector<T> _zeros, _buffers;
};

/// One run on a padded volume whose shell holds the largest value, so that no voxel of it is raised. After an abort the
/// interior lies between the marker and the result.
template <class T>
class Reconstruction {
public:
  Reconstruction(OperatorBase& self, int threads, const Relief<T>& relief, PaddedVolume<T>& padded)
      : _self(self),
        _threads(threads),
        _relief(relief),
        _padded(padded),
        _results(padded.interior()),
        _slabs(std::min(_results.dimTert, static_cast<SizeType>(teamSize(threads, _results.dimTert)))),
        _seeds(_slabs) {}

  /// Steps of progress: two per slice for the passes, and one for the rest.
  static SizeType steps(SizeType slices) { return slices == 0 ? 0 : 2 * slices + 1; }

  void run(T height) {
    Unstoppable unstoppable;  // an abort leaves the marker of all slices behind
    forEachSlice(unstoppable, _threads, _slabs, Steps::silent, [&](SizeType slab) { rasterSlab(slab, height); });
    if (_self.isAborted() || _slabs == 0) {
      return;
    }
    joinSlabs();
    DownhillQueue<T> queue(_padded.data());
    for (std::vector<int64>& seeds : _seeds) {
      for (const int64 seed : seeds) {
        queue.push(seed);
      }
      std::vector<int64>().swap(seeds);  // an assignment of {} would keep the memory
    }
    raiseDownhill(queue);
    if (!_self.isAborted()) {
      _self.advance();
    }
  }

private:
  SizeType slabBegin(SizeType slab) const {
    const SizeType each = _results.dimTert / _slabs, longer = _results.dimTert % _slabs;
    return slab * each + std::min(slab, longer);
  }
  auto collectorOf(SizeType slab) {
    return [this, slab](SizeType prim, SizeType sec, SizeType tert) {
      _seeds[slab].push_back(_padded.offset(prim, sec, tert));
    };
  }

  void rasterSlab(SizeType slab, T height) {
    const SizeType begin = slabBegin(slab), end = slabBegin(slab + 1);
    SlabPasses<T> passes(_relief, _results, begin, end);
    for (SizeType tert = begin; tert < end; ++tert) {
      const bool isRaised = !_self.isAborted();
      passes.forward(tert, height, isRaised);
      if (isRaised) {
        _self.advance();
      }
    }
    const auto collect = collectorOf(slab);
    for (SizeType tert = end; tert > begin && !_self.isAborted(); --tert) {
      passes.backward(tert - 1, collect);
      _self.advance();
    }
  }

  /// What the passes left out: the faces between slabs.
  void joinSlabs() {
    forEachSlice(_self, _threads, _slabs, Steps::silent, [this](SizeType slab) {
      if (slab != 0) {
        SlabPasses<T> passes(_relief, _results, 0, _results.dimTert);
        const SizeType first = slabBegin(slab);
        passes.across(first - 1, first, collectorOf(slab));
        passes.across(first, first - 1, collectorOf(slab));
      }
    });
  }

  void raiseDownhill(DownhillQueue<T>& queue) {
    constexpr SizeType voxelsPerLook = 1024;
    const auto neighbours = faceNeighbours(_padded.strides());
    const auto bounds = faceNeighbours(stridesOf(_relief.view()));
    T* const results = _padded.data();
    int64 offset = 0;
    for (SizeType taken = 1; queue.pop(offset); ++taken) {
      if (taken % voxelsPerLook == 0 && _self.isAborted()) {
        return;
      }
      const T value = results[offset];
      const int64 place = _relief.offset(_padded.position(offset));
      for (std::size_t i = 0; i < neighbours.size(); ++i) {
        T& neighbour = results[offset + neighbours[i]];
        if (neighbour < value) {
          const T raised = std::min(value, _relief.at(place + bounds[i]));
          if (neighbour < raised) {
            neighbour = raised;
            queue.push(offset + neighbours[i]);
          }
        }
      }
    }
  }

  OperatorBase& _self;
  const int _threads;
  const Relief<T>& _relief;
  PaddedVolume<T>& _padded;
  const View<T> _results;
  const SizeType _slabs;
  std::vector<std::vector<int64>> _seeds;  // of each slab
};

/// The typed operator of both transforms. `Traits` gives the parameter class, the names, the extrema and the property
/// that holds h.
template <class Derived, class Traits, class InputPtr, class OutputPtr>
class HExtremaOperator : public TaviOperators::Operator<Derived> {
  using T = VoxelOf<InputPtr>;

public:
  HExtremaOperator() : _shell(PaddedVolume<T>::shellOperator()) { this->owns(_shell); }
  std::string getType() const override { return typedIdentifier<InputPtr, OutputPtr>(Traits::names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = castParameter<typename Traits::Parameter>(composite, Traits::names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const T height = Traits::height(*parameter).template extractValue<T>();
    const int threads = threadCount(parameter->inputNumberOfThreads.value());
    requireGiven(input, Traits::names.inApply(" inputVolume is NULL"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const auto slices = static_cast<SizeType>(Tavi::checkedCast<int64>(input->getDimTert()));
    this->setTotal(Reconstruction<T>::steps(slices));
    if (this->isAborted()) {
      return;
    }
    // The output is written last, so it may share voxels with the input.
    PaddedVolume<T> padded(input->getDimension());
    this->executeOperator(_shell, padded.requestShell(std::numeric_limits<T>::max()));
    Unstoppable copying;
    const KeptInput<T> kept(copying, threads, viewOf(std::as_const(*input)), RowLayout::dense);
    const Relief<T> relief(kept.view(), Traits::extrema);
    Reconstruction<T>(*this, threads, relief, padded).run(height);
    store(threads, relief, padded, viewOf(*output));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  /// Also after an abort.
  static void store(int threads, const Relief<T>& relief, PaddedVolume<T>& padded, const View<T>& output) {
    Unstoppable unstoppable;
    transformVoxels(
        unstoppable, threads, Steps::silent, [&relief](T x) { return relief.flip(x); }, output,
        readOnly(padded.interior()));
  }

  OperatorByName _shell;
};

}  // namespace NORV::TaviOperators::Impl
