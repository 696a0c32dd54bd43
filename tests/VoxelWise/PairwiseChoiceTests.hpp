#pragma once

#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/Saturation.hpp>
#include <Saturation.hpp>
#include <Tavi/StreamingStore.hpp>

#include <atomic>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

/// The tests that `Minimum` and `Maximum` share. An operator is given by its parameter class, its frame, its rule and
/// its texts.
namespace NORV::Tests {

/// The whole texts of an operator's failures.
struct PairwiseTexts {
  const char* op;
  const char* parameterType;
  const char* uint8Operator;
  const char* wrongClassInFrame;
  const char* volumeMissingInFrame;
  const char* differentClasses;
  const char* wrongClassInApply;
  const char* volumeMissingInApply;
  const char* differentSizes;
  const char* mixedOutput;
};

/// `Case` has `Parameter`, `Frame`, `texts` and `choose(first, second)`.
template <class Case>
class PairwiseTests {
  using Parameter = typename Case::Parameter;
  using Frame = typename Case::Frame;
  static constexpr Extents extents{7, 3, 5};
  static constexpr std::size_t voxels = 7 * 3 * 5;

  static SmartPointer<Parameter> request(const SmartPointer<IVolume>& first, const SmartPointer<IVolume>& second,
                                         const SmartPointer<IVolume>& output, SizeType threads = 0) {
    const auto parameter = makeParameter<Parameter>();
    parameter->inputFirstVolume = first;
    parameter->inputSecondVolume = second;
    parameter->outputVolume = output;
    parameter->inputNumberOfThreads = threads;
    return parameter;
  }
  static SmartPointer<Parameter> completeRequest() {
    return request(TestVolume<uint8>(extents), TestVolume<uint8>(extents), TestVolume<uint8>(extents));
  }
  static SmartPointer<IOperator> typed() { return createTyped(Case::texts.uint8Operator); }

  template <class T>
  static std::vector<T> chosen(const std::vector<T>& first, const std::vector<T>& second) {
    std::vector<T> results;
    for (std::size_t i = 0; i < first.size(); ++i) {
      results.push_back(Case::choose(first[i], second[i]));
    }
    return results;
  }
  template <class T>
  static std::vector<T> run(const std::vector<T>& first, const std::vector<T>& second) {
    const Extents row{first.size(), 1, 1};
    const TestVolume<T> a(row), b(row), output(row);
    a.fill(first);
    b.fill(second);
    Frame().apply(request(a, b, output));
    return output.voxels();
  }

public:
  static void parameterKeys() {
    const SmartPointer<IComposite> parameter =
        Tavi::Factory::getClassFactory().createInstance(Case::texts.parameterType);
    EXPECT_EQ(parameter->getType(), Case::texts.parameterType);
    ASSERT_EQ(parameter->getNumberOfKeys(), 4u);
    EXPECT_EQ(parameter->getKey(0), "inputFirstVolume");
    EXPECT_EQ(parameter->getKey(1), "inputSecondVolume");
    EXPECT_EQ(parameter->getKey(2), "inputNumberOfThreads");
    EXPECT_EQ(parameter->getKey(3), "outputVolume");
    const SmartPointer<Tavi::Persistence::Data<SizeType>> threads(parameter->getValue("inputNumberOfThreads"));
    ASSERT_TRUE(threads != nullptr);
    EXPECT_EQ(threads->getValue(), 0u);
    EXPECT_TRUE(parameter->getValue("outputVolume") == nullptr);
  }

  static void instances() {
    forEachVoxelType([]<class T>() {
      const std::string identifier = typedIdentifier<T, T>(Case::texts.op);
      ASSERT_TRUE(isRegistered(identifier)) << identifier;
      EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
    });
    EXPECT_TRUE(isRegistered(Case::texts.uint8Operator));
    EXPECT_EQ(countRegistered(std::string("NORV::TaviOperators::") + Case::texts.op + "::Operator< "), 8u);
  }

