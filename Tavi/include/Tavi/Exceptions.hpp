#pragma once

#include <Tavi/Exception.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/Types.hpp>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>

/// The failures of the core and the operators.
///
/// A failure that also belongs to a standard class has two `std::exception` bases, so `catch (const std::exception&)`
/// does not match it: catch `Exceptions::Exception` first, then `std::exception`.
namespace NORV::Exceptions {

namespace Impl {

/// What each class of the family adds to its bases, once. It reports as the class that `Derived` names, since a virtual
/// call from its constructor already finds the name here.
template <class Derived, class... Bases>
class TAVI_EXPORT Member : public virtual Exception, public virtual Bases... {
public:
  const char* what() const noexcept override { return getGuiMessage(); }
  const char* getClassName() const noexcept override { return Derived::name; }
  Exception* clone() const override { return new Derived(static_cast<const Derived&>(*this)); }
  [[noreturn]] void rethrow() const override { throw Derived(static_cast<const Derived&>(*this)); }
  ~Member() override = 0;  // abstract: only the most derived class constructs the virtual bases
};
template <class Derived, class... Bases>
Member<Derived, Bases...>::~Member() = default;

}  // namespace Impl

class TAVI_EXPORT InvalidArg final : public Impl::Member<InvalidArg, std::invalid_argument> {
public:
  static constexpr const char* name = "InvalidArg";
  static constexpr const char* text = "Invalid argument!";
  InvalidArg(const Origin& origin) : Exception(origin, text, text), std::invalid_argument("") { report(); }
  template <class... Args>
  InvalidArg(const Origin& origin, const char* format, Args... args)
      : Exception(origin, text, Impl::render(format, args...)),
        std::invalid_argument("") {
    report();
  }
};

class TAVI_EXPORT InvalidState final : public Impl::Member<InvalidState, std::runtime_error> {
public:
  static constexpr const char* name = "InvalidState";
  static constexpr const char* text = "An invalid state occured!";
  InvalidState(const Origin& origin) : Exception(origin, text, ""), std::runtime_error("") { report(); }
  template <class... Args>
  InvalidState(const Origin& origin, const char* format, Args... args)
      : Exception(origin, text, Impl::render(format, args...)),
        std::runtime_error("") {
    report();
  }
};

class TAVI_EXPORT InvalidData final : public Impl::Member<InvalidData, std::runtime_error> {
public:
  static constexpr const char* name = "InvalidData";
  static constexpr const char* text = "Invalid data!";
  InvalidData(const Origin& origin)
      : Exception(origin, text, "The data do not meet the conditions!"),
        std::runtime_error("") {
    report();
  }
  template <class... Args>
  InvalidData(const Origin& origin, const char* format, Args... args)
      : Exception(origin, text, Impl::render(format, args...)),
        std::runtime_error("") {
    report();
  }
};

class TAVI_EXPORT OutOfRange final : public Impl::Member<OutOfRange, std::out_of_range> {
public:
  static constexpr const char* name = "OutOfRange";
  static constexpr const char* text = "Out of range!";
  OutOfRange(const Origin& origin)
      : Exception(origin, text, "A value is out of the valid range!"),
        std::out_of_range("") {
    report();
  }
  template <class... Args>
  OutOfRange(const Origin& origin, const char* format, Args... args)
      : Exception(origin, text, Impl::render(format, args...)),
        std::out_of_range("") {
    report();
  }
};

/// Not an OutOfRange.
class TAVI_EXPORT IndexOutOfRange final : public Impl::Member<IndexOutOfRange, std::out_of_range> {
public:
  static constexpr const char* name = "IndexOutOfRange";
  static constexpr const char* text = "Index out of range!";
  IndexOutOfRange(const Origin& origin)
      : Exception(origin, text, "The index is out of the valid range!"),
        std::out_of_range("") {
    report();
  }
  IndexOutOfRange(const Origin& origin, const std::string& message)
      : Exception(origin, text, message),
        std::out_of_range("") {
    report();
  }
  /// `first` and `last` are the valid indices at both ends; an empty range ends at -1.
  IndexOutOfRange(const Origin& origin, Tavi::SizeType index, Tavi::SizeType first, Tavi::SizeType last)
      : Exception(origin, text,
                  Impl::render("The index %d is out of the valid range (%d to %d)!", static_cast<int>(index),
                               static_cast<int>(first), static_cast<int>(last))),
        std::out_of_range("") {
    const auto add = [this](const char* format, Tavi::SizeType value) {
      char line[64];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // one of the three literals below
      std::snprintf(line, sizeof line, format, static_cast<std::make_signed_t<std::size_t>>(value));
#pragma GCC diagnostic pop
      addAdditionalInformation(line);
    };
    add("Current index = %zd", index);
    add("Min valid index = %zd", first);
    add("Max valid index = %zd", last);
    report();
  }
};

class TAVI_EXPORT NULLPointer final : public Impl::Member<NULLPointer, std::invalid_argument> {
public:
  static constexpr const char* name = "NULLPointer";
  static constexpr const char* text = "NULL pointer!";
  NULLPointer(const Origin& origin) : Exception(origin, text, text), std::invalid_argument("") { report(); }
  NULLPointer(const Origin& origin, const char* variable)
      : Exception(origin, text, Impl::render("The pointer variable '%s' is a NULL pointer", variable)),
        std::invalid_argument("") {
    report();
  }
};

class TAVI_EXPORT BadCast final : public Impl::Member<BadCast, std::bad_cast> {
public:
  static constexpr const char* name = "BadCast";
  static constexpr const char* text = "Bad cast!";
  BadCast(const Origin& origin) : Exception(origin, text, "A datatype couldn't be castet!") { report(); }
  /// An empty name stands for a type that is not known; one of the two must be known.
  BadCast(const Origin& origin, const std::string& from, const std::string& to)
      : Exception(origin, text, message(from, to)) {
    report();
  }

private:
  static Impl::Message message(const std::string& from, const std::string& to) {
    if (from.empty()) {
      return Impl::render("A data type couldn't be convertet to '%s'!", to.c_str());
    }
    if (to.empty()) {
      return Impl::render("The data type '%s' couldn't be convertet to another data type!", from.c_str());
    }
    return Impl::render("The data type '%s' couldn't be convertet to '%s'!", from.c_str(), to.c_str());
  }
};

class TAVI_EXPORT NumericalOverflow final : public Impl::Member<NumericalOverflow, std::overflow_error> {
public:
  static constexpr const char* name = "NumericalOverflow";
  static constexpr const char* text = "Numercial overflow!";
  NumericalOverflow(const Origin& origin) : Exception(origin, text, text), std::overflow_error("") { report(); }
  template <class... Args>
  NumericalOverflow(const Origin& origin, const char* format, Args... args)
      : Exception(origin, text, Impl::render(format, args...)),
        std::overflow_error("") {
    report();
  }
};

class TAVI_EXPORT NotSupported final : public Impl::Member<NotSupported> {
public:
  static constexpr const char* name = "NotSupported";
  static constexpr const char* text = "Function is not supported!";
  NotSupported(const Origin& origin) : Exception(origin, text, text) { report(); }
  template <class... Args>
  NotSupported(const Origin& origin, const char* format, Args... args)
      : Exception(origin, text, Impl::render(format, args...)) {
    report();
  }
};

/// Any failure with a file.
class TAVI_EXPORT File : public Impl::Member<File> {
public:
  static constexpr const char* name = "File";
  File(const Origin& origin) : Exception(origin, "", "") { report(); }

protected:
  File() : Exception(Origin(""), "", "") {}  // as a base: the most derived class fills and reports the Exception
};

class TAVI_EXPORT FileOpen final : public Impl::Member<FileOpen, File> {
public:
  static constexpr const char* name = "FileOpen";
  static constexpr const char* text = "Couldn't open file!";
  FileOpen(const Origin& origin) : Exception(origin, text, text) { report(); }
  FileOpen(const Origin& origin, const std::string& path)
      : Exception(origin, text, Impl::render("Couldn't open file '%s'!", path.c_str())) {
    report();
  }
};

class TAVI_EXPORT FileCreate final : public Impl::Member<FileCreate, File> {
public:
  static constexpr const char* name = "FileCreate";
  static constexpr const char* text = "Couldn't create file!";
  FileCreate(const Origin& origin) : Exception(origin, text, text) { report(); }
  FileCreate(const Origin& origin, const std::string& path)
      : Exception(origin, text, Impl::render("Couldn't create file '%s'!", path.c_str())) {
    report();
  }
};

class TAVI_EXPORT FileRead final : public Impl::Member<FileRead, File> {
public:
  static constexpr const char* name = "FileRead";
  static constexpr const char* text = "Couldn't read from file!";
  FileRead(const Origin& origin) : Exception(origin, text, text) { report(); }
  FileRead(const Origin& origin, const std::string& path)
      : Exception(origin, text, Impl::render("Couldn't read from file '%s'!", path.c_str())) {
    report();
  }
};

class TAVI_EXPORT FileWrite final : public Impl::Member<FileWrite, File> {
public:
  static constexpr const char* name = "FileWrite";
  static constexpr const char* text = "Couldn't write to file!";
  FileWrite(const Origin& origin) : Exception(origin, text, text) { report(); }
  FileWrite(const Origin& origin, const std::string& path)
      : Exception(origin, text, Impl::render("Couldn't write to file '%s'!", path.c_str())) {
    report();
  }
};

class TAVI_EXPORT BadFile final : public Impl::Member<BadFile, File> {
public:
  static constexpr const char* name = "BadFile";
  BadFile(const Origin& origin) : Exception(origin, "", "") { report(); }
  template <class... Args>
  BadFile(const Origin& origin, const char* format, Args... args)
      : Exception(origin, "", Impl::render(format, args...)) {
    report();
  }
};

}  // namespace NORV::Exceptions
