#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Saturation.hpp>
#include <Tavi/Copy.hpp>
#include <Tavi/StreamingStore.hpp>

#include <atomic>
#include <thread>
#include <vector>

namespace NORV::Tests {
namespace {

namespace Copy = Tavi::Copy;
using Tavi::Volume;
using Tavi::VolumePtr;
using Single = Tavi::Allocator::SingleBlockAllocator;
using External = Tavi::Allocator::ExternalBufferAllocator<Single>;
using ExternalTwice = Tavi::Allocator::ExternalBufferAllocator<External>;

constexpr Extents extents{7, 3, 5};

const std::string externalName =
    "NORV::Tavi::Allocator::ExternalBufferAllocator< NORV::Tavi::Allocator::SingleBlockAllocator >";

template <class T>
std::string identifier(const std::string& from, const std::string& to) {
  return "NORV::Tavi::Copy::Operator< " + volumeIdentifier<T>(from) + ", " + volumeIdentifier<T>(to) + " >";
}
template <class T>
std::string identifier() {
  return "NORV::Tavi::Copy::Operator< " + volumeIdentifier<T>() + ", " + volumeIdentifier<T>() + " >";
}

SmartPointer<Copy::Parameter> request(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& output = {}) {
  const auto parameter = makeParameter<Copy::Parameter>();
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  return parameter;
}

template <class T>
SmartPointer<IVolume> viewOn(const TestVolume<T>& owner) {
  return VolumePtr<T, External>(new Volume<T, External>(owner.volume()));
}

TEST(CopyParameter, KeysStandInTheirOrder) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::Tavi::Copy::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::Tavi::Copy::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 2u);
  EXPECT_EQ(parameter->getKey(0), "inputVolume");
  EXPECT_EQ(parameter->getKey(1), "outputVolume");
}

TEST(CopyInstances, EveryVoxelTypeFromAndToOwnedVolumesAndViews) {
  forEachVoxelType([]<class T>() {
    const std::string single = "NORV::Tavi::Allocator::SingleBlockAllocator";
    for (const std::string& from : {single, externalName}) {
      for (const std::string& to : {single, externalName}) {
        const std::string name = identifier<T>(from, to);
        ASSERT_TRUE(isRegistered(name)) << name;
        EXPECT_EQ(createTyped(name)->getProgress().getProgress(), 0.0);
        EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(name)->getType(), name);
      }
    }
  });
  EXPECT_EQ(countRegistered("NORV::Tavi::Copy::Operator< "), 32u);
}

TEST(Copy, EveryVoxelTypeAndAllLayoutsKeepEveryBit) {
  const RuntimeSettings settings;
  forEachVoxelType([]<class T>() {
    const std::vector<T> values = mixedValues<T>(7 * 3 * 5);
    const SmartPointer<IOperator> copy = createTyped(identifier<T>());
    std::size_t turn = 0;
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      omp_set_num_threads(static_cast<int>(turn % 5) + 1);
      const TestVolume<T> input(extents, layout);
      input.fill(values);
      const auto fresh = request(input);
      copy->apply(fresh);
      const VolumePtr<T> made(fresh->outputVolume.value());
      ASSERT_TRUE(made != nullptr);
      EXPECT_TRUE(made->getAllocatedDimension() == Tavi::Dimension<SizeType>(7, 3, 5));
      EXPECT_TRUE(made->getOrientation() == Tavi::Orientation());
      expectSameVoxels(voxelsOf(made), values);

      const TestVolume<T> output(extents, allLayouts()[turn++ * 7 % allLayouts().size()]);
      const auto given = request(input, output);
      copy->apply(given);
      EXPECT_TRUE(given->outputVolume.value() == output.volume());
      expectSameVoxels(output.voxels(), values);
      output.expectUntouchedOutside();
      expectSameVoxels(input.voxels(), values);
    }
  });
}

TEST(Copy, ViewsAreReadAndWritten) {
  forEachVoxelType([]<class T>() {
    const std::vector<T> values = mixedValues<T>(7 * 3 * 5);
    for (const Layout& layout : someLayouts()) {
      SCOPED_TRACE(layout.name());
      const TestVolume<T> input(extents, layout), output(extents, layout);
      input.fill(values);
      const auto into = request(viewOn(input), viewOn(output));
      createTyped(identifier<T>(externalName, externalName))->apply(into);
      expectSameVoxels(output.voxels(), values);
      output.expectUntouchedOutside();

      const auto out = request(viewOn(input));
      createTyped(identifier<T>(externalName, "NORV::Tavi::Allocator::SingleBlockAllocator"))->apply(out);
      expectSameVoxels(voxelsOf(VolumePtr<T>(out->outputVolume.value())), values);
    }
  });
}

