#pragma once

#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"
#include "support/HostMemory.hpp"
#include "support/Operators.hpp"
#include "support/Threads.hpp"
#include "support/Volumes.hpp"

#include <DLL/Saturation.hpp>
#include <Saturation.hpp>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <map>
#include <new>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

/// The tests that all selections of objects share. A selection is given by its parameter class, its frame, its rule and
/// its texts.
namespace NORV::Tests {

struct SelectionTexts {
  const char* op;
  const char* parameterType;
  const char* wrongClassInFrame;
  const char* volumeMissingInFrame;
  const char* wrongClassInApply;
  const char* volumeMissingInApply;
  const char* sizesDifferInApply;
  const char* noInstanceForFloat;
};

template <class Body>
void forEachSelectionPair(const Body& body) {
  forEachVoxelType([&body]<class T>() {
    forEachVoxelType([&body]<class L>() {
      if constexpr (std::is_unsigned_v<T> && std::is_unsigned_v<L>) {
        body.template operator()<T, L>();
      }
    });
  });
}

/// The result of a selection as it is stated.
template <class T>
struct Selected {
  std::vector<T> voxels;
  uint64 removed;
};

/// `Case` has `Parameter`, `Frame`, `texts`, `hasThreshold`, and `stated(counts, protectedLabel, threshold)`: which
/// labels are removed.
template <class Case>
class SelectionTests {
  using Parameter = typename Case::Parameter;
  using Frame = typename Case::Frame;
  template <class T>
  using Ptr = Tavi::VolumePtr<T>;

public:
  template <class T, class L>
  static SmartPointer<Parameter> request(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& labels,
                                         const SmartPointer<IVolume>& output, std::optional<L> background,
                                         uint64 threshold, T substitution) {
    const auto parameter = makeParameter<Parameter>();
    parameter->inputVolume = input;
    parameter->inputLabelVolume = labels;
    parameter->outputVolume = output;
    parameter->inputSubstitutionValue.setValue(substitution);
    if constexpr (Case::hasThreshold) {
      parameter->inputThreshold = threshold;
    }
    if (background) {
      parameter->inputBackgroundLabelEnabled = true;
      parameter->inputBackgroundLabel.setValue(*background);
    }
    return parameter;
  }

  static SmartPointer<Parameter> completeRequest() {
    return request<uint8, uint8>(TestVolume<uint8>({2, 2, 2}), TestVolume<uint8>({2, 2, 2}), nullptr, {}, 1, 0);
  }

  template <class T, class L>
  static SmartPointer<IOperator> typed() {
    return createTyped(std::string("NORV::TaviOperators::") + Case::texts.op + "::Operator< " + Tavi::typeName<T> +
                       ", " + Tavi::typeName<L> + ", " + Tavi::typeName<T> + " >");
  }

  template <class T, class L>
  static Selected<T> stated(const std::vector<T>& values, const std::vector<L>& labels, std::optional<L> background,
                            uint64 threshold, T substitution) {
    std::vector<uint64> counts(labels.empty() ? 1 : *std::max_element(labels.begin(), labels.end()) + std::size_t{1});
    for (const L label : labels) {
      ++counts[label];
    }
    std::optional<std::size_t> protectedLabel;
    if (background && *background < counts.size()) {
      protectedLabel = *background;
    }
    const std::vector<bool> isRemoved = Case::stated(counts, protectedLabel, threshold);
    Selected<T> result{values, static_cast<uint64>(std::count(isRemoved.begin(), isRemoved.end(), true))};
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (isRemoved[labels[i]]) {
        result.voxels[i] = substitution;
      }
    }
    return result;
  }

