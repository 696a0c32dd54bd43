#pragma once

#include "Reconstruction/Reliefs.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Tavi/Volume.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <limits>
#include <string>
#include <thread>
#include <vector>

/// What both H-transforms are tested for. `Op` names the operator under test: `Frame`, `Parameter`, `name`, the key of
/// h and whether it is the dual.
namespace NORV::Tests::HExtrema {

using Tavi::Dimension;
using Tavi::Position;
using Tavi::RegionOfInterest;
using Tavi::Volume;
using Tavi::VolumePtr;

template <class Body>
void forEachInstance(const Body& body) {
  const auto one = [&body]<class T>() {
    const testing::ScopedTrace trace(__FILE__, __LINE__, Tavi::typeName<T>);
    body.template operator()<T>();
  };
  one.template operator()<uint8>();
  one.template operator()<uint16>();
  one.template operator()<uint32>();
}

/// f - h or f + h, which stop at the ends of the range.
template <class Op, class T>
std::vector<T> marker(const std::vector<T>& f, T h) {
  constexpr T top = std::numeric_limits<T>::max();
  std::vector<T> out;
  for (const T x : f) {
    out.push_back(Op::isDual ? static_cast<T>(top - x < h ? top : x + h) : static_cast<T>(x < h ? 0 : x - h));
  }
  return out;
}

/// The rule, as it is stated: sweeps over a padded copy until no voxel changes.
template <class Op, class T>
std::vector<T> swept(const std::vector<T>& f, const Extents& extents, T h) {
  const SizeType sx = extents[0] + 2, sxy = sx * (extents[1] + 2);
  std::vector<T> out = marker<Op>(f, h);
  std::vector<T> work(sxy * (extents[2] + 2), Op::isDual ? std::numeric_limits<T>::max() : T(0));
  const auto forEach = [&](const auto& body) {
    SizeType index = 0;
    for (SizeType z = 0; z < extents[2]; ++z) {
      for (SizeType y = 0; y < extents[1]; ++y) {
        for (SizeType x = 0; x < extents[0]; ++x, ++index) {
          body(index, (x + 1) + sx * (y + 1) + sxy * (z + 1));
        }
      }
    }
  };
  for (bool isChanged = true; isChanged;) {
    isChanged = false;
    forEach([&](SizeType index, SizeType padded) { work[padded] = out[index]; });
    forEach([&](SizeType index, SizeType padded) {
      if (Op::isDual ? f[index] < out[index] : f[index] > out[index]) {
        T m = out[index];
        for (const SizeType neighbour :
             {padded - sxy, padded - sx, padded - 1, padded + 1, padded + sx, padded + sxy}) {
          m = Op::isDual ? std::min(m, work[neighbour]) : std::max(m, work[neighbour]);
        }
        const T v = Op::isDual ? std::max(f[index], m) : std::min(f[index], m);
        isChanged = isChanged || v != out[index];
        out[index] = v;
      }
    });
  }
  return out;
}

template <class Op, class T>
SmartPointer<typename Op::Parameter> request(const SmartPointer<IVolume>& input, T h, SizeType threads = 0) {
  const auto parameter = makeParameter<typename Op::Parameter>();
  parameter->inputVolume = input;
  Op::height(*parameter).setValue(h);
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

/// The result for a dense volume of these voxels.
template <class Op, class T>
std::vector<T> transformed(const std::vector<T>& f, const Extents& extents, T h, SizeType threads = 0) {
  const TestVolume<T> input(extents);
  input.fill(f);
  const auto parameter = request<Op>(SmartPointer<IVolume>(input), h, threads);
  typename Op::Frame().apply(parameter);
  expectSameVoxels(input.voxels(), f);
  return voxelsOf(VolumePtr<T>(parameter->outputVolume.value()));
}

/// To take in turn; more threads than processors take long.
inline const std::vector<SizeType>& someThreadCounts() {
  static const std::vector<SizeType> counts{1, 2, 5, 1, 2, 5, 3, 2, 33, 1, 2};
  return counts;
}

template <class Op>
void keysStandInTheirOrder() {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::" + Op::name + "::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::" + Op::name + "::Parameter");
  std::vector<std::string> keys;
  for (SizeType i = 0; i < parameter->getNumberOfKeys(); ++i) {
    keys.push_back(parameter->getKey(i));
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"inputVolume", "outputVolume", Op::key, "inputNumberOfThreads"}));
  for (SizeType i = 0; i < 3; ++i) {
    EXPECT_TRUE(parameter->getValue(keys[i]) == nullptr) << keys[i];
  }
  const SmartPointer<Tavi::Persistence::Data<SizeType>> threads(parameter->getValue("inputNumberOfThreads"));
  ASSERT_TRUE(threads != nullptr);
  EXPECT_EQ(threads->getValue(), 0u);
}

