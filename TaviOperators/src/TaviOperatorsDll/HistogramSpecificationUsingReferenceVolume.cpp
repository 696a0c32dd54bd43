#include <DLL/HistogramSpecificationUsingReferenceVolume.hpp>
#include <HistogramSpecificationUsingReferenceVolume.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Tavi/ForEachParallel.hpp>
#include <Tavi/Histogram.hpp>
#include <Tavi/Operator.hpp>

#include <Vectors/TableRule.hpp>

#include <cmath>
#include <memory>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::HistogramSpecificationUsingReferenceVolume {
namespace {

constexpr Impl::Names names{"HistogramSpecificationUsingReferenceVolume"};

/// The share of voxels up to each value.
template <class T>
std::vector<double> cumulativeDistribution(const VolumePtr<T>& volume) {
  Tavi::Histogram::Histogram<T, uint64> histogram;
  histogram.add(volume);
  const uint64* const bins = histogram.getVolume()->getData();
  std::vector<double> shares(histogram.getSize());
  uint64 sum = 0;
  for (SizeType value = 0; value < shares.size(); ++value) {
    sum += bins[value];
    shares[value] = static_cast<double>(sum);
  }
  for (double& share : shares) {
    share /= static_cast<double>(sum);
  }
  return shares;
}

/// Where `share` is reached in an ascending table: the first of several equal entries, and a neighbour of the place
/// where no entry comes near enough.
SizeType findShare(const std::vector<double>& shares, double share) {
  constexpr double tolerance = 1e-8;
  const auto matches = [&](int64 index) { return std::abs(share - shares[static_cast<SizeType>(index)]) < tolerance; };
  int64 low = 0;
  int64 high = static_cast<int64>(shares.size()) - 1;
  int64 middle = high / 2;
  while (low <= high) {
    middle = (low + high) / 2;
    if (low + high < 2) {
      break;
    }
    if (matches(middle)) {
      if (!matches(middle - 1)) {
        break;
      }
      high = middle - 1;
    } else if (shares[static_cast<SizeType>(middle)] > share) {
      high = middle - 1;
    } else {
      low = middle + 1;
    }
  }
  return static_cast<SizeType>(middle);
}

/// Maps voxels by a table with an entry for each value.
template <class T>
class Functor final : public Tavi::Iterating::Functor {
public:
  explicit Functor(std::vector<T> map) : _map(std::move(map)), _rule(_map.data()) {}
  Functor(const Functor& other) : Tavi::Iterating::Functor(other), _map(other._map), _rule(_map.data()) {}
  Functor& operator=(const Functor&) = delete;
  void operator()(const T& input, T& output) const { output = _map[input]; }
  void row(const T* input, T* output, SizeType count) const { _rule.row(input, output, count); }

private:
  std::vector<T> _map;
  Impl::TableRule<T, T> _rule;
};

/// Its progress is that of the walk over the voxels, hence the operator form of the core.
template <class InputPtr>
class Operator final : public Tavi::Operator<Operator<InputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const InputPtr reference(parameter->inputVolumeReference.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));
    Impl::requireGiven(reference, names.inApply(" input volume is NULL"));

    // Counted before the output is made, which may be the reference and lose its voxels by a change of size.
    const std::vector<double> shares = cumulativeDistribution(input);
    const std::vector<double> wanted = cumulativeDistribution(reference);
    const Functor<T> functor(mapOf(shares, wanted));
    const auto output = Tavi::Impl::checkOutputVolume<InputPtr>(parameter->outputVolume.value(), input->getDimension(),
                                                                "NORV::TaviOperators::Operator");
    Impl::Unstoppable copying;
    const InputPtr source = Impl::keptVolume(copying, Impl::threadCount(0), input, output, Impl::Aliasing::identical);
    Tavi::Iterating::ForEachParallel::apply(&functor, source, output, &this->_progress, &this->_aborted);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  static std::vector<T> mapOf(const std::vector<double>& shares, const std::vector<double>& wanted) {
    constexpr SizeType piece = 256;
    std::vector<T> map(shares.size());
    Impl::Unstoppable loop;
    Impl::forEachSlice(loop, Impl::threadCount(0), shares.size() / piece, Impl::Steps::silent, [&](SizeType index) {
      for (SizeType value = index * piece; value < (index + 1) * piece; ++value) {
        map[value] = static_cast<T>(findShare(wanted, shares[value]));
      }
    });
    return map;
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::HistogramSpecificationUsingReferenceVolume

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::HistogramSpecificationUsingReferenceVolume;
using Typed::names;

using Instances = Impl::TypeList<uint8, uint16>;

}  // namespace

using Frame = HistogramSpecificationUsingReferenceVolume::Operator;

Frame::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
Frame::Operator(const Operator&) = default;
Frame::~Operator() = default;
Frame& Frame::operator=(const Operator&) = default;

SmartPointer<IOperator> Frame::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume  is NULL!", "IOperator"));
  return Impl::createOperator(names, input);
}

}  // namespace NORV::TaviOperators::DLL
