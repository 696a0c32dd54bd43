#pragma once

#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <OperatorTable.hpp>
#include <Tavi/Data.hpp>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// One operator on the same voxels in all views: the result must be that of the run on dense volumes.
namespace NORV::Tests {

inline std::unique_ptr<IOperator> makeFrame(const std::string& name) {
  const auto table = TaviOperators::operatorTable();
  const auto found = std::find_if(table.begin(), table.end(), [&](const auto& entry) { return name == entry.name; });
  return found == table.end() ? nullptr : found->create();
}

template <class T>
SmartPointer<IComposite> valueOf(T value) {
  return SmartPointer<IComposite>(new Tavi::Persistence::Data<T>(value));
}

/// Sets all keys but the first input and the output.
using SetKeys = std::function<void(IComposite&)>;

struct Keys {
  std::string input = "inputVolume", output = "outputVolume";
};

/// Runs an operator from one volume to another, whose view begins with `before`, and returns what is there afterwards.
template <class In, class Out>
std::vector<Out> resultOf(const std::string& name, const Keys& keys, const SetKeys& set, const TestVolume<In>& input,
                          const TestVolume<Out>& output, const std::vector<Out>& before, SizeType threads) {
  const auto parameter = SmartPointer<IComposite>(
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::" + name + "::Parameter"));
  output.fill(before);
  parameter->setValue(keys.input, SmartPointer<IComposite>(input.volume()));
  parameter->setValue(keys.output, SmartPointer<IComposite>(output.volume()));
  for (SizeType i = 0; i < parameter->getNumberOfKeys(); ++i) {
    if (parameter->getKey(i) == "inputNumberOfThreads") {
      parameter->setValue("inputNumberOfThreads", valueOf(threads));
    }
  }
  set(*parameter);
  makeFrame(name)->apply(parameter);
  output.expectUntouchedOutside();
  input.expectUntouchedOutside();
  return output.voxels();
}

/// The result for each of `layouts` on either side, on both, and for pairs that differ.
template <class In, class Out>
void expectAnyView(const std::string& name, const Keys& keys, const Extents& extents, const std::vector<In>& voxels,
                   const SetKeys& set, const std::vector<Layout>& layouts = allLayouts(), bool isParallel = true) {
  const RuntimeSettings settings;
  SCOPED_TRACE(name);
  const std::vector<Out> before = mixedValues<Out>(31, 5);
  const auto run = [&](const Layout& inputLayout, const Layout& outputLayout, SizeType threads) {
    const TestVolume<In> input(extents, inputLayout);
    input.fill(voxels);
    return resultOf(name, keys, set, input, TestVolume<Out>(extents, outputLayout), before, threads);
  };
  const std::vector<Out> expected = run(denseLayout, denseLayout, 1);
  SizeType turn = 0;
  const auto expectSame = [&](const Layout& inputLayout, const Layout& outputLayout) {
    SCOPED_TRACE(inputLayout.name() + " to " + outputLayout.name());
    expectSameVoxels(run(inputLayout, outputLayout, isParallel ? 1 + turn++ % 3 : 1), expected);
  };
  for (std::size_t i = 0; i < layouts.size() && !testing::Test::HasFailure(); ++i) {
    expectSame(layouts[i], layouts[i]);
    expectSame(layouts[i], denseLayout);
    expectSame(denseLayout, layouts[i]);
    expectSame(layouts[i], layouts[(37 * i + 11) % layouts.size()]);
  }
}

/// Each order of the axes in two combinations of senses, of the whole volume and of a region.
inline std::vector<Layout> axisOrders() {
  std::vector<Layout> few;
  const auto& all = allLayouts();
  for (std::size_t order = 0; order < 6; ++order) {
    few.push_back(all[16 * order]);
    few.push_back(all[16 * order + 11]);
  }
  return few;
}

}  // namespace NORV::Tests
