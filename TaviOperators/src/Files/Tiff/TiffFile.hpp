#pragma once

#include <Tavi/Exceptions.hpp>
#include <Tavi/Types.hpp>

#include <Files/Tiff/TiffMessages.hpp>
#include <fcntl.h>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The bytes under a TIFF handle: a file with a position, for the procedures that libtiff calls. It never maps the file
/// into memory, where a file that another process cuts would end this one.
class TiffBytes {
public:
  TiffBytes(const std::string& name, int flags) : _descriptor(openQuietly(name, flags)) {
    struct stat status {};
    // A directory opens to be read, and a pipe would wait for its other end.
    const bool isFile = _descriptor >= 0 && fstat(_descriptor, &status) == 0 &&
                        (S_ISREG(status.st_mode) || S_ISBLK(status.st_mode) || S_ISCHR(status.st_mode));
    if (!isFile) {
      close();
      return;
    }
    _isPlain = S_ISREG(status.st_mode);
    _size = _isPlain ? static_cast<SizeType>(status.st_size) : 0;
  }
  TiffBytes(const TiffBytes&) = delete;
  TiffBytes& operator=(const TiffBytes&) = delete;
  ~TiffBytes() { close(); }

  bool isOpen() const { return _descriptor >= 0; }
  SizeType size() const { return _size; }
  /// Some file systems report a failed write only on closing.
  bool close() { return _descriptor < 0 || ::close(std::exchange(_descriptor, -1)) == 0; }
  bool clear() {
    _size = 0;
    return !_isPlain || ftruncate(_descriptor, 0) == 0;
  }
  /// From now on only so many bytes can be read.
  void limitReading(SizeType bytes) { _readable = bytes; }

  static tmsize_t read(thandle_t handle, void* bytes, tmsize_t count) {
    return static_cast<TiffBytes*>(handle)->readHere(static_cast<char*>(bytes), count);
  }
  static tmsize_t write(thandle_t handle, void* bytes, tmsize_t count) {
    return static_cast<TiffBytes*>(handle)->writeHere(static_cast<const char*>(bytes), count);
  }
  static toff_t seek(thandle_t handle, toff_t offset, int origin) {
    auto& self = *static_cast<TiffBytes*>(handle);
    self._position = offset + (origin == SEEK_CUR ? self._position : origin == SEEK_END ? self._size : 0);
    return self._position;
  }
  static toff_t sizeOf(thandle_t handle) { return static_cast<TiffBytes*>(handle)->_size; }
  static int leaveOpen(thandle_t) { return 0; }

private:
  static constexpr SizeType farthest = std::numeric_limits<off_t>::max();

