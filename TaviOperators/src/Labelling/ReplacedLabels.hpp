#pragma once

#include <Tavi/Types.hpp>

#include <Labelling/LabelTable.hpp>

#include <limits>
#include <type_traits>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

namespace NORV::TaviOperators::Impl {

/// So many places along a row; a dense row has a stride that is known when this is compiled.
inline constexpr int64 oneVoxel(SizeType place, std::integral_constant<int64, 1>) { return static_cast<int64>(place); }
inline constexpr int64 oneVoxel(SizeType place, int64 stride) { return static_cast<int64>(place) * stride; }

/// Replaces labels by what the table holds for them.
template <class L, class Stride>
void replaceLabels(const LabelTable<L>& table, L* row, Stride stride, SizeType count) {
  const L* const numbers = table.entries();
  SizeType done = 0;
#ifdef TAVI_USE_HIGHWAY
  if constexpr (sizeof(L) == 4 && std::is_same_v<Stride, std::integral_constant<int64, 1>>) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::ScalableTag<L> tag;
    const hn::RebindToSigned<decltype(tag)> places;
    const SizeType lanes = hn::Lanes(tag);
    if (table.count() <= static_cast<SizeType>(std::numeric_limits<int32>::max())) {
      for (; done + lanes <= count; done += lanes) {
        const auto labels = hn::LoadU(tag, row + done);
        if (const L first = row[done];
            numbers[first] == first && hn::AllTrue(tag, hn::Eq(labels, hn::Set(tag, first)))) {
          continue;
        }
        const auto replaced = hn::GatherIndex(tag, numbers, hn::BitCast(places, labels));
        if (!hn::AllTrue(tag, hn::Eq(labels, replaced))) {  // what is as it was need not go back to memory
          hn::StoreU(replaced, tag, row + done);
        }
      }
    }
  }
#endif
  for (; done < count; ++done) {
    L& label = row[oneVoxel(done, stride)];
    label = numbers[label];
  }
}

}  // namespace NORV::TaviOperators::Impl
