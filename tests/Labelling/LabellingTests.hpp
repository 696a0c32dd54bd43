#pragma once

#include "Labelling/StatedLabels.hpp"
#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"
#include "support/HostMemory.hpp"
#include "support/Operators.hpp"
#include "support/Threads.hpp"
#include "support/Volumes.hpp"

#include <DLL/Saturation.hpp>
#include <Saturation.hpp>

#include <atomic>
#include <limits>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

/// The tests that both operators share. An operator is given by its parameter class, its frame, its neighbours and its
/// texts.
namespace NORV::Tests {

/// What stands in the failures of each of the two; those of `apply` are the same.
struct LabellingTexts {
  const char* op;
  const char* parameterType;
  const char* wrongClassInFrame;
  const char* volumeMissingInFrame;
  const char* noInstanceForFloat;
};

template <class Body>
void forEachUnsignedType(const Body& body) {
  forEachVoxelType([&body]<class T>() {
    if constexpr (std::is_unsigned_v<T>) {
      body.template operator()<T>();
    }
  });
}

/// Values of which about that share is not 9.
template <class T>
std::vector<T> sparseValues(std::size_t count, unsigned seed, double share) {
  std::mt19937 random(seed);
  std::vector<T> values(count);
  for (T& value : values) {
    const bool isForeground = random() < static_cast<uint64>(share * 4294967296.0);
    value = isForeground ? static_cast<T>(random() % 9) : T(9);
  }
  return values;
}

/// `Case` has `Parameter`, `Frame`, `texts`, `allNeighbours`, and `forEachPair(body)`.
template <class Case>
class LabellingTests {
  using Parameter = typename Case::Parameter;
  using Frame = typename Case::Frame;
  template <class T>
  using Ptr = Tavi::VolumePtr<T>;

public:
  template <class In>
  static SmartPointer<Parameter> request(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& output,
                                         In background) {
    const auto parameter = makeParameter<Parameter>();
    parameter->inputFirstVolume = input;
    parameter->outputVolume = output;
    parameter->inputBackgroundValue.setValue(background);
    return parameter;
  }

  template <class In, class Out>
  static SmartPointer<IOperator> typed() {
    return createTyped(std::string("NORV::TaviOperators::") + Case::texts.op + "::Operator< " + Tavi::typeName<In> +
                       " , " + Tavi::typeName<Out> + " >");
  }

  template <class In>
  static std::vector<uint64> flooded(const std::vector<In>& values, const Extents& extents, In background) {
    return floodedLabels<In>(values, extents, background, Case::allNeighbours);
  }

  /// Labels from the typed operator, which must be those of the restatement.
  template <class In, class Out>
  static std::vector<Out> label(const std::vector<In>& values, const Extents& extents, In background,
                                uint64 expectedLabels = 65536) {
    const TestVolume<In> input(extents);
    const TestVolume<Out> output(extents);
    input.fill(values);
    const auto parameter = request(input, output, background);
    parameter->inputExpectedNumberOfLabels = expectedLabels;
    typed<In, Out>()->apply(parameter);
    expectLabels(output.voxels(), parameter->outputNumberOfLabels.value(), flooded(values, extents, background));
    expectSameVoxels(input.voxels(), values);
    return output.voxels();
  }

  template <class Out>
  static void expectLabels(const std::vector<Out>& actual, uint64 number, const std::vector<uint64>& stated) {
    expectSameVoxels(actual, std::vector<Out>(stated.begin(), stated.end()));
    EXPECT_EQ(number, stated.empty() ? 1 : *std::max_element(stated.begin(), stated.end()) + 1);
  }

  static void keysStandInTheirOrder() {
    const SmartPointer<IComposite> parameter =
        Tavi::Factory::getClassFactory().createInstance(Case::texts.parameterType);
    EXPECT_EQ(parameter->getType(), Case::texts.parameterType);
    ASSERT_EQ(parameter->getNumberOfKeys(), 5u);
    EXPECT_EQ(parameter->getKey(0), "inputFirstVolume");
    EXPECT_EQ(parameter->getKey(1), "inputBackgroundValue");
    EXPECT_EQ(parameter->getKey(2), "inputExpectedNumberOfLabels");
    EXPECT_EQ(parameter->getKey(3), "outputVolume");
    EXPECT_EQ(parameter->getKey(4), "outputNumberOfLabels");
    for (const SizeType i : {0u, 1u, 3u}) {
      EXPECT_TRUE(parameter->getValue(parameter->getKey(i)) == nullptr);
    }
    const SmartPointer<Parameter> typedParameter(parameter);
    EXPECT_EQ(typedParameter->inputExpectedNumberOfLabels.value(), 65536u);
    EXPECT_EQ(typedParameter->outputNumberOfLabels.value(), 0u);
  }