template <class Op>
void theThreeUnsignedTypesAreRegistered() {
  const typename Op::Frame frame;
  forEachInstance([]<class T>() {
    const std::string identifier = typedIdentifier<T, T>(Op::name);
    ASSERT_TRUE(isRegistered(identifier)) << identifier;
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
  });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::" + Op::name + "::Operator< "), 3u);
}

template <class Op>
void allReliefsAreAsStatedWithAnyNumberOfThreads() {
  const RuntimeSettings settings;
  forEachInstance([]<class T>() {
    SizeType run = 0;
    for (const Relief<T>& relief : makeReliefs<T>(2)) {
      for (const T h : {T(0), T(1), T(3), T(17), T(60), std::numeric_limits<T>::max()}) {
        const SizeType threads = someThreadCounts()[run++ % someThreadCounts().size()];
        SCOPED_TRACE(relief.name + " " + std::to_string(relief.voxels.size()) + ", h " + std::to_string(h) + ", " +
                     std::to_string(threads) + " threads");
        expectSameVoxels(transformed<Op>(relief.voxels, relief.extents, h, threads),
                         swept<Op>(relief.voxels, relief.extents, h));
      }
    }
  });
}

template <class Op>
void allLayoutsOfInputAndOutputAreAsStated() {
  const RuntimeSettings settings;
  const Extents extents{19, 6, 7};
  forEachInstance([&]<class T>() {
    std::vector<T> f;
    for (const T x : mixedValues<T>(voxelsIn(extents), 3)) {
      f.push_back(x % 97);
    }
    const std::vector<T> expected = swept<Op>(f, extents, T(30));
    SizeType i = 0;
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      const TestVolume<T> input(extents, layout);
      input.fill(f);
      const TestVolume<T> output(extents, someLayouts()[i++ % someLayouts().size()]);
      const auto parameter = request<Op>(SmartPointer<IVolume>(input), T(30), 1 + i % 3);
      parameter->outputVolume = output;
      typename Op::Frame().apply(parameter);
      EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
      expectSameVoxels(output.voxels(), expected);
      output.expectUntouchedOutside();
      input.expectUntouchedOutside();
      expectSameVoxels(input.voxels(), f);

      parameter->outputVolume = input;  // in place
      typename Op::Frame().apply(parameter);
      expectSameVoxels(input.voxels(), expected);
      input.expectUntouchedOutside();
    }
  });
}

/// Two views of one block, each at another place of it.
template <class Op>
void theOutputMayShareVoxelsWithTheInput() {
  const RuntimeSettings settings;
  const Extents extents{9, 5, 4};
  forEachInstance([&]<class T>() {
    for (const std::array<int, 3>& shift :
         std::vector<std::array<int, 3>>{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0}, {0, 0, -1}, {1, -1, 1}}) {
      for (const bool isFlipped : {false, true}) {
        std::vector<T> block = mixedValues<T>(11 * 7 * 6, 9);
        std::for_each(block.begin(), block.end(), [](T& x) { x %= 90; });
        const auto view = [&](SizeType x, SizeType y, SizeType z) {
          const VolumePtr<T> volume(new Volume<T>(Dimension<SizeType>(11, 7, 6), block.data(), [](T*) {}));
          volume->setRoi(RegionOfInterest(Dimension<SizeType>(9, 5, 4), Position<SizeType>(x, y, z)));
          return volume;
        };
        const VolumePtr<T> input = view(1, 1, 1);
        const VolumePtr<T> output = view(static_cast<SizeType>(1 + shift[0]), static_cast<SizeType>(1 + shift[1]),
                                         static_cast<SizeType>(1 + shift[2]));
        if (isFlipped) {
          output->setOrientation(Tavi::Orientation(1, 3, 4));
        }
        const std::vector<T> expected = swept<Op>(voxelsOf(input), extents, T(25));
        const auto parameter = request<Op>(SmartPointer<IVolume>(input), T(25), 2);
        parameter->outputVolume = SmartPointer<IVolume>(output);
        typename Op::Frame().apply(parameter);
        expectSameVoxels(voxelsOf(output), expected);
      }
    }
  });
}

