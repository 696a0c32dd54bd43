#pragma once

#include "Distance/TwoPasses.hpp"
#include "support/Operators.hpp"
#include "support/Threads.hpp"
#include "support/Volumes.hpp"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

/// The tests that both distance transforms share. A transform is given by its parameter class, its frame, its
/// neighbours and its texts.
namespace NORV::Tests {

/// The whole texts of a transform's failures.
struct DistanceTexts {
  const char* op;
  const char* parameterType;
  const char* smallestOperator;  // from uint8 to uint16
  const char* wrongClassInFrame;
  const char* volumeMissingInFrame;
  const char* wrongClassInApply;
  const char* volumeMissingInApply;
  const char* noInstanceForFloat;
};

template <class Body>
void forEachIntegerType(const Body& body) {
  forEachVoxelType([&body]<class T>() {
    if constexpr (std::is_integral_v<T>) {
      body.template operator()<T>();
    }
  });
}

/// `Case` has `Parameter`, `Frame`, `texts`, `allNeighbours`, and `forEachPair(body)`.
template <class Case>
class DistanceTests {
  using Parameter = typename Case::Parameter;
  using Frame = typename Case::Frame;

public:
  template <class In>
  static SmartPointer<Parameter> request(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& output,
                                         In source) {
    const auto parameter = makeParameter<Parameter>();
    parameter->inputVolume = input;
    parameter->outputVolume = output;
    parameter->inputObjectValue.setValue(source);
    return parameter;
  }
  static SmartPointer<IOperator> typed() { return createTyped(Case::texts.smallestOperator); }

  /// The distances by way of the frame into an output that is given.
  template <class In, class Out>
  static std::vector<Out> run(const std::vector<In>& values, const Extents& extents, In source) {
    const TestVolume<In> input(extents);
    const TestVolume<Out> output(extents);
    input.fill(values);
    Frame().apply(request(input, output, source));
    return output.voxels();
  }

  template <class In, class Out>
  static void expectStated(const std::vector<In>& values, const Extents& extents, In source) {
    SCOPED_TRACE(std::to_string(extents[0]) + " x " + std::to_string(extents[1]) + " x " + std::to_string(extents[2]));
    expectSameVoxels(run<In, Out>(values, extents, source),
                     twoPasses<In, Out>(values, extents, source, Case::allNeighbours));
  }

  static void keysStandInTheirOrder() {
    const SmartPointer<IComposite> parameter =
        Tavi::Factory::getClassFactory().createInstance(Case::texts.parameterType);
    EXPECT_EQ(parameter->getType(), Case::texts.parameterType);
    ASSERT_EQ(parameter->getNumberOfKeys(), 3u);
    EXPECT_EQ(parameter->getKey(0), "inputVolume");
    EXPECT_EQ(parameter->getKey(1), "outputVolume");
    EXPECT_EQ(parameter->getKey(2), "inputObjectValue");
    for (SizeType i = 0; i < 3; ++i) {
      EXPECT_TRUE(parameter->getValue(parameter->getKey(i)) == nullptr);
    }
  }

  static void everyPairIsRegistered(SizeType count) {
    const std::string beginning = std::string("NORV::TaviOperators::") + Case::texts.op + "::Operator< ";
    Case::forEachPair([&]<class In, class Out>() {
      const std::string identifier = beginning + Tavi::typeName<In> + " , " + Tavi::typeName<Out> + " >";
      ASSERT_TRUE(isRegistered(identifier)) << identifier;
      EXPECT_EQ(createTyped(identifier)->getProgress().getProgress(), 0.0);
      EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
    });
    EXPECT_TRUE(isRegistered(Case::texts.smallestOperator));
    EXPECT_EQ(countRegistered(beginning), count);
  }

  static void everyPairIsAsStated() {
    unsigned seed = 0;
    Case::forEachPair([&]<class In, class Out>() {
      for (const Extents& extents : {Extents{7, 3, 5}, Extents{1, 1, 4}, Extents{67, 1, 1}, Extents{64, 2, 3},
                                     Extents{131, 2, 2}, Extents{3, 40, 3}, Extents{2, 3, 61}}) {
        for (int turn = 0; turn < 3; ++turn) {
          const auto values =
              sparseSources<In>(extents[0] * extents[1] * extents[2], seed++, In(5), std::numeric_limits<In>::max());
          expectStated<In, Out>(values, extents, In(5));
        }
      }
    });
  }

