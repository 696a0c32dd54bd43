#pragma once

#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Maximum.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/StreamingStore.hpp>

#include <algorithm>
#include <atomic>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

/// What the operators that map one input voxel to one output voxel have in common: layouts, thread counts, outputs,
/// abort and the failures of the frame.
namespace NORV::Tests {

/// Makes a parameter object with all values but the volumes.
using Request = std::function<SmartPointer<IComposite>()>;
/// What becomes of one voxel.
template <class In, class Out>
using Rule = std::function<Out(In)>;

inline void give(const SmartPointer<IComposite>& parameter, const std::string& key,
                 const SmartPointer<IVolume>& volume) {
  parameter->setValue(key, SmartPointer<IComposite>(volume));
}
inline bool hasKey(const SmartPointer<IComposite>& parameter, const std::string& key) {
  for (SizeType i = 0; i < parameter->getNumberOfKeys(); ++i) {
    if (parameter->getKey(i) == key) {
      return true;
    }
  }
  return false;
}
inline void giveThreads(const SmartPointer<IComposite>& parameter, SizeType threads) {
  if (hasKey(parameter, "inputNumberOfThreads")) {
    parameter->setValue("inputNumberOfThreads",
                        SmartPointer<IComposite>(new Tavi::Persistence::Data<SizeType>(threads)));
  }
}
inline SmartPointer<IVolume> outputOf(const SmartPointer<IComposite>& parameter) {
  return SmartPointer<IVolume>(parameter->getValue("outputVolume"));
}

/// All values of an 8- or 16-bit type; special and random ones of the others.
template <class T>
std::vector<T> valuesToTry() {
  if constexpr (sizeof(T) > 2) {
    return mixedValues<T>(2003);
  } else {
    std::vector<T> all;
    for (int64 value = std::numeric_limits<T>::min(); value <= std::numeric_limits<T>::max(); ++value) {
      all.push_back(static_cast<T>(value));
    }
    return all;
  }
}

template <class In, class Out>
std::vector<Out> mapped(const std::vector<In>& voxels, const Rule<In, Out>& rule) {
  std::vector<Out> results;
  results.reserve(voxels.size());
  for (const In x : voxels) {
    results.push_back(rule(x));
  }
  return results;
}

/// Requires the keys of a parameter object, in order, made by its name; all but the counts are empty at first.
inline void expectKeys(const std::string& op, const std::vector<std::string>& keys,
                       const std::vector<std::string>& counts) {
  const std::string identifier = "NORV::TaviOperators::" + op + "::Parameter";
  const SmartPointer<IComposite> parameter = Tavi::Factory::getClassFactory().createInstance(identifier);
  EXPECT_EQ(parameter->getType(), identifier);
  ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter->getKey(i), keys[i]);
    if (std::find(counts.begin(), counts.end(), keys[i]) == counts.end()) {
      EXPECT_TRUE(parameter->getValue(keys[i]) == nullptr) << keys[i];
    } else {
      const SmartPointer<Tavi::Persistence::Data<SizeType>> count(parameter->getValue(keys[i]));
      ASSERT_TRUE(count != nullptr) << keys[i];
      EXPECT_EQ(count->getValue(), 0u) << keys[i];
    }
  }
}

/// Requires that the typed operator exists and is a leaf of its own name.
inline void expectRegistered(const std::string& identifier) {
  ASSERT_TRUE(isRegistered(identifier)) << identifier;
  const SmartPointer<IComposite> made = Tavi::Factory::getClassFactory().createInstance(identifier);
  EXPECT_EQ(made->getType(), identifier);
  EXPECT_EQ(made->getNumberOfKeys(), 0u);
}

/// Each value in a dense row, then views in several layouts with the thread counts that matter, into outputs of the
/// host and in place where the types allow it.
template <class In, class Out>
void expectRule(IOperator& op, const std::vector<In>& values, const Request& request, const Rule<In, Out>& rule) {
  const RuntimeSettings settings;
  const auto run = [&](const TestVolume<In>& input, const TestVolume<Out>& output, SizeType threads) {
    const std::vector<Out> expected = mapped<In, Out>(input.voxels(), rule);
    const SmartPointer<IComposite> parameter(request());
    give(parameter, "inputVolume", input);
    give(parameter, "outputVolume", output);
    giveThreads(parameter, threads);
    op.apply(parameter);
    EXPECT_TRUE(outputOf(parameter) == output.volume());
    expectSameVoxels(output.voxels(), expected);
    output.expectUntouchedOutside();
  };
  const TestVolume<In> row({values.size(), 1, 1});
  row.fill(values);
  run(row, TestVolume<Out>({values.size(), 1, 1}), 1);

  SizeType turn = 0;
  for (const Layout& layout : someLayouts()) {
    SCOPED_TRACE(layout.name());
    const Extents extents{7, 3, 5};
    const TestVolume<In> input(extents, layout);
    std::vector<In> some;
    for (std::size_t i = 0; i < 105; ++i) {
      some.push_back(values[(i * 7919 + turn) % values.size()]);
    }
    input.fill(some);
    run(input, TestVolume<Out>(extents, someLayouts()[turn * 5 % 6]), threadCounts()[turn % 5]);
    input.expectUntouchedOutside();
    expectSameVoxels(input.voxels(), some);
    if constexpr (std::is_same_v<In, Out>) {
      run(input, input, threadCounts()[turn % 5]);
    }
    ++turn;
  }
}