/// The output, of other extents, shares its block with the input, which keeps it when the output is resized.
template <class Op>
void anOutputOfOtherExtentsIsResizedAndReused() {
  std::vector<uint16> block = mixedValues<uint16>(6 * 5 * 4, 2);
  const VolumePtr<uint16> input(new Volume<uint16>(Dimension<SizeType>(6, 5, 4), block.data(), [](uint16*) {}));
  const std::vector<uint16> expected = swept<Op>(voxelsOf(input), {6, 5, 4}, uint16(1000));
  for (const bool isShared : {true, false}) {
    const VolumePtr<uint16> output(
        isShared ? new Volume<uint16>(Dimension<SizeType>(3, 5, 2), block.data() + 7, [](uint16*) {})
                 : new Volume<uint16>(Dimension<SizeType>(40, 1, 9)));
    const auto parameter = request<Op>(SmartPointer<IVolume>(input), uint16(1000));
    parameter->outputVolume = SmartPointer<IVolume>(output);
    typename Op::Frame().apply(parameter);
    EXPECT_TRUE(parameter->outputVolume.value() == output);
    EXPECT_TRUE(output->getDimension() == Dimension<SizeType>(6, 5, 4));
    expectSameVoxels(voxelsOf(output), expected);
  }
}

template <class Op>
void anEmptyVolumeGivesAnEmptyOne() {
  forEachInstance([]<class T>() {
    const SmartPointer<IOperator> op = createTyped(typedIdentifier<T, T>(Op::name));
    const auto parameter = request<Op>(SmartPointer<IVolume>(VolumePtr<T>(new Volume<T>())), T(3), 2);
    op->apply(parameter);
    ASSERT_TRUE(parameter->outputVolume.value() != nullptr);
    EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
    EXPECT_EQ(op->getProgress().getProgress(), 0.5);  // of the nested operator: there are no own steps
  });
}

template <class Op>
void theThreadCountBecomesTheSettingOfTheRuntime() {
  const RuntimeSettings settings;
  for (const Extents& extents : {Extents{3, 2, 1}, Extents{3, 2, 8}}) {
    const TestVolume<uint8> input(extents);
    typename Op::Frame().apply(request<Op>(SmartPointer<IVolume>(input), uint8(1), 3));
    EXPECT_EQ(omp_get_max_threads(), 3);
    typename Op::Frame().apply(request<Op>(SmartPointer<IVolume>(input), uint8(1), 0));
    EXPECT_EQ(omp_get_max_threads(), 3);
    typename Op::Frame().apply(request<Op>(SmartPointer<IVolume>(input), uint8(1), 1));
    EXPECT_EQ(omp_get_max_threads(), 1);
  }
}

/// Long enough to be aborted in all of its phases: a spiral full of peaks.
template <class Op>
std::vector<uint8> longWay(const Extents& extents) {
  std::vector<uint8> f(voxelsIn(extents), uint8(Op::isDual ? 255 : 0));
  walkSpiral(extents, [&](SizeType index, SizeType step) {
    const auto height = static_cast<uint8>(step % 1001 == 0 ? 150 + step / 1001 % 100 : 140);
    f[index] = Op::isDual ? static_cast<uint8>(255 - height) : height;
  });
  return f;
}

template <class Op>
void progressNeverGoesBackAndEndsAtItsTotal() {
  const RuntimeSettings settings;
  const Extents extents{101, 101, 41};
  const TestVolume<uint8> input(extents);
  input.fill(longWay<Op>(extents));
  for (const SizeType threads : {SizeType{1}, SizeType{3}}) {
    const SmartPointer<IOperator> op = createTyped(typedIdentifier<uint8, uint8>(Op::name));
    std::atomic<bool> isDone{false};
    int backwards = 0;
    double highest = 0.0;
    std::thread watcher([&] {
      double before = 0.0;
      while (!isDone.load()) {
        const double now = op->getProgress().getProgress();
        backwards += now < before ? 1 : 0;
        highest = std::max(highest, now);
        before = now;
      }
    });
    op->apply(request<Op>(SmartPointer<IVolume>(input), uint8(20), threads));
    isDone = true;
    watcher.join();
    EXPECT_EQ(backwards, 0);
    EXPECT_LE(highest, 1.0);
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  }
}