  /// The voxels by way of the frame, which must be those of the restatement.
  template <class T, class L>
  static std::vector<T> select(const std::vector<T>& values, const std::vector<L>& labels, std::optional<L> background,
                               uint64 threshold, T substitution) {
    const Extents extents{values.size(), 1, 1};
    const TestVolume<T> input(extents);
    const TestVolume<L> label(extents);
    input.fill(values);
    label.fill(labels);
    const auto parameter = request<T, L>(input, label, nullptr, background, threshold, substitution);
    Frame().apply(parameter);
    const auto found = voxelsOf(Ptr<T>(parameter->outputVolume.value()));
    const auto expected = stated<T, L>(values, labels, background, threshold, substitution);
    expectSameVoxels(found, expected.voxels);
    expectRemoved(parameter, expected.removed);
    return found;
  }

  static void expectRemoved(const SmartPointer<Parameter>& parameter, uint64 removed) {
    if constexpr (Case::hasThreshold) {
      EXPECT_EQ(parameter->outputNumberOfRemovedObjects.value(), removed);
    }
  }

  static void keysStandInTheirOrder() {
    const SmartPointer<IComposite> parameter =
        Tavi::Factory::getClassFactory().createInstance(Case::texts.parameterType);
    EXPECT_EQ(parameter->getType(), Case::texts.parameterType);
    const std::vector<std::string> keys =
        Case::hasThreshold
            ? std::vector<std::string>{"inputVolume",          "inputLabelVolume",
                                       "inputThreshold",       "inputBackgroundLabelEnabled",
                                       "inputBackgroundLabel", "inputSubstitutionValue",
                                       "outputVolume",         "outputNumberOfRemovedObjects"}
            : std::vector<std::string>{"inputVolume",          "inputLabelVolume",       "inputBackgroundLabelEnabled",
                                       "inputBackgroundLabel", "inputSubstitutionValue", "outputVolume"};
    ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
    for (SizeType i = 0; i < keys.size(); ++i) {
      EXPECT_EQ(parameter->getKey(i), keys[i]);
    }
    const SmartPointer<Parameter> typedParameter(parameter);
    EXPECT_FALSE(typedParameter->inputBackgroundLabelEnabled.value());
    expectRemoved(typedParameter, 0);
  }

  static void everyPairIsRegistered() {
    forEachSelectionPair([]<class T, class L>() { EXPECT_TRUE((typed<T, L>() != nullptr)); });
    EXPECT_EQ(countRegistered(std::string("NORV::TaviOperators::") + Case::texts.op + "::Operator< "), 9u);
  }

  static void everyPairIsAsStated() {
    forEachSelectionPair([]<class T, class L>() {
      std::mt19937 random(3);
      for (int run = 0; run < 60; ++run) {
        std::vector<T> values = mixedValues<T>(1 + random() % 200, static_cast<unsigned>(run));
        std::vector<L> labels;
        const SizeType kinds = 1 + random() % 60;
        while (labels.size() < values.size()) {
          labels.insert(labels.end(), 1 + random() % 9, static_cast<L>(random() % kinds * (random() % 3)));
        }
        labels.resize(values.size());
        const std::optional<L> background =
            random() % 2 == 0 ? std::optional<L>(static_cast<L>(random() % (2 * kinds))) : std::nullopt;
        select<T, L>(values, labels, background, random() % 40, static_cast<T>(random()));
      }
    });
  }

  static void everyLayoutIsAsStated() {
    const Extents extents{7, 3, 5};
    const auto values = mixedValues<uint16>(105);
    std::vector<uint32> labels(105);
    std::mt19937 random(8);
    for (uint32& label : labels) {
      label = static_cast<uint32>(random() % 20 * (random() % 20));
    }
    const auto expected = stated<uint16, uint32>(values, labels, uint32{0}, 3, 500);
    const auto check = [&](const Layout& inputLayout, const Layout& labelLayout, const Layout& outputLayout) {
      SCOPED_TRACE(inputLayout.name() + ", labels " + labelLayout.name() + " to " + outputLayout.name());
      const TestVolume<uint16> input(extents, inputLayout);
      const TestVolume<uint32> label(extents, labelLayout);
      const TestVolume<uint16> output(extents, outputLayout);
      input.fill(values);
      label.fill(labels);
      const auto parameter = request<uint16, uint32>(input, label, output, uint32{0}, 3, 500);
      Frame().apply(parameter);
      EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
      expectSameVoxels(output.voxels(), expected.voxels);
      expectRemoved(parameter, expected.removed);
      output.expectUntouchedOutside();
      input.expectUntouchedOutside();
      label.expectUntouchedOutside();
    };
    for (const Layout& layout : allLayouts()) {
      for (const Layout& other : someLayouts()) {
        check(layout, other, denseLayout);
        check(other, layout, regionLayout);
        check(other, denseLayout, layout);
      }
    }
  }

