#include "Geometry/ReducedVolumes.hpp"

#include <DLL/MeanProjection.hpp>
#include <Inversion.hpp>
#include <MeanProjection.hpp>

#include <algorithm>
#include <limits>
#include <type_traits>
#include <vector>

namespace NORV::Tests {
namespace {

using namespace Reduced;
namespace Typed = TaviOperators::MeanProjection;
using Frame = TaviOperators::DLL::MeanProjection::Operator;

/// Calls `body` for each pair of voxel types that exists: the output is of the input's type, float32 or float64.
template <class Body>
void forEachProjectedPair(const Body& body) {
  forEachVoxelTypePair([&]<class In, class Out>() {
    if constexpr (std::is_same_v<In, Out> || std::is_floating_point_v<Out>) {
      body.template operator()<In, Out>();
    }
  });
}

/// The rule, as it is stated, for a static schedule on so many threads.
template <class In, class Out>
std::vector<Out> projected(const std::vector<In>& voxels, const std::vector<uint8>& mask, const Extents& extents,
                           Out otherwise, SizeType threads) {
  using Sum = std::conditional_t<std::is_integral_v<In>, int64, double>;
  std::vector<Out> means;
  for (SizeType y = 0; y < extents[1]; ++y) {
    for (SizeType x = 0; x < extents[0]; ++x) {
      std::vector<Sum> sums(threads, Sum(0)), counts(threads, Sum(0));
      SizeType z = 0;
      for (SizeType thread = 0; thread < threads; ++thread) {
        const SizeType share = extents[2] / threads + (thread < extents[2] % threads ? 1 : 0);
        for (SizeType end = z + share; z < end; ++z) {
          const std::size_t voxel = indexOf(extents, x, y, z);
          if (mask.empty() || mask[voxel] > 254) {
            sums[thread] += static_cast<Sum>(voxels[voxel]);
            counts[thread] += Sum(1);
          }
        }
      }
      for (SizeType thread = 1; thread < threads; ++thread) {
        sums[0] += sums[thread];
        counts[0] += counts[thread];
      }
      if (!(counts[0] > Sum(0))) {
        means.push_back(otherwise);
      } else if constexpr (std::is_integral_v<Out>) {
        means.push_back(static_cast<Out>((counts[0] / 2 + sums[0]) / counts[0]));
      } else {
        means.push_back(static_cast<Out>(static_cast<double>(sums[0]) / static_cast<double>(counts[0])));
      }
    }
  }
  return means;
}

/// 255 in a third of the voxels, others among the rest, and some columns without any.
std::vector<uint8> someMask(const Extents& extents) {
  std::vector<uint8> mask(countOf(extents));
  for (std::size_t i = 0; i < mask.size(); ++i) {
    const std::size_t column = i % (extents[0] * extents[1]);
    const auto random = static_cast<uint8>(i * 2654435761u >> 7);
    mask[i] = column % 7 == 3 ? uint8{254} : random % 3 == 0 ? uint8{255} : random;
  }
  return mask;
}

template <class Out>
SmartPointer<Typed::Parameter> request(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& mask,
                                       Out otherwise, const SmartPointer<IVolume>& output, int threads = 0) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputVolume = input;
  parameter->inputMaskVolume = mask;
  parameter->inputDefaultValue.setValue(otherwise);
  parameter->inputNumberOfThreads = threads;
  parameter->outputVolume = output;
  return parameter;
}
const SmartPointer<IVolume> noMask;

template <class T>
std::vector<T> projectColumn(const std::vector<T>& voxels, const std::vector<uint8>& mask = {}, T otherwise = T(9)) {
  const TestVolume<T> input({1, 1, voxels.size()}), output({1, 1, 1});
  const TestVolume<uint8> selection({1, 1, voxels.size()});
  input.fill(voxels);
  selection.fill(mask.empty() ? std::vector<uint8>{255} : mask);
  Frame().apply(request(input, mask.empty() ? noMask : SmartPointer<IVolume>(selection), otherwise, output, 1));
  return output.voxels();
}

const std::string names = "NORV::TaviOperators::MeanProjection::Operator";
const std::string frameNames =
    "NORV::TaviOperators::DLL::MeanProjection::Operator::getOperatorTypeFromParameterObject: ";
const std::string uint8Operator = typedIdentifier<uint8, uint8, uint8>("MeanProjection");

TEST(MeanProjectionParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::MeanProjection::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::MeanProjection::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 5u);
  EXPECT_EQ(parameter->getKey(0), "inputVolume");
  EXPECT_EQ(parameter->getKey(1), "inputMaskVolume");
  EXPECT_EQ(parameter->getKey(2), "inputDefaultValue");
  EXPECT_EQ(parameter->getKey(3), "inputNumberOfThreads");
  EXPECT_EQ(parameter->getKey(4), "outputVolume");
  for (const char* key : {"inputVolume", "inputMaskVolume", "inputDefaultValue", "outputVolume"}) {
    EXPECT_TRUE(parameter->getValue(key) == nullptr) << key;
  }
  EXPECT_EQ(SmartPointer<Tavi::Persistence::Data<int32>>(parameter->getValue("inputNumberOfThreads"))->getValue(), 0);
}

