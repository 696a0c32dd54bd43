#pragma once

#include "Geometry/CoordinateTransforms.hpp"
#include "support/FailingAllocation.hpp"

#include <Saturation.hpp>

#include <limits>
#include <string>
#include <vector>

/// The keys, instances and failures that all transforms between Cartesian coordinates and polar grids have in common.
namespace NORV::Tests {

template <class T>
T plainValue(const SmartPointer<IComposite>& parameter, const std::string& key) {
  const SmartPointer<Tavi::Persistence::Data<T>> data(parameter->getValue(key));
  EXPECT_TRUE(data != nullptr) << key;
  return data != nullptr ? data->getValue() : T();
}

template <class Op>
void expectKeys() {
  const std::string type = "NORV::TaviOperators::" + std::string(Op::name) + "::Parameter";
  const SmartPointer<IComposite> parameter = Tavi::Factory::getClassFactory().createInstance(type);
  EXPECT_EQ(parameter->getType(), type);
  const std::vector<std::string> keys{"inputVolume",
                                      "inputCenter",
                                      "inputMinimumDistance",
                                      "inputMaximumDistance",
                                      "inputLinearInterpolation",
                                      "inputOuterValue",
                                      "inputNumberOfThreads",
                                      "outputVolume"};
  ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter->getKey(i), keys[i]);
  }
  EXPECT_TRUE(parameter->getValue("inputVolume") == nullptr);
  EXPECT_TRUE(parameter->getValue("inputOuterValue") == nullptr);
  EXPECT_TRUE(parameter->getValue("outputVolume") == nullptr);
  EXPECT_EQ(plainValue<float32>(parameter, "inputMinimumDistance"), 0.0f);
  EXPECT_EQ(plainValue<float32>(parameter, "inputMaximumDistance"), 0.0f);
  EXPECT_TRUE(plainValue<bool>(parameter, "inputLinearInterpolation"));
  EXPECT_EQ(plainValue<int32>(parameter, "inputNumberOfThreads"), 0);
  const SmartPointer<Tavi::TripleComposite<float32>> center(parameter->getValue("inputCenter"));
  ASSERT_TRUE(center != nullptr);
  EXPECT_TRUE(center->value() == Tavi::Triple<float32>(0.0f, 0.0f, 0.0f));
  parameter->setValue("inputCenter", SmartPointer<IComposite>(
                                         new Tavi::TripleComposite<float32>(Tavi::Triple<float32>(1.5f, 2.5f, -3.0f))));
  EXPECT_TRUE(SmartPointer<typename Op::Parameter>(parameter)->inputCenter.value() ==
              Tavi::Triple<float32>(1.5f, 2.5f, -3.0f));
}

template <class Op>
void expectInstances(SizeType count) {
  const typename Op::Frame frame;
  SizeType found = 0;
  Op::forEachInstance([&found]<class In, class Out>() {
    const std::string identifier = typedIdentifier<In, Out>(Op::name);
    ASSERT_TRUE(isRegistered(identifier)) << identifier;
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
    ++found;
  });
  EXPECT_EQ(found, count);
  EXPECT_EQ(countRegistered("NORV::TaviOperators::" + std::string(Op::name) + "::Operator< "), count);
}

template <class Op>
std::string applyText(const std::string& words = {}) {
  return "NORV::TaviOperators::" + std::string(Op::name) + "::Operator::apply" + words;
}
template <class Op>
std::string frameText(const std::string& words) {
  return "NORV::TaviOperators::DLL::" + std::string(Op::name) +
         "::Operator::getOperatorTypeFromParameterObject: " + words;
}

/// A complete request, for tests of what is wrong with it.
template <class Op>
SmartPointer<typename Op::Parameter> completeTransform() {
  const TestVolume<uint8> input({4, 3, 2}), output({3, 3, 2});
  return transformRequest<Op>(input, {{1.0f, 1.0f, 1.0f}, 0.0f, 2.0f, true}, uint8{7}, output);
}

