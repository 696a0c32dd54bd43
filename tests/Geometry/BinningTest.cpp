#include "Geometry/ReducedVolumes.hpp"

#include <Binning.hpp>
#include <DLL/Binning.hpp>
#include <Inversion.hpp>

#include <limits>
#include <vector>

namespace NORV::Tests {
namespace {

using namespace Reduced;
namespace Typed = TaviOperators::Binning;
using Frame = TaviOperators::DLL::Binning::Operator;
using Factor = Tavi::Triple<SizeType>;

/// The rule, as it is stated.
template <class T>
std::vector<T> binned(const std::vector<T>& voxels, const Extents& extents, const Extents& factor) {
  const double count = static_cast<double>(factor[0] * factor[1] * factor[2]);
  std::vector<T> means;
  for (SizeType z = 0; z < extents[2]; z += factor[2]) {
    for (SizeType y = 0; y < extents[1]; y += factor[1]) {
      for (SizeType x = 0; x < extents[0]; x += factor[0]) {
        double sum = 0.0;
        for (SizeType k = 0; k < factor[2]; ++k) {
          for (SizeType j = 0; j < factor[1]; ++j) {
            for (SizeType i = 0; i < factor[0]; ++i) {
              sum += static_cast<double>(voxels[indexOf(extents, x + i, y + j, z + k)]);
            }
          }
        }
        means.push_back(narrowed<T>(sum / count));
      }
    }
  }
  return means;
}

SmartPointer<Typed::Parameter> request(const SmartPointer<IVolume>& input, const Extents& factor, int threads = 0) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputVolume = input;
  parameter->inputDownSamplingFactor = Factor(factor[0], factor[1], factor[2]);
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

template <class T>
std::vector<T> resultOf(const SmartPointer<Typed::Parameter>& parameter) {
  return voxelsOf(VolumePtr<T>(parameter->outputVolume.value()));
}

template <class T>
std::vector<T> binRow(const std::vector<T>& voxels, SizeType factor) {
  const TestVolume<T> input({voxels.size(), 1, 1});
  input.fill(voxels);
  const auto parameter = request(input, {factor, 1, 1});
  Frame().apply(parameter);
  return resultOf<T>(parameter);
}

const std::string notDivisible = "NORV::TaviOperators::Binning Volume dimensions not divisible by downsampling factor!";
const std::string wrongParameter = "NORV::TaviOperators::Binning: wrong parameter object!";
const std::string withoutInput = "NORV::TaviOperators::Binning the inputVolume is NULL";

SmartPointer<Typed::Parameter> completeRequest() {
  const TestVolume<uint8> input({4, 6, 2});
  return request(input, {2, 3, 1});
}

TEST(BinningParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::Binning::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::Binning::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 4u);
  EXPECT_EQ(parameter->getKey(0), "inputVolume");
  EXPECT_EQ(parameter->getKey(1), "outputVolume");
  EXPECT_EQ(parameter->getKey(2), "inputNumberOfThreads");
  EXPECT_EQ(parameter->getKey(3), "inputDownSamplingFactor");
  EXPECT_TRUE(parameter->getValue("inputVolume") == nullptr);
  EXPECT_TRUE(parameter->getValue("outputVolume") == nullptr);
  const SmartPointer<Tavi::TripleComposite<SizeType>> factor(parameter->getValue("inputDownSamplingFactor"));
  ASSERT_TRUE(factor != nullptr);
  EXPECT_TRUE(factor->value() == Factor(0, 0, 0));
  EXPECT_EQ(SmartPointer<Tavi::Persistence::Data<int32>>(parameter->getValue("inputNumberOfThreads"))->getValue(), 0);
}

TEST(BinningInstances, SevenVoxelTypesAreRegistered) {
  const Frame frame;
  forEachBinnedType([]<class T>() {
    const std::string identifier = typedIdentifier<T, T>("Binning");
    ASSERT_TRUE(isRegistered(identifier)) << identifier;
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
  });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::Binning::Operator< "), 7u);
}

TEST(Binning, EveryVoxelTypeAveragesEveryBlockInAllOrientationsAndRegions) {
  const RuntimeSettings settings;
  const Extents extents{12, 10, 6};
  const std::vector<Extents> factors{{2, 2, 2}, {1, 1, 1}, {3, 5, 1}, {4, 1, 3}, {12, 10, 6}, {6, 2, 3}, {1, 10, 2}};
  forEachBinnedType([&]<class T>() {
    const std::vector<T> values = plainValues<T>(countOf(extents));
    std::size_t turn = 0;
    for (const Layout& layout : allLayouts()) {
      const Extents& factor = factors[turn % factors.size()];
      SCOPED_TRACE(layout.name() + ", factors " + std::to_string(turn % factors.size()));
      const int threads = static_cast<int>(manyThreads()[turn++ % manyThreads().size()]);
      const TestVolume<T> input(extents, layout);
      input.fill(values);
      const std::vector<T> expected = binned(values, extents, factor);
      const auto parameter = request(input, factor, threads);
      Frame().apply(parameter);
      expectSameNumbers(resultOf<T>(parameter), expected);
      input.expectUntouchedOutside();
      expectSameVoxels(input.voxels(), values);

      const TestVolume<T> output({extents[0] / factor[0], extents[1] / factor[1], extents[2] / factor[2]}, layout);
      parameter->outputVolume = output;
      Frame().apply(parameter);
      EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
      expectSameNumbers(output.voxels(), expected);
      output.expectUntouchedOutside();
    }
  });
}

TEST(Binning, LongRowsAreAveragedInParts) {
  const RuntimeSettings settings;
  forEachBinnedType([]<class T>() {
    for (const SizeType factor : {1u, 2u, 3u, 4u, 5u, 7u, 8u}) {
      const Extents extents{factor * 1031, 2, 4};
      const TestVolume<T> input(extents);
      const std::vector<T> values = plainValues<T>(countOf(extents), 5);
      input.fill(values);
      const auto parameter = request(input, {factor, 1, 2}, 2);
      Frame().apply(parameter);
      expectSameNumbers(resultOf<T>(parameter), binned(values, extents, {factor, 1, 2}));
    }
  });
}

TEST(Binning, EveryThreadCountGivesTheSameVoxels) {
  const RuntimeSettings settings;
  const Extents extents{10, 6, 22};
  const std::vector<float32> values = plainValues<float32>(countOf(extents));
  for (const int dynamic : {0, 1}) {
    omp_set_dynamic(dynamic);
    for (const SizeType threads : manyThreads()) {
      const TestVolume<float32> input(extents, regionLayout);
      input.fill(values);
      const auto parameter = request(input, {2, 3, 2}, static_cast<int>(threads));
      Frame().apply(parameter);
      expectSameVoxels(resultOf<float32>(parameter), binned(values, extents, {2, 3, 2}));
    }
  }
}

TEST(Binning, AFactorOfOneCopies) {
  forEachBinnedType([]<class T>() {
    const TestVolume<T> input({5, 3, 4});
    const std::vector<T> values = mixedValues<T>(60);
    input.fill(values);
    const auto parameter = request(input, {1, 1, 1});
    Frame().apply(parameter);
    std::vector<T> expected = values;
    for (T& value : expected) {
      value = static_cast<T>(value + T(0));  // a sum that begins with 0 is never -0
    }
    expectSameNumbers(resultOf<T>(parameter), expected);
  });
}

TEST(Binning, TheFractionIsCutTowardZero) {
  EXPECT_EQ(binRow<uint8>({1, 2, 254, 255}, 2), (std::vector<uint8>{1, 254}));
  EXPECT_EQ(binRow<int8>({-1, -2, -1, 0, -128, -128}, 2), (std::vector<int8>{-1, 0, -128}));
  EXPECT_EQ(binRow<int32>({-2147483647 - 1, -2147483647 - 1, -7, 0}, 2), (std::vector<int32>{-2147483647 - 1, -3}));
  EXPECT_EQ(binRow<uint32>({4294967295u, 4294967295u, 4294967295u}, 3), (std::vector<uint32>{4294967295u}));
  EXPECT_EQ(binRow<float32>({1.0f, 2.0f}, 2), (std::vector<float32>{1.5f}));
}

/// 32 bits do not hold these sums.
TEST(Binning, LargeBlocksOfTheLargestValuesDoNotOverflow) {
  const RuntimeSettings settings;
  const auto meanOf = []<class T>(T value) {
    const VolumePtr<T> input(new Volume<T>(Dimension<SizeType>(512, 512, 66)));
    std::fill_n(input->getData(), input->getSize(), value);
    const auto parameter = request(input, {256, 512, 66});
    Frame().apply(parameter);
    return resultOf<T>(parameter);
  };
  EXPECT_EQ(meanOf(uint8{255}), (std::vector<uint8>{255, 255}));
  EXPECT_EQ(meanOf(int16{-32768}), (std::vector<int16>{-32768, -32768}));
  EXPECT_EQ(meanOf(uint16{65535}), (std::vector<uint16>{65535, 65535}));
  EXPECT_EQ(meanOf(uint32{4294967295u}), (std::vector<uint32>{4294967295u, 4294967295u}));
}

TEST(Binning, FloatingPointSumsAreRoundedInTheOrderOfTheVoxels) {
  // In single precision, or in another order, 1 would be lost.
  EXPECT_EQ(binRow<float32>({1.0f, 16777216.0f, -16777216.0f, 0.0f}, 4), (std::vector<float32>{0.25f}));
  EXPECT_EQ(binRow<float32>({1.0f, 1e20f, -1e20f, 4.0f}, 4), (std::vector<float32>{1.0f}));
  EXPECT_EQ(binRow<float32>({1e20f, -1e20f, 1.0f, 4.0f}, 4), (std::vector<float32>{1.25f}));
  const float32 infinity = std::numeric_limits<float32>::infinity();
  expectSameNumbers(binRow<float32>({infinity, 1.0f, infinity, -infinity}, 2),
                    {infinity, std::numeric_limits<float32>::quiet_NaN()});
}

TEST(Binning, AnEmptyVolumeGivesAnEmptyVolume) {
  const auto parameter = request(VolumePtr<int16>(new Volume<int16>()), {2, 3, 1});
  Frame().apply(parameter);
  EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
}

TEST(BinningOutput, AGivenOneOfAnotherSizeIsResizedAndReused) {
  const TestVolume<uint8> input({4, 6, 2});
  input.fill(mixedValues<uint8>(48));
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<uint8> output({5, 1, 7}, layout);
    const auto parameter = request(input, {2, 3, 1});
    parameter->outputVolume = output;
    Frame().apply(parameter);
    EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
    EXPECT_TRUE(output.volume()->getDimension() == Dimension<SizeType>(2, 2, 2));
    expectSameVoxels(voxelsOf(output.volume()), binned(input.voxels(), {4, 6, 2}, {2, 3, 1}));
  }
}

