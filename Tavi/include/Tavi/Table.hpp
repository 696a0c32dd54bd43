#pragma once

#include <Tavi/Data.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/ReadData.hpp>
#include <Tavi/Volume.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <type_traits>

namespace NORV::Tavi::Container {

/// One counter for each value of an integer type, kept in a volume of one row so that it can be stored and shown as any
/// volume. The counter of value v is the voxel `tertOffsetToOrigin` + v of the row; two more cells at its end are never
/// counted into. As a node it has the keys "tertOffsetToOrigin", "volume" and "size", in this order.
///
/// Extra memory: 8 bytes per value for 64-bit counters. It has no lock.
template <class T, class Count>
class TAVI_EXPORT Table : public Persistence::IComposite {
  static_assert(std::is_integral_v<T> && sizeof(T) <= 2);

public:
  static constexpr SizeType numberOfValues = SizeType{1} << (8 * sizeof(T));
  static constexpr int64 offsetOfZero = -static_cast<int64>(std::numeric_limits<T>::min());

  /// All counters are 0.
  Table() : _volume(new Volume<Count>(Dimension<SizeType>(numberOfValues + 2, 1, 1))) {
    std::fill_n(_volume->getData(), numberOfValues + 2, Count(0));
  }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  int64 getTertOffsetToOrigin() const { return _tertOffsetToOrigin; }
  /// The counters themselves, not a copy.
  VolumePtr<Count> getVolume() const { return _volume; }
  /// The number of bins.
  SizeType getSize() const { return _size; }

  /// A value of another class throws InvalidArg and changes nothing. A volume is shared, not copied.
  void setValue(const std::string& key, SmartPointer<Persistence::IComposite> value) override {
    static constexpr const char* here = "NORV::Tavi::Container::Table::setValue";
    if (key == keys[0]) {
      _tertOffsetToOrigin = Persistence::Impl::readData<int64>(value);
    } else if (key == keys[1]) {
      const VolumePtr<Count> volume{SmartPointer<Volume<Count>>(value)};
      if (volume == nullptr) {
        throw Exceptions::InvalidArg(here, "The value for the key '%s' is no %s!", key.c_str(),
                                     Volume<Count>::identifier().c_str());
      }
      _volume = volume;
    } else if (key == keys[2]) {
      _size = Persistence::Impl::readData<SizeType>(value);
    } else {
      throwUnknown(here, key);
    }
  }
  SmartPointer<Persistence::IComposite> getValue(const std::string& key) const override {
    using Persistence::IComposite;
    if (key == keys[0]) {
      return SmartPointer<IComposite>(new Persistence::Data<int64>(_tertOffsetToOrigin));
    }
    if (key == keys[1]) {
      return _volume;
    }
    if (key != keys[2]) {
      throwUnknown("NORV::Tavi::Container::Table::getValue", key);
    }
    return SmartPointer<IComposite>(new Persistence::Data<SizeType>(_size));
  }
  std::string getKey(SizeType index) const override {
    if (index >= keys.size()) {
      throw Exceptions::IndexOutOfRange("NORV::Tavi::Container::Table::getKey", index, 0, keys.size() - 1);
    }
    return keys[index];
  }
  SizeType getNumberOfKeys() const override { return keys.size(); }

protected:
  /// The counter of the smallest value. Throws InvalidState where values that came in by key give no room for a
  /// counter per value of T in a row.
  Count* firstBin() const {
    const int64 first = _tertOffsetToOrigin - offsetOfZero;
    if (first < 0 || _size < numberOfValues || _volume->getIterationData().stridePrim != 1 ||
        _volume->getDimPrim() < numberOfValues ||
        static_cast<SizeType>(first) > _volume->getDimPrim() - numberOfValues) {
      throw Exceptions::InvalidState("NORV::Tavi::Container::Table::firstBin",
                                     "The volume has no counter for each value of the type '%s'!", typeName<T>);
    }
    return _volume->getData() + _volume->getPosOffset(Position<SizeType>(static_cast<SizeType>(first), 0, 0));
  }

private:
  static constexpr std::array keys{"tertOffsetToOrigin", "volume", "size"};

  [[noreturn]] static void throwUnknown(const Exceptions::Origin& origin, const std::string& key) {
    throw Exceptions::InvalidArg(origin, "There is no key '%s'!", key.c_str());
  }

  int64 _tertOffsetToOrigin = offsetOfZero;
  VolumePtr<Count> _volume;
  SizeType _size = numberOfValues;
};

}  // namespace NORV::Tavi::Container
