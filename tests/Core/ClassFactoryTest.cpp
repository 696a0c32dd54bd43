#include "support/ExpectFailure.hpp"

#include <Tavi/Allocators.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/CompositeLeaf.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/List.hpp>
#include <Tavi/Map.hpp>
#include <Tavi/Orientation.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/Progress.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/Triple.hpp>
#include <Tavi/Vector.hpp>
#include <Tavi/Volume.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace NORV;
using namespace NORV::Tavi;
using NORV::Tavi::Factory::ClassFactory;
using NORV::Tavi::Factory::CompositeFactory;
using NORV::Tavi::Factory::FactoryRegistrator;
using NORV::Tavi::Factory::FunctionCreationMethod;
using NORV::Tavi::Factory::getClassFactory;
using NORV::Tavi::Persistence::CompositeLeaf;
using NORV::Tavi::Persistence::Data;
using NORV::Tavi::Persistence::IComposite;

namespace {

using Method = SmartPointer<CompositeFactory::CreationMethod>;

Method makes(FunctionCreationMethod::Function function) { return Method(new FunctionCreationMethod(function)); }

class Leaf final : public CompositeLeaf<Leaf> {
public:
  std::string getType() const override { return "Tests::Leaf"; }
};

template <class Class>
void expectMadeAs(const std::string& identifier) {
  const Class direct;
  EXPECT_EQ(direct.getType(), identifier);
  ASSERT_TRUE(getClassFactory().isRegistered(identifier)) << identifier;
  const SmartPointer<IComposite> made = getClassFactory().createInstance(identifier);
  EXPECT_TRUE(SmartPointer<Class>(made) != 0) << identifier;
  EXPECT_EQ(made->getType(), identifier);
  EXPECT_EQ(made.getNumberOfOwners(), 1u);
}

template <class T>
void expectVolumesMade(const std::string& voxel) {
  const std::string single = "NORV::Tavi::Allocator::SingleBlockAllocator";
  using Single = Allocator::SingleBlockAllocator;
  using External = Allocator::ExternalBufferAllocator<Single>;
  expectMadeAs<Volume<T>>("NORV::Tavi::Volume< " + voxel + " , " + single + " >");
  expectMadeAs<Volume<T, External>>("NORV::Tavi::Volume< " + voxel +
                                    " , NORV::Tavi::Allocator::ExternalBufferAllocator< " + single + " > >");
}

template <class T>
void expectTriplesMade(const std::string& component) {
  expectMadeAs<TripleComposite<T>>("NORV::Tavi::TripleComposite< " + component + " >");
  expectMadeAs<PositionComposite<T>>("NORV::Tavi::PositionComposite< " + component + " >");
  expectMadeAs<DimensionComposite<T>>("NORV::Tavi::DimensionComposite< " + component + " >");
}

}  // namespace

TEST(ClassFactoryTest, RegisteredMethodsMakeTheirClass) {
  CompositeFactory factory;
  factory.registerClass("a", makes([]() -> IComposite* { return new Data<int8>; }));
  factory.registerClass("b", makes([]() -> IComposite* { return new Data<float64>; }));
  EXPECT_EQ(factory.createInstance("a")->getType(), "NORV::Tavi::Persistence::Data< NORV::int8 >");
  EXPECT_EQ(factory.createInstance("b")->getType(), "NORV::Tavi::Persistence::Data< NORV::float64 >");
  EXPECT_TRUE(factory.createInstance("a") != factory.createInstance("a")) << "a new instance each time";
}

TEST(ClassFactoryTest, IdentifiersAscend) {
  CompositeFactory factory;
  for (const std::string identifier : {"b", "a", "a b", ""}) {
    factory.registerClass(identifier, makes([]() -> IComposite* { return new Leaf; }));
  }
  EXPECT_EQ(factory.getIdentifiers(), (std::vector<std::string>{"", "a", "a b", "b"}));
  EXPECT_TRUE(factory.isRegistered("a b"));
  EXPECT_FALSE(factory.isRegistered("a  b"));
}

TEST(ClassFactoryTest, ProcessHasOneFactory) { EXPECT_EQ(&getClassFactory(), &getClassFactory()); }

TEST(ClassFactoryTest, SecondRegistratorOfAClassKeepsTheFirstMethod) {
  const auto before = getClassFactory().getIdentifiers();
  const FactoryRegistrator<Leaf> again;
  EXPECT_EQ(getClassFactory().getIdentifiers(), before);
  EXPECT_TRUE(SmartPointer<Leaf>(getClassFactory().createInstance("Tests::Leaf")) != 0);
}