/// A fresh output has the extents of the region and the voxel type of the input; empty volumes give empty ones.
template <class T>
void expectFreshOutput(IOperator& op, const Request& request, const Rule<T, T>& rule) {
  const TestVolume<T> input({7, 3, 5}, regionLayout);
  input.fill(mixedValues<T>(105));
  const SmartPointer<IComposite> parameter(request());
  give(parameter, "inputVolume", input);
  op.apply(parameter);
  const Tavi::VolumePtr<T> output(outputOf(parameter));
  ASSERT_TRUE(output != nullptr);
  EXPECT_TRUE(output->getAllocatedDimension() == Tavi::Dimension<SizeType>(7, 3, 5));
  expectSameVoxels(voxelsOf(output), mapped<T, T>(input.voxels(), rule));

  const SmartPointer<IComposite> empty(request());
  give(empty, "inputVolume", Tavi::VolumePtr<T>(new Tavi::Volume<T>()));
  op.apply(empty);
  ASSERT_TRUE(outputOf(empty) != nullptr);
  EXPECT_EQ(outputOf(empty)->getSize(), 0u);
}

/// An output of another size is resized, and stays the host's object.
template <class In, class Out>
void expectResizedOutput(IOperator& op, const Request& request, const Rule<In, Out>& rule) {
  for (const Layout& layout : someLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<In> input({7, 3, 5});
    input.fill(mixedValues<In>(105));
    const TestVolume<Out> output({2, 9, 4}, layout);
    const SmartPointer<IComposite> parameter(request());
    give(parameter, "inputVolume", input);
    give(parameter, "outputVolume", output);
    op.apply(parameter);
    EXPECT_TRUE(outputOf(parameter) == output.volume());
    EXPECT_TRUE(output.volume()->getDimension() == Tavi::Dimension<SizeType>(7, 3, 5));
    expectSameVoxels(voxelsOf(output.volume()), mapped<In, Out>(input.voxels(), rule));
  }
}

/// Outputs beyond the threshold take the way past the cache; the rows of the region begin at any address.
template <class In, class Out>
void expectRuleOnLargeVolume(IOperator& op, const std::vector<In>& values, const Request& request,
                             const Rule<In, Out>& rule) {
  const RuntimeSettings settings;
  for (const SizeType margin : {SizeType{0}, SizeType{3}}) {
    SCOPED_TRACE(margin);
    const SizeType prim = 2053, sec = 31;
    const SizeType tert = Tavi::Streaming::threshold / (prim * sec * sizeof(Out)) + 2;
    const Tavi::VolumePtr<In> input(new Tavi::Volume<In>(Tavi::Dimension<SizeType>(prim + margin, sec, tert)));
    for (SizeType i = 0; i < (prim + margin) * sec * tert; ++i) {
      input->getData()[i] = values[i * 2654435761u % values.size()];
    }
    input->setRoi(
        Tavi::RegionOfInterest(Tavi::Dimension<SizeType>(prim, sec, tert), Tavi::Position<SizeType>(margin, 0, 0)));
    const Tavi::VolumePtr<Out> output(new Tavi::Volume<Out>(Tavi::Dimension<SizeType>(prim, sec, tert)));
    const SmartPointer<IComposite> parameter(request());
    give(parameter, "inputVolume", input);
    give(parameter, "outputVolume", output);
    giveThreads(parameter, 2);
    op.apply(parameter);
    SizeType wrong = 0;
    for (SizeType row = 0; row < sec * tert; ++row) {
      for (SizeType i = 0; i < prim; ++i) {
        const Out expected = rule(input->getData()[row * (prim + margin) + margin + i]);
        wrong += isSameValue(output->getData()[row * prim + i], expected) ? 0u : 1u;
      }
    }
    EXPECT_EQ(wrong, 0u);
  }
}

/// The texts of what any operator with one input refuses.
struct Refusals {
  std::string wrongObjectInFrame, missingVolumeInFrame, wrongObject, missingInput;
};

