#pragma once

#include "Measurement/StatedFeatures.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/StandardFeaturesCalculation.hpp>
#include <StandardFeaturesCalculation.hpp>

#include <algorithm>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

/// Measuring as hosts do, and volumes to measure.
namespace NORV::Tests::FeatureRuns {

namespace Typed = TaviOperators::StandardFeaturesCalculation;
using Frame = TaviOperators::DLL::StandardFeaturesCalculation::Operator;
using Tavi::Volume;
using Tavi::VolumePtr;
using Tavi::Persistence::Data;

template <class L, class T>
using Records = Typed::FeaturesVector<L, T>;

inline const std::string smallestVector =
    "NORV::Tavi::Container::Vector< NORV::TaviOperators::StandardFeaturesCalculation::Features< NORV::uint8, "
    "NORV::uint8, NORV::float64 > >";
inline const std::string smallestOperator =
    "NORV::TaviOperators::StandardFeaturesCalculation::Operator< "
    "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
    "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
    "NORV::Tavi::Container::Vector< NORV::TaviOperators::StandardFeaturesCalculation::Features< NORV::uint8, "
    "NORV::uint8, NORV::float64 > > >";

template <class L>
SmartPointer<Typed::Parameter> request(const SmartPointer<IVolume>& labels, const SmartPointer<IVolume>& values, L from,
                                       L to, int32 threads = 1) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputLabelVolume = labels;
  parameter->inputValueVolume = values;
  parameter->inputMinimumLabel = SmartPointer<IComposite>(new Data<L>(from));
  parameter->inputMaximumLabel = SmartPointer<IComposite>(new Data<L>(to));
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

template <class L, class T>
SmartPointer<Records<L, T>> run(const SmartPointer<IVolume>& labels, const SmartPointer<IVolume>& values, L from, L to,
                                int32 threads = 1) {
  const auto parameter = request<L>(labels, values, from, to, threads);
  Frame().apply(parameter);
  const SmartPointer<Records<L, T>> records(parameter->outputFeaturesVector.value());
  EXPECT_TRUE(records != nullptr);
  return records != nullptr ? records : SmartPointer<Records<L, T>>(new Records<L, T>);
}

template <class L, class T>
void expectFeatures(const SmartPointer<Records<L, T>>& actual, const std::vector<StatedFeatures<L, T>>& expected) {
  ASSERT_EQ(actual->size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    expectSameFeatures(*(*actual)[i], expected[i]);
  }
}

/// Runs of labels of very different lengths, background between them.
template <class L>
std::vector<L> someLabels(std::size_t count, unsigned seed, unsigned labels) {
  std::mt19937 random(seed);
  std::vector<L> all;
  while (all.size() < count) {
    const auto label = static_cast<L>(random() % 3 == 0 ? 0 : random() % labels);
    const std::size_t length = random() % 4 == 0 ? 1 + random() % 200 : 1 + random() % 6;
    all.insert(all.end(), std::min(length, count - all.size()), label);
  }
  return all;
}

/// Values whose sums are exact in every order.
template <class T>
std::vector<T> exactValues(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<T> all(count);
  for (T& value : all) {
    const auto number = static_cast<int>(random() % 127) - (seed % 3 == 0 && std::is_signed_v<T> ? 60 : 0);
    value = static_cast<T>(number);
    if constexpr (std::is_floating_point_v<T>) {
      value /= 8;
    }
  }
  return all;
}

}  // namespace NORV::Tests::FeatureRuns