TEST(MeanProjectionInstances, TwentyTwoAreRegisteredWithTheMaskInTheirNames) {
  const Frame frame;
  forEachProjectedPair([]<class In, class Out>() {
    const std::string identifier = typedIdentifier<In, Out, uint8>("MeanProjection");
    ASSERT_TRUE(isRegistered(identifier)) << identifier;
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
  });
  EXPECT_EQ(countRegistered(names + "< "), 22u);
}

TEST(MeanProjection, EveryInstanceProjectsAllOrientationsAndRegions) {
  const RuntimeSettings settings;
  const Extents extents{7, 5, 21};
  const std::vector<uint8> selection = someMask(extents);
  forEachProjectedPair([&]<class In, class Out>() {
    const std::vector<In> values = plainValues<In>(countOf(extents));
    std::size_t turn = 0;
    for (const Layout& layout : someLayouts()) {
      for (const bool isMasked : {false, true}) {
        SCOPED_TRACE(layout.name() + (isMasked ? ", masked" : ""));
        const SizeType threads = manyThreads()[turn++ % manyThreads().size()];
        const TestVolume<In> input(extents, layout);
        input.fill(values);
        const TestVolume<uint8> mask(extents, someLayouts()[turn % someLayouts().size()]);
        mask.fill(selection);
        const TestVolume<Out> output({7, 5, 1}, layout);
        const auto parameter =
            request(input, isMasked ? SmartPointer<IVolume>(mask) : noMask, Out(42), output, static_cast<int>(threads));
        Frame().apply(parameter);
        EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
        expectSameNumbers(output.voxels(),
                          projected(values, isMasked ? selection : std::vector<uint8>(), extents, Out(42), threads));
        output.expectUntouchedOutside();
        input.expectUntouchedOutside();
        expectSameVoxels(input.voxels(), values);
        expectSameVoxels(mask.voxels(), selection);
      }
    }
  });
}

TEST(MeanProjection, AllOrientationsOfALargerSlice) {
  const RuntimeSettings settings;
  const Extents extents{67, 33, 11};
  const std::vector<int16> values = plainValues<int16>(countOf(extents));
  const std::vector<uint8> selection = someMask(extents);
  const TestVolume<uint8> mask(extents);
  mask.fill(selection);
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<int16> input(extents, layout), output({67, 33, 1});
    input.fill(values);
    Frame().apply(request(input, mask, int16{-5}, output, 2));
    expectSameVoxels(output.voxels(), projected(values, selection, extents, int16{-5}, 2));
    Frame().apply(request(input, noMask, int16{-5}, output, 2));
    expectSameVoxels(output.voxels(), projected(values, {}, extents, int16{-5}, 2));
  }
}

TEST(MeanProjection, OnlyTheMaskValue255Selects) {
  EXPECT_EQ(projectColumn<uint8>({10, 20, 30}, {254, 255, 1}), (std::vector<uint8>{20}));
}

