#pragma once

#include <Tavi/ClassFactory.hpp>
#include <Tavi/CountVoxels.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/ForEach.hpp>
#include <Tavi/ForEachParallel.hpp>
#include <Tavi/IHistogram.hpp>
#include <Tavi/Progress.hpp>
#include <Tavi/Table.hpp>

#include <mutex>
#include <string>
#include <type_traits>

namespace NORV::Tavi::Histogram {

/// Counts each voxel that it is applied to: the counter of value v is the v-th behind the first.
template <class T, class Count = uint64>
class TAVI_EXPORT HistogramAddFunktor final : public Iterating::Functor {
  static_assert(std::is_unsigned_v<T>);

public:
  explicit HistogramAddFunktor(Count* firstBin) : _firstBin(firstBin) {}
  void operator()(const T& voxel) { ++_firstBin[voxel]; }

private:
  Count* _firstBin;
};

/// How often each value occurs among the voxels that were added: one bin per value that the voxel type can represent.
/// It has no lock: one `add` at a time.
template <class T, class Count>
class TAVI_EXPORT Histogram final : public Container::Table<T, Count>,
                                    public IHistogram,
                                    private Factory::StaticFactorySubscriber<Histogram<T, Count>> {
public:
  /// Counts the voxels of the view of a volume, on top of what was counted before. A null volume throws InvalidArg and
  /// changes nothing.
  ///
  /// Large volumes are counted by all threads that the runtime offers. Extra memory: that of a VoxelCounter per thread.
  void add(const VolumePtr<T>& valueVolume) {
    if (valueVolume == nullptr) {
      throw Exceptions::InvalidArg(
          {"NORV::Tavi::Histogram::Histogram::add", "TaviOperators/include/../../Tavi/include/Tavi/Histogram", 83},
          "valueVolume is NULL");
    }
    static constexpr bool neverAborted = false;
    Progress progress;
    if (valueVolume->getSize() < smallVolume) {
      HistogramAddFunktor<T, Count> funktor(this->firstBin());
      Iterating::ForEach::apply(&funktor, valueVolume, &progress, &neverAborted);
    } else {
      Target target{{}, this->firstBin()};
      const SharedAddFunktor funktor(target);
      Iterating::ForEachParallel::apply(&funktor, valueVolume, &progress, &neverAborted);
    }
  }

  /// Its counters are those of the volume at this time: they stay where they are while the key "volume" is not set.
  Iterating::Functor* createAddFunktor() const override {
    SmartPointer<HistogramAddFunktor<T, Count>> funktor(new HistogramAddFunktor<T, Count>(this->firstBin()));
    return funktor.shiftResponsibility();
  }

  std::string getType() const override {
    return std::string("NORV::Tavi::Histogram::Histogram< ") + typeName<T> + " , " + typeName<Count> + " >";
  }

private:
  // Below, clearing and merging partial tables would take longer than counting.
  static constexpr SizeType smallVolume = VoxelCounter<T>::bins * 16;

  struct Target {
    std::mutex mutex;
    Count* firstBin;
  };

  /// Counts in private and adds its counts to those of the others at the end of its life.
  class SharedAddFunktor final : public Iterating::Functor {
  public:
    explicit SharedAddFunktor(Target& target) : _target(target) {}
    SharedAddFunktor(const SharedAddFunktor&) = default;
    SharedAddFunktor& operator=(const SharedAddFunktor&) = delete;
    ~SharedAddFunktor() override {
      if (!_counter.isEmpty()) {
        const std::lock_guard lock(_target.mutex);
        _counter.addTo(_target.firstBin);
      }
    }

    void operator()(const T& voxel) { _counter.count(voxel); }
    void row(const T* voxels, SizeType count) { _counter.countRow(voxels, count); }

  private:
    Target& _target;
    VoxelCounter<T> _counter;
  };
};

}  // namespace NORV::Tavi::Histogram
