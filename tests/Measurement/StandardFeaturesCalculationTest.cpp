#include "Measurement/FeatureRuns.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace NORV::Tests {
namespace {

using namespace FeatureRuns;

/// A box of label 1 with the value 1 in a volume of zeros; returns its record.
template <class T>
SmartPointer<Typed::Features<uint8, T, float64>> boxRecord(const Extents& box, T value) {
  const TestVolume<uint8> labels({20, 20, 20});
  const TestVolume<T> values({20, 20, 20});
  labels.fill({0});
  values.fill({T(0)});
  for (SizeType z = 0; z < box[2]; ++z) {
    for (SizeType y = 0; y < box[1]; ++y) {
      for (SizeType x = 0; x < box[0]; ++x) {
        labels.at({x + 2, y + 3, z + 4}) = 1;
        values.at({x + 2, y + 3, z + 4}) = value;
      }
    }
  }
  const auto records = run<uint8, T>(labels, values, 1, 1);
  EXPECT_EQ(records->size(), 1u);
  return records->at(0);
}

TEST(StandardFeaturesCalculationParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::StandardFeaturesCalculation::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::StandardFeaturesCalculation::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 6u);
  EXPECT_EQ(parameter->getKey(0), "inputLabelVolume");
  EXPECT_EQ(parameter->getKey(1), "inputValueVolume");
  EXPECT_EQ(parameter->getKey(2), "inputMinimumLabel");
  EXPECT_EQ(parameter->getKey(3), "inputMaximumLabel");
  EXPECT_EQ(parameter->getKey(4), "inputNumberOfThreads");
  EXPECT_EQ(parameter->getKey(5), "outputFeaturesVector");
  EXPECT_TRUE(parameter->getValue("inputMinimumLabel") == nullptr);
  EXPECT_TRUE(parameter->getValue("outputFeaturesVector") == nullptr);
  const SmartPointer<Data<int32>> threads(parameter->getValue("inputNumberOfThreads"));
  ASSERT_TRUE(threads != nullptr);
  EXPECT_EQ(threads->getValue(), 0);
}

template <class Body>
void forEachInstance(const Body& body) {
  forEachVoxelType([&body]<class T>() {
    body.template operator()<uint8, T>();
    body.template operator()<uint16, T>();
    body.template operator()<uint32, T>();
  });
}

TEST(StandardFeaturesCalculationInstances, EveryPairIsRegistered) {
  forEachInstance([]<class L, class T>() {
    const std::string record = std::string("NORV::TaviOperators::StandardFeaturesCalculation::Features< ") +
                               Tavi::typeName<L> + ", " + Tavi::typeName<T> + ", NORV::float64 >";
    const std::string vector = "NORV::Tavi::Container::Vector< " + record + " >";
    const std::string op = "NORV::TaviOperators::StandardFeaturesCalculation::Operator< " + volumeIdentifier<L>() +
                           ", " + volumeIdentifier<T>() + ", " + vector + " >";
    for (const std::string& identifier : {record, vector, op}) {
      ASSERT_TRUE(isRegistered(identifier)) << identifier;
      EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
    }
  });
  EXPECT_TRUE(isRegistered(smallestOperator));
  EXPECT_TRUE(isRegistered(smallestVector));
  EXPECT_EQ(countRegistered("NORV::TaviOperators::StandardFeaturesCalculation::Operator< "), 24u);
}

TEST(StandardFeaturesCalculation, EveryPairIsAsStated) {
  const RuntimeSettings settings;
  unsigned seed = 0;
  forEachInstance([&]<class L, class T>() {
    for (const Extents& extents : {Extents{7, 3, 5}, Extents{1, 1, 4}, Extents{67, 1, 1}, Extents{300, 3, 2}}) {
      const SizeType size = extents[0] * extents[1] * extents[2];
      const auto labelValues = someLabels<L>(size, seed, 200);
      const auto values = seed % 2 == 0 ? mixedValues<T>(size, seed) : exactValues<T>(size, seed);
      const TestVolume<L> labels(extents);
      const TestVolume<T> volume(extents);
      labels.fill(labelValues);
      volume.fill(values);
      const auto from = static_cast<L>(seed % 3 == 0 ? 0 : 5), to = static_cast<L>(seed % 5 == 0 ? 255 : 90);
      expectFeatures(run<L, T>(labels, volume, from, to), statedFeatures(labelValues, values, extents, from, to));
      ++seed;
    }
  });
}

