#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Fill.hpp>
#include <Saturation.hpp>
#include <Tavi/StreamingStore.hpp>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace NORV::Tests {
namespace {

namespace Fill = TaviOperators::Fill;
using Tavi::Volume;
using Tavi::VolumePtr;

const std::string identifier =
    "NORV::TaviOperators::Fill::Operator< "
    "NORV::Tavi::Volume< NORV::int8 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

SmartPointer<Fill::Parameter> request(const SmartPointer<IVolume>& volume, int8 value, SizeType threads = 0) {
  const auto parameter = makeParameter<Fill::Parameter>();
  parameter->modifyVolume = volume;
  parameter->inputValue.setValue(value);
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

TEST(FillParameter, KeysStandInTheirOrder) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::Fill::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::Fill::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 3u);
  EXPECT_EQ(parameter->getKey(0), "modifyVolume");
  EXPECT_EQ(parameter->getKey(1), "inputValue");
  EXPECT_EQ(parameter->getKey(2), "inputNumberOfThreads");
}

TEST(FillInstances, ThereIsOneForInt8) {
  ASSERT_TRUE(isRegistered(identifier));
  EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
  EXPECT_EQ(countRegistered("NORV::TaviOperators::Fill::Operator< "), 1u);
}

TEST(Fill, SetsEveryVoxelOfTheViewAndNoOther) {
  const RuntimeSettings settings;
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    for (const SizeType threads : threadCounts()) {
      const TestVolume<int8> volume({7, 3, 5}, layout);
      const auto parameter = request(volume, -128, threads);
      createTyped(identifier)->apply(parameter);
      expectSameVoxels(volume.voxels(), std::vector<int8>(105, -128));
      volume.expectUntouchedOutside();
      EXPECT_TRUE(parameter->modifyVolume.value() == volume.volume());
    }
  }
}

TEST(Fill, LargeVolumesGoPastTheCache) {
  const SizeType prim = 4099, sec = 33, tert = Tavi::Streaming::threshold / (prim * sec) + 2;
  const VolumePtr<int8> volume(new Volume<int8>(Tavi::Dimension<SizeType>(prim + 1, sec, tert)));
  const SizeType count = (prim + 1) * sec * tert;
  std::fill_n(volume->getData(), count, int8{1});
  volume->setRoi(Tavi::RegionOfInterest(Tavi::Dimension<SizeType>(prim, sec, tert), Tavi::Position<SizeType>(1, 0, 0)));
  createTyped(identifier)->apply(request(volume, 9));
  SizeType wrong = 0;
  for (SizeType i = 0; i < count; ++i) {
    wrong += volume->getData()[i] != (i % (prim + 1) == 0 ? 1 : 9) ? 1u : 0u;
  }
  EXPECT_EQ(wrong, 0u);
}

TEST(Fill, AnEmptyVolumeStaysEmpty) {
  const VolumePtr<int8> volume(new Volume<int8>());
  createTyped(identifier)->apply(request(volume, 1));
  EXPECT_EQ(volume->getSize(), 0u);
}

TEST(FillFailure, AWrongParameterObject) {
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  expectRefusal([&] { createTyped(identifier)->apply(other); }, "NORV::TaviOperators::Fill::Operator::apply");
  expectRefusal([&] { createTyped(identifier)->apply(nullptr); }, "NORV::TaviOperators::Fill::Operator::apply");
}

TEST(FillFailure, NoVolumeOrOneOfAnotherType) {
  const std::string text = "NORV::TaviOperators::Fill::Operator::apply modifyVolume is NULL";
  expectRefusal([&] { createTyped(identifier)->apply(request(nullptr, 1)); }, text);
  expectRefusal([&] { createTyped(identifier)->apply(request(TestVolume<uint8>({2, 2, 2}), 1)); }, text);
}

TEST(FillFailure, AMissingValueOrOneOfAnotherType) {
  const TestVolume<int8> volume({2, 2, 2});
  const auto parameter = request(volume, 1);
  parameter->inputValue = SmartPointer<IComposite>();
  expectMissingValue([&] { createTyped(identifier)->apply(parameter); });
  parameter->inputValue.setValue(uint8{1});
  expectWrongValueType<int8>([&] { createTyped(identifier)->apply(parameter); });
  expectSameVoxels(volume.voxels(), std::vector<int8>(8, 77));
}

TEST(FillFailure, AThreadCountBeyond32Bits) {
  expectThreadCountChecked(*createTyped(identifier), request(TestVolume<int8>({2, 2, 2}), 1));
}

TEST(FillAbort, SkipsTheRemainingSlices) {
  const RuntimeSettings settings;
  const SizeType count = SizeType{512} * 512 * 64;
  const VolumePtr<int8> volume(new Volume<int8>(Tavi::Dimension<SizeType>(512, 512, 64)));
  const SmartPointer<IOperator> fill = createTyped(identifier);
  SizeType skipped = 0;
  for (int attempt = 0; attempt < 50 && skipped == 0; ++attempt) {
    std::fill_n(volume->getData(), count, int8{77});
    std::atomic<bool> ended{false};
    std::thread other([&] {
      while (!ended) {
        fill->abort();
      }
    });
    fill->apply(request(volume, 1, 2));
    ended = true;
    other.join();
    skipped = static_cast<SizeType>(std::count(volume->getData(), volume->getData() + count, int8{77}));
    EXPECT_EQ(skipped % (512 * 512), 0u);
  }
  EXPECT_GT(skipped, 0u);
}

}  // namespace
}  // namespace NORV::Tests