/// `parameter` is complete and fits the typed operator. Frame and typed operator check on their own.
template <class OtherVoxel>
void expectRefusals(IOperator& frame, const std::string& typed, const SmartPointer<IComposite>& parameter,
                    const Refusals& texts) {
  frame.apply(parameter);
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
  expectRefusal([&] { frame.apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  EXPECT_EQ(frame.getProgress().getProgress(), 0.0);

  const auto other = makeParameter<TaviOperators::Maximum::Parameter>();
  expectRefusal([&] { frame.apply(other); }, texts.wrongObjectInFrame);
  expectRefusal([&] { createTyped(typed)->apply(other); }, texts.wrongObject);
  expectRefusal([&] { createTyped(typed)->apply(nullptr); }, texts.wrongObject);

  const SmartPointer<IVolume> output = outputOf(parameter);
  give(parameter, "outputVolume", TestVolume<OtherVoxel>({2, 2, 2}));
  expectRefusal([&] { createTyped(typed)->apply(parameter); },
                hasKey(parameter, "inputNumberOfThreads")
                    ? "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type"
                    : "NORV::Tavi::Operator::checkOutputVolume volume is of the wrong type");
  give(parameter, "outputVolume", output);

  give(parameter, "inputVolume", TestVolume<OtherVoxel>({2, 2, 2}));
  expectRefusal([&] { createTyped(typed)->apply(parameter); }, texts.missingInput);
  give(parameter, "inputVolume", SmartPointer<IVolume>());
  expectRefusal([&] { createTyped(typed)->apply(parameter); }, texts.missingInput);
  expectRefusal([&] { frame.apply(parameter); }, texts.missingVolumeInFrame);
}

/// Aborts from another thread until a run has stopped early; it returns normally and sets no output.
template <class T>
void expectAbort(IOperator& frame, const Request& request, bool outputRequired) {
  const RuntimeSettings settings;
  const Tavi::Dimension<SizeType> extents(512, 512, 64);
  const Tavi::VolumePtr<T> input(new Tavi::Volume<T>(extents));
  const Tavi::VolumePtr<T> output(new Tavi::Volume<T>(extents));
  constexpr SizeType slice = SizeType{512} * 512;
  std::fill_n(input->getData(), slice * 64, T(1));
  SizeType skipped = 0;
  for (int attempt = 0; attempt < 50 && skipped == 0; ++attempt) {
    std::fill_n(output->getData(), slice * 64, T(77));
    const SmartPointer<IComposite> parameter(request());
    give(parameter, "inputVolume", input);
    give(parameter, "outputVolume", output);
    giveThreads(parameter, 1);
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
    for (SizeType i = 0; i < 64; ++i) {  // each slice is done or skipped as a whole
      const T* begin = output->getData() + i * slice;
      const auto untouched = std::count(begin, begin + slice, T(77));
      EXPECT_TRUE(untouched == 0 || untouched == static_cast<std::ptrdiff_t>(slice)) << i;
      skipped += untouched != 0 ? 1u : 0u;
    }
  }
  EXPECT_GT(skipped, 0u) << "no run was aborted";

  if (!outputRequired) {
    bool unset = false;
    for (int attempt = 0; attempt < 50 && !unset; ++attempt) {
      const SmartPointer<IComposite> parameter(request());
      give(parameter, "inputVolume", input);
      std::atomic<bool> ended{false};
      std::thread other([&] {
        while (!ended) {
          frame.abort();
        }
      });
      frame.apply(parameter);
      ended = true;
      other.join();
      unset = outputOf(parameter) == nullptr;
    }
    EXPECT_TRUE(unset) << "no run was aborted";
  }
}

// Compiled once for all tests, in VoxelRule.cpp.
#ifndef TAVI_TESTS_INSTANTIATE_RULES
#define TAVI_TESTS_INSTANTIATE_RULES extern template
#endif
#define TAVI_TESTS_RULE(In, Out)                                                                   \
  TAVI_TESTS_INSTANTIATE_RULES void expectRule(IOperator&, const std::vector<In>&, const Request&, \
                                               const Rule<In, Out>&);
#define TAVI_TESTS_RULES(T)                                                                              \
  TAVI_TESTS_INSTANTIATE_RULES void expectFreshOutput<T>(IOperator&, const Request&, const Rule<T, T>&); \
  TAVI_TESTS_INSTANTIATE_RULES void expectAbort<T>(IOperator&, const Request&, bool);                    \
  TAVI_TESTS_RULE(T, int8)                                                                               \
  TAVI_TESTS_RULE(T, uint8)                                                                              \
  TAVI_TESTS_RULE(T, int16)                                                                              \
  TAVI_TESTS_RULE(T, uint16)                                                                             \
  TAVI_TESTS_RULE(T, int32)                                                                              \
  TAVI_TESTS_RULE(T, uint32)                                                                             \
  TAVI_TESTS_RULE(T, float32)                                                                            \
  TAVI_TESTS_RULE(T, float64)
TAVI_TESTS_RULES(int8)
TAVI_TESTS_RULES(uint8)
TAVI_TESTS_RULES(int16)
TAVI_TESTS_RULES(uint16)
TAVI_TESTS_RULES(int32)
TAVI_TESTS_RULES(uint32)
TAVI_TESTS_RULES(float32)
TAVI_TESTS_RULES(float64)

}  // namespace NORV::Tests