  /// Every voxel type, all layouts of the first volume beside changing ones of the others.
  static void layouts() {
    const RuntimeSettings settings;
    forEachVoxelType([]<class T>() {
      const std::vector<T> firstValues = mixedValues<T>(voxels, 1), secondValues = mixedValues<T>(voxels, 2);
      const std::vector<T> expected = chosen(firstValues, secondValues);
      std::size_t turn = 0;
      for (const Layout& layout : allLayouts()) {
        SCOPED_TRACE(layout.name());
        const TestVolume<T> first(extents, layout);
        const TestVolume<T> second(extents, someLayouts()[turn % someLayouts().size()]);
        const TestVolume<T> output(extents, allLayouts()[turn * 5 % allLayouts().size()]);
        first.fill(firstValues);
        second.fill(secondValues);
        const auto parameter = request(first, second, output, turn++ % 4);
        Frame().apply(parameter);
        EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
        expectSameVoxels(output.voxels(), expected);
        output.expectUntouchedOutside();
        first.expectUntouchedOutside();
        expectSameVoxels(first.voxels(), firstValues);
        expectSameVoxels(second.voxels(), secondValues);
      }
    });
  }

  static void specialValuesAgainstEachOther() {
    forEachVoxelType([]<class T>() {
      std::vector<T> first, second;
      for (const T a : specialValues<T>()) {
        for (const T b : specialValues<T>()) {
          first.push_back(a);
          second.push_back(b);
        }
      }
      expectSameVoxels(run<T>(first, second), chosen(first, second));
    });
  }

  static void ofAVolumeWithItself() {
    forEachVoxelType([]<class T>() {
      const std::vector<T> values = mixedValues<T>(voxels);
      expectSameVoxels(run<T>(values, values), values);
      const TestVolume<T> volume(extents, regionLayout);  // one object in all three places
      volume.fill(values);
      Frame().apply(request(volume, volume, volume));
      expectSameVoxels(volume.voxels(), values);
      volume.expectUntouchedOutside();
    });
  }

  static void threads() {
    const RuntimeSettings settings;
    const TestVolume<int16> first({5, 4, 11}), second({5, 4, 11}, regionLayout);
    first.fill(mixedValues<int16>(220, 1));
    second.fill(mixedValues<int16>(220, 2));
    for (const int dynamic : {0, 1}) {
      omp_set_dynamic(dynamic);
      for (const SizeType count : threadCounts()) {
        const TestVolume<int16> output({5, 4, 11});
        Frame().apply(request(first, second, output, count));
        expectSameVoxels(output.voxels(), chosen(first.voxels(), second.voxels()));
        if (count > 0) {
          EXPECT_EQ(omp_get_max_threads(), static_cast<int>(count));
        }
      }
    }
  }

  /// Past the cache, with rows that begin at any address.
  static void large() {
    const SizeType prim = 4099, sec = 33, tert = Tavi::Streaming::threshold / (prim * sec * sizeof(uint16)) + 2;
    using Tavi::Volume;
    using Tavi::VolumePtr;
    const Tavi::Dimension<SizeType> whole(prim + 1, sec, tert);
    const VolumePtr<uint16> first(new Volume<uint16>(whole)), second(new Volume<uint16>(whole)),
        output(new Volume<uint16>(whole));
    const SizeType count = (prim + 1) * sec * tert;
    for (SizeType i = 0; i < count; ++i) {
      first->getData()[i] = static_cast<uint16>(i * 40503u >> 4);
      second->getData()[i] = static_cast<uint16>(i * 9973u >> 3);
      output->getData()[i] = 1;
    }
    for (const VolumePtr<uint16>& volume : {first, second, output}) {
      volume->setRoi(
          Tavi::RegionOfInterest(Tavi::Dimension<SizeType>(prim, sec, tert), Tavi::Position<SizeType>(1, 0, 0)));
    }
    Frame().apply(request(first, second, output));
    SizeType wrong = 0;
    for (SizeType i = 0; i < count; ++i) {
      const uint16 expected = i % (prim + 1) == 0 ? uint16{1} : Case::choose(first->getData()[i], second->getData()[i]);
      wrong += output->getData()[i] != expected ? 1u : 0u;
    }
    EXPECT_EQ(wrong, 0u);
  }

  static void outputIsResized() {
    const TestVolume<uint8> first(extents), second(extents), output({2, 9, 4}, regionLayout);
    first.fill(mixedValues<uint8>(voxels, 1));
    second.fill(mixedValues<uint8>(voxels, 2));
    const auto parameter = request(first, second, output);
    Frame().apply(parameter);
    EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
    expectSameVoxels(voxelsOf(output.volume()), chosen(first.voxels(), second.voxels()));
  }

