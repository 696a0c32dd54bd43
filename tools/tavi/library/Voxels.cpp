#include <Catalogue.hpp>
#include <Tavi/Data.hpp>
#include <Voxels.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

namespace NORV::TaviTool {

SmartPointer<IVolume> makeVolume(const std::string& voxelType, const Dimension<SizeType>& dimension) {
  SmartPointer<IVolume> volume;
  const auto tryOne = [&]<class T>(T) {
    if (shortName(Tavi::typeName<T>) == voxelType) {
      volume = Tavi::VolumePtr<T>(new Tavi::Volume<T>(dimension));
    }
  };
  const auto tryEach = [&]<class... T>(T... types) { (tryOne(types), ...); };
  tryEach(int8(), uint8(), int16(), uint16(), int32(), uint32(), float32(), float64());
  if (volume == nullptr) {
    throw UsageError("\"" + voxelType + "\" is no voxel type; there are " + join(allVoxelTypes()));
  }
  return volume;
}

SmartPointer<IComposite> greyValue(const SmartPointer<IVolume>& volume, double value) {
  SmartPointer<IComposite> data;
  withVoxels(volume, [&](const auto& view) {
    using T = std::remove_pointer_t<decltype(view.data)>;
    data = SmartPointer<IComposite>(new Tavi::Persistence::Data<T>(static_cast<T>(value)));
  });
  return data;
}

void clear(const SmartPointer<IVolume>& volume) {
  withVoxels(volume, [](const auto& view) {
    using T = std::remove_pointer_t<decltype(view.data)>;
    std::fill_n(view.data, view.size(), T(0));
  });
}

SizeType voxelBytes(const std::string& voxelType) {
  return voxelType.ends_with("8") ? 1 : voxelType.ends_with("16") ? 2 : voxelType.ends_with("32") ? 4 : 8;
}

SizeType voxelBytes(const IVolume& volume) { return voxelBytes(volume.getVoxelType()); }

double sizeInBytes(const IVolume& volume) {
  return static_cast<double>(volume.getRoiSize()) * static_cast<double>(voxelBytes(volume));
}

double meanOf(const SmartPointer<IVolume>& volume) {
  double mean = std::numeric_limits<double>::quiet_NaN();
  withVoxels(volume, [&](const auto& view) {
    double sum = 0.0;
    for (SizeType tert = 0; tert < view.dimTert; ++tert) {
      for (SizeType sec = 0; sec < view.dimSec; ++sec) {
        const auto* row = view.row(sec, tert);
        using T = std::remove_cvref_t<decltype(*row)>;
        // A row of integers is summed exactly and fast.
        std::conditional_t<std::is_floating_point_v<T>, double, int64> rowSum = 0;
        for (SizeType prim = 0; prim < view.dimPrim; ++prim) {
          rowSum += row[static_cast<int64>(prim) * view.stridePrim];
        }
        sum += static_cast<double>(rowSum);
      }
    }
    mean = view.size() != 0 ? sum / static_cast<double>(view.size()) : mean;
  });
  return mean;
}

std::pair<double, double> quantilesOf(const SmartPointer<IVolume>& volume, double low, double high) {
  constexpr SizeType wanted = 65536;
  std::vector<double> sample;
  withVoxels(volume, [&](const auto& view) {
    const SizeType size = view.size();
    // An odd step does not fall into the rhythm of rows whose length is a power of two.
    const SizeType step = std::max<SizeType>(1, size / wanted) | 1;
    sample.reserve(static_cast<std::size_t>(size / step + 1));
    for (SizeType i = 0; i < size; i += step) {
      const SizeType line = i / view.dimPrim;
      const auto value = static_cast<double>(view.at(i % view.dimPrim, line % view.dimSec, line / view.dimSec));
      if (!std::isnan(value)) {
        sample.push_back(value);
      }
    }
  });
  if (sample.empty()) {
    return {0.0, 0.0};
  }
  std::sort(sample.begin(), sample.end());
  const auto at = [&](double share) {
    return sample[static_cast<std::size_t>(share * static_cast<double>(sample.size() - 1))];
  };
  return {at(low), at(high)};
}

bool sameVoxels(const SmartPointer<IVolume>& a, const SmartPointer<IVolume>& b) {
  if (a->getVoxelType() != b->getVoxelType() || !(a->getDimension() == b->getDimension())) {
    return false;
  }
  bool same = true;
  withVoxels(a, [&](const auto& viewA) {
    using T = std::remove_pointer_t<decltype(viewA.data)>;
    const auto viewB = Tavi::viewOf(*Tavi::VolumePtr<T>(b));
    for (SizeType i = 0; same && i < viewA.dimSec * viewA.dimTert; ++i) {
      for (SizeType prim = 0; prim < viewA.dimPrim; ++prim) {
        same = same && std::memcmp(&viewA.at(prim, i % viewA.dimSec, i / viewA.dimSec),
                                   &viewB.at(prim, i % viewB.dimSec, i / viewB.dimSec), sizeof(T)) == 0;
      }
    }
  });
  return same;
}

}  // namespace NORV::TaviTool