TEST(Copy, ARegionBecomesAVolumeOfItsOwn) {
  const TestVolume<uint16> input({2, 3, 4}, regionLayout);
  input.fill(mixedValues<uint16>(24));
  const auto parameter = request(input);
  createTyped(identifier<uint16>())->apply(parameter);
  const VolumePtr<uint16> output(parameter->outputVolume.value());
  EXPECT_TRUE(output->getAllocatedDimension() == Tavi::Dimension<SizeType>(2, 3, 4));
  expectSameVoxels(std::vector<uint16>(output->getData(), output->getData() + 24), input.voxels());
}

TEST(Copy, AVolumeOntoItselfStays) {
  for (const Layout& layout : someLayouts()) {
    const TestVolume<float32> volume(extents, layout);
    volume.fill(mixedValues<float32>(105));
    const std::vector<float32> before = volume.voxels();
    createTyped(identifier<float32>())->apply(request(volume, volume));
    expectSameVoxels(volume.voxels(), before);
    volume.expectUntouchedOutside();
  }
}

/// With one thread the walk goes in memory order, so that a view may be moved towards the front of its own buffer.
TEST(Copy, OverlappingViewsOfOneBufferAreMovedVoxelByVoxel) {
  const RuntimeSettings settings;
  omp_set_num_threads(1);
  const TestVolume<uint16> buffer({100, 1, 1});
  std::vector<uint16> values(100);
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<uint16>(i);
  }
  buffer.fill(values);
  const SmartPointer<IVolume> from = viewOn(buffer), to = viewOn(buffer);
  from->setRoi(Tavi::RegionOfInterest(Tavi::Dimension<SizeType>(90, 1, 1), Tavi::Position<SizeType>(10, 0, 0)));
  to->setRoi(Tavi::RegionOfInterest(Tavi::Dimension<SizeType>(90, 1, 1), Tavi::Position<SizeType>(7, 0, 0)));
  createTyped(identifier<uint16>(externalName, externalName))->apply(request(from, to));
  for (std::size_t i = 0; i < 90; ++i) {
    values[7 + i] = static_cast<uint16>(10 + i);
  }
  expectSameVoxels(buffer.voxels(), values);
}

TEST(Copy, LargeVolumesGoPastTheCacheAtEveryRowAlignment) {
  for (const SizeType margin : {0u, 3u}) {
    const SizeType prim = 5003, sec = 31, tert = Tavi::Streaming::threshold / (prim * sec) + 2;
    const VolumePtr<uint8> input(new Volume<uint8>(Tavi::Dimension<SizeType>(prim + margin, sec, tert)));
    const SizeType count = (prim + margin) * sec * tert;
    for (SizeType i = 0; i < count; ++i) {
      input->getData()[i] = static_cast<uint8>(i * 40503u >> 5);
    }
    input->setRoi(
        Tavi::RegionOfInterest(Tavi::Dimension<SizeType>(prim, sec, tert), Tavi::Position<SizeType>(margin, 0, 0)));
    const auto parameter = request(input);
    createTyped(identifier<uint8>())->apply(parameter);
    const VolumePtr<uint8> output(parameter->outputVolume.value());
    SizeType wrong = 0;
    for (SizeType row = 0; row < sec * tert; ++row) {
      wrong += std::memcmp(output->getData() + row * prim, input->getData() + row * (prim + margin) + margin, prim) != 0
                   ? 1u
                   : 0u;
    }
    EXPECT_EQ(wrong, 0u);
  }
}

TEST(Copy, TheThreadSettingIsGivenBackAndBoundsNothingButTheSlabs) {
  const RuntimeSettings settings;
  for (const int threads : {1, 2, 7, 100}) {
    omp_set_num_threads(threads);
    const TestVolume<int8> input(extents);
    input.fill(mixedValues<int8>(105));
    const auto parameter = request(input);
    createTyped(identifier<int8>())->apply(parameter);
    expectSameVoxels(voxelsOf(VolumePtr<int8>(parameter->outputVolume.value())), input.voxels());
    EXPECT_EQ(omp_get_max_threads(), threads);
  }
}

TEST(Copy, AnEmptyVolumeGivesAnEmptyVolume) {
  const auto parameter = request(VolumePtr<int32>(new Volume<int32>()));
  const SmartPointer<IOperator> copy = createTyped(identifier<int32>());
  copy->apply(parameter);
  ASSERT_TRUE(parameter->outputVolume.value() != nullptr);
  EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
  EXPECT_EQ(copy->getProgress().getProgress(), 1.0);
}

