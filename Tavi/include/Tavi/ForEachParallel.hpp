#pragma once

#include <Tavi/Allocators.hpp>
#include <Tavi/ForEach.hpp>
#include <Tavi/PlainException.hpp>

#include <omp.h>

#include <algorithm>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

namespace NORV::Tavi::Iterating {

/// The walk over all voxels by all threads that the runtime offers: one slab of slices, and one copy of the functor,
/// for each.
class ForEachParallel {
public:
  /// What runs on one slab: a copy of the functor, where the slab begins in the view, and the extents of the view.
  template <class F>
  class DecoratedFunctor : public Functor {
  public:
    DecoratedFunctor(const F& functor, const Position<SizeType>& origin, const Dimension<SizeType>& dimension)
        : _functor(functor),
          _origin(origin),
          _dimension(dimension) {
      if constexpr (requires { _functor.setPlace(_origin, _dimension); }) {
        _functor.setPlace(_origin, _dimension);
      }
    }

    template <class... T>
    void operator()(T&... voxels) {
      _functor(voxels...);
    }
    template <class T>
    requires requires(F& functor, T* row) { functor.row(row, SizeType{}); }
    void row(T* first, SizeType count) { _functor.row(first, count); }
    template <class T1, class T2>
    requires requires(F& functor, T1* row1, T2* row2) { functor.row(row1, row2, SizeType{}); }
    void row(T1* first, T2* second, SizeType count) { _functor.row(first, second, count); }

    F& getFunctor() { return _functor; }
    const Position<SizeType>& getOrigin() const { return _origin; }
    const Dimension<SizeType>& getDimension() const { return _dimension; }

  private:
    F _functor;
    Position<SizeType> _origin;
    Dimension<SizeType> _dimension;
  };

  /// Keeps what workers threw until all have ended.
  class ExceptionHandler {
  public:
    /// To be called inside a catch block.
    void store() noexcept {
      try {
        throw;
      } catch (const Exceptions::Exception& failure) {
        try {
          _family = SmartPointer<Exceptions::Exception>(failure.clone());
          _hasFamily = true;
        } catch (...) {
          _hasOther = true;
        }
      } catch (const std::exception& failure) {
        try {
          _text = failure.what();
        } catch (...) {
          _text.clear();
        }
        _hasStandard = true;
      } catch (...) {
        _hasOther = true;
      }
    }

    void rethrow() const {
      if (_hasFamily) {
        _family->rethrow();
      }
      if (_hasStandard) {
        throw PlainException(_text);
      }
      if (_hasOther) {
        throw std::runtime_error(
            "NORV::Tavi::ForEachParallel::ExceptionHandler::rethrow an unknown exception was cought");
      }
    }

  private:
    bool _hasStandard = false;
    std::string _text;
    bool _hasFamily = false;
    SmartPointer<Exceptions::Exception> _family;
    bool _hasOther = false;
  };

  /// As `ForEach::apply`, in slabs. `*progress` follows the first slab and ends at 1, also after an abort. A failure of
  /// one slab is thrown here after all have ended: a family failure as itself, a standard one as a plain
  /// `std::exception` with its text.
  template <class FunctorPtr, class T, class Alloc, class Flag>
  static void apply(const FunctorPtr& functor, const SmartPointer<Volume<T, Alloc>>& volume1, Progress* progress,
                    const Flag* aborted) {
    requireGiven(functor != nullptr, "functor");
    requireGiven(volume1 != nullptr, "volume1");
    run(*functor, progress, aborted, volume1);
  }
  template <class FunctorPtr, class T1, class Alloc1, class T2, class Alloc2, class Flag>
  static void apply(const FunctorPtr& functor, const SmartPointer<Volume<T1, Alloc1>>& volume1,
                    const SmartPointer<Volume<T2, Alloc2>>& volume2, Progress* progress, const Flag* aborted) {
    requireGiven(functor != nullptr, "functor");
    requireGiven(volume1 != nullptr, "volume1");
    requireGiven(volume2 != nullptr, "volume2");
    if (!(volume1->getDimension() == volume2->getDimension())) {
      throw Exceptions::InvalidArg("NORV::Tavi::Iterating::ForEachParallel::apply",
                                   "Dimension of volume1 and volume2 differ");
    }
    run(*functor, progress, aborted, volume1, volume2);
  }

private:
  static void requireGiven(bool given, const char* variable) {
    if (!given) {
      throw Exceptions::NULLPointer("NORV::Tavi::Iterating::ForEachParallel::apply", variable);
    }
  }

