#pragma once

#include <Tavi/Dimension.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/Position.hpp>

#include <string>

namespace NORV::Tavi {

/// A box of voxels: its extents and its first corner.
class RegionOfInterest {
public:
  RegionOfInterest() = default;
  explicit RegionOfInterest(const Dimension<SizeType>& dim, const Position<SizeType>& origin = {})
      : _dim(dim),
        _origin(origin) {}

  const Dimension<SizeType>& getDimension() const { return _dim; }
  const Position<SizeType>& getOrigin() const { return _origin; }

  friend bool operator==(const RegionOfInterest&, const RegionOfInterest&) = default;

private:
  Dimension<SizeType> _dim;
  Position<SizeType> _origin;
};

/// A region as a node with the keys "dim", a DimensionComposite, and "origin", a PositionComposite.
class TAVI_EXPORT RoiComposite final : public Persistence::IComposite,
                                       private Factory::StaticFactorySubscriber<RoiComposite> {
public:
  using Plain = RegionOfInterest;

  RoiComposite() = default;
  explicit RoiComposite(const RegionOfInterest& value) : _value(value) {}

  RegionOfInterest value() const { return _value; }

  void setValue(const std::string& key, SmartPointer<Persistence::IComposite> value) override {
    if (key == "dim") {
      const SmartPointer<DimensionComposite<SizeType>> dim(value);
      require(dim != nullptr, "NORV::Tavi::Roi::setValue");
      _value = RegionOfInterest(dim->value(), _value.getOrigin());
    } else if (key == "origin") {
      const SmartPointer<PositionComposite<SizeType>> origin(value);
      require(origin != nullptr, "NORV::Tavi::Roi::setValue");
      _value = RegionOfInterest(_value.getDimension(), origin->value());
    } else {
      require(false, "NORV::Tavi::Roi::setValue");
    }
  }
  SmartPointer<Persistence::IComposite> getValue(const std::string& key) const override {
    if (key == "dim") {
      return SmartPointer<IComposite>(new DimensionComposite<SizeType>(_value.getDimension()));
    }
    require(key == "origin", "NORV::Tavi::Roi::getValue");
    return SmartPointer<IComposite>(new PositionComposite<SizeType>(_value.getOrigin()));
  }
  std::string getKey(SizeType index) const override {
    if (index > 1) {
      throw Exceptions::IndexOutOfRange("NORV::Tavi::Roi::getKey", index, 0, 1);
    }
    return index == 0 ? "dim" : "origin";
  }
  SizeType getNumberOfKeys() const override { return 2; }
  std::string getType() const override { return "NORV::Tavi::RoiComposite"; }

private:
  static void require(bool condition, const Exceptions::Origin& origin) {
    if (!condition) {
      throw Exceptions::InvalidArg(origin);
    }
  }

  RegionOfInterest _value;
};

}  // namespace NORV::Tavi