TEST(CopyOutput, AnotherSizeIsResizedAndReused) {
  const TestVolume<uint8> input(extents);
  input.fill(mixedValues<uint8>(105));
  for (const Layout& layout : allLayouts()) {
    const TestVolume<uint8> output({2, 9, 4}, layout);
    const auto parameter = request(input, output);
    createTyped(identifier<uint8>())->apply(parameter);
    EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
    expectSameVoxels(voxelsOf(output.volume()), input.voxels());
  }
}

TEST(CopyFailure, AWrongParameterObject) {
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  expectRefusal([&] { createTyped(identifier<uint8>())->apply(other); }, "NORV::Tavi::Copy::Operator::apply");
  expectRefusal([&] { createTyped(identifier<uint8>())->apply(nullptr); }, "NORV::Tavi::Copy::Operator::apply");
}

TEST(CopyFailure, NoInputVolume) {
  expectRefusal([&] { createTyped(identifier<uint8>())->apply(request(nullptr)); },
                "NORV::Tavi::Copy::Operator::apply input volume is NULL");
}

TEST(CopyFailure, AnInputVolumeOfAnotherClass) {
  expectRefusal([&] { createTyped(identifier<uint8>())->apply(request(TestVolume<int8>(extents))); },
                "Unsupported voxel type!");
  expectRefusal([&] { createTyped(identifier<uint8>())->apply(request(viewOn(TestVolume<uint8>(extents)))); },
                "Unsupported voxel type!");
}

TEST(CopyFailure, AnOutputVolumeOfAnotherClass) {
  const std::string text = "NORV::Tavi::Operator::checkOutputVolume volume is of the wrong type";
  expectRefusal(
      [&] { createTyped(identifier<uint8>())->apply(request(TestVolume<uint8>(extents), TestVolume<int8>(extents))); },
      text);
  // A view on other memory cannot be made.
  const auto parameter = request(viewOn(TestVolume<uint8>(extents)));
  expectRefusal([&] { createTyped(identifier<uint8>(externalName, externalName))->apply(parameter); }, text);
}

TEST(CopyFailure, AViewOfAnotherSizeCannotBeResized) {
  const TestVolume<uint8> owner({2, 2, 2});
  const auto parameter = request(viewOn(TestVolume<uint8>(extents)), viewOn(owner));
  expectFailure<Exceptions::NotSupported>(
      [&] { createTyped(identifier<uint8>(externalName, externalName))->apply(parameter); },
      "Function is not supported!", "NORV::Tavi::Allocator::ExternalBufferAllocator::reallocate");
  expectSameVoxels(owner.voxels(), std::vector<uint8>(8, 77));
}

TEST(CopyFailure, AnyAllocationThatFailsSurfacesAndLosesNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const RuntimeSettings settings;
  omp_set_num_threads(2);
  const TestVolume<uint8> input(extents);
  input.fill(mixedValues<uint8>(105));
  const auto parameter = request(input);
  const SmartPointer<IOperator> copy = createTyped(identifier<uint8>());
  copy->apply(parameter);
  parameter->outputVolume = SmartPointer<IVolume>();
  const int failures = failEachAllocation([&] { copy->apply(parameter); },
                                          [&] {
                                            EXPECT_TRUE(parameter->outputVolume.value() == nullptr);
                                            EXPECT_EQ(omp_get_max_threads(), 2);
                                          });
  EXPECT_GT(failures, 3);
  expectSameVoxels(voxelsOf(VolumePtr<uint8>(parameter->outputVolume.value())), input.voxels());
}

TEST(CopyAbort, ReturnsNormallyWithoutAnOutputAndReportsAll) {
  const RuntimeSettings settings;
  omp_set_num_threads(2);
  const VolumePtr<uint8> input(new Volume<uint8>(Tavi::Dimension<SizeType>(512, 512, 64)));
  std::fill_n(input->getData(), SizeType{512} * 512 * 64, uint8{3});
  const SmartPointer<IOperator> copy = createTyped(identifier<uint8>());
  bool seen = false;
  for (int attempt = 0; attempt < 50 && !seen; ++attempt) {
    const auto parameter = request(input);
    std::atomic<bool> ended{false};
    std::thread other([&] {
      while (!ended) {
        copy->abort();
      }
    });
    copy->apply(parameter);
    ended = true;
    other.join();
    EXPECT_EQ(copy->getProgress().getProgress(), 1.0);
    seen = parameter->outputVolume.value() == nullptr;
  }
  EXPECT_TRUE(seen);
  const auto parameter = request(input);
  copy->apply(parameter);
  EXPECT_TRUE(parameter->outputVolume.value() != nullptr);
}

}  // namespace
}  // namespace NORV::Tests