  static void longRowsAreAsStated() {
    unsigned seed = 2;
    for (const SizeType length : {63u, 64u, 65u, 127u, 128u, 129u, 191u, 200u, 257u, 1000u}) {
      for (int turn = 0; turn < 6; ++turn) {
        const Extents extents{length, 3, 2};
        const auto values = sparseSources<uint8>(length * 6, seed++, 1, 0);
        expectStated<uint8, uint16>(values, extents, 1);
        expectStated<uint8, uint8>(values, extents, 1);
        expectStated<uint8, int32>(values, extents, 0);
      }
    }
  }

  /// One source at each place of a row, and one other.
  static void aSingleSourceAnywhereInARow() {
    const Extents extents{150, 1, 1};
    for (SizeType place = 0; place < extents[0]; ++place) {
      std::vector<uint8> values(extents[0], 0);
      values[place] = 1;
      expectStated<uint8, uint16>(values, extents, 1);
      expectStated<uint8, uint32>(values, extents, 0);
    }
  }

  /// The view of the input, whatever its layout, gives the view of the output.
  static void everyLayoutIsAsStated() {
    const Extents extents{9, 4, 5};
    const auto values = sparseSources<uint8>(9 * 4 * 5, 5, 1, 0);
    const auto expected = twoPasses<uint8, uint16>(values, extents, 1, Case::allNeighbours);
    std::size_t other = 0;
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      const TestVolume<uint8> input(extents, layout);
      input.fill(values);
      for (const Layout& target : {denseLayout, layout, allLayouts()[(other += 7) % allLayouts().size()]}) {
        SCOPED_TRACE("into " + target.name());
        const TestVolume<uint16> output(extents, target);
        const auto parameter = request(input, output, uint8{1});
        Frame().apply(parameter);
        expectSameVoxels(output.voxels(), expected);
        output.expectUntouchedOutside();
        EXPECT_EQ(parameter->outputVolume.value().get(), output.volume().get());
        EXPECT_EQ(input.voxels(), values);
        EXPECT_EQ(output.volume()->getOrientation(),
                  Tavi::Orientation(target.orientation[0], target.orientation[1], target.orientation[2]));
        EXPECT_EQ(input.volume()->getOrientation(),
                  Tavi::Orientation(layout.orientation[0], layout.orientation[1], layout.orientation[2]));
      }
    }
  }

