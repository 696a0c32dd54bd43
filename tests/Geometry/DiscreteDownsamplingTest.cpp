#include "Geometry/ReducedVolumes.hpp"

#include <DLL/DiscreteDownsampling.hpp>
#include <DiscreteDownsampling.hpp>
#include <Inversion.hpp>

#include <numeric>
#include <vector>

namespace NORV::Tests {
namespace {

using namespace Reduced;
namespace Typed = TaviOperators::DiscreteDownsampling;
using Frame = TaviOperators::DLL::DiscreteDownsampling::Operator;
using Factor = Tavi::Triple<SizeType>;

/// The rule, as it is stated.
template <class T>
std::vector<T> sampled(const std::vector<T>& voxels, const Extents& extents, const Extents& factor) {
  std::vector<T> kept;
  for (SizeType z = 0; z < extents[2] / factor[2]; ++z) {
    for (SizeType y = 0; y < extents[1] / factor[1]; ++y) {
      for (SizeType x = 0; x < extents[0] / factor[0]; ++x) {
        kept.push_back(voxels[indexOf(extents, x * factor[0], y * factor[1], z * factor[2])]);
      }
    }
  }
  return kept;
}

SmartPointer<Typed::Parameter> request(const SmartPointer<IVolume>& input, const Extents& factor, int threads = 0) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputVolume = input;
  parameter->inputDownsamplingFactor = Factor(factor[0], factor[1], factor[2]);
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

template <class T>
std::vector<T> resultOf(const SmartPointer<Typed::Parameter>& parameter) {
  return voxelsOf(VolumePtr<T>(parameter->outputVolume.value()));
}

const std::string uint8Operator = typedIdentifier<uint8, uint8>("DiscreteDownsampling");

TEST(DiscreteDownsamplingParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::DiscreteDownsampling::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::DiscreteDownsampling::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 4u);
  EXPECT_EQ(parameter->getKey(0), "inputVolume");
  EXPECT_EQ(parameter->getKey(1), "inputDownsamplingFactor");
  EXPECT_EQ(parameter->getKey(2), "inputNumberOfThreads");
  EXPECT_EQ(parameter->getKey(3), "outputVolume");
  EXPECT_TRUE(parameter->getValue("inputVolume") == nullptr);
  EXPECT_TRUE(parameter->getValue("outputVolume") == nullptr);
  const SmartPointer<Tavi::TripleComposite<SizeType>> factor(parameter->getValue("inputDownsamplingFactor"));
  ASSERT_TRUE(factor != nullptr);
  EXPECT_TRUE(factor->value() == Factor(0, 0, 0));
  EXPECT_EQ(SmartPointer<Tavi::Persistence::Data<int32>>(parameter->getValue("inputNumberOfThreads"))->getValue(), 0);
}

TEST(DiscreteDownsamplingInstances, AllVoxelTypesAreRegistered) {
  const Frame frame;
  forEachVoxelType([]<class T>() {
    const std::string identifier = typedIdentifier<T, T>("DiscreteDownsampling");
    ASSERT_TRUE(isRegistered(identifier)) << identifier;
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
  });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::DiscreteDownsampling::Operator< "), 8u);
}

TEST(DiscreteDownsampling, EveryVoxelTypeIsSampledInAllOrientationsAndRegions) {
  const RuntimeSettings settings;
  const Extents extents{11, 10, 7};
  const std::vector<Extents> factors{{2, 2, 2}, {1, 1, 1}, {3, 5, 1}, {4, 1, 3}, {11, 10, 7}, {6, 2, 3}, {1, 7, 2}};
  forEachVoxelType([&]<class T>() {
    const std::vector<T> values = mixedValues<T>(countOf(extents));
    std::size_t turn = 0;
    for (const Layout& layout : allLayouts()) {
      const Extents& factor = factors[turn % factors.size()];
      SCOPED_TRACE(layout.name() + ", factors " + std::to_string(turn % factors.size()));
      const int threads = static_cast<int>(manyThreads()[turn++ % manyThreads().size()]);
      const TestVolume<T> input(extents, layout);
      input.fill(values);
      const std::vector<T> expected = sampled(values, extents, factor);
      const auto parameter = request(input, factor, threads);
      Frame().apply(parameter);
      expectSameVoxels(resultOf<T>(parameter), expected);
      input.expectUntouchedOutside();
      expectSameVoxels(input.voxels(), values);

      const TestVolume<T> output({extents[0] / factor[0], extents[1] / factor[1], extents[2] / factor[2]}, layout);
      parameter->outputVolume = output;
      Frame().apply(parameter);
      EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
      expectSameVoxels(output.voxels(), expected);
      output.expectUntouchedOutside();
    }
  });
}

TEST(DiscreteDownsampling, LongRowsAndAllSteps) {
  const RuntimeSettings settings;
  forEachVoxelType([]<class T>() {
    for (const SizeType factor : {1u, 2u, 3u, 4u, 5u, 8u}) {
      const Extents extents{1031, 2, 3};
      const TestVolume<T> input(extents);
      const std::vector<T> values = mixedValues<T>(countOf(extents), 5);
      input.fill(values);
      const auto parameter = request(input, {factor, 1, 1}, 2);
      Frame().apply(parameter);
      expectSameVoxels(resultOf<T>(parameter), sampled(values, extents, {factor, 1, 1}));
    }
  });
}

TEST(DiscreteDownsampling, TheRemainderIsDropped) {
  const TestVolume<uint8> input({10, 1, 1});
  std::vector<uint8> values(10);
  std::iota(values.begin(), values.end(), uint8{0});
  input.fill(values);
  const auto parameter = request(input, {3, 1, 1});
  Frame().apply(parameter);
  EXPECT_EQ(resultOf<uint8>(parameter), (std::vector<uint8>{0, 3, 6}));
}

TEST(DiscreteDownsampling, AFactorOfOneCopiesEveryBit) {
  const TestVolume<float32> input({5, 3, 4});
  input.fill(mixedValues<float32>(60));
  const auto parameter = request(input, {1, 1, 1});
  Frame().apply(parameter);
  expectSameVoxels(resultOf<float32>(parameter), input.voxels());
}

TEST(DiscreteDownsampling, AnEmptyVolumeGivesAnEmptyVolume) {
  const auto parameter = request(VolumePtr<int16>(new Volume<int16>()), {2, 3, 1});
  Frame().apply(parameter);
  EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
}

TEST(DiscreteDownsampling, FactorsBeyondAllExtentsGiveAnEmptyVolume) {
  const TestVolume<uint8> input({3, 3, 3});
  const auto parameter = request(input, {4, ~SizeType{0}, SizeType{1} << 63});
  Frame().apply(parameter);
  EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
}

TEST(DiscreteDownsamplingOutput, AGivenOneOfAnotherSizeIsResizedAndReused) {
  const TestVolume<uint8> input({5, 6, 2});
  input.fill(mixedValues<uint8>(60));
  for (const Layout& layout : someLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<uint8> output({5, 1, 7}, layout);
    const auto parameter = request(input, {2, 3, 1});
    parameter->outputVolume = output;
    Frame().apply(parameter);
    EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
    EXPECT_TRUE(output.volume()->getDimension() == Dimension<SizeType>(2, 2, 2));
    expectSameVoxels(voxelsOf(output.volume()), sampled(input.voxels(), {5, 6, 2}, {2, 3, 1}));
  }
}

TEST(DiscreteDownsamplingOutput, TheInputItselfMayBeTheOutput) {
  const Extents extents{12, 10, 7};
  forEachVoxelType([&]<class T>() {
    for (const Layout& layout : someLayouts()) {
      for (const Extents& factor : {Extents{2, 2, 2}, Extents{1, 1, 1}, Extents{1, 1, 3}}) {
        const TestVolume<T> volume(extents, layout);
        const std::vector<T> values = mixedValues<T>(countOf(extents));
        volume.fill(values);
        const auto parameter = request(volume, factor, 2);
        parameter->outputVolume = volume;
        Frame().apply(parameter);
        EXPECT_TRUE(parameter->outputVolume.value() == volume.volume());
        expectSameVoxels(voxelsOf(volume.volume()), sampled(values, extents, factor));
      }
    }
  });
}

TEST(DiscreteDownsamplingOutput, AnOutputOverTheSameMemoryGetsTheVoxelsOfACopy) {
  const Extents extents{8, 8, 8};
  const std::vector<uint16> values = mixedValues<uint16>(512);
  for (const SizeType shift : {0u, 1u, 64u, 300u, 448u}) {
    for (const Extents& given : {Extents{4, 4, 4}, Extents{2, 2, 2}}) {
      SCOPED_TRACE(shift);
      std::vector<uint16> memory = values;
      memory.resize(1024);
      const auto parameter = request(volumeAt(memory.data(), extents), {2, 2, 2}, 2);
      parameter->outputVolume = volumeAt(memory.data() + shift, given);
      Frame().apply(parameter);
      expectSameVoxels(resultOf<uint16>(parameter), sampled(values, extents, {2, 2, 2}));
    }
  }
}

TEST(DiscreteDownsamplingProgress, EachOutputSliceIsAStep) {
  const RuntimeSettings settings;
  const TestVolume<uint8> input({4, 4, 7});
  const auto op = createTyped(uint8Operator);
  op->apply(request(input, {2, 2, 2}, 2));
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
}

TEST(DiscreteDownsamplingAbort, SkipsTheRemainingSlicesAndReturnsNormally) {
  const RuntimeSettings settings;
  const VolumePtr<uint8> input(new Volume<uint8>(Dimension<SizeType>(256, 256, 256)));
  std::fill_n(input->getData(), input->getSize(), uint8{3});
  Frame frame;
  EXPECT_TRUE(abortSometime(frame, [&] {
    const auto parameter = request(input, {1, 2, 1}, 1);
    frame.apply(parameter);
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
    return parameter->outputVolume.value() == nullptr;
  }));
}

TEST(DiscreteDownsamplingFailure, AFactorOfZero) {
  for (const Extents& factor : {Extents{0, 1, 1}, Extents{1, 0, 1}, Extents{1, 1, 0}, Extents{0, 0, 0}}) {
    const TestVolume<uint8> input({4, 6, 2});
    const TestVolume<uint8> output({5, 1, 7});
    const auto parameter = request(input, factor);
    parameter->outputVolume = output;
    expectRefusal([&] { Frame().apply(parameter); }, uint8Operator + " inputDownsamplingFactor is zero");
    EXPECT_TRUE(output.volume()->getDimension() == Dimension<SizeType>(5, 1, 7));
  }
}

TEST(DiscreteDownsamplingFailure, AFactorBeyondOneExtentOnly) {
  const TestVolume<uint8> input({4, 6, 2});
  expectStandard<std::out_of_range>(
      [&] {
        Frame().apply(request(input, {5, 1, 1}));
      },
      "NORV::Tavi::Dimension< NORV::uint64 >::check invalid values detected ( 0 , 6 , 2 "
      ") ");
}

TEST(DiscreteDownsamplingFailure, NullAndForeignParameters) {
  const auto other = makeParameter<TaviOperators::Inversion::Parameter>();
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::DiscreteDownsampling::Operator::getOperatorTypeFromParameterObject: invalid "
                "parameter object!");
  expectRefusal([&] { createTyped(uint8Operator)->apply(other); },
                "NORV::TaviOperators::DiscreteDownsampling::Operator::apply");
  expectRefusal([&] { createTyped(uint8Operator)->apply(nullptr); },
                "NORV::TaviOperators::DiscreteDownsampling::Operator::apply");
}

