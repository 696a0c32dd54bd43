// Prints every voxel of some floating-point runs. The program is built for different processors with the options of the
// library; the outputs must be the same.

#include <DLL/Maximum.hpp>
#include <DLL/Minimum.hpp>
#include <DLL/Saturation.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Maximum.hpp>
#include <Minimum.hpp>
#include <Saturation.hpp>

#include <Rank/MinimumRows.hpp>

#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::TaviOperators;

constexpr SizeType count = 1009;  // a prime: every kind of row end occurs

/// Values without an exact product.
template <class T>
VolumePtr<T> makeVolume(int seed) {
  const VolumePtr<T> volume(new Volume<T>(Dimension<SizeType>(count, 1, 1)));
  for (SizeType i = 0; i < count; ++i) {
    volume->getData()[i] =
        static_cast<T>(std::ldexp(static_cast<double>((i + 1) * 7919 * static_cast<SizeType>(seed) % 104729), -9) / 3);
  }
  return volume;
}

template <class T>
void print(const char* name, const T* voxels) {
  for (SizeType i = 0; i < count; ++i) {
    std::printf("%s<%s>[%u] %a\n", name, Tavi::typeName<T>, static_cast<unsigned>(i), static_cast<double>(voxels[i]));
  }
}

/// A product and a sum, which a processor with a fused instruction could round once instead of twice.
template <class T>
void runAffineRule() {
  const VolumePtr<T> input = makeVolume<T>(1);
  std::vector<T> output(count);
  const T factor = T(1) / T(3), summand = T(-1000) / T(7);
  const auto rule = [factor, summand](T x) { return x * factor + summand; };
  Impl::transformRow(rule, output.data(), count, static_cast<const T*>(input->getData()));
  print("affine", output.data());
}

template <class T>
void print(const char* name, const SmartPointer<IVolume>& volume) {
  print(name, VolumePtr<T>(volume)->getData());
}

template <class T>
void runSaturation() {
  const SmartPointer<Saturation::Parameter> parameter(new Saturation::Parameter);
  parameter->inputVolume = SmartPointer<IVolume>(makeVolume<T>(1));
  parameter->inputLowerLimit.setValue(T(3) / T(7));
  parameter->inputUpperLimit.setValue(T(100) / T(7));
  DLL::Saturation::Operator().apply(SmartPointer<IComposite>(parameter));
  print<T>("Saturation", parameter->outputVolume.value());
}

template <class T, class Parameter, class Frame>
void runPairwise(const char* name) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputFirstVolume = SmartPointer<IVolume>(makeVolume<T>(1));
  parameter->inputSecondVolume = SmartPointer<IVolume>(makeVolume<T>(2));
  parameter->outputVolume = SmartPointer<IVolume>(makeVolume<T>(3));
  Frame().apply(SmartPointer<IComposite>(parameter));
  print<T>(name, parameter->outputVolume.value());
}

/// Minimums between NaNs, which vector instructions of different processors treat differently.
template <class T>
void runMinimum() {
  const VolumePtr<T> input = makeVolume<T>(1);
  for (SizeType i = 0; i < count; i += 5) {
    input->getData()[i] = std::numeric_limits<T>::quiet_NaN();
  }
  const std::vector<int64> offsets{0, 2, 1};
  std::vector<T> output(count);
  Impl::minimumDense(Impl::RowsAtOffsets<T>{input->getData(), offsets.data()}, offsets.size(), output.data(),
                     count - 2);
  print("minimum", output.data());
}

template <class T>
void runAll() {
  runAffineRule<T>();
  runSaturation<T>();
  runMinimum<T>();
  runPairwise<T, Maximum::Parameter, DLL::Maximum::Operator>("Maximum");
  runPairwise<T, Minimum::Parameter, DLL::Minimum::Operator>("Minimum");
}

}  // namespace

int main() {
  runAll<float32>();
  runAll<float64>();
}
