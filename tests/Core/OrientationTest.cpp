#include "support/ExpectFailure.hpp"
#include "support/NaiveView.hpp"

#include <Tavi/Data.hpp>
#include <Tavi/Orientation.hpp>
#include <Tavi/Volume.hpp>

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using namespace NORV;
using namespace NORV::Tavi;
using NORV::Exceptions::BadCast;
using NORV::Exceptions::IndexOutOfRange;
using NORV::Exceptions::InvalidArg;
using NORV::Tavi::Persistence::Data;
using NORV::Tavi::Persistence::DataPtr;
using NORV::Tavi::Persistence::IComposite;
using Tests::Codes;
using Tests::Extents;
using Tests::NaiveView;

namespace {

constexpr Extents stored{5, 4, 3};

Orientation orientation(const Codes& codes) { return Orientation(codes[0], codes[1], codes[2]); }

std::string name(const Codes& codes) {
  return "(" + std::to_string(codes[0]) + ", " + std::to_string(codes[1]) + ", " + std::to_string(codes[2]) + ")";
}

/// A volume whose voxels hold their storage indices.
VolumePtr<uint16> numbered(const Extents& extents) {
  const VolumePtr<uint16> volume(new Volume<uint16>(Dimension<SizeType>(extents[0], extents[1], extents[2])));
  for (SizeType i = 0; i < volume->getSize(); ++i) {
    volume->getData()[i] = static_cast<uint16>(i);
  }
  return volume;
}

/// Compares every way to reach a voxel with the model.
void expectSees(const Volume<uint16>& volume, const NaiveView& model) {
  const Extents size = model.size(), origin = model.origin();
  ASSERT_EQ(volume.getDimension(), Dimension<SizeType>(size[0], size[1], size[2]));
  ASSERT_EQ(volume.getDimPrim(), size[0]);
  ASSERT_EQ(volume.getDimSec(), size[1]);
  ASSERT_EQ(volume.getDimTert(), size[2]);
  ASSERT_EQ(volume.getSize(), size[0] * size[1] * size[2]);
  ASSERT_EQ(volume.getRoiSize(), size[0] * size[1] * size[2]);
  ASSERT_EQ(volume.getRoiOrigin(), Position<SizeType>(origin[0], origin[1], origin[2]));
  ASSERT_EQ(volume.getRoi(), RegionOfInterest(volume.getDimension(), volume.getRoiOrigin()));

  const IterationData& data = volume.getIterationData();
  ASSERT_EQ(volume.getStepVoxel(), data.stepVoxel);
  ASSERT_EQ(volume.getStepLine(), data.stepLine);
  ASSERT_EQ(volume.getStepSlice(), data.stepSlice);
  int64 walked = data.startOffset;
  model.forEachPosition([&](const Extents& at) {
    const auto expected = static_cast<int64>(model.at(at));
    const Position<SizeType> position(at[0], at[1], at[2]);
    ASSERT_EQ(volume.getOffset(position), expected);
    ASSERT_EQ(volume.getPosOffset(position), expected);
    ASSERT_EQ(volume.getValueAt(position), expected);
    ASSERT_EQ(walked, expected) << "by steps";
    ASSERT_EQ(data.startOffset + static_cast<int64>(at[0]) * data.stridePrim +
                  static_cast<int64>(at[1]) * data.strideSec + static_cast<int64>(at[2]) * data.strideTert,
              expected)
        << "by strides";
    walked += data.stepVoxel;
    if (at[0] + 1 == size[0]) {
      walked += data.stepLine;
      if (at[1] + 1 == size[1]) {
        walked += data.stepSlice;
      }
    }
  });
}

}  // namespace

TEST(OrientationTest, DefaultFollowsStorage) {
  const Orientation orientation;
  EXPECT_EQ(orientation, Orientation(0, 2, 4));
  EXPECT_EQ(orientation.getPrim(), 0);
  EXPECT_EQ(orientation.getSec(), 2);
  EXPECT_EQ(orientation.getTert(), 4);
  EXPECT_EQ(orientation.getType(), "NORV::Tavi::Orientation");
}

TEST(OrientationTest, OrientationsAreLikeWhateverTheSenses) {
  EXPECT_TRUE(Orientation(0, 2, 4).isLike(Orientation(1, 3, 5)));
  EXPECT_TRUE(Orientation(5, 0, 3).isLike(Orientation(4, 1, 2)));
  EXPECT_FALSE(Orientation(0, 2, 4).isLike(Orientation(2, 0, 4)));
  EXPECT_FALSE(Orientation(0, 2, 4).isLike(Orientation(0, 4, 2)));
}

