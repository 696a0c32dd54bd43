#pragma once

#include <Rank/HistogramUpdate.hpp>
#include <Rank/MinimumRows.hpp>

#include <utility>
#include <vector>

/// Writes to each voxel the minimum of the voxels under a structuring element.
///
/// Impl/HistogramUpdate.hpp tells which voxels are written, the memory needed and the threads.
namespace NORV::TaviOperators::HistogramUpdateErosion {

inline constexpr Impl::Names names{"HistogramUpdateErosion"};

struct Traits {
  static constexpr const Impl::Names& names = HistogramUpdateErosion::names;
  static SizeType rank(SizeType) { return 0; }
  static double stepsPerVoxel(SizeType) { return 1.0; }

  template <class T>
  class Rows {
  public:
    static constexpr SizeType lanes = 64 / sizeof(T);
    explicit Rows(std::vector<int64> offsets) : _offsets(std::move(offsets)) {}
    void operator()(const T* from, T* to, SizeType length) const {
      Impl::minimumDense(Impl::RowsAtOffsets<T>{from, _offsets.data()}, _offsets.size(), to, length);
    }

  private:
    std::vector<int64> _offsets;
  };
};

/// One run. The mask is a volume of `uint8`.
class Parameter final : public Impl::HistogramUpdateParameter<Parameter, Traits> {};

template <class InputPtr, class OutputPtr, class MaskPointer>
class Operator final : public Impl::HistogramUpdateOperator<Operator<InputPtr, OutputPtr, MaskPointer>, Parameter,
                                                            Traits, InputPtr, OutputPtr, MaskPointer> {};

}  // namespace NORV::TaviOperators::HistogramUpdateErosion
