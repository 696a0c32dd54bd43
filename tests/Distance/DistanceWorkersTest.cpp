#include "Distance/TwoPasses.hpp"

#include <Impl/Frame/Unstoppable.hpp>

#include <Distance/DistanceTransform.hpp>

#include <atomic>
#include <string>
#include <thread>
#include <utility>

namespace NORV::Tests {
namespace {

using namespace TaviOperators;

/// Distances by a given number of workers, which the size of a volume decides otherwise.
template <bool allNeighbours>
class WorkerTests {
  static constexpr auto neighbours = allNeighbours ? Impl::Neighbours::all : Impl::Neighbours::faces;

public:
  template <class In, class Out>
  static void run(OperatorBase& self, SizeType workers, const TestVolume<In>& input, const TestVolume<Out>& output,
                  In source) {
    const Tavi::Volume<In>& measured = *input.volume();
    Impl::DistanceRun<neighbours, Out> run(self, static_cast<int>(workers), workers, Impl::viewOf(*output.volume()));
    run.run(Impl::RowSources(source, run.startsBelowZero(), Impl::viewOf(measured)));
  }

  template <class Out>
  static void expectStated(const std::vector<uint8>& values, const Extents& extents, SizeType workers,
                           const Layout& inputLayout = {}, const Layout& outputLayout = {}) {
    SCOPED_TRACE(std::to_string(workers) + " workers on " + std::to_string(extents[0]) + " x " +
                 std::to_string(extents[1]) + " x " + std::to_string(extents[2]));
    const TestVolume<uint8> input(extents, inputLayout);
    const TestVolume<Out> output(extents, outputLayout);
    input.fill(values);
    Impl::Unstoppable self;
    run(self, workers, input, output, uint8{1});
    expectSameVoxels(output.voxels(), twoPasses<uint8, Out>(values, extents, 1, allNeighbours));
    output.expectUntouchedOutside();
    EXPECT_EQ(self.getProgress().getProgress(),
              static_cast<double>(3 * extents[2] - 1) / static_cast<double>(3 * extents[2]));
  }

  static void anySizeAndNumberOfWorkers() {
    unsigned seed = 40;
    for (const Extents& extents : {Extents{7, 3, 5}, Extents{70, 31, 9}, Extents{3, 1, 40}, Extents{1, 60, 2},
                                   Extents{129, 2, 1}, Extents{33, 17, 41}, Extents{5000, 3, 4}}) {
      for (int turn = 0; turn < 4; ++turn) {
        const auto values = sparseSources<uint8>(extents[0] * extents[1] * extents[2], seed++, 1, 0);
        for (const SizeType workers : {1u, 2u, 3u, 5u, 33u}) {
          expectStated<uint16>(values, extents, workers);
          expectStated<int8>(values, extents, workers);  // whose start value wraps in the longer ones
        }
      }
    }
  }

  /// Distances through the whole volume.
  static void sourcesInOneCorner() {
    const Extents extents{37, 41, 43};
    for (const SizeType place : {SizeType{0}, extents[0] * extents[1] * extents[2] - 1, SizeType{30000}}) {
      std::vector<uint8> values(extents[0] * extents[1] * extents[2], 0);
      values[place] = 1;
      for (const SizeType workers : {2u, 3u, 33u}) {
        expectStated<int32>(values, extents, workers);
      }
    }
  }

  static void everyLayout() {
    const Extents extents{35, 9, 7};
    const auto values = sparseSources<uint8>(35 * 63, 5, 1, 0);
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      expectStated<uint16>(values, extents, 3, layout, regionLayout);
      expectStated<uint16>(values, extents, 5, regionLayout, layout);
    }
  }

  static void inPlace() {
    const Extents extents{70, 20, 13};
    const auto values = sparseSources<uint8>(70 * 260, 6, 1, 0);
    for (const SizeType workers : {2u, 13u}) {
      const TestVolume<uint8> volume(extents, regionLayout);
      volume.fill(values);
      Impl::Unstoppable self;
      run(self, workers, volume, volume, uint8{1});
      expectSameVoxels(volume.voxels(), twoPasses<uint8, uint8>(values, extents, 1, allNeighbours));
      volume.expectUntouchedOutside();
    }
  }

  /// Wherever it comes, an abort ends the run: none of the slices waits for one that is not run.
  static void abortAtAnyStep() {
    const Extents extents{64, 48, 20};
    const TestVolume<uint8> input(extents);
    input.fill(sparseSources<uint8>(64 * 48 * 20, 5, 1, 0));
    for (int step = 0; step < 60; ++step) {
      const TestVolume<uint16> output(extents, regionLayout);
      Impl::Unstoppable self;
      std::atomic<bool> ended{false};
      std::thread other([&] {
        while (!ended && self.getProgress().getProgress() < static_cast<double>(step) / 60.0) {
          std::this_thread::yield();
        }
        self.abort();
      });
      run(self, 4, input, output, uint8{1});
      ended = true;
      other.join();
      output.expectUntouchedOutside();
      EXPECT_LT(self.getProgress().getProgress(), 1.0);
    }
  }
};

TEST(DistanceWorkers, AnySizeAndNumberOfWorkersIsAsStated) {
  WorkerTests<false>::anySizeAndNumberOfWorkers();
  WorkerTests<true>::anySizeAndNumberOfWorkers();
}
TEST(DistanceWorkers, SourcesInOneCorner) {
  WorkerTests<false>::sourcesInOneCorner();
  WorkerTests<true>::sourcesInOneCorner();
}
TEST(DistanceWorkers, EveryLayout) {
  WorkerTests<false>::everyLayout();
  WorkerTests<true>::everyLayout();
}
TEST(DistanceWorkers, InPlace) {
  WorkerTests<false>::inPlace();
  WorkerTests<true>::inPlace();
}
TEST(DistanceWorkersAbort, AtAnyStepEndsTheRun) {
  WorkerTests<false>::abortAtAnyStep();
  WorkerTests<true>::abortAtAnyStep();
}

}  // namespace
}  // namespace NORV::Tests
