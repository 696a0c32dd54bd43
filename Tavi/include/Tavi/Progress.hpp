#pragma once

#include <Tavi/CompositeOfProperties.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>

#include <atomic>
#include <bit>
#include <string>

namespace NORV::Tavi {

/// How far an operator is, from 0 to 1. May be read while another thread advances it. As a node it has the one key
/// "inputOutputProgress", a `Data<double>`.
class TAVI_EXPORT Progress final : public Persistence::CompositeOfProperties<Progress> {
public:
  Progress() {
    append("inputOutputProgress", _value, {Persistence::Takes::number, false, "share of work done, 0 to 1"});
  }
  explicit Progress(double value) : Progress() { setProgress(value); }
  Progress(const Progress& other) : Progress() { *this = other; }
  Progress& operator=(const Progress& other) {
    _value.store(other._value.load());
    return *this;
  }
  ~Progress() override = default;

  /// Throws InvalidArg outside 0 to 1; NaN passes.
  void setProgress(double value) {
    check(value);
    _value.checkIfInitialized();
    _value.store(value);
  }
  double getProgress() const { return _value.load(); }

  static void check(double value) {
    // The number goes to %d as the lower half of its bits, which means nothing; hosts know the text so.
    const auto bits = static_cast<int>(static_cast<uint32>(std::bit_cast<uint64>(value)));
    if (value > 1.0) {
      throw Exceptions::InvalidArg("NORV::Tavi::Progress::setProgress", "Progress is greater than 1.0 (%d)!", bits);
    }
    if (value < 0.0) {
      throw Exceptions::InvalidArg("NORV::Tavi::Progress::setProgress", "Progress is less than 0.0 (%d)!", bits);
    }
  }

  std::string getType() const override { return "NORV::Tavi::Progress"; }

private:
  /// A double that a host may poll during a run.
  class AtomicProperty final : public Persistence::PropertyBase {
  public:
    AtomicProperty() : PropertyBase([] { return std::string("NORV::Tavi::Progress"); }) {}
    SmartPointer<Persistence::IComposite> get() const override {
      return SmartPointer<Persistence::IComposite>(new Persistence::Data<double>(load()));
    }
    void set(SmartPointer<Persistence::IComposite> value) override {
      store(Persistence::Impl::readData<double>(value));
    }
    double load() const { return _value.load(std::memory_order_relaxed); }
    void store(double value) { _value.store(value, std::memory_order_relaxed); }

  private:
    std::atomic<double> _value{0.0};
  };

  AtomicProperty _value;
};

}  // namespace NORV::Tavi