template <class Op>
void expectParameterFailures() {
  typename Op::Frame frame;
  const auto typed = createTyped(typedIdentifier<uint8, uint8>(Op::name));
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  expectRefusal([&] { frame.apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal([&] { frame.apply(other); }, frameText<Op>("invalid parameter object!"));
  expectRefusal([&] { typed->apply(other); }, applyText<Op>());
  expectRefusal([&] { typed->apply(nullptr); }, applyText<Op>());

  const char* const nullText = Op::isToPolar ? " input volume is NULL" : " input or output volume is NULL";
  const auto noInput = completeTransform<Op>();
  noInput->inputVolume = SmartPointer<IVolume>();
  expectRefusal([&] { frame.apply(noInput); }, frameText<Op>("inputVolume is NULL!"));
  expectRefusal([&] { typed->apply(noInput); }, applyText<Op>(nullText));
  noInput->inputVolume = TestVolume<int8>({4, 3, 2});
  expectRefusal([&] { typed->apply(noInput); }, applyText<Op>(nullText));
  if constexpr (!Op::isToPolar) {
    const auto noOutput = completeTransform<Op>();
    noOutput->outputVolume = SmartPointer<IVolume>();
    expectRefusal([&] { frame.apply(noOutput); }, applyText<Op>(nullText));
    expectRefusal([&] { typed->apply(noOutput); }, applyText<Op>(nullText));
    noOutput->outputVolume = TestVolume<int8>({4, 3, 2});
    expectRefusal([&] { typed->apply(noOutput); }, applyText<Op>(nullText));
  } else {
    const auto otherOutput = completeTransform<Op>();
    otherOutput->outputVolume = TestVolume<int8>({4, 3, 2});
    expectRefusal([&] { typed->apply(otherOutput); },
                  "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  }
}

/// What another allocator or a pair without an instance fails with.
template <class Op>
void expectMissingInstances() {
  using Multi = Tavi::Allocator::MultiBlockAllocator;
  const auto expectMissing = [](const SmartPointer<typename Op::Parameter>& parameter, const std::string& output) {
    const std::string identifier = "NORV::TaviOperators::" + std::string(Op::name) + "::Operator< " +
                                   volumeIdentifier<uint8>() + ", " + output + " >";
    expectStandard<std::invalid_argument>([&] { typename Op::Frame().apply(parameter); },
                                          "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for "
                                          "the identifier " +
                                              identifier + " is registered");
  };
  const auto parameter = completeTransform<Op>();
  parameter->outputVolume = SmartPointer<IVolume>(VolumePtr<uint8, Multi>(new Volume<uint8, Multi>()));
  expectMissing(parameter, volumeIdentifier<uint8>(Multi::identifier()));
  if constexpr (!Op::takesPairs) {
    parameter->outputVolume = TestVolume<uint16>({3, 3, 2});
    expectMissing(parameter, volumeIdentifier<uint16>());
  }
}

template <class Op>
void expectValueFailures() {
  const auto parameter = completeTransform<Op>();
  const VolumePtr<uint8> output(parameter->outputVolume.value());
  const std::string function = std::string(Op::name) + "::apply";
  parameter->inputMinimumDistance = 2.0000002f;
  expectFailure<Exceptions::InvalidArg>([&] { typename Op::Frame().apply(parameter); },
                                        "Maximum distance cannot be smaller than minimum distance!", function);
  parameter->inputMinimumDistance = std::numeric_limits<float32>::infinity();
  expectFailure<Exceptions::InvalidArg>([&] { typename Op::Frame().apply(parameter); },
                                        "Maximum distance cannot be smaller than minimum distance!", function);
  parameter->inputOuterValue = SmartPointer<IComposite>();
  expectMissingValue([&] { typename Op::Frame().apply(parameter); });
  parameter->inputOuterValue.setValue(uint16{7});
  expectWrongValueType<uint8>([&] { typename Op::Frame().apply(parameter); });
  EXPECT_EQ(voxelsOf(output), std::vector<uint8>(18, 77));
}

/// A failing allocation surfaces before a voxel is written.
template <class Op>
void expectAllocationFailures() {
  const RuntimeSettings settings;
  const auto parameter = completeTransform<Op>();
  const VolumePtr<uint8> output(parameter->outputVolume.value());
  parameter->inputNumberOfThreads = 1;
  typename Op::Frame frame;
  const int failures = failEachAllocation([&] { frame.apply(parameter); },
                                          [&] { EXPECT_EQ(voxelsOf(output), std::vector<uint8>(18, 77)); });
  EXPECT_GT(failures, 3);
  EXPECT_NE(voxelsOf(output), std::vector<uint8>(18, 77));
}

}  // namespace NORV::Tests