TEST(MeanProjection, AColumnWithoutASelectedVoxelTakesTheDefault) {
  EXPECT_EQ(projectColumn<uint8>({10, 20}, {254, 0}, 77), (std::vector<uint8>{77}));
  expectSameVoxels(projectColumn<float32>({1.0f, 2.0f}, {0, 254}, -2.5f), {-2.5f});
}

TEST(MeanProjection, IntegersAreRoundedAsTheIntegerDivisionDoes) {
  EXPECT_EQ(projectColumn<uint8>({1, 2}), (std::vector<uint8>{2}));
  EXPECT_EQ(projectColumn<uint8>({1, 1, 2}), (std::vector<uint8>{1}));
  EXPECT_EQ(projectColumn<int8>({-1, -2}), (std::vector<int8>{-1}));
  EXPECT_EQ(projectColumn<int16>({-1, -2, -2}), (std::vector<int16>{-1}));  // -4 / 3
  EXPECT_EQ(projectColumn<uint32>({4294967295u, 4294967295u}), (std::vector<uint32>{4294967295u}));
  EXPECT_EQ(projectColumn<int32>({-2147483647 - 1, -2147483647 - 1}), (std::vector<int32>{-2147483647}));  // toward 0
}

TEST(MeanProjection, IntegersInFloatingPointKeepTheFraction) {
  const TestVolume<uint8> input({1, 1, 2});
  input.fill({1, 2});
  const TestVolume<float64> output({1, 1, 1});
  Frame().apply(request(input, noMask, 0.0, output));
  EXPECT_EQ(output.voxels(), (std::vector<float64>{1.5}));
}

TEST(MeanProjection, OneSliceGivesItsOwnValues) {
  forEachVoxelType([]<class T>() {
    const TestVolume<T> input({9, 4, 1}), output({9, 4, 1});
    input.fill(plainValues<T>(36));
    Frame().apply(request(input, noMask, T(1), output));
    expectSameVoxels(output.voxels(), input.voxels());
  });
}

TEST(MeanProjection, IntegersDoNotDependOnTheThreads) {
  const RuntimeSettings settings;
  const Extents extents{5, 4, 37};
  const std::vector<int32> values = mixedValues<int32>(countOf(extents));
  for (const int dynamic : {0, 1}) {
    omp_set_dynamic(dynamic);
    for (const SizeType threads : manyThreads()) {
      const TestVolume<int32> input(extents, regionLayout), output({5, 4, 1});
      input.fill(values);
      Frame().apply(request(input, noMask, int32{0}, output, static_cast<int>(threads)));
      expectSameVoxels(output.voxels(), projected(values, {}, extents, int32{0}, 1));
    }
  }
}

TEST(MeanProjection, FloatingPointSumsFollowTheThreads) {
  const RuntimeSettings settings;
  const Extents extents{5, 4, 37};
  const std::vector<float32> values = plainValues<float32>(countOf(extents));
  const TestVolume<float32> input(extents);
  input.fill(values);
  for (const int dynamic : {0, 1}) {
    omp_set_dynamic(dynamic);
    for (const SizeType threads : {SizeType{1}, SizeType{2}, SizeType{5}, SizeType{33}, SizeType{100}}) {
      const TestVolume<float64> output({5, 4, 1});
      Frame().apply(request(input, noMask, 0.0, output, static_cast<int>(threads)));
      expectSameVoxels(output.voxels(), projected(values, {}, extents, 0.0, threads));
    }
  }
}

TEST(MeanProjection, ANaNCountsOnlyWhereItIsSelected) {
  const float32 nan = std::numeric_limits<float32>::quiet_NaN();
  expectSameNumbers(projectColumn<float32>({nan, 2.0f}), {nan});
  expectSameVoxels(projectColumn<float32>({nan, 2.0f}, {0, 255}), {2.0f});
  expectSameVoxels(projectColumn<float32>({-0.0f, -0.0f}), {0.0f});
}

