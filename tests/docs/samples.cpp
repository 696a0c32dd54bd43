// Runs the C++ samples of the operator pages in the folder where the same commands have run.
//
//   samples compare           compares the voxels of each result with those of the command
//   samples measure <scale> [operator]...
//                             prints a line per operator: name, voxels, best seconds, extra MiB; on volumes that are so
//                             many times as long along each axis
//   samples growth <scale>    prints a line per operator and structuring element: name, side, best nanoseconds per
//   voxel
#include "Sample.hpp"

#include <DLL/Erosion.hpp>
#include <DLL/HistogramUpdateMedian.hpp>
#include <DLL/RekReader.hpp>
#include <DLL/VtiReader.hpp>
#include <Erosion.hpp>
#include <HistogramUpdateMedian.hpp>
#include <RekReader.hpp>
#include <Tavi/Exceptions.hpp>
#include <VtiReader.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace {

using namespace NORV;
using namespace NORV::Documentation;
using namespace NORV::TaviOperators;

template <class Frame, class Parameter>
SmartPointer<IVolume> loadBy(const std::string& file) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputFilename = file;
  Frame().apply(parameter);
  return parameter->outputVolume;
}

SmartPointer<IVolume> load(const std::string& file) {
  return file.ends_with(".vti") ? loadBy<DLL::VtiReader::Operator, VtiReader::Parameter>(file)
                                : loadBy<DLL::RekReader::Operator, RekReader::Parameter>(file);
}

/// Calls `body` with the volume under its own type; every volume here is one dense block.
template <class Body>
void visit(const SmartPointer<IVolume>& volume, const Body& body) {
  const auto tryOne = [&]<class T>(T) {
    const VolumePtr<T> typed(volume);
    if (typed != nullptr) {
      body(typed);
    }
    return typed != nullptr;
  };
  const auto tryEach = [&](auto... types) { return (tryOne(types) || ...); };
  if (!tryEach(int8(), uint8(), int16(), uint16(), int32(), uint32(), float32(), float64())) {
    throw std::runtime_error("a volume of an unknown class");
  }
}

std::string bytesOf(const SmartPointer<IVolume>& volume) {
  std::string bytes;
  visit(volume, [&](const auto& typed) {
    bytes.resize(typed->getSize() * sizeof(*typed->getData()));
    std::memcpy(bytes.data(), typed->getData(), bytes.size());
  });
  return bytes;
}

std::string bytesOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// The sizes of the objects in ascending order: what shuffling labels leaves as it is.
std::vector<SizeType> objectSizes(const SmartPointer<IVolume>& labels) {
  std::map<double, SizeType> counts;
  visit(labels, [&](const auto& typed) {
    for (SizeType i = 0; i < typed->getSize(); ++i) {
      ++counts[static_cast<double>(typed->getData()[i])];
    }
  });
  std::vector<SizeType> sizes;
  for (const auto& [label, size] : counts) {
    sizes.push_back(size);
  }
  std::sort(sizes.begin(), sizes.end());
  return sizes;
}

bool agrees(const Sample& sample, const SmartPointer<IVolume>& result) {
  if (!sample.written.empty() && bytesOf(sample.written) != bytesOf("tool/" + sample.written)) {
    return false;
  }
  if (sample.output.empty()) {
    return true;
  }
  const auto expected = load("tool/" + sample.output);
  if (result == nullptr || result->getVoxelType() != expected->getVoxelType() ||
      !(result->getDimension() == expected->getDimension())) {
    return false;
  }
  return sample.random ? objectSizes(result) == objectSizes(expected) : bytesOf(result) == bytesOf(expected);
}

int compare() {
  int failures = 0;
  for (const Sample& sample : samples()) {
    Volumes inputs;
    for (const std::string& file : sample.inputs) {
      inputs.push_back(load(file));
    }
    if (!agrees(sample, sample.run(inputs))) {
      std::fprintf(stderr, "%s: the C++ and the command differ\n", sample.operatorName.c_str());
      ++failures;
    }
  }
  std::printf("%zu samples, %d differ\n", samples().size(), failures);
  return failures == 0 && !samples().empty() ? 0 : 1;
}

/// Each voxel repeated `scale` times along the axes that are longer than 1. Masks and matrices stay.
SmartPointer<IVolume> enlarge(const SmartPointer<IVolume>& volume, SizeType scale) {
  const auto extents = volume->getDimension();
  if (std::max({extents.prim, extents.sec, extents.tert}) <= 5) {
    return volume;
  }
  const auto factor = [scale](SizeType extent) { return extent > 1 ? scale : SizeType{1}; };
  const SizeType fx = factor(extents.prim), fy = factor(extents.sec), fz = factor(extents.tert);
  SmartPointer<IVolume> result;
  visit(volume, [&]<class T>(const VolumePtr<T>& from) {
    const VolumePtr<T> to(new Volume<T>(Dimension<SizeType>(extents.prim * fx, extents.sec * fy, extents.tert * fz)));
    T* out = to->getData();
    for (SizeType z = 0; z < extents.tert * fz; ++z) {
      for (SizeType y = 0; y < extents.sec * fy; ++y) {
        const T* row = from->getData() + (z / fz * extents.sec + y / fy) * extents.prim;
        for (SizeType x = 0; x < extents.prim * fx; ++x) {
          *out++ = row[x / fx];
        }
      }
    }
    result = to;
  });
  return result;
}