  template <class T, class Alloc>
  using ViewPtr = VolumePtr<T, Allocator::ExternalBufferAllocator<Alloc>>;

  /// A slab of the view of `volume`, as a volume of its own on the same voxels.
  template <class T, class Alloc>
  static ViewPtr<T, Alloc> slab(const SmartPointer<Volume<T, Alloc>>& volume, const RegionOfInterest& region) {
    const ViewPtr<T, Alloc> view(new Volume<T, Allocator::ExternalBufferAllocator<Alloc>>(VolumePtr<T, Alloc>(volume)));
    view->setRoi(region);
    return view;
  }

  /// More threads than this bring nothing on any machine, and a runtime that cannot start them ends the process.
  static int boundedTeam(SizeType chunks) {
    return static_cast<int>(std::min<SizeType>(chunks, static_cast<SizeType>(std::max(256, 4 * omp_get_num_procs()))));
  }

  /// Gives the runtime its thread count back on every way out.
  class ThreadSetting {
  public:
    ThreadSetting() = default;
    ThreadSetting(const ThreadSetting&) = delete;
    ThreadSetting& operator=(const ThreadSetting&) = delete;
    ~ThreadSetting() {
      if (!_nested && omp_get_max_threads() != _maxThreads) {
        omp_set_num_threads(_maxThreads);
      }
    }
    /// How many slabs to cut; also the new thread count outside a parallel region.
    SizeType chunksFor(SizeType slices) const {
      if (_nested) {
        return 1;
      }
      const SizeType chunks = slices < 2 ? 1 : std::min(slices, static_cast<SizeType>(std::max(_maxThreads, 1)));
      omp_set_num_threads(static_cast<int>(chunks));
      return chunks;
    }

  private:
    const bool _nested = omp_in_parallel() != 0;
    const int _maxThreads = omp_get_max_threads();
  };

  template <class F, class Flag, class... Volumes>
  static void run(const F& functor, Progress* progress, const Flag* aborted, const Volumes&... volumes) {
    ExceptionHandler failures;
    runChunks(failures, functor, progress, aborted, volumes...);
    failures.rethrow();
    progress->setProgress(1.0);
  }

  template <class F, class Flag, class... Volumes>
  static void runChunks(ExceptionHandler& failures, const F& functor, Progress* progress, const Flag* aborted,
                        const Volumes&... volumes) {
    const Dimension<SizeType> dimension = std::get<0>(std::tie(volumes...))->getDimension();
    const ThreadSetting setting;
    const SizeType chunks = setting.chunksFor(dimension.tert);
    if (dimension.tert == 0) {
      return;
    }
    std::map<SizeType, RegionOfInterest> regions;
    std::map<SizeType, std::tuple<decltype(slab(volumes, RegionOfInterest()))...>> views;
    const SizeType size = dimension.tert / chunks;
    for (SizeType i = 0; i < chunks; ++i) {
      const SizeType start = i * size;
      const SizeType slices = i + 1 == chunks ? dimension.tert - start : size;
      regions.emplace(i, RegionOfInterest(Dimension<SizeType>(dimension.prim, dimension.sec, slices),
                                          Position<SizeType>(0, 0, start)));
      views.emplace(i, std::make_tuple(slab(volumes, regions.at(i))...));
    }
    const auto runChunk = [&](SizeType i, Progress* heard) {
      try {
        DecoratedFunctor<F> decorated(functor, regions.at(i).getOrigin(), dimension);
        std::apply([&](const auto&... view) { ForEach::apply(&decorated, view..., heard, aborted); }, views.at(i));
      } catch (...) {
#pragma omp critical(TaviForEachParallelExceptionHandler)
        failures.store();
      }
    };
    if (chunks == 1) {
      runChunk(0, progress);
      return;
    }
    Progress unheard;  // made here, since no failure may leave the parallel region
#pragma omp parallel for schedule(static) num_threads(boundedTeam(chunks))
    for (int64 i = 0; i < static_cast<int64>(chunks); ++i) {
      runChunk(static_cast<SizeType>(i), omp_get_thread_num() == 0 ? progress : &unheard);
    }
  }
};

}  // namespace NORV::Tavi::Iterating
