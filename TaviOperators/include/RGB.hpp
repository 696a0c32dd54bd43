#pragma once

#include <IStruct.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/ContainerBase.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>
#include <Tavi/Vector.hpp>

#include <string>

namespace NORV::TaviOperators {

/// One colour of the palette of an image.
class TAVI_EXPORT RGB final : public IStruct, private Tavi::Factory::StaticFactorySubscriber<RGB> {
public:
  StructProperty<uint8> red;
  StructProperty<uint8> green;
  StructProperty<uint8> blue;

  RGB() {
    reserve(3);
    append("red", red);
    append("green", green);
    append("blue", blue);
  }
  RGB(uint8 redShare, uint8 greenShare, uint8 blueShare) : RGB() {
    red = redShare;
    green = greenShare;
    blue = blueShare;
  }

  std::string getType() const override { return identifier(); }
  static std::string identifier() { return "NORV::TaviOperators::RGB"; }
};

/// The colours of the grey values 0, 1, 2 and so on.
using ColorTable = Tavi::Container::Vector<Tavi::SmartPointer<RGB>>;
using ColorTablePtr = Tavi::Container::VectorPtr<Tavi::SmartPointer<RGB>>;

}  // namespace NORV::TaviOperators

namespace NORV::Tavi::Container {

template <>
struct ElementName<SmartPointer<TaviOperators::RGB>> {
  static std::string compose() { return TaviOperators::RGB::identifier(); }
};

}  // namespace NORV::Tavi::Container