  /// Volumes large enough to be shared.
  static void anyNumberOfThreadsIsAsStated() {
    const Extents extents{67, 41, 101};
    const std::size_t size = 67 * 41 * 101;
    const auto values = mixedValues<uint16>(size, 2);
    std::mt19937 random(4);
    for (const uint32 kinds : {7u, 900u, 200000u}) {
      std::vector<uint32> labels;
      while (labels.size() < size) {
        labels.insert(labels.end(), 1 + random() % 50, static_cast<uint32>(random() % kinds * (random() % 2)));
      }
      labels.resize(size);
      const auto expected = stated<uint16, uint32>(values, labels, uint32{0}, 40, 500);
      const TestVolume<uint16> input(extents);
      const TestVolume<uint32> label(extents, regionLayout);
      input.fill(values);
      label.fill(labels);
      forEachThreadCount([&] {
        const TestVolume<uint16> output(extents);
        const auto parameter = request<uint16, uint32>(input, label, output, uint32{0}, 40, 500);
        Frame().apply(parameter);
        expectSameVoxels(output.voxels(), expected.voxels);
        expectRemoved(parameter, expected.removed);
      });
    }
  }

  /// The output may be the input, or the labels.
  static void inPlace() {
    for (const Layout& layout : someLayouts()) {
      const auto values = mixedValues<uint8>(105, 4);
      std::vector<uint8> labels(105);
      for (std::size_t i = 0; i < labels.size(); ++i) {
        labels[i] = static_cast<uint8>(i * i % 7);
      }
      const auto expected = stated<uint8, uint8>(values, labels, uint8{1}, 20, 9).voxels;
      for (const bool isInput : {true, false}) {
        const TestVolume<uint8> input({7, 3, 5}, layout), label({7, 3, 5}, layout);
        input.fill(values);
        label.fill(labels);
        const TestVolume<uint8>& output = isInput ? input : label;
        Frame().apply(request<uint8, uint8>(input, label, output, uint8{1}, 20, 9));
        expectSameVoxels(output.voxels(), expected);
      }
    }
  }

  /// The labels are those before the run, whatever the output overwrites.
  template <class T, class L>
  static void expectOverlapAsStated(SizeType labelsFrom, SizeType outputFrom) {
    constexpr SizeType count = 150;
    std::vector<uint64> memory(256, 0);
    std::byte* const bytes = reinterpret_cast<std::byte*>(memory.data());
    L* const labels = reinterpret_cast<L*>(bytes + labelsFrom);
    for (SizeType i = 0; i < count; ++i) {
      labels[i] = static_cast<L>(i % 40 < 25 ? i / 40 : i % 7);
    }
    const TestVolume<T> input({count, 1, 1});
    input.fill(mixedValues<T>(count, 6));
    std::vector<uint64> counts(7, 0);
    std::for_each(labels, labels + count, [&](L label) { ++counts[label]; });
    const std::vector<bool> isRemoved = Case::stated(counts, {}, 20);
    const auto removed = static_cast<uint64>(std::count(isRemoved.begin(), isRemoved.end(), true));

    const T substitution = static_cast<T>(4000000007u);
    std::vector<uint64> expected = memory;
    for (SizeType i = 0; i < count; ++i) {
      std::byte* const place = reinterpret_cast<std::byte*>(expected.data());
      const T voxel = isRemoved[labels[i]] ? substitution : input.at({i, 0, 0});
      std::memcpy(place + outputFrom + i * sizeof(T), &voxel, sizeof(T));
    }
    const auto volume = [&]<class V>(V* data) {
      return Ptr<V>(new Tavi::Volume<V>(Tavi::Dimension<SizeType>(count, 1, 1), data, [](V*) {}));
    };
    const auto parameter =
        request<T, L>(input, volume(labels), volume(reinterpret_cast<T*>(bytes + outputFrom)), {}, 20, substitution);
    Frame().apply(parameter);
    EXPECT_EQ(memory, expected);
    expectRemoved(parameter, removed);
  }
  static void anOutputThatOverwritesLabelsAhead() {
    expectOverlapAsStated<uint32, uint32>(0, 4);
    expectOverlapAsStated<uint32, uint32>(4, 0);
    expectOverlapAsStated<uint32, uint32>(0, 280);
    expectOverlapAsStated<uint32, uint32>(280, 0);
    expectOverlapAsStated<uint16, uint16>(0, 2);
    expectOverlapAsStated<uint8, uint8>(0, 1);
    expectOverlapAsStated<uint8, uint8>(65, 0);
    expectOverlapAsStated<uint32, uint8>(0, 0);
    expectOverlapAsStated<uint8, uint32>(0, 149);
  }

