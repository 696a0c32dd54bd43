#include "support/Operators.hpp"

#include <Operator.hpp>

#include <Reconstruction/PaddedVolume.hpp>
#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace NORV::Tests {
namespace {

using Tavi::Dimension;
using Tavi::Position;
using TaviOperators::Impl::PaddedVolume;
using TaviOperators::Impl::Shell;
using TaviOperators::Impl::Strides;

/// Owns the nested operator as users of padded volumes do.
template <class T>
class Owner final : public TaviOperators::OperatorBase {
public:
  explicit Owner(PaddedVolume<T>& padded, T shell)
      : _padded(padded),
        _shell(shell),
        _border(PaddedVolume<T>::shellOperator()) {
    owns(_border);
  }
  void apply(SmartPointer<IComposite>) override {
    beginApply();
    executeOperator(_border, _padded.requestShell(_shell));
  }

private:
  PaddedVolume<T>& _padded;
  T _shell;
  TaviOperators::Impl::OperatorByName _border;
};

template <class T>
void expectShell(const std::array<SizeType, 3>& extents, Shell shell) {
  PaddedVolume<T> padded(Dimension<SizeType>(extents[0], extents[1], extents[2]), shell);
  const auto interior = padded.interior();
  std::fill_n(padded.data(), padded.size(), T(5));
  Owner<T> owner(padded, T(200));
  owner.apply(nullptr);
  EXPECT_EQ(owner.getProgress().getProgress(), 0.5) << "the nested operator weighs as much as the own steps";
  for (SizeType tert = 0; tert < extents[2]; ++tert) {
    for (SizeType sec = 0; sec < extents[1]; ++sec) {
      for (SizeType prim = 0; prim < extents[0]; ++prim) {
        T& voxel = interior.at(prim, sec, tert);
        EXPECT_EQ(voxel, 5);
        voxel = 200;
        const int64 offset = padded.offset(prim, sec, tert);
        EXPECT_EQ(padded.data() + offset, &voxel);
        EXPECT_TRUE(padded.position(offset) == Position<SizeType>(prim, sec, tert));
      }
    }
  }
  EXPECT_EQ(std::vector<T>(padded.data(), padded.data() + padded.size()), std::vector<T>(padded.size(), T(200)));
  padded.showInterior();
  EXPECT_TRUE(padded.volume()->getDimension() == padded.extents());
}

TEST(PaddedVolume, TheShellSurroundsTheInterior) {
  for (const std::array<SizeType, 3>& extents :
       std::vector<std::array<SizeType, 3>>{{1, 1, 1}, {4, 3, 2}, {7, 1, 5}, {2, 9, 1}, {0, 0, 0}}) {
    for (const Shell shell : {Shell::around, Shell::inSlices}) {
      expectShell<uint8>(extents, shell);
      expectShell<uint16>(extents, shell);
      expectShell<uint32>(extents, shell);
    }
  }
}

TEST(PaddedVolume, AShellInSlicesAddsNoSlice) {
  const PaddedVolume<uint8> padded(Dimension<SizeType>(4, 3, 1), Shell::inSlices);
  EXPECT_EQ(padded.size(), 6u * 5u);
  EXPECT_EQ(padded.offset(0, 0, 0), 7);
}

TEST(NeighbourOffsets, StandInScanOrder) {
  const Strides strides{1, 10, 100};
  EXPECT_EQ(TaviOperators::Impl::faceNeighbours(strides), (std::array<int64, 6>{-100, -10, -1, 1, 10, 100}));
  EXPECT_EQ(TaviOperators::Impl::sliceNeighbours(strides), (std::array<int64, 8>{-11, -10, -9, -1, 1, 9, 10, 11}));
  EXPECT_EQ(TaviOperators::Impl::allNeighbours(strides),
            (std::array<int64, 26>{-111, -110, -109, -101, -100, -99, -91, -90, -89, -11, -10, -9,  -1,
                                   1,    9,    10,   11,   89,   90,  91,  99,  100, 101, 109, 110, 111}));
  EXPECT_EQ(TaviOperators::Impl::faceNeighbours({-1, 50, -7}), (std::array<int64, 6>{7, -50, 1, -1, 50, -7}));
}

}  // namespace
}  // namespace NORV::Tests
