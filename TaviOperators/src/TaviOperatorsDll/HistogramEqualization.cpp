#include <DLL/HistogramEqualization.hpp>
#include <HistogramEqualization.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/AxisOrder.hpp>
#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Tavi/CountVoxels.hpp>

#include <Histogram/CumulativeCounts.hpp>
#include <Vectors/TableRule.hpp>
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::HistogramEqualization {
namespace {

constexpr Impl::Names names{"HistogramEqualization"};

/// Remembers how many threads work on a loop, to know the last one afterwards.
class Team {
public:
  void join() { _size.store(omp_get_num_threads(), std::memory_order_relaxed); }
  SizeType last(SizeType most) const {
    return std::min(most, static_cast<SizeType>(std::max(_size.load(std::memory_order_relaxed), 1))) - 1;
  }

private:
  std::atomic<int> _size{1};
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;
  using Range = Impl::ValueRange;
  static constexpr bool hasTable = sizeof(T) <= 2;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const SmartPointer<IVolume> target = parameter->outputVolume.value();
    const T low = parameter->inputMinimumThreshold.template extractValue<T>();
    const T high = parameter->inputMaximumThreshold.template extractValue<T>();
    const int asked = parameter->inputNumberOfThreads.value();
    const int threads = asked < 1 ? omp_get_num_threads() : asked;
    Impl::require(input != nullptr && target != nullptr, names.inApply(" at least one volume is NULL"));

    // Only the class of the target is looked at before the tables stand: where they fail, it is as it was.
    static_cast<void>(this->template checkOutputVolume<OutputPtr>(target, target->getDimension()));
    const Range range{low, high == 0 ? std::numeric_limits<T>::max() : high};
    range.check();
    const auto counts = count(Impl::inputViewOf(*input), threads, range);
    const auto output = this->template checkOutputVolume<OutputPtr>(target, input->getDimension());
    map(counts, range, threads, Impl::inputViewOf(*input), Impl::viewOf(*output));
    parameter->outputVolume = output;
  }

private:
  using View = Impl::View<const T>;

  static Impl::CumulativeCounts count(const View& shown, int threads, const Range& range) {
    const View view = Impl::inStorageOrder(shown);
    if constexpr (hasTable) {
      return countByType(view, threads, range);
    } else if (range.size() <= view.size()) {
      return countByTable(view, threads, range);
    } else {
      return countByValue(view, threads, range);
    }
  }

  /// Calls `body(tert, team)` for all slices, each by the thread that is free.
  template <class Body>
  static void forSlices(const View& view, int threads, Body body) {
    Impl::Unstoppable self;
    Impl::forEachSlice(self, threads, view.dimTert, Impl::Steps::silent, body, Impl::Schedule::dynamic);
  }

  static Impl::CumulativeCounts countByType(const View& view, int threads, const Range& range) {
    using Counter = Tavi::Histogram::VoxelCounter<T>;
    Impl::PerThread<Counter> counters(threads, view.dimTert, [] { return Counter(); });
    Team team;
    forSlices(view, threads, [&](SizeType tert) {
      team.join();
      counters.mine().countSlice(view, tert);
    });
    std::vector<uint32> all(Counter::bins);
    counters[team.last(counters.size())].addTo(all.data());
    std::vector<uint32> bins(range.size());
    for (SizeType i = 0; i < bins.size(); ++i) {
      bins[i] = all[Counter::bin(static_cast<T>(range.low + static_cast<int64>(i)))];
    }
    return Impl::CumulativeCounts(range, std::move(bins));
  }

  static Impl::CumulativeCounts countByTable(const View& view, int threads, const Range& range) {
    Impl::PerThread<std::vector<uint32>> tables(threads, view.dimTert,
                                                [&range] { return std::vector<uint32>(range.size()); });
    Team team;
    forSlices(view, threads, [&](SizeType tert) {
      team.join();
      uint32* const table = tables.mine().data();
      forVoxelsInRange(view, tert, range, [table](SizeType bin) { ++table[bin]; });
    });
    return Impl::CumulativeCounts(range, std::move(tables[team.last(tables.size())]));
  }

  /// For a range so wide that most of its bins stay empty.
  static Impl::CumulativeCounts countByValue(const View& view, int threads, const Range& range) {
    std::vector<std::vector<uint32>> binsOfSlice(view.dimTert);
    std::vector<SizeType> threadOfSlice(view.dimTert);
    Team team;
    forSlices(view, threads, [&](SizeType tert) {
      team.join();
      SizeType found = 0;
      forVoxelsInRange(view, tert, range, [&found](SizeType) { ++found; });
      auto& bins = binsOfSlice[tert];
      bins.reserve(found);
      forVoxelsInRange(view, tert, range, [&bins](SizeType bin) { bins.push_back(static_cast<uint32>(bin)); });
      threadOfSlice[tert] = static_cast<SizeType>(omp_get_thread_num());
    });
    const SizeType teamSize = static_cast<SizeType>(Impl::teamSize(threads, view.dimTert));
    for (SizeType tert = 0; tert < view.dimTert; ++tert) {
      if (teamSize > 1 && threadOfSlice[tert] != team.last(teamSize)) {
        std::vector<uint32>().swap(binsOfSlice[tert]);  // an assignment of {} would keep the memory
      }
    }
    return Impl::CumulativeCounts(range, std::move(binsOfSlice));
  }

  template <class Body>
  static void forVoxelsInRange(const View& view, SizeType tert, const Range& range, const Body& body) {
    for (SizeType sec = 0; sec < view.dimSec; ++sec) {
      const T* voxel = view.row(sec, tert);
      for (SizeType prim = 0; prim < view.dimPrim; ++prim, voxel += view.stridePrim) {
        if (range.contains(*voxel)) {
          body(range.bin(*voxel));
        }
      }
    }
  }

  static void map(const Impl::CumulativeCounts& counts, const Range& range, int threads, const View& input,
                  const Impl::View<T>& output) {
    const double stretch = static_cast<double>(range.high) / static_cast<double>(counts.total());
    const auto rule = [&counts, range, stretch](T value) {
      const uint32 sum = counts.at(range.contains(value) ? range.bin(value) : 0);
      return range.contains(value) ? static_cast<T>(Impl::truncated(sum * stretch)) : static_cast<T>(sum);
    };
    Impl::Unstoppable self;
    const auto run = [&](const auto& fastRule) {
      Impl::transformVoxels(self, threads, Impl::Steps::silent, Impl::Schedule::dynamic, fastRule, output, input);
    };
    if constexpr (hasTable) {
      using Table = Impl::TableRule<T, T>;
      std::vector<T> table(Table::bins);
      for (SizeType i = 0; i < table.size(); ++i) {
        table[i] = rule(static_cast<T>(i));
      }
      run(Table(table.data()));
    } else {
      run(rule);
    }
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::HistogramEqualization

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::HistogramEqualization;
using Typed::names;

using Instances = Impl::Same<Impl::IntegerVoxelTypes>;

}  // namespace

HistogramEqualization::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
HistogramEqualization::Operator::Operator(const Operator&) = default;
HistogramEqualization::Operator::~Operator() = default;
HistogramEqualization::Operator& HistogramEqualization::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> HistogramEqualization::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