  /// The same for an input that the output overwrites.
  static void anOutputThatOverwritesTheInputAhead() {
    constexpr SizeType count = 150;
    const std::vector<uint8> labels(count, 1);
    for (const SizeType inputFrom : {0u, 1u, 70u}) {
      for (const SizeType outputFrom : {0u, 1u, 3u, 65u}) {
        std::vector<uint8> memory = mixedValues<uint8>(300, 9), expected = memory;
        const std::vector<bool> isRemoved = Case::stated({0, count}, {}, count);
        for (SizeType i = 0; i < count; ++i) {
          expected[outputFrom + i] = isRemoved[1] ? uint8{9} : memory[inputFrom + i];
        }
        const TestVolume<uint8> label({count, 1, 1});
        label.fill(labels);
        const auto volume = [&](SizeType from) {
          return Ptr<uint8>(
              new Tavi::Volume<uint8>(Tavi::Dimension<SizeType>(count, 1, 1), memory.data() + from, [](uint8*) {}));
        };
        Frame().apply(request<uint8, uint8>(volume(inputFrom), label, volume(outputFrom), {}, count, 9));
        EXPECT_EQ(memory, expected);
      }
    }
  }

  static void anOutputOfAnotherSizeIsResizedAndReused() {
    const TestVolume<uint8> output({2, 9, 4}, regionLayout);
    const auto parameter = completeRequest();
    parameter->outputVolume = output;
    Frame().apply(parameter);
    EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
    EXPECT_TRUE(output.volume()->getDimension() == Tavi::Dimension<SizeType>(2, 2, 2));
  }

  static void aProtectedLabelBeyondTheLargestHasNoEffect() {
    const std::vector<uint16> values{1, 2, 3, 4, 5, 6}, labels{0, 1, 1, 3, 3, 3};
    for (const uint64 threshold : {0u, 1u, 2u, 3u, 9u}) {
      EXPECT_EQ((select<uint16, uint16>(values, labels, uint16{4}, threshold, 9)),
                (select<uint16, uint16>(values, labels, {}, threshold, 9)));
      EXPECT_EQ((select<uint16, uint16>(values, labels, uint16{65535}, threshold, 9)),
                (select<uint16, uint16>(values, labels, {}, threshold, 9)));
    }
  }

  /// The label is not read then.
  static void aLabelThatIsNotProtectedMayBeOfAnyType() {
    const auto parameter = completeRequest();
    parameter->inputBackgroundLabel.setValue(float32{1});
    Frame().apply(parameter);
    EXPECT_TRUE(parameter->outputVolume.value() != nullptr);
  }