/// 32 bits do not hold these sums.
TEST(MeanProjection, LongColumnsOfTheLargestValuesDoNotOverflow) {
  const RuntimeSettings settings;
  const SizeType length = 70001;
  EXPECT_EQ(projectColumn<uint16>(std::vector<uint16>(length, 65535)), (std::vector<uint16>{65535}));
  EXPECT_EQ(projectColumn<int16>(std::vector<int16>(length, -32768)), (std::vector<int16>{-32767}));  // toward zero
  EXPECT_EQ(projectColumn<uint16>(std::vector<uint16>(length, 65535), std::vector<uint8>(length, 255)),
            (std::vector<uint16>{65535}));
  EXPECT_EQ(projectColumn<int16>(std::vector<int16>(32767, -32768)), (std::vector<int16>{-32767}));
}

TEST(MeanProjectionOutput, AGivenOneOfAnotherSizeIsResizedAndReused) {
  const Extents extents{5, 6, 3};
  const std::vector<uint8> values = mixedValues<uint8>(90);
  for (const Layout& layout : someLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<uint8> input(extents), output({4, 1, 7}, layout);
    input.fill(values);
    const auto parameter = request(input, noMask, uint8{0}, output);
    Frame().apply(parameter);
    EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
    EXPECT_TRUE(output.volume()->getDimension() == Dimension<SizeType>(5, 6, 1));
    expectSameVoxels(voxelsOf(output.volume()), projected(values, {}, extents, uint8{0}, 1));
  }
}

TEST(MeanProjectionOutput, InputAndMaskMayBeTheOutput) {
  for (const Extents& extents : {Extents{5, 6, 3}, Extents{5, 6, 1}}) {
    const std::vector<uint8> values = mixedValues<uint8>(countOf(extents)), selection = someMask(extents);
    for (const Layout& layout : someLayouts()) {
      SCOPED_TRACE(layout.name());
      for (int turn = 0; turn < 3; ++turn) {  // the input, the mask, or all three one volume
        const TestVolume<uint8> input(extents, layout), mask(extents, layout);
        input.fill(values);
        mask.fill(selection);
        const TestVolume<uint8>& output = turn == 0 ? input : mask;
        const TestVolume<uint8>& source = turn == 2 ? mask : input;
        Frame().apply(request(source, mask, uint8{6}, output, 2));
        EXPECT_TRUE(output.volume()->getDimension() == Dimension<SizeType>(5, 6, 1));
        expectSameVoxels(voxelsOf(output.volume()),
                         projected(turn == 2 ? selection : values, selection, extents, uint8{6}, 2));
      }
    }
  }
}

TEST(MeanProjectionOutput, AnOutputOverTheSameMemoryGetsTheVoxelsOfACopy) {
  const Extents extents{8, 8, 4};
  const std::vector<uint8> values = mixedValues<uint8>(256);
  for (const SizeType shift : {0u, 1u, 63u, 200u}) {
    for (const Extents& given : {Extents{8, 8, 1}, Extents{2, 2, 2}}) {
      std::vector<uint8> memory = values;
      memory.resize(512);
      const VolumePtr<uint8> volume = volumeAt(memory.data(), extents), output = volumeAt(memory.data() + shift, given);
      Frame().apply(request(volume, volume, uint8{6}, output, 2));
      expectSameVoxels(voxelsOf(output), projected(values, values, extents, uint8{6}, 2));
    }
  }
}

TEST(MeanProjectionProgress, SlicesAndThreadsAreSteps) {
  const RuntimeSettings settings;
  for (const int threads : {1, 2, 33}) {
    const TestVolume<uint8> input({3, 4, 5}), output({3, 4, 1});
    const auto op = createTyped(uint8Operator);
    op->apply(request(input, noMask, uint8{0}, output, threads));
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  }
}

TEST(MeanProjectionAbort, LeavesTheOutput) {
  const RuntimeSettings settings;
  const VolumePtr<uint8> input(new Volume<uint8>(Dimension<SizeType>(256, 256, 512)));
  std::fill_n(input->getData(), input->getSize(), uint8{3});
  Frame frame;
  EXPECT_TRUE(abortSometime(frame, [&] {
    const TestVolume<uint8> output({256, 256, 1});
    frame.apply(request(input, noMask, uint8{0}, output, 1));
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
    return output.at({0, 0, 0}) == 77;
  }));
}