TEST(BinningOutput, TheInputItselfMayBeTheOutput) {
  const Extents extents{12, 10, 6};
  forEachBinnedType([&]<class T>() {
    for (const Layout& layout : someLayouts()) {
      for (const Extents& factor : {Extents{2, 2, 2}, Extents{1, 1, 1}, Extents{12, 1, 1}}) {
        const TestVolume<T> volume(extents, layout);
        const std::vector<T> values = plainValues<T>(countOf(extents));
        volume.fill(values);
        const auto parameter = request(volume, factor, 2);
        parameter->outputVolume = volume;
        Frame().apply(parameter);
        EXPECT_TRUE(parameter->outputVolume.value() == volume.volume());
        expectSameNumbers(voxelsOf(volume.volume()), binned(values, extents, factor));
      }
    }
  });
}

TEST(BinningOutput, AnOutputOverTheSameMemoryGetsTheVoxelsOfACopy) {
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
      expectSameVoxels(resultOf<uint16>(parameter), binned(values, extents, {2, 2, 2}));
    }
  }
}

TEST(BinningProgress, EachOutputSliceIsAStep) {
  const RuntimeSettings settings;
  const TestVolume<int16> input({4, 4, 6});
  const auto op = createTyped(typedIdentifier<int16, int16>("Binning"));
  op->apply(request(input, {2, 2, 2}, 2));
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
}