  static void anEmptyVolumeGivesAnEmptyOne() {
    const Ptr<uint8> empty(new Tavi::Volume<uint8>());
    const auto parameter = request<uint8, uint8>(empty, empty, nullptr, {}, 1, 0);
    const auto op = typed<uint8, uint8>();
    op->apply(parameter);
    ASSERT_TRUE(parameter->outputVolume.value() != nullptr);
    EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
    expectRemoved(parameter, stated<uint8, uint8>({}, {}, {}, 1, 0).removed);
  }

  static void progressEndsAtOne() {
    const auto op = typed<uint8, uint8>();
    EXPECT_EQ(op->getProgress().getProgress(), 0.0);
    op->apply(completeRequest());
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
    Frame frame;
    frame.apply(completeRequest());
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
  }

  static void wrongParameterObject() {
    const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
    Frame frame;
    expectRefusal([&] { frame.apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
    expectRefusal([&] { frame.apply(other); }, Case::texts.wrongClassInFrame);
    expectRefusal([&] { (typed<uint8, uint8>()->apply(other)); }, Case::texts.wrongClassInApply);
    expectRefusal([&] { (typed<uint8, uint8>()->apply(nullptr)); }, Case::texts.wrongClassInApply);
  }

  static void noInputOrLabels() {
    for (const bool isInput : {true, false}) {
      for (const bool isWrong : {false, true}) {
        const auto parameter = completeRequest();
        auto& volume = isInput ? parameter->inputVolume : parameter->inputLabelVolume;
        volume = isWrong ? SmartPointer<IVolume>(TestVolume<int8>({2, 2, 2}).volume()) : SmartPointer<IVolume>();
        if (!isWrong) {
          expectRefusal([&] { Frame().apply(parameter); }, Case::texts.volumeMissingInFrame);
        }
        expectRefusal([&] { (typed<uint8, uint8>()->apply(parameter)); }, Case::texts.volumeMissingInApply);
      }
    }
  }

  static void sizesThatDiffer() {
    for (const Extents& extents : {Extents{3, 2, 2}, Extents{2, 1, 2}, Extents{2, 2, 3}, Extents{8, 1, 1}}) {
      const auto parameter = completeRequest();
      parameter->inputLabelVolume = TestVolume<uint8>(extents);
      expectRefusal([&] { Frame().apply(parameter); }, Case::texts.sizesDifferInApply);
      EXPECT_TRUE(parameter->outputVolume.value() == nullptr);
    }
  }

  /// Values are read before the volumes are looked at.
  static void missingOrWrongValues() {
    const auto parameter = completeRequest();
    parameter->inputVolume = SmartPointer<IVolume>();
    parameter->inputSubstitutionValue = SmartPointer<IComposite>();
    expectMissingValue([&] { (typed<uint8, uint16>()->apply(parameter)); });
    parameter->inputSubstitutionValue.setValue(uint16{1});
    expectWrongValueType<uint8>([&] { (typed<uint8, uint16>()->apply(parameter)); });
    parameter->inputBackgroundLabelEnabled = true;
    expectMissingValue([&] { (typed<uint8, uint16>()->apply(parameter)); });
    parameter->inputBackgroundLabel.setValue(uint8{1});
    expectWrongValueType<uint16>([&] { (typed<uint8, uint16>()->apply(parameter)); });
  }

  static void outputOfAnotherClass() {
    const auto parameter = completeRequest();
    parameter->outputVolume = TestVolume<uint16>({2, 2, 2});
    expectRefusal([&] { (typed<uint8, uint8>()->apply(parameter)); },
                  "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
    EXPECT_THROW(Frame().apply(parameter), std::invalid_argument);
    const TestVolume<float32> input({2, 2, 2});
    parameter->inputVolume = input;
    parameter->outputVolume = SmartPointer<IVolume>();
    expectStandard<std::invalid_argument>([&] { Frame().apply(parameter); }, Case::texts.noInstanceForFloat);
  }

  /// Its table needs 32 GiB of addresses, of which only what the labels touch is taken.
  /// Memory follows the labels that occur, where a table up to the largest would take 32 GiB.
  static void oneHugeLabel() {
    const std::vector<uint32> labels{0, 0, 4294967295u, 0};
    const TestVolume<uint8> input({4, 1, 1});
    const TestVolume<uint32> label({4, 1, 1});
    input.fill({1, 2, 3, 4});
    label.fill(labels);
    const auto parameter = request<uint8, uint32>(input, label, nullptr, {}, 2, 9);
    SKIP_UNLESS_MEMORY_CAN_BE_LIMITED();
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    rlimit small = before;
    small.rlim_cur = rlim_t{1} << 33;
    ASSERT_EQ(setrlimit(RLIMIT_AS, &small), 0);
    Frame().apply(parameter);
    ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
    const std::vector<uint64> counts{3, 1};
    const std::vector<bool> isRemoved = Case::stated(counts, {}, 2);
    const std::vector<uint8> expected{isRemoved[0] ? uint8{9} : uint8{1}, isRemoved[0] ? uint8{9} : uint8{2},
                                      isRemoved[1] ? uint8{9} : uint8{3}, isRemoved[0] ? uint8{9} : uint8{4}};
    expectSameVoxels(voxelsOf(SmartPointer<Tavi::Volume<uint8>>(Ptr<uint8>(parameter->outputVolume.value()))),
                     expected);
    // Each label between the two that occur is an object without a voxel.
    const bool isEmptyRemoved = Case::stated({3, 1, 0}, {}, 2)[2];
    expectRemoved(parameter, static_cast<uint64>(isRemoved[0]) + static_cast<uint64>(isRemoved[1]) +
                                 (isEmptyRemoved ? 4294967294u : 0u));
  }

  static void allocationsThatFail() {
    SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
    const auto parameter = completeRequest();
    Frame frame;
    const int failures = failEachAllocation([&] { frame.apply(parameter); },
                                            [&] { EXPECT_TRUE(parameter->outputVolume.value() == nullptr); });
    EXPECT_GT(failures, 3);
  }

  static void abortBeforeTheFirstSlice() {
    const TestVolume<uint16> input({4, 3, 2});
    const TestVolume<uint8> labels({4, 3, 2});
    std::vector<uint16> memory(3, 7);
    const auto op = typed<uint16, uint8>();
    const auto output = hostVolume<uint16>(memory, [op] { op->abort(); });
    const auto parameter = request<uint16, uint8>(input, labels, output, {}, 100, 5);
    op->apply(parameter);
    EXPECT_LT(op->getProgress().getProgress(), 1.0);
    expectRemoved(parameter, 0);
    op->apply(parameter);
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
    const auto expected = stated<uint16, uint8>(input.voxels(), labels.voxels(), {}, 100, 5);
    expectSameVoxels(voxelsOf(output), expected.voxels);
    expectRemoved(parameter, expected.removed);
  }

  static void abortFromAnotherThread() {
    const Ptr<uint8> volume(new Tavi::Volume<uint8>(Tavi::Dimension<SizeType>(128, 128, 128)));
    std::fill_n(volume->getData(), volume->getSize(), uint8{1});
    Frame frame;
    bool seen = false;
    for (int attempt = 0; attempt < 1000 && !seen; ++attempt) {
      const auto parameter = request<uint8, uint8>(volume, volume, nullptr, {}, 9, 5);
      std::atomic<bool> begun{false}, ended{false};
      std::thread other([&] {
        while (!ended) {
          frame.abort();
          begun = true;
        }
      });
      while (!begun) {
        std::this_thread::yield();
      }
      frame.apply(parameter);
      ended = true;
      other.join();
      seen = parameter->outputVolume.value() == nullptr;
      if (seen) {
        expectRemoved(parameter, 0);
      }
    }
    EXPECT_TRUE(seen);
    const auto parameter = request<uint8, uint8>(volume, volume, nullptr, {}, 9, 5);
    frame.apply(parameter);
    EXPECT_TRUE(parameter->outputVolume.value() != nullptr);
  }
};

}  // namespace NORV::Tests