TEST(DiscreteDownsamplingFailure, NoInputVolumeOrOneOfAnotherType) {
  const TestVolume<int8> input({4, 6, 2});
  const auto parameter = request(input, {1, 1, 1});
  expectRefusal([&] { createTyped(uint8Operator)->apply(parameter); }, uint8Operator + " inputVolume is NULL");
  parameter->inputVolume = SmartPointer<IVolume>();
  expectRefusal([&] { createTyped(uint8Operator)->apply(parameter); }, uint8Operator + " inputVolume is NULL");
  expectRefusal([&] { Frame().apply(parameter); },
                "NORV::TaviOperators::DLL::DiscreteDownsampling::Operator::getOperatorTypeFromParameterObject: "
                "inputVolume is NULL!");
}

TEST(DiscreteDownsamplingFailure, AnOutputVolumeOfAnotherVoxelType) {
  const TestVolume<uint8> input({4, 6, 2});
  const TestVolume<int8> output({5, 1, 7});
  const auto parameter = request(input, {1, 1, 1});
  parameter->outputVolume = output;
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier " +
          typedIdentifier<uint8, int8>("DiscreteDownsampling") + " is registered");
  expectRefusal([&] { createTyped(uint8Operator)->apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  EXPECT_TRUE(output.volume()->getDimension() == Dimension<SizeType>(5, 1, 7));
}

}  // namespace
}  // namespace NORV::Tests