TEST(StandardFeaturesCalculation, EveryLayoutOfBothVolumesIsAsStated) {
  const Extents extents{11, 4, 3};
  const auto labelValues = someLabels<uint16>(132, 3, 9);
  const auto values = exactValues<int16>(132, 3);
  const auto expected = statedFeatures<uint16, int16>(labelValues, values, extents, 1, 8);
  std::size_t other = 0;
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<uint16> labels(extents, layout);
    labels.fill(labelValues);
    for (const Layout& valueLayout : {denseLayout, layout, allLayouts()[(other += 7) % allLayouts().size()]}) {
      const TestVolume<int16> volume(extents, valueLayout);
      volume.fill(values);
      expectFeatures(run<uint16, int16>(labels, volume, 1, 8), expected);
    }
  }
}

TEST(StandardFeaturesCalculation, LongRowsInEveryLayout) {
  const Extents extents{700, 2, 2};
  for (unsigned seed = 0; seed < 6; ++seed) {
    const auto labelValues = someLabels<uint32>(2800, seed, 20);
    const auto values = exactValues<uint8>(2800, seed);
    const auto expected = statedFeatures<uint32, uint8>(labelValues, values, extents, 1, 19);
    for (const Layout& layout : someLayouts()) {
      const TestVolume<uint32> labels(extents, layout);
      const TestVolume<uint8> volume(extents, layout);
      labels.fill(labelValues);
      volume.fill(values);
      expectFeatures(run<uint32, uint8>(labels, volume, 1, 19), expected);
    }
  }
}

TEST(StandardFeaturesCalculation, EveryThreadCountGivesTheSame) {
  const RuntimeSettings settings;
  const Extents extents{40, 5, 11};
  forEachInstance([&]<class L, class T>() {
    const auto labelValues = someLabels<L>(2200, 8, 30);
    const auto values = exactValues<T>(2200, 3);
    const auto expected = statedFeatures<L, T>(labelValues, values, extents, 1, 29);
    const TestVolume<L> labels(extents);
    const TestVolume<T> volume(extents);
    labels.fill(labelValues);
    volume.fill(values);
    for (const int dynamic : {0, 1}) {
      omp_set_dynamic(dynamic);
      for (const int32 threads : {-1, 0, 1, 2, 7, 100}) {
        expectFeatures(run<L, T>(labels, volume, 1, 29, threads), expected);
      }
    }
  });
}

/// Sums of 16-bit values that double precision does not hold exactly any more.
TEST(StandardFeaturesCalculation, HugeSumsRoundAsVoxelAfterVoxelDoes) {
  const Extents extents{4096, 600, 1};
  const std::size_t size = 4096 * 600;
  std::vector<uint16> values(size);
  std::mt19937 random(4);
  for (uint16& value : values) {
    value = static_cast<uint16>(65535 - random() % 100);
  }
  const std::vector<uint8> labelValues(size, 1);
  const TestVolume<uint8> labels(extents);
  const TestVolume<uint16> volume(extents);
  labels.fill(labelValues);
  volume.fill(values);
  expectFeatures(run<uint8, uint16>(labels, volume, 1, 1),
                 statedFeatures<uint8, uint16>(labelValues, values, extents, 1, 1));
}

TEST(StandardFeaturesCalculation, NegativeValuesHaveNoCentreOfGravityButStatistics) {
  const TestVolume<uint8> labels({4, 1, 1});
  const TestVolume<int16> values({4, 1, 1});
  labels.fill({1});
  values.fill({-3, 5, 10, 20});
  const auto records = run<uint8, int16>(labels, values, 1, 1);
  ASSERT_EQ(records->size(), 1u);
  const auto& record = *records->at(0);
  EXPECT_FALSE(record.centerOfGravityIsValid.value());
  EXPECT_TRUE(std::isnan(record.centerOfGravity.value().prim));
  EXPECT_TRUE(std::isnan(record.centerOfGravity.value().sec));
  EXPECT_TRUE(std::isnan(record.centerOfGravity.value().tert));
  EXPECT_EQ(record.mean.value(), 8.0);
  EXPECT_EQ(record.variance.value(), (534.0 - 32.0 * 32.0 / 4.0) / 3.0);
  EXPECT_EQ(record.minimum.value(), -3);
  EXPECT_EQ(record.maximum.value(), 20);
}

TEST(StandardFeaturesCalculation, OnlyZeroValuesHaveNoCentreOfGravity) {
  const auto record = boxRecord<uint8>({2, 2, 2}, 0);
  EXPECT_FALSE(record->centerOfGravityIsValid.value());
  EXPECT_TRUE(std::isnan(record->centerOfGravity.value().prim));
  EXPECT_EQ(record->mean.value(), 0.0);
  EXPECT_EQ(record->geometricCenter.value(), Tavi::Triple<float64>(2.5, 3.5, 4.5));
}