TEST(OrientationTest, NodeHasThreeCodes) {
  Orientation orientation(1, 4, 3);
  ASSERT_EQ(orientation.getNumberOfKeys(), 3u);
  const std::array<std::string, 3> keys{"prim", "sec", "tert"};
  const std::array<uint8, 3> codes{1, 4, 3};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(orientation.getKey(i), keys[i]);
    EXPECT_EQ(DataPtr<uint8>(orientation.getValue(keys[i]))->getValue(), codes[i]);
  }
  orientation.setValue("sec", SmartPointer<IComposite>(new Data<uint8>(uint8{5})));
  EXPECT_EQ(orientation, Orientation(1, 5, 3));
}

TEST(OrientationTest, AllFortyEightSeeTheRightVoxels) {
  const auto orientations = Tests::allOrientations();
  ASSERT_EQ(orientations.size(), 48u);
  const VolumePtr<uint16> volume = numbered(stored);
  for (const Codes& codes : orientations) {
    SCOPED_TRACE(name(codes));
    NaiveView model(stored);
    model.orient(codes);
    volume->setOrientation(orientation(codes));
    EXPECT_EQ(volume->getOrientation(), orientation(codes));
    expectSees(*volume, model);
    if (HasFatalFailure()) {
      return;
    }
  }
}

TEST(OrientationTest, ReversedPrimBeginsAtTheEndOfTheFirstLine) {
  const VolumePtr<uint16> volume = numbered(stored);
  volume->setOrientation(Orientation(1, 2, 4));
  EXPECT_EQ(volume->getOffset(Position<SizeType>(0, 0, 0)), 4);
  EXPECT_EQ(volume->getStepVoxel(), -1);
  EXPECT_EQ(volume->getStepLine(), 10);
  EXPECT_EQ(volume->getStepSlice(), 0);
  EXPECT_EQ(volume->getDefaultOrientation(), Orientation(0, 2, 4));
}

TEST(OrientationTest, EveryRegionUnderEveryOrientationSeesTheRightVoxels) {
  const Extents small{3, 2, 2};
  const VolumePtr<uint16> volume = numbered(small);
  for (const Codes& codes : Tests::allOrientations()) {
    SCOPED_TRACE(name(codes));
    volume->setOrientation(orientation(codes));
    NaiveView whole(small);
    whole.orient(codes);
    const Extents size = whole.size();
    NaiveView(size).forEachPosition([&](const Extents& origin) {
      NaiveView({size[0] - origin[0], size[1] - origin[1], size[2] - origin[2]}).forEachPosition([&](Extents extents) {
        for (SizeType& extent : extents) {
          ++extent;
        }
        NaiveView model = whole;
        model.crop(extents, origin);
        volume->setRoi(RegionOfInterest(Dimension<SizeType>(extents[0], extents[1], extents[2]),
                                        Position<SizeType>(origin[0], origin[1], origin[2])));
        expectSees(*volume, model);
        volume->popRoi();
      });
    });
    expectSees(*volume, whole);
    if (HasFatalFailure()) {
      return;
    }
  }
}

TEST(OrientationTest, StackedRegionsSetUnderChangingOrientationsSeeTheRightVoxels) {
  const auto orientations = Tests::allOrientations();
  std::mt19937 random(7);
  const auto draw = [&](SizeType below) { return random() % below; };
  for (const Codes& first : orientations) {
    for (int round = 0; round < 12; ++round) {
      const Extents large{4 + draw(4), 4 + draw(3), 4 + draw(3)};
      const VolumePtr<uint16> volume = numbered(large);
      NaiveView model(large);
      std::vector<NaiveView> below;
      for (int depth = 0; depth < 3; ++depth) {
        const Codes codes = depth == 0 ? first : orientations[draw(48)];
        model.orient(codes);
        volume->setOrientation(orientation(codes));
        const Extents size = model.size();
        Extents extents{}, origin{};
        for (unsigned i = 0; i < 3; ++i) {
          extents[i] = 1 + draw(size[i]);
          origin[i] = draw(size[i] - extents[i] + 1);
        }
        below.push_back(model);
        model.crop(extents, origin);
        volume->setRoi(RegionOfInterest(Dimension<SizeType>(extents[0], extents[1], extents[2]),
                                        Position<SizeType>(origin[0], origin[1], origin[2])));
        expectSees(*volume, model);
        ASSERT_FALSE(HasFatalFailure()) << name(codes) << " at depth " << depth;
      }
      const Codes last = orientations[draw(48)];
      volume->setOrientation(orientation(last));
      while (!below.empty()) {
        volume->popRoi();
        below.back().orient(last);
        expectSees(*volume, below.back());
        ASSERT_FALSE(HasFatalFailure()) << name(last) << " on the way back";
        below.pop_back();
      }
    }
  }
}