  static void anOutputIsMadeOfTheInputsType() {
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      const Extents extents{6, 2, 3};
      const TestVolume<uint16> input(extents, layout);
      const auto values = sparseSources<uint16>(36, 3, 40000, 7);
      input.fill(values);
      const auto parameter = request(input, nullptr, uint16{40000});
      Frame().apply(parameter);
      const Tavi::VolumePtr<uint16> output(parameter->outputVolume.value());
      ASSERT_TRUE(output != nullptr);
      expectSameVoxels(voxelsOf(output), twoPasses<uint16, uint16>(values, extents, 40000, Case::allNeighbours));
    }
  }

  static void theOutputsTypeSelectsTheInstance() {
    const TestVolume<uint8> input({3, 1, 1});
    input.fill({1, 0, 0});
    const TestVolume<int32> output({3, 1, 1});
    Frame().apply(request(input, output, uint8{1}));
    EXPECT_EQ(output.voxels(), (std::vector<int32>{0, 1, 2}));
  }

  static void anOutputOfAnotherSizeIsResizedAndReused() {
    const TestVolume<uint8> input({3, 2, 1});
    input.fill({1, 0, 0});
    const TestVolume<uint8> output({5, 5, 5});
    const auto parameter = request(input, output, uint8{1});
    Frame().apply(parameter);
    EXPECT_EQ(parameter->outputVolume.value().get(), output.volume().get());
    EXPECT_EQ(voxelsOf(output.volume()), (std::vector<uint8>{0, 1, 2, 0, 1, 2}));
  }

  static void withoutASourceAllHoldTheStartValue() {
    forEachIntegerType([]<class Out>() {
      for (const Extents& extents : {Extents{5, 4, 3}, Extents{70, 1, 2}, Extents{1, 1, 1}, Extents{130, 3, 1}}) {
        const std::vector<uint8> values(extents[0] * extents[1] * extents[2], 9);
        const auto found = run<uint8, Out>(values, extents, 8);
        EXPECT_EQ(found, std::vector<Out>(values.size(), startOf<Out>(extents)));
      }
    });
    const std::vector<uint8> values(60, 9);
    EXPECT_EQ((run<uint8, uint8>(values, {5, 4, 3}, 8)[0]), 243);
    EXPECT_EQ((run<uint8, int8>(values, {5, 4, 3}, 8)[0]), 115);
    EXPECT_EQ((run<uint8, uint16>(values, {5, 4, 3}, 8)[0]), 65523);
    EXPECT_EQ((run<uint8, int16>(values, {5, 4, 3}, 8)[0]), 32755);
    EXPECT_EQ((run<uint8, uint32>(values, {5, 4, 3}, 8)[0]), 4294967283u);
    EXPECT_EQ((run<uint8, int32>(values, {5, 4, 3}, 8)[0]), 2147483635);
  }

  static void aVolumeOfSourcesIsZero() {
    forEachIntegerType([]<class Out>() {
      const std::vector<uint8> values(70 * 3 * 2, 9);
      EXPECT_EQ((run<uint8, Out>(values, {70, 3, 2}, 9)), std::vector<Out>(values.size(), Out(0)));
    });
  }

  static void aSingleSourceInTheCentre(int32 corner) {
    const TestVolume<uint8> input({5, 5, 5});
    const TestVolume<int32> output({5, 5, 5});
    input.fill({0});
    input.at({2, 2, 2}) = 1;
    Frame().apply(request(input, output, uint8{1}));
    for (const SizeType x : {0u, 4u}) {
      for (const SizeType y : {0u, 4u}) {
        for (const SizeType z : {0u, 4u}) {
          EXPECT_EQ(output.at({x, y, z}), corner);
        }
      }
    }
    EXPECT_EQ(output.at({2, 2, 2}), 0);
    EXPECT_EQ(output.at({2, 2, 0}), 2);
  }

  /// Volumes large enough to be shared, of many and of few slices.
  static void anyNumberOfThreadsIsAsStated() {
    for (const Extents& extents : {Extents{67, 41, 101}, Extents{301, 303, 3}}) {
      const auto values = sparseSources<uint8>(extents[0] * extents[1] * extents[2], 9, 1, 0);
      const auto stated = twoPasses<uint8, uint16>(values, extents, 1, Case::allNeighbours);
      forEachThreadCount([&] {
        for (const Layout& layout : {denseLayout, Layout{{4, 0, 3}, {1, 0, 2}, {0, 1, 0}}}) {
          const TestVolume<uint8> input(extents, layout);
          const TestVolume<uint16> output(extents, layout);
          input.fill(values);
          Frame().apply(request(input, output, uint8{1}));
          expectSameVoxels(output.voxels(), stated);
          output.expectUntouchedOutside();
        }
      });
    }
  }

  static void oneVoxel() {
    forEachIntegerType([]<class Out>() {
      EXPECT_EQ((run<uint8, Out>({3}, {1, 1, 1}, 3)), std::vector<Out>{0});
      EXPECT_EQ((run<uint8, Out>({3}, {1, 1, 1}, 4)), std::vector<Out>{startOf<Out>({1, 1, 1})});
    });
  }

  /// Sizes of 1 and 2 on any axes: as stated, and the same as a permuted copy.
  static void thinVolumesAreLikePermutedCopies() {
    unsigned seed = 20;
    for (SizeType nx = 1; nx <= 4; ++nx) {
      for (SizeType ny = 1; ny <= 4; ++ny) {
        for (SizeType nz = 1; nz <= 4; ++nz) {
          const Extents extents{nx, ny, nz}, permuted{nz, nx, ny};
          const auto values = sparseSources<uint8>(nx * ny * nz, seed++, 1, 0);
          expectStated<uint8, uint16>(values, extents, 1);
          std::vector<uint8> copy;
          for (SizeType y = 0; y < ny; ++y) {
            for (SizeType x = 0; x < nx; ++x) {
              for (SizeType z = 0; z < nz; ++z) {
                copy.push_back(values[(z * ny + y) * nx + x]);
              }
            }
          }
          const auto ours = run<uint8, uint16>(values, extents, 1), theirs = run<uint8, uint16>(copy, permuted, 1);
          std::size_t index = 0;
          for (SizeType y = 0; y < ny; ++y) {
            for (SizeType x = 0; x < nx; ++x) {
              for (SizeType z = 0; z < nz; ++z) {
                EXPECT_EQ(theirs[index++], ours[(z * ny + y) * nx + x]);
              }
            }
          }
        }
      }
    }
  }

  static void theStartValueIsACeiling() {
    std::vector<uint8> values(100, 0);
    values[0] = 1;
    for (const Extents& extents : {Extents{100, 1, 1}, Extents{1, 100, 1}, Extents{1, 1, 100}}) {
      const auto found = run<uint8, uint8>(values, extents, 1);
      for (SizeType i = 0; i < 100; ++i) {
        EXPECT_EQ(found[i], std::min<SizeType>(i, 53));
      }
    }
  }

  /// Where 8 bits do not hold the steps across the volume, the numbers are what the arithmetic gives.
  static void startValuesThatWrap() {
    unsigned seed = 100;
    for (const SizeType length :
         {61u, 62u, 63u, 64u, 65u, 100u, 125u, 126u, 127u, 128u, 129u, 254u, 255u, 256u, 300u}) {
      for (int turn = 0; turn < 4; ++turn) {
        for (const Extents& extents : {Extents{length, 2, 3}, Extents{3, length, 2}, Extents{2, 3, length}}) {
          const auto values = sparseSources<uint8>(length * 6, seed++, 1, 0);
          expectStated<uint8, int8>(values, extents, 1);
          expectStated<uint8, uint8>(values, extents, 1);
        }
      }
    }
    for (const SizeType length : {16382u, 16383u, 16384u, 32766u, 32767u, 32768u, 40000u, 65535u}) {
      for (const Extents& extents : {Extents{length, 2, 1}, Extents{2, 1, length}}) {
        const auto values = sparseSources<uint8>(length * 2, seed++, 1, 0);
        expectStated<uint8, int16>(values, extents, 1);
        expectStated<uint8, uint16>(values, extents, 1);
      }
    }
  }

  static void inPlace() {
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      const Extents extents{70, 2, 3};
      const TestVolume<uint8> volume(extents, layout);
      const auto values = sparseSources<uint8>(420, 6, 4, 9);
      volume.fill(values);
      Frame().apply(request(volume, volume, uint8{4}));
      expectSameVoxels(volume.voxels(), twoPasses<uint8, uint8>(values, extents, 4, Case::allNeighbours));
      volume.expectUntouchedOutside();
    }
  }

  /// Two volumes over the same memory: the first pass ends before the second begins, each voxel after the other.
  static void outputInTheMemoryOfTheInput() {
    const std::size_t size = 70 * 3 * 4;
    for (const std::size_t shift : {std::size_t{0}, std::size_t{1}, std::size_t{5}, std::size_t{100}}) {
      std::vector<uint8> memory = sparseSources<uint8>(size + shift, 9, 1, 0);
      const auto over = [&](std::size_t begin) {
        return Tavi::VolumePtr<uint8>(
            new Tavi::Volume<uint8>(Tavi::Dimension<SizeType>(70, 3, 4), memory.data() + begin, {}));
      };
      const Extents extents{70, 3, 4};
      const std::vector<uint8> before(memory.begin(), memory.begin() + static_cast<std::ptrdiff_t>(size));
      Frame().apply(request(over(0), over(shift), uint8{1}));
      expectSameVoxels(std::vector<uint8>(memory.begin() + static_cast<std::ptrdiff_t>(shift), memory.end()),
                       twoPasses<uint8, uint8>(before, extents, 1, Case::allNeighbours));
    }
  }

  static void emptyVolume() {
    const Tavi::VolumePtr<uint8> empty(new Tavi::Volume<uint8>());
    const auto parameter = request(empty, nullptr, uint8{1});
    Frame().apply(parameter);
    ASSERT_TRUE(parameter->outputVolume.value() != nullptr);
    EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
  }

  /// The number of steps done is told before a slice, so the last one is never told.
  static void threeStepsPerSlice() {
    const TestVolume<uint8> input({3, 4, 5});
    const TestVolume<uint16> output({3, 4, 5});
    const auto op = typed();
    EXPECT_EQ(op->getProgress().getProgress(), 0.0);
    op->apply(request(input, output, uint8{1}));
    EXPECT_EQ(op->getProgress().getProgress(), 14.0 / 15.0);
    Frame frame;
    frame.apply(request(input, output, uint8{1}));
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
  }
};

}  // namespace NORV::Tests
