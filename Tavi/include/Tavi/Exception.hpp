#pragma once

#include <Tavi/Export.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <source_location>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

/// The base of all failures, and the reports that they write when they are made.
namespace NORV::Exceptions {

/// The throwing function's name, with the place in the source that it was named at.
struct Origin {
  // Implicit: a literal at the throw expression becomes an origin there, with file and line of that very place.
  Origin(const char* name, std::source_location place = std::source_location::current()) noexcept
      : Origin(name, place.file_name(), place.line()) {}
  /// For failures whose place is part of the interface.
  Origin(const char* name, const char* sourceFile, std::uint_least32_t sourceLine) noexcept
      : function(name),
        file(sourceFile),
        line(static_cast<int>(sourceLine)) {}

  const char* function;
  const char* file;
  int line;
};

class Exception;

/// Receives the report that each failure writes when it is made. A sink must outlive its registration.
class TAVI_EXPORT IReportSink {
public:
  virtual ~IReportSink() = default;
  virtual void print(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
};

/// Which groups of fields a report shows; the error message always stands in it.
enum ReportGroups : unsigned {
  reportGui = 1,
  reportOrigin = 2,
  reportErrorCode = 4,
  reportAdditionalInformation = 8,
  reportAll = 15
};

namespace Impl {

struct Reporting {
  std::recursive_mutex critical;
  std::vector<IReportSink*> sinks;
  int64 livingExceptions = 0;
  std::string summary;
  void (*terminationHook)(const char*) = nullptr;
};

/// One per process. Never destroyed: failures may outlive every other static object.
TAVI_EXPORT inline Reporting& processWideReporting() {
  static Reporting* const reporting = new Reporting;
  return *reporting;
}

/// A text on its way into a failure; `complete` is false where memory ran out.
struct Message {
  [[gnu::cold, gnu::noinline]] Message(const char* value) noexcept {
    store([&] { text = value; });
  }
  [[gnu::cold, gnu::noinline]] Message(const std::string& value) noexcept {
    store([&] { text = value; });
  }

  template <class StringOperations>
  void store(StringOperations operations) noexcept {
    try {
      operations();
    } catch (...) {
      complete = false;
    }
  }

  std::string text;
  bool complete = true;
};

template <class... Args>
Message render(const char* format, Args... args) noexcept {
  if constexpr (sizeof...(args) == 0) {
    return format;
  } else {
    Message message("");
    message.store([&] {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // every format comes from a throw expression of this code
      const int length = std::snprintf(nullptr, 0, format, args...);
      message.text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
      std::snprintf(message.text.data(), message.text.size() + 1, format, args...);
#pragma GCC diagnostic pop
    });
    return message;
  }
}

}  // namespace Impl

/// Base of the family. Copies share no state; making, copying and destroying are safe from any thread.
class TAVI_EXPORT Exception : public std::exception {
public:
  Exception(const Exception& other)
      : std::exception(other),
        _errorCode(other._errorCode),
        _line(other._line),
        _damaged(other._damaged) {
    guarded([&] {
      _errorMessage = other._errorMessage;
      _guiMessage = other._guiMessage;
      _origin = other._origin;
      _file = other._file;
      _additionalInformation = other._additionalInformation;
    });
    countLiving(+1);
  }
  Exception& operator=(const Exception&) = delete;
  ~Exception() override { countLiving(-1); }

  /// The short text for a user.
  const char* what() const noexcept override { return _guiMessage.c_str(); }
  virtual const char* getClassName() const noexcept = 0;
  /// A copy on the heap, of the most derived class.
  virtual Exception* clone() const = 0;
  /// Throws a copy of the most derived class.
  [[noreturn]] virtual void rethrow() const = 0;
  virtual int64 getErrorCode() const noexcept { return _errorCode; }
  virtual const char* getGuiMessage() const noexcept { return _guiMessage.c_str(); }
  /// The text for the log.
  virtual const char* getErrorMessage() const noexcept { return _errorMessage.c_str(); }
  virtual const char* getOrigin() const noexcept { return _origin.c_str(); }
  virtual const char* getFile() const noexcept { return _file.c_str(); }
  virtual int getLine() const noexcept { return _line; }
  /// Whether memory ran out while the texts were stored; they are incomplete then.
  virtual bool isDamaged() const noexcept { return _damaged; }
  virtual const std::vector<std::string>& getAdditionalInformation() const noexcept { return _additionalInformation; }
  virtual std::size_t getNumberOfAdditionalInformation() const noexcept { return _additionalInformation.size(); }
  virtual void addAdditionalInformation(const char* text) noexcept {
    if (text != nullptr) {
      guarded([&] { _additionalInformation.emplace_back(text); });
    }
  }

protected:
  [[gnu::cold, gnu::noinline]] Exception(const Origin& origin, const char* guiMessage, Impl::Message errorMessage,
                                         int64 errorCode = 0) noexcept
      : _errorMessage(std::move(errorMessage.text)),
        _errorCode(errorCode),
        _line(origin.line),
        _damaged(!errorMessage.complete) {
    guarded([&] {
      _guiMessage = guiMessage;
      _origin = origin.function;
      _file = origin.file;
    });
    countLiving(+1);
  }