/// Aborts at many moments of a run, on several threads.
template <class Op>
void anAbortLeavesVoxelsBetweenMarkerAndResult() {
  const RuntimeSettings settings;
  const Extents extents{61, 61, 31};
  const std::vector<uint8> f = longWay<Op>(extents);
  const std::vector<uint8> first = marker<Op>(f, uint8(20)), last = transformed<Op>(f, extents, uint8(20));
  const TestVolume<uint8> input(extents);
  input.fill(f);
  int aborted = 0;
  for (int moment = 0; moment < 120; ++moment) {
    const TestVolume<uint8> output(extents);
    const auto parameter = request<Op>(SmartPointer<IVolume>(input), uint8(20), 1 + static_cast<SizeType>(moment) % 3);
    const SmartPointer<IOperator> op = createTyped(typedIdentifier<uint8, uint8>(Op::name));
    const bool isGiven = moment % 2 == 0;
    if (isGiven) {
      parameter->outputVolume = output;
    }
    std::atomic<bool> isDone{false};
    std::thread other([&] {
      const double share = moment / 120.0;
      while (!isDone.load() && op->getProgress().getProgress() <= share) {
      }
      if (moment >= 60) {
        std::this_thread::sleep_for(std::chrono::microseconds((moment - 60) * 40));
      }
      op->abort();
    });
    op->apply(parameter);
    isDone = true;
    const bool isComplete = op->getProgress().getProgress() == 1.0;
    other.join();
    if (!isGiven) {
      EXPECT_TRUE(parameter->outputVolume.value() == nullptr || isComplete) << moment;
      aborted += parameter->outputVolume.value() == nullptr ? 1 : 0;
      continue;
    }
    const std::vector<uint8> out = output.voxels();
    for (std::size_t i = 0; i < out.size(); ++i) {
      const auto [low, high] = std::minmax(first[i], last[i]);
      ASSERT_TRUE((low <= out[i] && out[i] <= high) || std::all_of(out.begin(), out.end(),
                                                                   [](uint8 x) {
                                                                     return x == 77;  // nothing was touched
                                                                   }))
          << "voxel " << i << " of moment " << moment;
    }
  }
  EXPECT_GT(aborted, 0);
}

template <class Op>
void everyFailureHasItsText() {
  using Parameter = typename Op::Parameter;
  const std::string frame =
      "NORV::TaviOperators::DLL::" + Op::name + "::Operator::getOperatorTypeFromParameterObject: ";
  const std::string typed = "NORV::TaviOperators::" + Op::name + "::Operator::apply";
  const auto apply = [](const SmartPointer<IComposite>& parameter) { typename Op::Frame().apply(parameter); };
  const auto applyTyped = [](const SmartPointer<IComposite>& parameter) {
    createTyped(typedIdentifier<uint8, uint8>(Op::name))->apply(parameter);
  };
  const SmartPointer<IComposite> other(new Tavi::Persistence::Data<uint8>(1));
  expectRefusal([&] { apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal([&] { apply(other); }, frame + "invalid parameter object!");
  expectRefusal([&] { applyTyped(other); }, typed);
  expectRefusal([&] { applyTyped(nullptr); }, typed);

  const TestVolume<uint8> input({4, 3, 2});
  const auto complete = [&] { return request<Op>(SmartPointer<IVolume>(input), uint8(1)); };
  SmartPointer<Parameter> parameter = complete();
  parameter->inputVolume = SmartPointer<IVolume>();
  expectRefusal([&] { apply(parameter); }, frame + "inputVolume is NULL!");
  expectRefusal([&] { applyTyped(parameter); }, typed + " inputVolume is NULL");
  parameter->inputVolume = TestVolume<uint16>({4, 3, 2});
  expectRefusal([&] { applyTyped(parameter); }, typed + " inputVolume is NULL");

  parameter = makeParameter<Parameter>();
  parameter->inputVolume = input;
  expectMissingValue([&] { apply(parameter); });
  parameter = request<Op>(SmartPointer<IVolume>(input), uint16(1));
  expectWrongValueType<uint8>([&] { apply(parameter); });
  typename Op::Frame counted;
  expectThreadCountChecked(counted, complete());

  const TestVolume<uint16> wrong({4, 3, 2});
  parameter = complete();
  parameter->outputVolume = wrong;
  expectRefusal([&] { apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  expectSameVoxels(wrong.voxels(), std::vector<uint16>(24, 77));
  parameter = complete();
  parameter->inputVolume = TestVolume<int16>({4, 3, 2});
  expectStandard<std::invalid_argument>(
      [&] { apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier " +
          typedIdentifier<int16, int16>(Op::name) + " is registered");
}

}  // namespace NORV::Tests::HExtrema