TEST(ClassFactoryTest, ClassesOfTheCoreAreRegisteredUnderWhatTheyReport) {
  expectMadeAs<Leaf>("Tests::Leaf");
  expectMadeAs<Orientation>("NORV::Tavi::Orientation");
  expectMadeAs<Progress>("NORV::Tavi::Progress");
  expectMadeAs<RoiComposite>("NORV::Tavi::RoiComposite");
  expectMadeAs<Allocator::SingleBlockAllocator>("NORV::Tavi::Allocator::SingleBlockAllocator");
  expectMadeAs<Allocator::MultiBlockAllocator>("NORV::Tavi::Allocator::MultiBlockAllocator");
  expectMadeAs<Allocator::ExternalBufferAllocator<Allocator::SingleBlockAllocator>>(
      "NORV::Tavi::Allocator::ExternalBufferAllocator< NORV::Tavi::Allocator::SingleBlockAllocator >");
  expectMadeAs<Allocator::ExternalBufferAllocator<Allocator::ExternalBufferAllocator<Allocator::SingleBlockAllocator>>>(
      "NORV::Tavi::Allocator::ExternalBufferAllocator< NORV::Tavi::Allocator::ExternalBufferAllocator< "
      "NORV::Tavi::Allocator::SingleBlockAllocator > >");
  expectMadeAs<Container::Vector<SmartPointer<IVolume>>>(
      "NORV::Tavi::Container::Vector< NORV::Tavi::SmartPointer< NORV::Tavi::IVolume > >");
  expectMadeAs<Container::List<SmartPointer<IVolume>>>(
      "NORV::Tavi::Container::List< NORV::Tavi::SmartPointer< NORV::Tavi::IVolume > >");
  expectMadeAs<Container::Map<std::string, std::string>>("NORV::Tavi::Container::Map< std::string , std::string >");
  expectTriplesMade<float32>("NORV::float32");
  expectTriplesMade<float64>("NORV::float64");
  expectTriplesMade<SizeType>("NORV::uint64");
}

TEST(ClassFactoryTest, VolumesOfEveryVoxelTypeAreRegistered) {
  expectVolumesMade<int8>("NORV::int8");
  expectVolumesMade<uint8>("NORV::uint8");
  expectVolumesMade<int16>("NORV::int16");
  expectVolumesMade<uint16>("NORV::uint16");
  expectVolumesMade<int32>("NORV::int32");
  expectVolumesMade<uint32>("NORV::uint32");
  expectVolumesMade<float32>("NORV::float32");
  expectVolumesMade<float64>("NORV::float64");
}

TEST(ClassFactoryTest, ThreadsMayCreateAtTheSameTime) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([] {
      for (int i = 0; i < 500; ++i) {
        EXPECT_EQ(getClassFactory().createInstance("Tests::Leaf")->getType(), "Tests::Leaf");
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(ClassFactoryFailures, NullMethodIsRefused) {
  CompositeFactory factory;
  const std::string text = "NORV::Tavi::Factory::ClassFactory::register creationMethod points to NULL";
  Tests::expectStandard<std::invalid_argument>([&] { factory.registerClass("a", Method()); }, text);
  Tests::expectStandard<std::invalid_argument>([&] { factory.registerIfAbsent("a", Method()); }, text);
  EXPECT_FALSE(factory.isRegistered("a"));
}

TEST(ClassFactoryFailures, SecondRegistrationOfAnIdentifierIsRefused) {
  CompositeFactory factory;
  factory.registerClass("a", makes([]() -> IComposite* { return new Data<int8>; }));
  const Method other = makes([]() -> IComposite* { return new Data<int16>; });
  Tests::expectStandard<std::invalid_argument>(
      [&] { factory.registerClass("a", other); },
      "NORV::Tavi::Factory::ClassFactory::register No duplicate identifieres allowed");
  EXPECT_FALSE(factory.registerIfAbsent("a", other));
  EXPECT_EQ(factory.createInstance("a")->getType(), "NORV::Tavi::Persistence::Data< NORV::int8 >");
}

TEST(ClassFactoryFailures, IdentifierThatDiffersByOneBlankIsUnknown) {
  Tests::expectStandard<std::invalid_argument>(
      [] { getClassFactory().createInstance("NORV::Tavi::Persistence::Data<  NORV::int8 >"); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::Tavi::Persistence::Data<  NORV::int8 > is registered");
  Tests::expectStandard<std::invalid_argument>(
      [] { getClassFactory().createInstance("Tests::Leaf "); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier Tests::Leaf  is "
      "registered");
  Tests::expectStandard<std::invalid_argument>(
      [] { getClassFactory().createInstance(""); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier  is registered");
}
