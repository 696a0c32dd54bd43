#pragma once

#include "Distance/DistanceTests.hpp"
#include "Distance/TwoPasses.hpp"
#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"
#include "support/HostMemory.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/Saturation.hpp>
#include <Saturation.hpp>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace NORV::Tests {

/// Refusals, failing allocations and aborts of both distance transforms; `Case` is that of `DistanceTests`.
template <class Case>
class DistanceFailures {
  using Base = DistanceTests<Case>;
  using Parameter = typename Case::Parameter;
  using Frame = typename Case::Frame;

public:
  static void wrongParameterObject() {
    const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
    Frame frame;
    expectRefusal([&] { frame.apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
    expectRefusal([&] { frame.apply(other); }, Case::texts.wrongClassInFrame);
    expectRefusal([&] { Base::typed()->apply(other); }, Case::texts.wrongClassInApply);
    expectRefusal([&] { Base::typed()->apply(nullptr); }, Case::texts.wrongClassInApply);
  }

  static void noInput() {
    const TestVolume<uint16> output({2, 2, 2});
    expectRefusal([&] { Frame().apply(Base::request(nullptr, output, uint8{1})); }, Case::texts.volumeMissingInFrame);
    expectRefusal([&] { Base::typed()->apply(Base::request(nullptr, output, uint8{1})); },
                  Case::texts.volumeMissingInApply);
    expectRefusal(
        [&] {
          Base::typed()->apply(Base::request(TestVolume<uint16>({2, 2, 2}), output, uint8{1}));
        },
        Case::texts.volumeMissingInApply);
    // The names of the voxel types select the instance, not the classes of the volumes.
    using External = Tavi::Allocator::ExternalBufferAllocator<Tavi::Allocator::SingleBlockAllocator>;
    const Tavi::VolumePtr<uint8, External> external(
        new Tavi::Volume<uint8, External>(TestVolume<uint8>({1, 1, 1}).volume()));
    expectRefusal([&] { Frame().apply(Base::request(external, nullptr, uint8{1})); }, Case::texts.volumeMissingInApply);
  }

  static void outputOfAnotherClass() {
    const TestVolume<uint8> input({2, 2, 2});
    expectRefusal(
        [&] {
          Base::typed()->apply(Base::request(input, TestVolume<int16>({2, 2, 2}), uint8{1}));
        },
        "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  }

  /// The value is read before the volume is looked at.
  static void missingOrWrongValue() {
    const auto parameter = makeParameter<Parameter>();
    expectMissingValue([&] { Base::typed()->apply(parameter); });
    parameter->inputVolume = TestVolume<uint8>({2, 2, 2});
    expectMissingValue([&] { Frame().apply(parameter); });
    parameter->inputObjectValue.setValue(int16{1});
    expectWrongValueType<uint8>([&] { Frame().apply(parameter); });
    EXPECT_TRUE(parameter->outputVolume.value() == nullptr);
  }

  static void noInstanceForTheTypes() {
    const TestVolume<float32> input({2, 2, 2});
    expectStandard<std::invalid_argument>([&] { Frame().apply(Base::request(input, nullptr, 1.0f)); },
                                          Case::texts.noInstanceForFloat);
  }

  /// Which also counts: no memory but that of the output is asked for, however large the volume.
  static void allocationsThatFail() {
    SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
    int failures[2] = {};
    for (const int large : {0, 1}) {
      const Extents extents = large != 0 ? Extents{300, 20, 10} : Extents{3, 2, 2};
      const TestVolume<uint8> input(extents);
      input.fill({0, 0, 1});
      Frame frame;
      const auto parameter = Base::request(input, nullptr, uint8{1});
      failures[large] = failEachAllocation([&] { frame.apply(parameter); },
                                           [&] { EXPECT_TRUE(parameter->outputVolume.value() == nullptr); });
      expectSameVoxels(voxelsOf(Tavi::VolumePtr<uint8>(parameter->outputVolume.value())),
                       twoPasses<uint8, uint8>(input.voxels(), extents, 1, Case::allNeighbours));
      EXPECT_EQ(input.volume()->getOrientation(), Tavi::Orientation());
    }
    EXPECT_GT(failures[0], 3);
    EXPECT_EQ(failures[0], failures[1]);
  }

  /// Aborts after the checks and before the first slice: while the output is resized. Returns both orientations as the
  /// run leaves them.
  static std::pair<Tavi::Orientation, Tavi::Orientation> abortBeforeTheFirstSlice(const Extents& extents) {
    const TestVolume<uint8> input(extents);
    std::vector<uint16> memory(3, 7);
    const auto op = Base::typed();
    const auto output = hostVolume<uint16>(memory, [op] { op->abort(); });
    const auto parameter = Base::request(input, output, uint8{1});
    op->apply(parameter);
    EXPECT_EQ(op->getProgress().getProgress(), 0.0);
    EXPECT_EQ(output->getSize(), extents[0] * extents[1] * extents[2]);
    const std::pair left{input.volume()->getOrientation(), output->getOrientation()};
    // The next run is whole.
    input.volume()->setOrientation({});
    output->setOrientation({});
    op->apply(parameter);
    EXPECT_EQ(input.volume()->getOrientation(), Tavi::Orientation());
    EXPECT_EQ(voxelsOf(output), (twoPasses<uint8, uint16>(input.voxels(), extents, 1, Case::allNeighbours)));
    return left;
  }

  static void abortFromAnotherThread() {
    const Tavi::VolumePtr<uint8> input(new Tavi::Volume<uint8>(Tavi::Dimension<SizeType>(256, 256, 32)));
    std::fill_n(input->getData(), input->getSize(), uint8{1});
    Frame frame;
    bool seen = false;
    for (int attempt = 0; attempt < 50 && !seen; ++attempt) {
      const auto parameter = Base::request(input, nullptr, uint8{1});
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
      seen = parameter->outputVolume.value() == nullptr;
    }
    EXPECT_TRUE(seen);
    const auto parameter = Base::request(input, nullptr, uint8{1});
    frame.apply(parameter);
    const Tavi::VolumePtr<uint8> output(parameter->outputVolume.value());
    ASSERT_TRUE(output != nullptr);
    EXPECT_EQ(*std::max_element(output->getData(), output->getData() + output->getSize()), 0);
  }
};

}  // namespace NORV::Tests
