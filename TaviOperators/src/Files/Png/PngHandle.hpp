#pragma once

#include <Tavi/Exceptions.hpp>
#include <Tavi/Types.hpp>

#include <Files/FileStream.hpp>
#include <png.h>

#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <string>

/// libpng's structures for one file, and its long jumps as failures.
namespace NORV::TaviOperators::Impl {

/// The structures of a file that is read or written. What libpng says about the file reaches no terminal: it is kept
/// for the failure that may follow.
class PngHandle {
public:
  enum class Use { reading, writing };

  /// Throws InvalidData where libpng gives no structures. `function` names the operator in failures.
  PngHandle(Use use, std::FILE* file, const char* function) : _use(use), _function(function) {
    _png = use == Use::reading ? png_create_read_struct(version, this, &fail, &warn)
                               : png_create_write_struct(version, this, &fail, &warn);
    if (_png == nullptr) {
      throwInvalid(use == Use::reading ? "Couldn't create png read structure!"
                                       : "Couldn't create png write structure!");
    }
    _info = png_create_info_struct(_png);
    if (_info == nullptr) {
      destroy();
      throwInvalid("Couldn't create png info structure!");
    }
    png_init_io(_png, file);
    png_set_user_limits(_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // the limits of the format
  }
  PngHandle(const PngHandle&) = delete;
  PngHandle& operator=(const PngHandle&) = delete;
  ~PngHandle() { destroy(); }

  png_structp png() const { return _png; }
  png_infop info() const { return _info; }

  /// Calls `steps()`, which a failure of libpng leaves by a long jump: it must own nothing that has a destructor.
  /// Throws InvalidData then, with libpng's words as additional information.
  template <class Steps>
  void guarded(const Steps& steps) {
    if (!isDone(steps)) {
      throwInvalid("Couldn't set png jump buffer!");
    }
  }

  [[noreturn]] void throwInvalid(const char* text) const {
    Exceptions::InvalidData failure(_function, "%s", text);
    if (_message[0] != '\0') {
      failure.addAdditionalInformation(_message.data());
    }
    throw Exceptions::InvalidData(failure);
  }
  void require(bool condition, const char* otherwise) const {
    if (!condition) {
      throwInvalid(otherwise);
    }
  }

private:
  static constexpr const char* version = "1.6.36";

  template <class Steps>
  [[gnu::noinline]] bool isDone(const Steps& steps) {
    if (setjmp(png_jmpbuf(_png)) != 0) {
      return false;
    }
    steps();
    return true;
  }

  static void keep(png_structp png, png_const_charp message) {
    auto& self = *static_cast<PngHandle*>(png_get_error_ptr(png));
    std::snprintf(self._message.data(), self._message.size(), "libpng: %s", message);
  }
  [[noreturn]] static void fail(png_structp png, png_const_charp message) {
    keep(png, message);
    png_longjmp(png, 1);
  }
  static void warn(png_structp png, png_const_charp message) { keep(png, message); }

  void destroy() {
    if (_use == Use::reading) {
      png_destroy_read_struct(&_png, &_info, nullptr);
    } else {
      png_destroy_write_struct(&_png, &_info);
    }
  }

  const Use _use;
  const char* const _function;
  png_structp _png = nullptr;
  png_infop _info = nullptr;
  std::array<char, 200> _message{};
};

/// A PNG file that is open behind its signature.
class PngSource {
public:
  /// Throws FileOpen, and InvalidData for a file without the signature.
  PngSource(const std::string& name, const char* function) : _file(openFile(name, ByteStream::Mode::read)) {
    if (_file == nullptr) {
      throw Exceptions::FileOpen(function, name);
    }
    std::array<png_byte, signatureBytes> signature{};
    [[maybe_unused]] const std::size_t read = std::fread(signature.data(), 1, signature.size(), _file.get());
    if (png_sig_cmp(signature.data(), 0, signature.size()) != 0) {
      throw Exceptions::InvalidData(function, "Invalid png file!");
    }
  }
  std::FILE* file() const { return _file.get(); }

  /// Reads all that stands before the image.
  static void readInfo(PngHandle& handle) {
    auto* const png = handle.png();
    auto* const info = handle.info();
    handle.guarded([png, info] {
      png_set_sig_bytes(png, signatureBytes);
      png_read_info(png, info);
    });
  }

private:
  static constexpr int signatureBytes = 8;

  FileHandle _file;
};

}  // namespace NORV::TaviOperators::Impl
