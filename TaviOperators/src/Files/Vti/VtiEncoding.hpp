#pragma once

#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Operator.hpp>
#include <Tavi/CheckedCast.hpp>
#include <Tavi/Exceptions.hpp>

#include <Files/Vti/Base64.hpp>
#include <Files/Vti/VoxelBytes.hpp>
#include <Files/Vti/VtiFile.hpp>
#include <zlib.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What the VTI writer puts into its file.
namespace NORV::TaviOperators::Impl {

/// A file that is written through one buffer. Throws FileCreate and FileWrite.
class VtiOutput {
public:
  VtiOutput(const char* source, const std::string& name)
      : _source(source),
        _name(name),
        _buffer(new char[capacity]),
        _file(openFile(name, ByteStream::Mode::write)) {
    if (_file == nullptr) {
      throw Exceptions::FileCreate(source, name);
    }
    std::setvbuf(_file.get(), nullptr, _IONBF, 0);
  }

  /// Reserves `count` characters, at most `largest`; `filled` commits those that were written.
  char* room(SizeType count) {
    if (capacity - _used < count) {
      flush();
    }
    return _buffer.get() + _used;
  }
  void filled(const char* end) { _used = static_cast<SizeType>(end - _buffer.get()); }
  static constexpr SizeType largest = 4096;

  void write(std::string_view text) {
    while (!text.empty()) {
      const auto some = text.substr(0, largest);
      filled(std::copy(some.begin(), some.end(), room(some.size())));
      text.remove_prefix(some.size());
    }
  }

  /// One base64 stream of bytes that arrive in pieces.
  void encode(const void* data, SizeType count) {
    const auto* bytes = static_cast<const char*>(data);
    while (count > 0) {
      // So many bytes and those kept from before give no more characters than there is room.
      char* const text = room(2 * quantum);
      const SizeType some = std::min(count, (capacity - _used) / quantum * 3 - 3);
      filled(_encoder.append(bytes, some, text));
      bytes += some;
      count -= some;
    }
  }
  void endStream() { filled(_encoder.finish(room(quantum))); }

  /// Writes the rest. Some file systems report only at the end that a write has failed.
  void close() {
    flush();
    require(std::fclose(_file.release()) == 0);
  }
  void flush() {
    require(std::fwrite(_buffer.get(), 1, _used, _file.get()) == _used);
    _used = 0;
  }

private:
  static constexpr SizeType capacity = SizeType{1} << 18;
  static constexpr SizeType quantum = 4;

  void require(bool condition) const {
    if (!condition) {
      throw Exceptions::FileWrite(_source, _name);
    }
  }

  const char* _source;
  std::string _name;
  std::unique_ptr<char[]> _buffer;
  SizeType _used = 0;
  Base64::Encoder _encoder;
  FileHandle _file;
};

/// The slices of a volume, each compressed by itself, and the table that stands before them.
class CompressedSlices {
public:
  /// Throws `std::overflow_error` where 32 bits do not count the slices or the bytes of one.
  explicit CompressedSlices(const VoxelBytes<const char>& volume)
      : _volume(volume),
        _sliceBytes(Tavi::checkedCast<uint32>(volume.sliceVoxels() * volume.voxelBytes())),
        _header{Tavi::checkedCast<uint32>(volume.slices()), _sliceBytes, 0},
        _slices(volume.slices()) {}

  /// Compresses in parallel; a step of progress for each slice.
  void compress(OperatorBase& self) {
    const int threads = threadCount(0);
    PerThread<Buffers> buffers(threads, _slices.size(), [] { return Buffers(); });
    forEachSlice(
        self, threads, _slices.size(), Steps::counted, [&](SizeType slice) { compressSlice(slice, buffers.mine()); },
        Schedule::dynamic);
    for (const std::vector<char>& slice : _slices) {
      _header.push_back(Tavi::checkedCast<uint32>(SizeType{slice.size()}));
    }
  }

  /// Two streams. A step of progress for each slice.
  void write(OperatorBase& self, VtiOutput& output) {
    output.encode(_header.data(), _header.size() * sizeof(uint32));
    output.endStream();
    for (std::vector<char>& slice : _slices) {
      if (self.isAborted()) {
        break;
      }
      output.encode(slice.data(), slice.size());
      std::vector<char>().swap(slice);
      self.advance();
    }
    output.endStream();
  }

private:
  struct Buffers {
    std::vector<char> slice, compressed;
  };

  void compressSlice(SizeType index, Buffers& buffers) {
    const SizeType first = index * _volume.sliceVoxels();
    const char* bytes = _volume.contiguous(first, _volume.sliceVoxels());
    if (bytes == nullptr) {
      buffers.slice.resize(_sliceBytes);
      char* next = buffers.slice.data();
      _volume.read(first, _volume.sliceVoxels(),
                   [&next](const char* some, SizeType count) { next = std::copy_n(some, count, next); });
      bytes = buffers.slice.data();
    }
    uLongf length = compressBound(_sliceBytes);
    buffers.compressed.resize(length);
    if (compress2(reinterpret_cast<Bytef*>(buffers.compressed.data()), &length, reinterpret_cast<const Bytef*>(bytes),
                  _sliceBytes, Z_DEFAULT_COMPRESSION) != Z_OK) {
      throw std::bad_alloc();  // the buffer has room for the longest result
    }
    _slices[index].assign(buffers.compressed.data(), buffers.compressed.data() + length);
  }

  VoxelBytes<const char> _volume;
  uint32 _sliceBytes;
  std::vector<uint32> _header;
  std::vector<std::vector<char>> _slices;
};

}  // namespace NORV::TaviOperators::Impl