TEST(StandardFeaturesCalculation, OneVoxel) {
  const auto record = boxRecord<uint16>({1, 1, 1}, 9);
  EXPECT_EQ(record->size.value(), 1u);
  EXPECT_EQ(record->variance.value(), 0.0);
  EXPECT_EQ(record->fillFactor.value(), 1.0);
  EXPECT_EQ(record->aspectRatio.value(), 1.0);
  EXPECT_EQ(record->diameter.value(), 1.0);
  EXPECT_EQ(record->centerOfGravity.value(), Tavi::Triple<float64>(2, 3, 4));
  EXPECT_TRUE(record->centerOfGravityIsValid.value());
  EXPECT_EQ(record->roi.value(),
            Tavi::RegionOfInterest(Tavi::Dimension<SizeType>(1, 1, 1), Tavi::Position<SizeType>(2, 3, 4)));
}

TEST(StandardFeaturesCalculation, ABarHasTheDiameterOfItsSection) {
  const auto record = boxRecord<uint8>({10, 1, 1}, 1);
  EXPECT_EQ(record->aspectRatio.value(), 0.1);
  EXPECT_EQ(record->diameter.value(), 1.0);
  EXPECT_EQ(boxRecord<uint8>({1, 10, 1}, 1)->diameter.value(), 1.0);
  EXPECT_EQ(boxRecord<uint8>({1, 1, 10}, 1)->diameter.value(), 1.0);
}

TEST(StandardFeaturesCalculation, ACubeHasTheDiameterOfItsEdge) {
  const auto record = boxRecord<uint8>({4, 4, 4}, 1);
  EXPECT_EQ(record->aspectRatio.value(), 1.0);
  EXPECT_EQ(record->diameter.value(), 4.0);
  EXPECT_EQ(record->fillFactor.value(), 1.0);
}

TEST(StandardFeaturesCalculation, TheMostNearlyEqualExtentsGiveTheDiameter) {
  EXPECT_EQ(boxRecord<uint8>({4, 5, 9}, 1)->diameter.value(), 4.5);
  EXPECT_EQ(boxRecord<uint8>({4, 9, 5}, 1)->diameter.value(), 4.5);
  EXPECT_EQ(boxRecord<uint8>({9, 4, 5}, 1)->diameter.value(), 4.5);
  // 2 : 4 and 4 : 8 are equal; the later pair counts.
  EXPECT_EQ(boxRecord<uint8>({2, 4, 8}, 1)->diameter.value(), 6.0);
  EXPECT_EQ(boxRecord<uint8>({4, 2, 8}, 1)->diameter.value(), 6.0);
  EXPECT_EQ(boxRecord<uint8>({8, 4, 2}, 1)->diameter.value(), 3.0);
  EXPECT_EQ(boxRecord<uint8>({2, 4, 8}, 1)->aspectRatio.value(), 0.5);
}

TEST(StandardFeaturesCalculation, OnlyNegativeFloatsReportTheSmallestNormalNumberAsMaximum) {
  EXPECT_EQ(boxRecord<float32>({3, 1, 1}, -2.5f)->maximum.value(), 1.1754943508222875e-38f);
  EXPECT_EQ(boxRecord<float32>({3, 1, 1}, -2.5f)->minimum.value(), -2.5f);
  EXPECT_EQ(boxRecord<float64>({3, 1, 1}, -2.5)->maximum.value(), 2.2250738585072014e-308);
  EXPECT_EQ(boxRecord<float64>({3, 1, 1}, 0.0)->maximum.value(), 2.2250738585072014e-308);
  EXPECT_EQ(boxRecord<int8>({3, 1, 1}, -5)->maximum.value(), -5);
}

TEST(StandardFeaturesCalculation, LabelZeroIsMeasuredLikeAnyOther) {
  const TestVolume<uint8> labels({3, 1, 1});
  const TestVolume<uint8> values({3, 1, 1});
  labels.fill({0, 1, 0});
  values.fill({2, 4, 6});
  const auto records = run<uint8, uint8>(labels, values, 0, 1);
  ASSERT_EQ(records->size(), 2u);
  EXPECT_EQ(records->at(0)->label.value(), 0);
  EXPECT_EQ(records->at(0)->size.value(), 2u);
  EXPECT_EQ(records->at(0)->mean.value(), 4.0);
}

