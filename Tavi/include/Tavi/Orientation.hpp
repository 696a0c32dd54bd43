#pragma once

#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/ReadData.hpp>
#include <Tavi/Triple.hpp>

#include <array>
#include <stdexcept>
#include <string>

namespace NORV::Tavi {

/// Along which storage axis, and in which sense, each axis of a view runs: codes 0 and 1 mean storage prim, 2 and 3
/// storage sec, 4 and 5 storage tert; an odd code runs in reverse. As a node it has the keys "prim", "sec", "tert",
/// each a `Data<uint8>`.
class TAVI_EXPORT Orientation final : public Persistence::IComposite,
                                      private Factory::StaticFactorySubscriber<Orientation> {
public:
  Orientation() = default;
  Orientation(uint8 prim, uint8 sec, uint8 tert) : _codes{prim, sec, tert} {}

  /// The direction code of view axis 0 (prim), 1 (sec) or 2 (tert).
  uint8 operator[](std::size_t axis) const { return _codes.at(axis); }
  uint8 getPrim() const { return _codes[0]; }
  uint8 getSec() const { return _codes[1]; }
  uint8 getTert() const { return _codes[2]; }

  bool isReversed(std::size_t axis) const { return _codes.at(axis) % 2 != 0; }
  /// Whether both use the same storage axis at each position, whatever the senses.
  bool isLike(const Orientation& other) const { return axes() == other.axes(); }
  /// The storage axis of each view axis; the default order unless the codes name each storage axis once.
  std::array<std::size_t, 3> storageAxes() const {
    const auto found = axes();
    unsigned seen = 0;
    for (const std::size_t axis : found) {
      seen |= axis < 3 ? 1u << axis : 0u;
    }
    return seen == 7 ? found : std::array<std::size_t, 3>{0, 1, 2};
  }

  friend bool operator==(const Orientation& a, const Orientation& b) { return a._codes == b._codes; }

  void setValue(const std::string& key, SmartPointer<Persistence::IComposite> value) override {
    if (value == nullptr) {
      throw std::invalid_argument(getType() + "::setValue data is NULL");
    }
    uint8& code = _codes[Impl::findTripleKey(key, "NORV::Tavi::Orientation::setValue")];
    code = Persistence::Impl::readData<uint8>(value);
  }
  SmartPointer<Persistence::IComposite> getValue(const std::string& key) const override {
    return SmartPointer<Persistence::IComposite>(
        new Persistence::Data<uint8>(_codes[Impl::findTripleKey(key, "NORV::Tavi::Orientation::getValue")]));
  }
  std::string getKey(SizeType index) const override {
    return Impl::tripleKey(index, "NORV::Tavi::Orientation::getKey");
  }
  SizeType getNumberOfKeys() const override { return Impl::tripleKeys.size(); }
  std::string getType() const override { return "NORV::Tavi::Orientation"; }

private:
  std::array<std::size_t, 3> axes() const {
    return {_codes[0] / std::size_t{2}, _codes[1] / std::size_t{2}, _codes[2] / std::size_t{2}};
  }

  std::array<uint8, 3> _codes{0, 2, 4};
};

}  // namespace NORV::Tavi