  static void typedOperatorMakesAnAbsentOutput() {
    const TestVolume<uint8> first(extents), second(extents);
    first.fill(mixedValues<uint8>(voxels, 1));
    second.fill(mixedValues<uint8>(voxels, 2));
    const auto parameter = request(first, second, nullptr);
    typed()->apply(parameter);
    expectSameVoxels(voxelsOf(Tavi::VolumePtr<uint8>(parameter->outputVolume.value())),
                     chosen(first.voxels(), second.voxels()));
  }

  static void wrongParameter() {
    Frame frame;
    frame.apply(completeRequest());
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
    expectRefusal([&] { frame.apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
    EXPECT_EQ(frame.getProgress().getProgress(), 0.0);
    const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
    expectRefusal([&] { frame.apply(other); }, Case::texts.wrongClassInFrame);
    expectRefusal([&] { typed()->apply(other); }, Case::texts.wrongClassInApply);
    expectRefusal([&] { typed()->apply(nullptr); }, Case::texts.wrongClassInApply);
  }

  static void missingVolumes() {
    const SmartPointer<IVolume> volume = TestVolume<uint8>(extents);
    expectRefusal([&] { Frame().apply(request(nullptr, volume, volume)); }, Case::texts.volumeMissingInFrame);
    expectRefusal([&] { Frame().apply(request(volume, nullptr, volume)); }, Case::texts.volumeMissingInFrame);
    expectRefusal([&] { Frame().apply(request(volume, volume, nullptr)); }, Case::texts.volumeMissingInFrame);
    expectRefusal([&] { typed()->apply(request(nullptr, volume, volume)); }, Case::texts.volumeMissingInApply);
    expectRefusal([&] { typed()->apply(request(volume, nullptr, volume)); }, Case::texts.volumeMissingInApply);
    const SmartPointer<IVolume> other = TestVolume<int8>(extents);
    expectRefusal([&] { typed()->apply(request(other, volume, volume)); }, Case::texts.volumeMissingInApply);
    expectRefusal([&] { typed()->apply(request(volume, other, volume)); }, Case::texts.volumeMissingInApply);
  }

  static void differentClasses() {
    forEachVoxelTypePair([]<class A, class B>() {
      if constexpr (!std::is_same_v<A, B>) {
        expectRefusal(
            [] { Frame().apply(request(TestVolume<A>(extents), TestVolume<B>(extents), TestVolume<A>(extents))); },
            Case::texts.differentClasses);
      }
    });
    using External = Tavi::Allocator::ExternalBufferAllocator<Tavi::Allocator::SingleBlockAllocator>;
    const TestVolume<uint8> owner(extents);
    const SmartPointer<IVolume> view(
        Tavi::VolumePtr<uint8, External>(new Tavi::Volume<uint8, External>(owner.volume())));
    expectRefusal([&] { Frame().apply(request(owner, view, owner)); }, Case::texts.differentClasses);
  }

  static void differentSizesThrowBeforeAVoxelIsWritten() {
    for (const Extents& size : {Extents{8, 3, 5}, Extents{7, 2, 5}, Extents{7, 3, 6}, Extents{3, 7, 5}}) {
      const TestVolume<uint8> first(extents), second(size), output({2, 2, 2});
      expectRefusal([&] { Frame().apply(request(first, second, output)); }, Case::texts.differentSizes);
      expectRefusal([&] { Frame().apply(request(second, first, output)); }, Case::texts.differentSizes);
      EXPECT_TRUE(output.volume()->getDimension() == Tavi::Dimension<SizeType>(2, 2, 2));
      expectSameVoxels(output.voxels(), std::vector<uint8>(8, 77));
    }
  }

  static void outputOfAnotherVoxelType() {
    const SmartPointer<IVolume> input = TestVolume<uint8>(extents);
    const auto parameter = request(input, input, TestVolume<int8>(extents));
    expectStandard<std::invalid_argument>([&] { Frame().apply(parameter); }, Case::texts.mixedOutput);
    expectRefusal([&] { typed()->apply(parameter); },
                  "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  }

  static void threadCountIsChecked() {
    Frame frame;
    expectThreadCountChecked(frame, completeRequest());
    expectThreadCountChecked(*typed(), completeRequest());
  }

  static void failingAllocations() {
    SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
    const RuntimeSettings settings;
    const TestVolume<uint8> first(extents), second(extents), output({1, 1, 1});
    first.fill(mixedValues<uint8>(voxels, 1));
    second.fill(mixedValues<uint8>(voxels, 2));
    const auto parameter = request(first, second, output, 1);
    Frame frame;
    const int failures =
        failEachAllocation([&] { frame.apply(parameter); }, [&] { EXPECT_LT(frame.getProgress().getProgress(), 1.0); });
    EXPECT_GT(failures, 3);
    expectSameVoxels(voxelsOf(output.volume()), chosen(first.voxels(), second.voxels()));
  }

  static void abortSkipsSlices() {
    const RuntimeSettings settings;
    using Tavi::Volume;
    using Tavi::VolumePtr;
    const Tavi::Dimension<SizeType> size(512, 512, 64);
    const SizeType count = SizeType{512} * 512 * 64;
    const VolumePtr<uint8> input(new Volume<uint8>(size)), output(new Volume<uint8>(size));
    std::fill_n(input->getData(), count, uint8{5});
    const auto parameter = request(input, input, output, 2);
    Frame frame;
    SizeType skipped = 0;
    for (int attempt = 0; attempt < 50 && skipped == 0; ++attempt) {
      std::fill_n(output->getData(), count, uint8{77});
      std::atomic<bool> ended{false};
      std::thread other([&] {
        while (!ended) {
          frame.abort();
        }
      });
      frame.apply(parameter);
      ended = true;
      other.join();
      EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
      skipped = static_cast<SizeType>(std::count(output->getData(), output->getData() + count, uint8{77}));
      EXPECT_EQ(skipped % (512 * 512), 0u);
    }
    EXPECT_GT(skipped, 0u);
    frame.apply(parameter);
    EXPECT_EQ(std::count(output->getData(), output->getData() + count, uint8{5}), static_cast<std::ptrdiff_t>(count));
  }
};

/// The list of tests, under the operator's name.
#define TAVI_PAIRWISE_TESTS(Name, Case)                                                                             \
  TEST(Name##Parameter, KeysStandInTheirOrder) { PairwiseTests<Case>::parameterKeys(); }                            \
  TEST(Name##Instances, EveryVoxelTypeIsRegistered) { PairwiseTests<Case>::instances(); }                           \
  TEST(Name, EveryVoxelTypeAndAllLayouts) { PairwiseTests<Case>::layouts(); }                                       \
  TEST(Name, SpecialValuesAgainstEachOther) { PairwiseTests<Case>::specialValuesAgainstEachOther(); }               \
  TEST(Name, OfAVolumeWithItselfIsTheVolume) { PairwiseTests<Case>::ofAVolumeWithItself(); }                        \
  TEST(Name, EveryThreadCountGivesTheSameVoxels) { PairwiseTests<Case>::threads(); }                                \
  TEST(Name, LargeVolumesGoPastTheCache) { PairwiseTests<Case>::large(); }                                          \
  TEST(Name##Output, AnotherSizeIsResizedAndReused) { PairwiseTests<Case>::outputIsResized(); }                     \
  TEST(Name##Output, TheTypedOperatorMakesAnAbsentOne) { PairwiseTests<Case>::typedOperatorMakesAnAbsentOutput(); } \
  TEST(Name##Failure, AWrongParameterObject) { PairwiseTests<Case>::wrongParameter(); }                             \
  TEST(Name##Failure, MissingVolumes) { PairwiseTests<Case>::missingVolumes(); }                                    \
  TEST(Name##Failure, InputsOfDifferentClasses) { PairwiseTests<Case>::differentClasses(); }                        \
  TEST(Name##Failure, InputsOfDifferentSizesThrowBeforeAVoxelIsWritten) {                                           \
    PairwiseTests<Case>::differentSizesThrowBeforeAVoxelIsWritten();                                                \
  }                                                                                                                 \
  TEST(Name##Failure, AnOutputOfAnotherVoxelType) { PairwiseTests<Case>::outputOfAnotherVoxelType(); }              \
  TEST(Name##Failure, AThreadCountBeyond32Bits) { PairwiseTests<Case>::threadCountIsChecked(); }                    \
  TEST(Name##Failure, AnyAllocationThatFailsSurfaces) { PairwiseTests<Case>::failingAllocations(); }                \
  TEST(Name##Abort, SkipsTheRemainingSlicesAndReturnsNormally) { PairwiseTests<Case>::abortSkipsSlices(); }

}  // namespace NORV::Tests