TEST(MeanProjectionFailure, AMaskOfAnotherSize) {
  const TestVolume<uint8> input({4, 6, 2}), output({5, 1, 7});
  for (const Extents& extents : {Extents{4, 6, 1}, Extents{5, 6, 2}, Extents{6, 4, 2}}) {
    const TestVolume<uint8> mask(extents);
    expectRefusal([&] { Frame().apply(request(input, mask, uint8{0}, output)); },
                  names + "::apply input volume and mask volume differ in size");
    EXPECT_TRUE(output.volume()->getDimension() == Dimension<SizeType>(5, 1, 7));
  }
}

TEST(MeanProjectionFailure, AnEmptyVolume) {
  const TestVolume<uint8> output({5, 1, 7});
  expectStandard<std::out_of_range>(
      [&] { Frame().apply(request(VolumePtr<uint8>(new Volume<uint8>()), noMask, uint8{0}, output)); },
      "NORV::Tavi::Dimension< NORV::uint64 >::check invalid values detected ( 0 , 0 , 1 ) ");
  EXPECT_TRUE(output.volume()->getDimension() == Dimension<SizeType>(5, 1, 7));
}

TEST(MeanProjectionFailure, NullAndForeignParameters) {
  const auto other = makeParameter<TaviOperators::Inversion::Parameter>();
  expectRefusal([&] { Frame().apply(other); }, frameNames + "invalid parameter object!");
  expectRefusal([&] { createTyped(uint8Operator)->apply(other); }, names + "::apply");
  expectRefusal([&] { createTyped(uint8Operator)->apply(nullptr); }, names + "::apply");
}

TEST(MeanProjectionFailure, NoVolumeOrOneOfAnotherType) {
  const TestVolume<uint8> volume({4, 6, 2});
  const TestVolume<int8> other({4, 6, 2});
  const SmartPointer<IVolume> none;
  const auto typed = createTyped(uint8Operator);
  const std::string nullVolume = frameNames + "inputVolume or outputVolume is NULL!";
  expectRefusal([&] { Frame().apply(request(none, noMask, uint8{0}, volume)); }, nullVolume);
  expectRefusal([&] { Frame().apply(request(volume, noMask, uint8{0}, none)); }, nullVolume);
  expectRefusal([&] { typed->apply(request(none, noMask, uint8{0}, volume)); }, names + "::apply input volume is NULL");
  expectRefusal([&] { typed->apply(request(other, noMask, uint8{0}, volume)); },
                names + "::apply input volume is NULL");
  expectRefusal([&] { typed->apply(request(volume, other, uint8{0}, volume)); },
                names + "::apply mask volume is of the wrong type");
  expectRefusal([&] { typed->apply(request(volume, noMask, uint8{0}, other)); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  const auto parameter = request(volume, noMask, uint8{0}, none);
  typed->apply(parameter);
  EXPECT_TRUE(parameter->outputVolume.value()->getDimension() == Dimension<SizeType>(4, 6, 1));

  const std::string beginning =
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier ";
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(request(volume, other, uint8{0}, volume)); },
      beginning + typedIdentifier<uint8, uint8, int8>("MeanProjection") + " is registered");
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(request(volume, noMask, uint8{0}, other)); },
      beginning + typedIdentifier<uint8, int8, uint8>("MeanProjection") + " is registered");
}

TEST(MeanProjectionFailure, ADefaultThatIsMissingOrOfAnotherType) {
  const TestVolume<uint8> volume({4, 6, 2});
  const TestVolume<float32> output({4, 6, 1});
  expectWrongValueType<float32>([&] { Frame().apply(request(volume, noMask, uint8{0}, output)); });
  const auto parameter = request(volume, noMask, 0.0f, output);
  parameter->inputDefaultValue = SmartPointer<IComposite>();
  expectMissingValue([&] { Frame().apply(parameter); });
}

}  // namespace
}  // namespace NORV::Tests