  /// Writes to every sink and renews the summary. The last act of each most derived constructor.
  [[gnu::cold, gnu::noinline]] void report(unsigned groups = reportGui | reportOrigin) const noexcept {
    try {
      auto& reporting = Impl::processWideReporting();
      const std::lock_guard lock(reporting.critical);
      renewSummary(reporting.summary);
      // By index: a sink may take itself off the list. Nothing here needs memory, which may be what has run out.
      for (std::size_t i = 0; i < reporting.sinks.size(); ++i) {
        writeTo(*reporting.sinks[i], groups);
      }
    } catch (...) {
      // A report is a courtesy: the failure itself must reach its catcher.
    }
  }

private:
  template <class StringOperations>
  void guarded(StringOperations operations) noexcept {
    try {
      operations();
    } catch (...) {
      _damaged = true;
    }
  }

  static void countLiving(int change) noexcept {
    auto& reporting = Impl::processWideReporting();
    const std::lock_guard lock(reporting.critical);
    reporting.livingExceptions += change;
  }

  void renewSummary(std::string& summary) const noexcept {
    try {
      summary = describe();
    } catch (...) {
      summary.clear();  // rather none than that of another failure
    }
  }

  std::string describe() const {
    return std::string("The program caused an uncaught exception:\n\n") + "Exception class name:\t" + getClassName() +
           "\nError message:\t\t" + _errorMessage + "Error code:\t\t" + std::to_string(_errorCode) +
           "Throwing function:\t\t" + _origin + "File:\t\t\t" + _file + "\nLine number:\t\t" + std::to_string(_line);
  }

  void writeTo(IReportSink& sink, unsigned groups) const {
    static constexpr const char* ruler = "=======================================================================";
    static constexpr const char* rule = "-----------------------------------------------------------------------";
    const auto field = [&sink](const char* format, const std::string& value) {
      if (!value.empty()) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // one of the literals below
        sink.print(format, value.c_str());
#pragma GCC diagnostic pop
      }
    };
    sink.print("%s\n", ruler);
    sink.print("%s was thrown!\n", getClassName());
    sink.print("%s\n", rule);
    field("Error message:   %s\n", _errorMessage);
    if (groups & reportGui) {
      field("GUI message:     %s\n", _guiMessage);
    }
    if (groups & reportOrigin) {
      field("Origin:          %s\n", _origin);
      field("File:            %s\n", _file);
      if (_line != 0) {
        sink.print("Line:            %d\n", _line);
      }
    }
    if ((groups & reportErrorCode) && _errorCode != 0) {
      sink.print("Error code:      %d\n", static_cast<int>(_errorCode));
    }
    if (groups & reportAdditionalInformation) {
      const char* format = "Additional Info: %s\n";
      for (const std::string& information : _additionalInformation) {
        field(format, information);
        format = "                 %s\n";
      }
    }
    if (_damaged) {
      sink.print("WARNING:        EXCEPTION INSTANCE IS DAMAGED BY INSUFFICIENT MEMORY!\n");
    }
    sink.print("%s\n", ruler);
  }

  std::string _errorMessage;
  std::string _guiMessage;
  std::string _origin;
  std::string _file;
  int64 _errorCode = 0;
  std::vector<std::string> _additionalInformation;
  int _line = 0;
  bool _damaged = false;
};

inline void addReportSink(IReportSink& sink) {
  auto& reporting = Impl::processWideReporting();
  const std::lock_guard lock(reporting.critical);
  reporting.sinks.push_back(&sink);
}

inline void removeReportSink(IReportSink& sink) noexcept {
  auto& reporting = Impl::processWideReporting();
  const std::lock_guard lock(reporting.critical);
  std::erase(reporting.sinks, &sink);
}

inline int64 getNumberOfLivingExceptions() {
  auto& reporting = Impl::processWideReporting();
  const std::lock_guard lock(reporting.critical);
  return reporting.livingExceptions;
}

/// What is known of the failure made last, in the words of an uncaught one.
inline std::string getSummary() {
  auto& reporting = Impl::processWideReporting();
  const std::lock_guard lock(reporting.critical);
  return reporting.summary;
}

/// Called with the summary before the process ends through `terminationHandler`; null: nothing is called.
inline void setTerminationHook(void (*hook)(const char*)) {
  auto& reporting = Impl::processWideReporting();
  const std::lock_guard lock(reporting.critical);
  reporting.terminationHook = hook;
}

/// For `std::set_terminate`: tells the sinks and the hook what was not caught, then ends with status 1.
[[noreturn]] inline void terminationHandler() noexcept {
  try {
    auto& reporting = Impl::processWideReporting();
    const std::lock_guard lock(reporting.critical);
    std::string summary;
    summary.swap(reporting.summary);  // a sink that makes a failure renews the one of the process
    const char* text =
        reporting.livingExceptions > 0
            ? summary.c_str()
            : "The program caused an uncaught exception of an unknown type!\nThe program was terminated.";
    for (std::size_t i = 0; i < reporting.sinks.size(); ++i) {
      reporting.sinks[i]->print("%s", text);
    }
    if (reporting.terminationHook != nullptr) {
      reporting.terminationHook(text);
    }
  } catch (...) {
    // A sink that fails must not bring the process back here.
  }
  std::_Exit(1);
}

}  // namespace NORV::Exceptions
