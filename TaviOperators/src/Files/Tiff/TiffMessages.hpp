#pragma once

#include <tiffio.h>

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#if TIFFLIB_VERSION < 20221213
#include <mutex>
#endif

namespace NORV::TaviOperators::Impl {

/// What libtiff says about one file. It is kept for the failure that may follow, and reaches neither the terminal nor
/// the handlers of a host that uses libtiff itself. No memory is allocated: handlers run inside C code.
class TiffMessages {
public:
  static constexpr std::size_t most = 4;  // later ones follow from the first

  void add(const char* where, const char* format, std::va_list arguments) {
    if (_count == most) {
      return;
    }
    Text& text = _texts[_count++];
    const int length = std::snprintf(text.data(), text.size(), "libtiff: %s: ", where != nullptr ? where : "");
    const std::size_t used = length < 0 ? 0 : std::strlen(text.data());
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // a format of libtiff
    std::vsnprintf(text.data() + used, text.size() - used, format, arguments);
#pragma GCC diagnostic pop
  }

  /// The failure with the texts as additional information.
  template <class Failure>
  Failure addedTo(Failure failure) const {
    for (std::size_t i = 0; i < _count; ++i) {
      failure.addAdditionalInformation(_texts[i].data());
    }
    return failure;
  }

private:
  using Text = std::array<char, 240>;

  std::array<Text, most> _texts{};
  std::size_t _count = 0;
};

#if TIFFLIB_VERSION >= 20221213

/// Options for one handle: since 4.5 libtiff has handlers per handle, so nothing that other users share is touched.
class TiffOptions {
public:
  explicit TiffOptions(TiffMessages& messages) : _options(TIFFOpenOptionsAlloc()) {
    if (_options != nullptr) {
      TIFFOpenOptionsSetErrorHandlerExtR(_options, &keep, &messages);
      TIFFOpenOptionsSetWarningHandlerExtR(_options, &keep, &messages);
    }
  }
  TiffOptions(const TiffOptions&) = delete;
  TiffOptions& operator=(const TiffOptions&) = delete;
  ~TiffOptions() { TIFFOpenOptionsFree(_options); }

  /// Bounds what libtiff allocates at once.
  void limitMemory(tmsize_t bytes) {
    if (_options != nullptr) {
      TIFFOpenOptionsSetMaxSingleMemAlloc(_options, bytes);
    }
  }
  /// Null without memory for the options, and where libtiff opens nothing.
  template <class... Arguments>
  TIFF* open(Arguments... arguments) const {
    return _options != nullptr ? TIFFClientOpenExt(arguments..., _options) : nullptr;
  }

private:
  static int keep(TIFF*, void* messages, const char* where, const char* format, std::va_list arguments) {
    static_cast<TiffMessages*>(messages)->add(where, format, arguments);
    return 1;  // handled: the handlers of the process are not called
  }

  TIFFOpenOptions* _options;
};

/// Nothing to hold while a handle is open.
class TiffHandlers {
public:
  explicit TiffHandlers(TiffMessages&) {}
};

#else

/// Before 4.5 the handlers belong to the process. They are replaced while a handle is open, under a lock that the
/// handles of this library share, and restored afterwards. A host that replaces them meanwhile gets the older ones
/// back.
class TiffHandlers {
public:
  explicit TiffHandlers(TiffMessages& messages)
      : _lock(mutex()),
        _outer(current()),
        _error(TIFFSetErrorHandler(&keep)),
        _warning(TIFFSetWarningHandler(&keep)),
        _errorExt(TIFFSetErrorHandlerExt(nullptr)),
        _warningExt(TIFFSetWarningHandlerExt(nullptr)) {
    current() = &messages;
  }
  TiffHandlers(const TiffHandlers&) = delete;
  TiffHandlers& operator=(const TiffHandlers&) = delete;
  ~TiffHandlers() {
    TIFFSetWarningHandlerExt(_warningExt);
    TIFFSetErrorHandlerExt(_errorExt);
    TIFFSetWarningHandler(_warning);
    TIFFSetErrorHandler(_error);
    current() = _outer;
  }

private:
  static std::recursive_mutex& mutex() {
    static std::recursive_mutex shared;
    return shared;
  }
  /// Of the handle that this thread uses; null in the threads of a host.
  static TiffMessages*& current() {
    thread_local TiffMessages* messages = nullptr;
    return messages;
  }
  static void keep(const char* where, const char* format, std::va_list arguments) {
    if (current() != nullptr) {
      current()->add(where, format, arguments);
    }
  }

  const std::lock_guard<std::recursive_mutex> _lock;
  TiffMessages* const _outer;
  const TIFFErrorHandler _error, _warning;
  const TIFFErrorHandlerExt _errorExt, _warningExt;
};

class TiffOptions {
public:
  explicit TiffOptions(TiffMessages&) {}
  void limitMemory(tmsize_t) {}
  template <class... Arguments>
  TIFF* open(Arguments... arguments) const {
    return TIFFClientOpen(arguments...);
  }
};

#endif

}  // namespace NORV::TaviOperators::Impl