TEST(OrientationTest, RegionNeverReachesOutsideWhateverItsOrientation) {
  const VolumePtr<uint16> volume = numbered(stored);
  for (const Codes& codes : Tests::allOrientations()) {
    SCOPED_TRACE(name(codes));
    volume->setOrientation(orientation(codes));
    const Dimension<SizeType> view = volume->getDimension();
    const auto refuses = [&](SizeType p, SizeType s, SizeType t, SizeType op, SizeType os, SizeType ot) {
      Tests::expectFailure<Exceptions::OutOfRange>(
          [&] { volume->setRoi(RegionOfInterest(Dimension<SizeType>(p, s, t), Position<SizeType>(op, os, ot))); },
          "A value is out of the valid range!", "NORV::Tavi::Volume::setRoi");
      EXPECT_EQ(volume->getDimension(), view);
    };
    const SizeType huge = ~SizeType{0};
    refuses(view.prim + 1, view.sec, view.tert, 0, 0, 0);
    refuses(view.prim, view.sec + 1, view.tert, 0, 0, 0);
    refuses(view.prim, view.sec, view.tert + 1, 0, 0, 0);
    refuses(view.prim, view.sec, view.tert, 1, 0, 0);
    refuses(view.prim, view.sec, view.tert, 0, 1, 0);
    refuses(view.prim, view.sec, view.tert, 0, 0, 1);
    refuses(1, 1, 1, view.prim, 0, 0);
    refuses(2, 1, 1, huge, 0, 0);  // origin plus size wraps to 1
    refuses(1, 2, 1, 0, huge, 0);
    refuses(1, 1, 2, 0, 0, huge);
    refuses(huge, huge, huge, 2, 2, 2);
    refuses(huge, 1, 1, 0, 0, 0);
    volume->setRoi(RegionOfInterest(view));
    EXPECT_EQ(volume->getRoiStack().size(), 2u) << "the whole view fits";
    volume->popRoi();
  }
}

TEST(OrientationTest, CodesThatNameNoPermutationKeepTheDefaultOrder) {
  const VolumePtr<uint16> volume = numbered(stored);
  for (const Codes& codes : {Codes{0, 0, 4}, Codes{6, 2, 4}, Codes{255, 254, 253}, Codes{1, 1, 1}, Codes{4, 2, 5}}) {
    SCOPED_TRACE(name(codes));
    volume->setOrientation(orientation(codes));
    const Codes defaultOrder{static_cast<uint8>(0 + codes[0] % 2), static_cast<uint8>(2 + codes[1] % 2),
                             static_cast<uint8>(4 + codes[2] % 2)};
    NaiveView model(stored);
    model.orient(defaultOrder);
    EXPECT_EQ(volume->getOrientation(), orientation(codes)) << "the codes stay";
    expectSees(*volume, model);
    model.crop({2, 3, 1}, {1, 0, 2});
    volume->setRoi(RegionOfInterest(Dimension<SizeType>(2, 3, 1), Position<SizeType>(1, 0, 2)));
    expectSees(*volume, model);
    volume->popRoi();
  }
}

TEST(OrientationFailures, NodeRefusesNullOtherKeysAndClasses) {
  Orientation orientation(1, 2, 4);
  const SmartPointer<IComposite> code(new Data<uint8>(uint8{3}));
  Tests::expectStandard<std::invalid_argument>([&] { orientation.setValue("prim", 0); },
                                               "NORV::Tavi::Orientation::setValue data is NULL");
  Tests::expectStandard<std::invalid_argument>([&] { orientation.setValue("x", 0); },
                                               "NORV::Tavi::Orientation::setValue data is NULL");
  Tests::expectFailure<InvalidArg>([&] { orientation.setValue("x", code); }, "Invalid argument!",
                                   "NORV::Tavi::Orientation::setValue");
  Tests::expectFailure<InvalidArg>([&] { orientation.getValue("Prim"); }, "Invalid argument!",
                                   "NORV::Tavi::Orientation::getValue");
  Tests::expectFailure<IndexOutOfRange>([&] { orientation.getKey(3); },
                                        "The index 3 is out of the valid range (0 to 2)!",
                                        "NORV::Tavi::Orientation::getKey");
  EXPECT_THROW(orientation.setValue("prim", SmartPointer<IComposite>(new Data<float64>(1.0))), BadCast);
  Tests::expectStandard<std::overflow_error>(
      [&] { orientation.setValue("prim", SmartPointer<IComposite>(new Data<int32>(256))); },
      "Couldn't cast 256 (32 bit signed integer) to 8 bit unsigned integer without loss of data!");
  EXPECT_EQ(orientation, Orientation(1, 2, 4));
}