  static void everyPairIsRegistered(SizeType count) {
    const std::string beginning = std::string("NORV::TaviOperators::") + Case::texts.op + "::Operator< ";
    Case::forEachPair([&]<class In, class Out>() {
      const std::string identifier = beginning + Tavi::typeName<In> + " , " + Tavi::typeName<Out> + " >";
      ASSERT_TRUE(isRegistered(identifier)) << identifier;
      EXPECT_TRUE(createTyped(identifier) != nullptr);
    });
    EXPECT_EQ(countRegistered(beginning), count);
  }

  static void everyPairIsAsStated() {
    Case::forEachPair([]<class In, class Out>() {
      unsigned seed = 1;
      for (const Extents& extents : {Extents{7, 3, 5}, Extents{70, 4, 3}, Extents{129, 2, 1}, Extents{1, 9, 8}}) {
        for (const double share : {0.02, 0.5, 0.9}) {
          const auto values = sparseValues<In>(extents[0] * extents[1] * extents[2], seed++, share);
          if (countRawLabels<In>(values, extents, 9, Case::allNeighbours) <= std::numeric_limits<Out>::max()) {
            label<In, Out>(values, extents, 9);
          }
        }
      }
    });
  }

  /// Sizes around those of words of bits, densities from lone voxels to lone holes.
  static void anySizeAndDensityIsAsStated() {
    std::mt19937 random(5);
    for (unsigned run = 0; run < 600; ++run) {
      const SizeType widths[] = {1 + random() % 20, 63 + random() % 4, 127 + random() % 4, 1 + random() % 200};
      const Extents extents{widths[run % 4], 1 + random() % 8, 1 + random() % 8};
      const double share = static_cast<double>(1 + random() % 99) / 100.0;
      SCOPED_TRACE(std::to_string(extents[0]) + " x " + std::to_string(extents[1]) + " x " +
                   std::to_string(extents[2]) + " at " + std::to_string(share));
      label<uint8, uint16>(sparseValues<uint8>(extents[0] * extents[1] * extents[2], run, share), extents, 9);
    }
  }

  /// Stripes and nets, in which many labels meet late.
  static void combsAndSpiralsAreAsStated() {
    for (const SizeType period : {2u, 3u, 5u}) {
      for (const Extents& extents : {Extents{67, 9, 5}, Extents{9, 67, 5}, Extents{20, 20, 20}}) {
        std::vector<uint8> comb, net;
        for (SizeType z = 0; z < extents[2]; ++z) {
          for (SizeType y = 0; y < extents[1]; ++y) {
            for (SizeType x = 0; x < extents[0]; ++x) {
              const bool isBack = y + 1 == extents[1] || (z + 1 == extents[2] && y % period == 0);
              comb.push_back(isBack || (x % period == 0 && (y + z) % 2 == 0) ? 1 : 0);
              net.push_back((x / period + y / 2 + z) % 2 == 0 || (x + y * period) % 7 == 0 ? 1 : 0);
            }
          }
        }
        label<uint8, uint32>(comb, extents, 0);
        label<uint8, uint32>(net, extents, 0);
        label<uint8, uint32>(net, extents, 1);
      }
    }
  }