TEST(BinningAbort, SkipsTheRemainingSlicesAndReturnsNormally) {
  const RuntimeSettings settings;
  const VolumePtr<uint8> input(new Volume<uint8>(Dimension<SizeType>(256, 256, 256)));
  std::fill_n(input->getData(), input->getSize(), uint8{3});
  Frame frame;
  EXPECT_TRUE(abortSometime(frame, [&] {
    const auto parameter = request(input, {2, 2, 2}, 1);
    frame.apply(parameter);
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
    return parameter->outputVolume.value() == nullptr;
  }));
  const auto parameter = request(input, {2, 2, 2}, 1);
  frame.apply(parameter);
  EXPECT_EQ(resultOf<uint8>(parameter), std::vector<uint8>(128 * 128 * 128, 3));
}

TEST(BinningFailure, AFactorThatDoesNotDivideTheExtent) {
  const TestVolume<uint8> input({10, 9, 8});
  for (const Extents& factor : {Extents{3, 1, 1}, Extents{1, 2, 1}, Extents{1, 1, 3}, Extents{20, 9, 8}}) {
    const auto parameter = request(input, factor);
    expectRefusal([&] { Frame().apply(parameter); }, notDivisible);
    EXPECT_TRUE(parameter->outputVolume.value() == nullptr);
  }
}