double resident(const std::string& field) {
  std::ifstream status("/proc/self/status");
  std::string word;
  double kibibytes = 0;
  while (status >> word) {
    if (word == field) {
      status >> kibibytes;
    }
  }
  return kibibytes / 1024;
}

double mebibytes(const SmartPointer<IVolume>& volume) {
  double bytes = 0;
  visit(volume, [&](const auto& typed) { bytes = static_cast<double>(typed->getSize() * sizeof(*typed->getData())); });
  return bytes / (1 << 20);
}

/// Seconds of the clock on the wall, but of the processor where there is one thread: these do not count what other
/// programs take.
double seconds() {
  const char* threads = std::getenv("OMP_NUM_THREADS");
  if (threads != nullptr && std::strcmp(threads, "1") == 0) {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void measure(const Sample& sample, SizeType scale) {
  Volumes inputs;
  SizeType voxels = 0;
  for (const std::string& file : sample.inputs) {
    inputs.push_back(enlarge(load(file), scale));
    voxels = std::max(voxels, inputs.back()->getSize());
  }
  double best = 1e9, extra = 0;
  for (int round = 0; round < 5; ++round) {
    const double before = resident("VmRSS:");
    std::ofstream("/proc/self/clear_refs") << 5;
    const double start = seconds();
    const auto result = sample.run(inputs);
    best = std::min(best, seconds() - start);
    if (result != nullptr) {
      voxels = std::max(voxels, result->getSize());
    }
    if (round == 0) {
      const bool given = std::any_of(inputs.begin(), inputs.end(), [&](const auto& input) { return input == result; });
      extra = resident("VmHWM:") - before - (result == nullptr || given ? 0.0 : mebibytes(result));
    }
  }
  std::fprintf(stderr, "%s %llu %.9f %.1f\n", sample.operatorName.c_str(), static_cast<unsigned long long>(voxels),
               best, std::max(0.0, extra));
}

/// All voxels of a cube, or those within half its side of its centre.
VolumePtr<uint8> makeElement(int side, bool isBall) {
  const auto extent = static_cast<SizeType>(side);
  const VolumePtr<uint8> mask(new Volume<uint8>(Dimension<SizeType>(extent, extent, extent)));
  uint8* voxel = mask->getData();
  const int radius = side / 2;
  for (int z = -radius; z <= radius; ++z) {
    for (int y = -radius; y <= radius; ++y) {
      for (int x = -radius; x <= radius; ++x) {
        *voxel++ = !isBall || x * x + y * y + z * z <= radius * radius ? 1 : 0;
      }
    }
  }
  return mask;
}

template <class Frame, class Parameter>
void measureGrowth(const char* name, const SmartPointer<IVolume>& scan, int largest) {
  for (int side = 3; side <= largest; side += 2) {
    for (const bool isBall : {false, true}) {
      const SmartPointer<Parameter> parameter(new Parameter);
      const auto anchor = static_cast<SizeType>(side / 2);
      parameter->inputVolume = scan;
      parameter->inputMask = makeElement(side, isBall);
      parameter->inputAnchor = {anchor, anchor, anchor};
      double best = 1e9;
      for (int round = 0; round < 3; ++round) {
        const double start = seconds();
        Frame().apply(parameter);
        best = std::min(best, seconds() - start);
      }
      std::fprintf(stderr, "%s,_%s,_%s %d %.4f\n", name, isBall ? "ball" : "box", scan->getVoxelType().c_str() + 6,
                   side, best / static_cast<double>(scan->getSize()) * 1e9);
    }
  }
}

int measureGrowth(SizeType scale) {
  for (const char* file : {"scan8.rek", "scan.rek"}) {
    const auto scan = enlarge(load(file), scale);
    measureGrowth<DLL::Erosion::Operator, Erosion::Parameter>("Erosion", scan, 15);
    measureGrowth<DLL::HistogramUpdateMedian::Operator, HistogramUpdateMedian::Parameter>("HistogramUpdateMedian", scan,
                                                                                          9);
  }
  return 0;
}

}  // namespace

int main(int count, char** arguments) try {
  const std::string mode = count > 1 ? arguments[1] : "";
  if (mode == "measure" && count >= 3) {
    const std::vector<std::string> wanted(arguments + 3, arguments + count);
    for (const Sample& sample : samples()) {
      if (wanted.empty() || std::find(wanted.begin(), wanted.end(), sample.operatorName) != wanted.end()) {
        measure(sample, std::stoull(arguments[2]));
      }
    }
    return 0;
  }
  if (mode == "growth" && count == 3) {
    return measureGrowth(std::stoull(arguments[2]));
  }
  return mode == "compare" ? compare()
                           : (std::fprintf(stderr, "usage: samples compare | measure <scale> | growth <scale>\n"), 2);
} catch (const NORV::Exceptions::Exception& e) {
  return std::fprintf(stderr, "%s\n", e.getErrorMessage()), 1;
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}