  /// Volumes large enough to be shared, of many and of few slices.
  static void anyNumberOfThreadsIsAsStated() {
    for (const Extents& extents : {Extents{67, 41, 61}, Extents{301, 203, 3}, Extents{7, 101, 103}}) {
      const SizeType size = extents[0] * extents[1] * extents[2];
      const auto values = sparseValues<uint8>(size, 5, Case::allNeighbours ? 0.12 : 0.3);
      const auto stated = flooded<uint8>(values, extents, 9);
      forEachThreadCount([&] {
        for (const Layout& layout : {denseLayout, Layout{{4, 0, 3}, {1, 0, 2}, {0, 1, 0}}}) {
          const TestVolume<uint8> input(extents, layout);
          const TestVolume<uint32> output(extents, layout);
          input.fill(values);
          const auto parameter = request(input, output, uint8{9});
          Frame().apply(parameter);
          expectLabels(output.voxels(), parameter->outputNumberOfLabels.value(), stated);
          output.expectUntouchedOutside();
        }
        const TestVolume<uint32> volume(extents);
        volume.fill(std::vector<uint32>(values.begin(), values.end()));
        const auto inPlace = request(volume, volume, uint32{9});
        Frame().apply(inPlace);
        expectLabels(volume.voxels(), inPlace->outputNumberOfLabels.value(), stated);
        if (extents[0] == 67) {
          expectOverflow(values, extents, false, 9);
          expectOverflow(values, extents, true, 9);
        }
      });
    }
  }

  static void everyLayoutIsAsStated() {
    for (const Extents& extents : {Extents{7, 3, 5}, Extents{70, 4, 3}}) {
      const auto values = sparseValues<uint16>(extents[0] * extents[1] * extents[2], 3, 0.4);
      const auto stated = flooded<uint16>(values, extents, 9);
      for (const Layout& inputLayout : allLayouts()) {
        for (const Layout& outputLayout : someLayouts()) {
          expectInLayouts(values, stated, extents, inputLayout, outputLayout);
          expectInLayouts(values, stated, extents, outputLayout, inputLayout);
        }
      }
    }
  }

  static void anOutputIsMadeOfTheInputsType() {
    forEachUnsignedType([]<class T>() {
      const TestVolume<T> input({5, 4, 3}, regionLayout);
      input.fill({9, 1, 9, 9, 2});
      const auto parameter = request(input, nullptr, T(9));
      Frame().apply(parameter);
      const Ptr<T> output(parameter->outputVolume.value());
      ASSERT_TRUE(output != nullptr);
      EXPECT_TRUE(output->getAllocatedDimension() == Tavi::Dimension<SizeType>(5, 4, 3));
      expectLabels(voxelsOf(output), parameter->outputNumberOfLabels.value(), flooded<T>(input.voxels(), {5, 4, 3}, 9));
    });
  }

  static void theOutputsTypeSelectsTheInstance() {
    Case::forEachPair([]<class In, class Out>() {
      const TestVolume<In> input({5, 4, 3});
      const TestVolume<Out> output({5, 4, 3}, regionLayout);
      input.fill({9, 1, 9, 9, 2});
      const auto parameter = request(input, output, In(9));
      Frame frame;
      frame.apply(parameter);
      EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
      EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
      expectLabels(output.voxels(), parameter->outputNumberOfLabels.value(), flooded<In>(input.voxels(), {5, 4, 3}, 9));
      output.expectUntouchedOutside();
    });
  }

  static void anOutputOfAnotherSizeIsResizedAndReused() {
    for (const Layout& layout : someLayouts()) {
      const TestVolume<uint8> input({7, 3, 5});
      const TestVolume<uint16> output({2, 9, 4}, layout);
      input.fill(sparseValues<uint8>(105, 8, 0.3));
      const auto parameter = request(input, output, uint8{9});
      Frame().apply(parameter);
      EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
      expectLabels(voxelsOf(output.volume()), parameter->outputNumberOfLabels.value(),
                   flooded<uint8>(input.voxels(), {7, 3, 5}, 9));
    }
  }

  static void allBackgroundIsZeroAndOneLabel() {
    for (const SizeType width : {5u, 70u}) {
      const auto labels = label<uint8, uint8>(std::vector<uint8>(width * 6, 9), {width, 3, 2}, 9);
      EXPECT_EQ(labels, std::vector<uint8>(width * 6, 0));
    }
  }

  static void anEmptyVolumeHasOneLabel() {
    const Ptr<uint8> empty(new Tavi::Volume<uint8>());
    const auto parameter = request(empty, nullptr, uint8{1});
    const auto op = typed<uint8, uint8>();
    op->apply(parameter);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 1u);
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
    ASSERT_TRUE(parameter->outputVolume.value() != nullptr);
    EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
  }