TEST(BinningFailure, AFactorOfZero) {
  for (const Extents& factor : {Extents{0, 1, 1}, Extents{1, 0, 1}, Extents{1, 1, 0}, Extents{0, 0, 0}}) {
    const TestVolume<uint8> input({4, 6, 2});
    const auto parameter = request(input, factor);
    const TestVolume<uint8> output({5, 1, 7});
    parameter->outputVolume = output;
    expectRefusal([&] { Frame().apply(parameter); }, notDivisible);
    EXPECT_TRUE(output.volume()->getDimension() == Dimension<SizeType>(5, 1, 7));
    expectRefusal([&] { Frame().apply(request(VolumePtr<uint8>(new Volume<uint8>()), factor)); }, notDivisible);
  }
}

TEST(BinningFailure, NullAndForeignParameters) {
  const auto other = makeParameter<TaviOperators::Inversion::Parameter>();
  expectRefusal([&] { Frame().apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::Binning::Operator::getOperatorTypeFromParameterObject: invalid parameter "
                "object!");
  const auto typed = createTyped(typedIdentifier<uint8, uint8>("Binning"));
  expectRefusal([&] { typed->apply(other); }, wrongParameter);
  expectRefusal([&] { typed->apply(nullptr); }, wrongParameter);
}

TEST(BinningFailure, NoInputVolumeOrOneOfAnotherType) {
  const auto parameter = completeRequest();
  parameter->inputVolume = SmartPointer<IVolume>();
  expectRefusal([&] { Frame().apply(parameter); }, withoutInput);
  expectRefusal([&] { createTyped(typedIdentifier<uint8, uint8>("Binning"))->apply(parameter); }, withoutInput);
  expectRefusal([&] { createTyped(typedIdentifier<int8, int8>("Binning"))->apply(completeRequest()); }, withoutInput);
}

TEST(BinningFailure, VoxelTypesThatAreNotRegistered) {
  const std::string beginning =
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier ";
  const TestVolume<float64> wide({2, 2, 2});
  expectStandard<std::invalid_argument>(
      [&] {
        Frame().apply(request(wide, {1, 1, 1}));
      },
      beginning + typedIdentifier<float64, float64>("Binning") + " is registered");
  const auto parameter = completeRequest();
  const TestVolume<int8> output({5, 1, 7});
  parameter->outputVolume = output;
  expectStandard<std::invalid_argument>([&] { Frame().apply(parameter); },
                                        beginning + typedIdentifier<uint8, int8>("Binning") + " is registered");
  expectRefusal([&] { createTyped(typedIdentifier<uint8, uint8>("Binning"))->apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  EXPECT_TRUE(output.volume()->getDimension() == Dimension<SizeType>(5, 1, 7));
}

}  // namespace
}  // namespace NORV::Tests