  static int openQuietly(const std::string& name, int flags) {
    int descriptor = -1;
    do {
      descriptor = ::open(name.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
  }

  /// Offsets in hostile files are any 64 bits.
  bool isReachable(SizeType count) const { return _position <= farthest && count <= farthest - _position; }

  /// Whole transfers by repeated calls of `once(bytes, count, offset)`; returns how many bytes were moved.
  template <class Byte, class Once>
  SizeType transfer(Byte* bytes, SizeType count, const Once& once) const {
    SizeType done = 0;
    while (done < count) {
      const ssize_t moved = once(bytes + done, count - done, static_cast<off_t>(_position + done));
      if (moved < 0 && errno == EINTR) {
        continue;
      }
      if (moved <= 0) {
        break;
      }
      done += static_cast<SizeType>(moved);
    }
    return done;
  }

  tmsize_t readHere(char* bytes, tmsize_t asked) {
    const SizeType count = asked > 0 ? static_cast<SizeType>(asked) : 0;
    if (!isReachable(count)) {
      return -1;
    }
    if (count > _readable) {
      _readable = 0;  // libtiff goes on without what it cannot read; nothing more is read
      return -1;
    }
    _readable -= count;
    const auto fromFile = [this](char* to, SizeType size, off_t offset) {
      return pread(_descriptor, to, size, offset);
    };
    SizeType done = 0;
    if (count <= _window.size() / 8) {  // tags: many small pieces beside one another
      if (_position < _windowBegin || _position + count > _windowBegin + _windowBytes) {
        _windowBegin = _position;
        _windowBytes = transfer(_window.data(), std::min(_window.size(), farthest - _position), fromFile);
      }
      done = std::min(count, _windowBegin + _windowBytes - _position);
      std::memcpy(bytes, _window.data() + (_position - _windowBegin), done);
    } else {
      done = transfer(bytes, count, fromFile);
    }
    _position += done;
    return static_cast<tmsize_t>(done);
  }

  tmsize_t writeHere(const char* bytes, tmsize_t asked) {
    _windowBytes = 0;
    const SizeType count = asked > 0 ? static_cast<SizeType>(asked) : 0;
    if (!isReachable(count)) {
      return -1;
    }
    const SizeType done = transfer(bytes, count, [this](const char* from, SizeType size, off_t offset) {
      return pwrite(_descriptor, from, size, offset);
    });
    _position += done;
    _size = std::max(_size, _position);
    return static_cast<tmsize_t>(done);
  }

  int _descriptor = -1;
  bool _isPlain = false;
  SizeType _size = 0, _position = 0;
  SizeType _readable = std::numeric_limits<SizeType>::max();
  std::array<char, 4096> _window{};
  SizeType _windowBegin = 0, _windowBytes = 0;
};

/// A TIFF handle on a file, both closed when it goes. Failures name `where`, and the file by its name.
class TiffFile {
public:
  TiffFile(const TiffFile&) = delete;
  TiffFile& operator=(const TiffFile&) = delete;
  ~TiffFile() { closeHandle(); }

  TIFF* handle() const { return _tiff; }
  SizeType size() const { return _bytes.size(); }
  const TiffMessages& messages() const { return _messages; }

  /// Throws the failure for a file of this name, with what libtiff said.
  template <class Failure>
  [[noreturn]] void fail() const {
    throw _messages.addedTo(Failure(_where.c_str(), _name));
  }
  template <class Failure>
  void require(bool condition) const {
    if (!condition) {
      fail<Failure>();
    }
  }

protected:
  TiffFile(std::string name, std::string where, int flags)
      : _name(std::move(name)),
        _where(std::move(where)),
        _bytes(_name, flags),
        _handlers(_messages) {}

  void openHandle(const char* mode, const TiffOptions& options) {
    const auto handle = static_cast<thandle_t>(&_bytes);
    const TIFFMapFileProc noMap = nullptr;
    const TIFFUnmapFileProc noUnmap = nullptr;
    _tiff = options.open(_name.c_str(), mode, handle, &TiffBytes::read, &TiffBytes::write, &TiffBytes::seek,
                         &TiffBytes::leaveOpen, &TiffBytes::sizeOf, noMap, noUnmap);
  }
  void closeHandle() {
    if (_tiff != nullptr) {
      TIFFClose(std::exchange(_tiff, nullptr));
    }
  }

  const std::string _name, _where;
  TiffMessages _messages;
  TiffBytes _bytes;
  TiffHandlers _handlers;
  TIFF* _tiff = nullptr;
};

/// A file that is read. Throws FileOpen for what is no TIFF file.
class TiffSource final : public TiffFile {
public:
  TiffSource(const std::string& name, const std::string& where) : TiffFile(name, where, O_RDONLY) {
    require<Exceptions::FileOpen>(_bytes.isOpen());
    TiffOptions options(_messages);
    options.limitMemory(static_cast<tmsize_t>(memoryFor(size())));
    limitReading();
    openHandle("rmc", options);  // neither mapped nor cut into small strips
    require<Exceptions::FileOpen>(_tiff != nullptr);
  }

  /// Directories may share what they point to, so that reading each costs as much as the whole file. Bounds what is
  /// read from here on by the size of the file.
  void limitReading() {
    const SizeType bytes = std::min<SizeType>(size(), std::numeric_limits<SizeType>::max() >> 8);
    _bytes.limitReading(16 * bytes + (1u << 20));
  }
  void allowReading() { _bytes.limitReading(std::numeric_limits<SizeType>::max()); }

private:
  static SizeType memoryFor(SizeType fileBytes) {
    constexpr SizeType atLeast = SizeType{64} << 20, most = std::numeric_limits<tmsize_t>::max() / 2;
    return std::min(atLeast + 16 * std::min(fileBytes, most / 64), most);
  }
};

/// A file that is written. What stood in it is lost with `begin`, not before.
class TiffTarget final : public TiffFile {
public:
  /// Throws FileCreate where nothing can be written.
  TiffTarget(const std::string& name, const std::string& where) : TiffFile(name, where, O_RDWR | O_CREAT) {
    require<Exceptions::FileCreate>(_bytes.isOpen());
  }
  void begin() {
    require<Exceptions::FileCreate>(_bytes.clear());
    openHandle("w", TiffOptions(_messages));
    require<Exceptions::FileCreate>(_tiff != nullptr);
  }
  /// Writes what is pending; throws FileWrite if that fails.
  void end() {
    require<Exceptions::FileWrite>(TIFFFlush(_tiff) == 1);
    closeHandle();
    require<Exceptions::FileWrite>(_bytes.close());
  }
};

}  // namespace NORV::TaviOperators::Impl