  static void aSingleVoxelHasLabelOne() {
    for (const SizeType width : {5u, 70u}) {
      for (SizeType place = 0; place < width * 6; ++place) {
        std::vector<uint8> values(width * 6, 9), expected(width * 6, 0);
        values[place] = 4;
        expected[place] = 1;
        EXPECT_EQ((label<uint8, uint8>(values, {width, 3, 2}, 9)), expected);
      }
    }
  }

  /// The number of objects of two voxels, `step` apart from each other in places less one, near the ends of a row.
  static void expectObjectsOfPair(const Extents& step, uint64 objects) {
    for (const SizeType width : {5u, 66u, 68u}) {
      for (const SizeType x : {width - 3, SizeType{2}}) {
        const Extents extents{width, 5, 3};
        std::vector<uint8> values(width * 15, 0);
        values[x + width * 2] = 1;
        values[x + step[0] - 1 + width * (1 + step[1] + 5 * step[2])] = 1;
        const auto labels = label<uint8, uint8>(values, extents, 0);
        EXPECT_EQ(*std::max_element(labels.begin(), labels.end()), objects);
      }
    }
  }

  static void aUShapeHasOneLabelAndLeavesNoGap() {
    const std::vector<uint8> values{1, 0, 1, 0, 1, 0, 0,    //
                                    1, 0, 1, 0, 1, 0, 1,    //
                                    1, 1, 1, 0, 1, 0, 0};   //
    const std::vector<uint8> expected{1, 0, 1, 0, 2, 0, 0,  //
                                      1, 0, 1, 0, 2, 0, 3,  //
                                      1, 1, 1, 0, 2, 0, 0};
    const auto parameter = request(nullptr, nullptr, uint8{0});
    const TestVolume<uint8> input({7, 3, 1});
    input.fill(values);
    parameter->inputFirstVolume = input;
    Frame().apply(parameter);
    EXPECT_EQ(voxelsOf(Ptr<uint8>(parameter->outputVolume.value())), expected);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 4u);
  }

  static void differentGreyValuesThatTouchAreOneObject() {
    EXPECT_EQ((label<uint32, uint8>({1, 2, 4000000000u, 0, 7, 8}, {6, 1, 1}, 0)),
              (std::vector<uint8>{1, 1, 1, 0, 2, 2}));
  }

  static void rawLabelsOfUint8() {
    for (const SizeType width : {1u, 30u, 100u}) {  // of lone voxels, and a row that unites those before it at the end
      for (const SizeType lone : {255u, 256u}) {
        std::vector<uint8> values;
        const SizeType columns = width == 1 ? 1 : width / 2;
        for (SizeType i = 0; i < lone;) {
          for (SizeType x = 0; x < width; ++x) {
            const bool isSet = x % 2 == 0 && x / 2 < columns && i < lone;
            i += isSet ? 1 : 0;
            values.push_back(isSet ? 1 : 0);
          }
          values.insert(values.end(), width, 0);
        }
        const Extents extents{width, values.size() / width, 1};
        if (lone == 255) {
          label<uint8, uint8>(values, extents, 0);
        } else {
          expectOverflow(values, extents, false);
          expectOverflow(values, extents, true);
        }
      }
    }
  }

  /// 255 raw labels of objects that meet later are enough for more of them.
  static void rawLabelsCountBeforeTheyMeet() {
    const SizeType width = 601;
    std::vector<uint8> values;
    for (SizeType y = 0; y < 2; ++y) {
      for (SizeType x = 0; x < width; ++x) {
        values.push_back(y == 1 || x % 2 == 0 ? 1 : 0);
      }
    }
    expectOverflow(values, {width, 2, 1}, false);
    expectOverflow(values, {width, 2, 1}, true);
    label<uint8, uint16>(values, {width, 2, 1}, 0);
  }

  /// Any volume fails at the voxel that needs the 256th raw label, and holds the raw labels before it.
  static void anyVolumeOverflowsAtItsVoxel() {
    std::mt19937 random(11);
    int failures = 0, successes = 0;
    constexpr unsigned depths = Case::allNeighbours ? 16 : 9;  // more neighbours leave fewer raw labels
    for (unsigned run = 0; run < 120; ++run) {
      const Extents extents{run % 2 == 0 ? 90 + random() % 60 : 1 + random() % 30, 2 + random() % depths,
                            2 + random() % depths};
      const SizeType size = extents[0] * extents[1] * extents[2];
      const auto values = sparseValues<uint8>(size, run, Case::allNeighbours ? 0.07 : 0.2);
      if (countRawLabels<uint8>(values, extents, 9, Case::allNeighbours) <= 255) {
        label<uint8, uint8>(values, extents, 9);
        ++successes;
      } else {
        expectOverflow(values, extents, run % 4 < 2, uint8{9});
        ++failures;
      }
    }
    EXPECT_GT(failures, 20);
    EXPECT_GT(successes, 20);
  }

  static void tablesOfAnySizeGiveTheSame() {
    const Extents extents{67, 6, 5};
    const auto values = sparseValues<uint8>(67 * 6 * 5, 17, 0.3);
    for (const uint64 expected : {0u, 1u, 2u, 7u, 100u, 1000000u}) {
      label<uint8, uint16>(values, extents, 9, expected);
    }
  }

  static void anOperatorIsReusable() {
    const auto op = typed<uint8, uint16>();
    for (const uint64 expected : {3u, 3u, 1000u, 1000u, 0u, 5u, 65536u}) {
      for (const unsigned seed : {1u, 2u}) {
        const TestVolume<uint8> input({66, 5, 4});
        const TestVolume<uint16> output({66, 5, 4});
        input.fill(sparseValues<uint8>(66 * 20, seed, 0.2 * seed));
        const auto parameter = request(input, output, uint8{9});
        parameter->inputExpectedNumberOfLabels = expected;
        op->apply(parameter);
        expectLabels(output.voxels(), parameter->outputNumberOfLabels.value(),
                     flooded<uint8>(input.voxels(), {66, 5, 4}, 9));
      }
    }
  }

  /// A table that has not grown is there for the next run, one that has is made anew. Never are there two.
  static void theTableStaysWithTheOperator() {
    SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
    const TestVolume<uint8> input({6, 5, 4});
    const TestVolume<uint16> output({6, 5, 4});
    input.fill({9, 1, 9});
    const auto op = typed<uint8, uint16>();
    const auto parameter = request(input, output, uint8{9});
    const auto apply = [&] { op->apply(parameter); };
    constexpr std::int64_t entries = 100000, bytes = entries * 2, little = 2000;

    parameter->inputExpectedNumberOfLabels = entries;
    EXPECT_GE(extraBytesOf(apply), bytes);
    const auto before = bytesInUse();
    EXPECT_LT(extraBytesOf(apply), little);
    EXPECT_EQ(bytesInUse(), before);

    parameter->inputExpectedNumberOfLabels = 3 * entries;
    EXPECT_LT(extraBytesOf(apply), 2 * bytes + little) << "the old table goes before the new one comes";
    EXPECT_GE(bytesInUse(), before + 2 * bytes);

    parameter->inputExpectedNumberOfLabels = SizeType{1} << 60;
    EXPECT_THROW(apply(), std::bad_alloc);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 0u);
    parameter->inputExpectedNumberOfLabels = 1;
    apply();
    expectLabels(output.voxels(), parameter->outputNumberOfLabels.value(),
                 flooded<uint8>(input.voxels(), {6, 5, 4}, 9));
  }

  static void inPlace() {
    for (const SizeType width : {7u, 70u}) {
      for (const Layout& layout : allLayouts()) {
        const Extents extents{width, 3, 4};
        const TestVolume<uint16> volume(extents, layout);
        const auto values = sparseValues<uint16>(width * 12, 6, 0.5);
        volume.fill(values);
        const auto parameter = request(volume, volume, uint16{9});
        Frame().apply(parameter);
        expectLabels(volume.voxels(), parameter->outputNumberOfLabels.value(), flooded<uint16>(values, extents, 9));
        volume.expectUntouchedOutside();
      }
    }
  }

  /// Two volumes over the same memory, of which each voxel is read right before the label at its place is written.
  static void outputInTheMemoryOfTheInput() {
    const Extents extents{70, 3, 4};
    const std::size_t size = 840;
    for (const std::size_t inputBegin : {0u, 1u, 5u, 100u}) {
      for (const std::size_t outputBegin : {0u, 1u, 70u, 71u}) {
        std::vector<uint8> memory = sparseValues<uint8>(size + 100, 9, Case::allNeighbours ? 0.1 : 0.3);
        const auto over = [&](std::size_t begin) {
          return Ptr<uint8>(new Tavi::Volume<uint8>(Tavi::Dimension<SizeType>(70, 3, 4), memory.data() + begin, {}));
        };
        for (uint8& value : memory) {
          value = value == 9 ? 0 : 1;
        }
        const auto first = memory.begin() + static_cast<std::ptrdiff_t>(inputBegin);
        const std::vector<uint8> values(first, first + static_cast<std::ptrdiff_t>(size));
        const auto parameter = request(over(inputBegin), over(outputBegin), uint8{0});
        Frame().apply(parameter);
        const auto begin = memory.begin() + static_cast<std::ptrdiff_t>(outputBegin);
        expectLabels(std::vector<uint8>(begin, begin + static_cast<std::ptrdiff_t>(size)),
                     parameter->outputNumberOfLabels.value(), flooded<uint8>(values, extents, 0));
      }
    }
  }

  static void progressEndsAtOne() {
    const TestVolume<uint8> input({3, 4, 5});
    const auto op = typed<uint8, uint8>();
    EXPECT_EQ(op->getProgress().getProgress(), 0.0);
    op->apply(request(input, nullptr, uint8{1}));
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  }

  static void wrongParameterObject() {
    const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
    Frame frame;
    expectRefusal([&] { frame.apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
    expectRefusal([&] { frame.apply(other); }, Case::texts.wrongClassInFrame);
    constexpr auto text = "NORV::TaviOperators::CityblockConnectedComponentsAnalysis::Operator::apply";
    expectRefusal([&] { (typed<uint8, uint8>()->apply(other)); }, text);
    expectRefusal([&] { (typed<uint8, uint8>()->apply(nullptr)); }, text);
  }

  static void noInput() {
    const TestVolume<uint8> output({2, 2, 2});
    const auto parameter = request(nullptr, output, uint8{1});
    parameter->outputNumberOfLabels = 5;
    expectRefusal([&] { Frame().apply(parameter); }, Case::texts.volumeMissingInFrame);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 5u);
    constexpr auto text =
        "NORV::TaviOperators::CityblockConnectedComponentsAnalysis::Operator::apply input volume is NULL";
    expectRefusal([&] { (typed<uint8, uint8>()->apply(parameter)); }, text);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 0u);
    expectRefusal(
        [&] {
          (typed<uint8, uint8>()->apply(request(TestVolume<uint16>({2, 2, 2}), output, uint8{1})));
        },
        text);
  }

  static void outputOfAnotherClass() {
    const TestVolume<uint8> input({2, 2, 2});
    expectRefusal(
        [&] {
          (typed<uint8, uint16>()->apply(request(input, TestVolume<uint32>({2, 2, 2}), uint8{1})));
        },
        "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  }

  /// The output is stored before the value is read, and the volumes are looked at before.
  static void missingOrWrongValue() {
    const auto parameter = makeParameter<Parameter>();
    parameter->inputFirstVolume = TestVolume<uint8>({2, 2, 2});
    expectMissingValue([&] { Frame().apply(parameter); });
    EXPECT_TRUE(parameter->outputVolume.value() != nullptr);
    parameter->inputBackgroundValue.setValue(int16{1});
    expectWrongValueType<uint8>([&] { Frame().apply(parameter); });
  }

  static void noInstanceForTheTypes() {
    const TestVolume<float32> input({2, 2, 2});
    expectStandard<std::invalid_argument>([&] { Frame().apply(request(input, nullptr, 1.0f)); },
                                          Case::texts.noInstanceForFloat);
  }

  static void tablesThatNoMemoryHolds() {
    SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
    const TestVolume<uint8> input({2, 2, 2});
    const TestVolume<uint32> output({2, 2, 2});
    const auto op = typed<uint8, uint32>();
    const auto parameter = request(input, output, uint8{1});
    op->apply(parameter);
    for (const uint64 expected : {uint64{1} << 62, ~uint64{0}, uint64{1} << 61}) {
      parameter->inputExpectedNumberOfLabels = expected;
      const auto before = blocksInUse();
      EXPECT_THROW(op->apply(parameter), std::bad_alloc);
      EXPECT_LE(blocksInUse(), before);
      EXPECT_EQ(parameter->outputNumberOfLabels.value(), 0u);
    }
    parameter->inputExpectedNumberOfLabels = 10;
    op->apply(parameter);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 2u);
  }

  static void allocationsThatFail() {
    SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
    const Extents extents{70, 4, 3};
    const TestVolume<uint8> input(extents);
    input.fill(sparseValues<uint8>(840, 2, 0.1));
    Frame frame;
    const auto parameter = request(input, nullptr, uint8{9});
    parameter->inputExpectedNumberOfLabels = 10;
    const int failures = failEachAllocation([&] { frame.apply(parameter); },
                                            [&] { EXPECT_EQ(parameter->outputNumberOfLabels.value(), 0u); });
    EXPECT_GT(failures, 5);
    expectLabels(voxelsOf(Ptr<uint8>(parameter->outputVolume.value())), parameter->outputNumberOfLabels.value(),
                 flooded<uint8>(input.voxels(), extents, 9));
  }

  /// Aborts after the checks and before the first slice: while the output is resized.
  static void abortBeforeTheFirstSlice() {
    const TestVolume<uint8> input({70, 3, 2});
    std::vector<uint16> memory(3, 7);
    const auto op = typed<uint8, uint16>();
    const auto output = hostVolume<uint16>(memory, [op] { op->abort(); });
    const auto parameter = request(input, output, uint8{1});
    op->apply(parameter);
    EXPECT_EQ(op->getProgress().getProgress(), 0.0);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 0u);
    EXPECT_TRUE(parameter->outputVolume.value() == output);
    op->apply(parameter);
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 2u);
    EXPECT_EQ(voxelsOf(output), std::vector<uint16>(420, 1));
  }

  static void abortFromAnotherThread() {
    const Ptr<uint8> input(new Tavi::Volume<uint8>(Tavi::Dimension<SizeType>(256, 256, 64)));
    std::fill_n(input->getData(), input->getSize(), uint8{1});
    Frame frame;
    bool seen = false;
    const auto parameter = request(input, nullptr, uint8{0});
    for (int attempt = 0; attempt < 1000 && !seen; ++attempt) {
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
      EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
      seen = parameter->outputNumberOfLabels.value() == 0;
    }
    EXPECT_TRUE(seen);
    frame.apply(parameter);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 2u);
  }