TEST(StandardFeaturesCalculation, LabelsOutsideTheRangeAreIgnored) {
  const TestVolume<uint8> labels({6, 1, 1});
  const TestVolume<uint8> values({6, 1, 1});
  labels.fill({1, 2, 3, 4, 5, 255});
  values.fill({9});
  const auto sizes = [&](uint8 from, uint8 to) {
    std::vector<int> found;
    const auto records = run<uint8, uint8>(labels, values, from, to);
    for (const auto& record : *records) {
      found.push_back(record->label.value());
    }
    return found;
  };
  EXPECT_EQ(sizes(2, 4), (std::vector{2, 3, 4}));
  EXPECT_EQ(sizes(0, 255), (std::vector{1, 2, 3, 4, 5, 255}));
  EXPECT_EQ(sizes(4, 2), std::vector<int>());
  EXPECT_EQ(sizes(6, 254), std::vector<int>());
  EXPECT_EQ(sizes(255, 255), std::vector{255});
}

TEST(StandardFeaturesCalculation, NaNsOnlySpoilTheSums) {
  const TestVolume<uint8> labels({3, 1, 1});
  const TestVolume<float32> values({3, 1, 1});
  labels.fill({1});
  values.fill({2.0f, std::numeric_limits<float32>::quiet_NaN(), 5.0f});
  const auto record = run<uint8, float32>(labels, values, 1, 1)->at(0);
  EXPECT_EQ(record->minimum.value(), 2.0f);
  EXPECT_EQ(record->maximum.value(), 5.0f);
  EXPECT_TRUE(std::isnan(record->mean.value()));
  EXPECT_FALSE(record->centerOfGravityIsValid.value());
}

TEST(StandardFeaturesCalculation, ASecondCallExtendsTheVector) {
  const TestVolume<uint8> labels({3, 1, 1});
  const TestVolume<uint8> values({3, 1, 1});
  labels.fill({1, 1, 2});
  values.fill({2, 4, 6});
  const auto parameter = request<uint8>(labels, values, 1, 9);
  Frame().apply(parameter);
  const SmartPointer<Records<uint8, uint8>> records(parameter->outputFeaturesVector.value());
  ASSERT_EQ(records->size(), 2u);
  const auto first = records->at(0);
  labels.fill({5});
  Frame().apply(parameter);
  EXPECT_EQ(parameter->outputFeaturesVector.value().get(), records.get());
  ASSERT_EQ(records->size(), 3u);
  EXPECT_EQ(records->at(0).get(), first.get());
  EXPECT_EQ(records->at(2)->label.value(), 5);
  // A list of other records is not extended but replaced.
  const SmartPointer<IComposite> other(new Records<uint8, int8>);
  parameter->outputFeaturesVector = other;
  Frame().apply(parameter);
  EXPECT_EQ(other->getNumberOfKeys(), 0u);
  EXPECT_EQ(parameter->outputFeaturesVector.value()->getNumberOfKeys(), 1u);
  EXPECT_EQ(parameter->outputFeaturesVector.value()->getType(), smallestVector);
}

TEST(StandardFeaturesCalculation, LabelsMayBeDataOfAnyIntegerTypeThatFits) {
  const TestVolume<uint8> labels({2, 1, 1});
  const TestVolume<uint8> values({2, 1, 1});
  labels.fill({3, 200});
  const auto parameter = request<uint8>(labels, values, 0, 0);
  parameter->inputMinimumLabel = SmartPointer<IComposite>(new Data<int32>(3));
  parameter->inputMaximumLabel = SmartPointer<IComposite>(new Data<uint64>(200));
  Frame().apply(parameter);
  EXPECT_EQ(parameter->outputFeaturesVector.value()->getNumberOfKeys(), 2u);
  parameter->inputMaximumLabel = SmartPointer<IComposite>(new Data<uint64>(256));
  expectStandard<std::overflow_error>(
      [&] { Frame().apply(parameter); },
      "Couldn't cast 256 (64 bit unsigned integer) to 8 bit unsigned integer without loss of data!");
}

TEST(StandardFeaturesCalculation, AnEmptyVolumeHasNoRecords) {
  const VolumePtr<uint8> labels(new Volume<uint8>()), values(new Volume<uint8>());
  EXPECT_EQ((run<uint8, uint8>(labels, values, 0, 255)->size()), 0u);
}

TEST(StandardFeaturesCalculation, EverySliceIsAStepOfProgress) {
  const TestVolume<uint8> labels({3, 2, 5});
  const auto op = createTyped(smallestOperator);
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
  op->apply(request<uint8>(labels, labels, 0, 9));
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
}

}  // namespace
}  // namespace NORV::Tests