private:
  static void expectInLayouts(const std::vector<uint16>& values, const std::vector<uint64>& stated,
                              const Extents& extents, const Layout& inputLayout, const Layout& outputLayout) {
    SCOPED_TRACE(inputLayout.name() + " to " + outputLayout.name());
    const TestVolume<uint16> input(extents, inputLayout);
    const TestVolume<uint32> output(extents, outputLayout);
    input.fill(values);
    const auto parameter = request(input, output, uint16{9});
    Frame().apply(parameter);
    expectLabels(output.voxels(), parameter->outputNumberOfLabels.value(), stated);
    expectSameVoxels(input.voxels(), values);
    input.expectUntouchedOutside();
    output.expectUntouchedOutside();
  }

  /// NumericalOverflow at the voxel that needs the 256th raw label; what lies behind it stays.
  static void expectOverflow(const std::vector<uint8>& values, const Extents& extents, bool isInPlace,
                             uint8 background = 0) {
    const TestVolume<uint8> input(extents);
    const TestVolume<uint8> apart(extents);
    const TestVolume<uint8>& output = isInPlace ? input : apart;
    input.fill(values);
    const std::vector<uint8> before = output.voxels();
    const auto parameter = request(input, output, background);
    parameter->outputNumberOfLabels = 5;
    expectFailure<Exceptions::NumericalOverflow>([&] { Frame().apply(parameter); }, "Numercial overflow!",
                                                 "ConnectedComponentAnalysis::ExecuteLinear");
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 0u);
    const auto raw = rawLabels<uint8>(values, extents, background, Case::allNeighbours, 255);
    std::vector<uint8> expected(before);
    for (std::size_t i = 0; i < raw.size(); ++i) {
      expected[i] = raw[i] ? static_cast<uint8>(*raw[i]) : before[i];
    }
    expectSameVoxels(output.voxels(), expected);
  }
};

}  // namespace NORV::Tests
