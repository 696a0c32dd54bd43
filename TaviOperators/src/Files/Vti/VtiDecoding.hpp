#pragma once

#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Operator.hpp>
#include <Tavi/Exceptions.hpp>

#include <Files/Vti/Base64.hpp>
#include <Files/Vti/VoxelBytes.hpp>
#include <Files/Vti/VtiDocument.hpp>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

/// The two forms of base64 payloads. Each is checked as far as it can be without a volume, then decoded into one.
namespace NORV::TaviOperators::Impl {

/// The progress of a transfer: a number of steps of a total that grows from any thread.
class VtiProgress {
public:
  VtiProgress(OperatorBase& self, SizeType done, SizeType total) : _self(self), _done(done) {
    _self.setTotal(total);
    _self.setDone(done);
  }
  void add(SizeType steps) { _self.setDone(_done.fetch_add(steps, std::memory_order_relaxed) + steps); }

private:
  OperatorBase& _self;
  std::atomic<SizeType> _done;
};

/// A stretch of base64 that holds `count` bytes, padded or not. Throws InvalidData for one that is shorter or is no
/// base64; `held` is how many bytes it holds.
inline const char* base64Stretch(const VtiText& text, SizeType count, SizeType& held) {
  const SizeType length = Base64::encodedSize(count);
  if (text.size < length) {
    Base64::fail("String is not base64 encoded!");
  }
  held = Base64::measure(text.data, length, text.known());
  return text.data;
}

/// A little-endian count at byte `offset` of a measured stretch.
inline uint32 decodeCount(const char* stretch, SizeType offset) {
  std::array<uint8, 4> bytes{};
  Base64::decode(stretch, offset, bytes.size(), bytes.data());
  return uint32{bytes[0]} | uint32{bytes[1]} << 8 | uint32{bytes[2]} << 16 | uint32{bytes[3]} << 24;
}

/// A payload in one stream: the count of its bytes, then the voxels.
class UncompressedPayload {
public:
  /// Throws InvalidData unless the stream holds exactly `bytes` bytes of voxels.
  UncompressedPayload(const VtiText& text, SizeType bytes) {
    constexpr SizeType first = 6;  // characters that hold the count
    if (text.size < first || Base64::alphabetRun(text.data, first) < first) {
      Base64::fail("String is not base64 encoded!");
    }
    SizeType held = 0;
    _stream = base64Stretch(text, SizeType{decodeFirstCount(text.data)} + countBytes, held);
    if (held != bytes + countBytes) {
      throw Exceptions::InvalidData("NORV::TaviOperators::VtiReader::Operator::decodeUncompressed",
                                    "Array size incorrect");
    }
  }

  void decode(OperatorBase& self, const VoxelBytes<char>& volume) const {
    VtiProgress progress(self, volume.voxels(), 2 * volume.voxels());
    const SizeType voxels = volume.sliceVoxels();
    for (SizeType slice = 0; slice < volume.slices() && !self.isAborted(); ++slice) {
      const SizeType begin = countBytes + slice * voxels * volume.voxelBytes();
      volume.write(slice * voxels, voxels, [&](SizeType offset, SizeType bytes, char* target) {
        Base64::decode(_stream, begin + offset, bytes, target);
      });
      progress.add(voxels);
    }
  }

private:
  static constexpr SizeType countBytes = 4;

  /// Six characters hold four bytes and four bits more; the text may end there.
  static uint32 decodeFirstCount(const char* text) {
    std::array<char, 8> quanta{'A', 'A', 'A', 'A', 'A', 'A', 'A', 'A'};
    std::copy_n(text, 6, quanta.data());
    return decodeCount(quanta.data(), 0);
  }

  const char* _stream = nullptr;
};

/// A payload in two streams: a table of blocks, then the blocks, each compressed by itself.
class CompressedPayload {
public:
  /// Throws InvalidData unless the blocks are of whole voxels, `bytes` bytes in all, and there. A block that could not
  /// hold what the table promises is found here, before memory is asked for.
  CompressedPayload(VtiText text, SizeType bytes, SizeType voxelBytes) {
    constexpr SizeType fixedWords = 3;
    SizeType held = 0;
    const SizeType blocks = decodeCount(base64Stretch(text, fixedWords * 4, held), 0);
    const SizeType headerBytes = (blocks + fixedWords) * 4;
    const char* const header = base64Stretch(text, headerBytes, held);
    require(held >= headerBytes);
    _blockBytes = decodeCount(header, 4);
    const SizeType partial = decodeCount(header, 8);
    _lastBytes = partial != 0 ? partial : _blockBytes;
    require(blocks == 0 ? bytes == 0 : (blocks - 1) * _blockBytes + _lastBytes == bytes);
    require(_blockBytes % voxelBytes == 0 && _lastBytes % voxelBytes == 0);

    _offsets.reserve(blocks + 1);
    _offsets.push_back(0);
    for (SizeType block = 0; block < blocks; ++block) {
      const SizeType size = decodeCount(header, (fixedWords + block) * 4);
      requireBlock(bytesOf(block, blocks) / mostInflated <= size);
      _offsets.push_back(_offsets.back() + size);
    }
    text = text.from(Base64::encodedSize(headerBytes));
    _stream = base64Stretch(text, _offsets.back(), held);
    require(held >= _offsets.back());
  }

  void decode(OperatorBase& self, const VoxelBytes<char>& volume) const {
    const SizeType blocks = _offsets.size() - 1;
    VtiProgress progress(self, volume.voxels(), 3 * volume.voxels());
    const int threads = threadCount(0);
    PerThread<Buffers> buffers(threads, blocks, [] { return Buffers(); });
    forEachSlice(
        self, threads, blocks, Steps::silent,
        [&](SizeType block) {
          const SizeType voxels = bytesOf(block, blocks) / volume.voxelBytes();
          decodeBlock(block, volume, buffers.mine(), progress, voxels);
          progress.add(voxels);
        },
        Schedule::dynamic);
  }

private:
  /// Of one thread, as large as its largest block so far.
  struct Buffer {
    std::unique_ptr<char[]> bytes;
    SizeType size = 0;

    char* atLeast(SizeType count) {
      if (size < count) {
        bytes.reset();
        bytes.reset(new char[count]);
        size = count;
      }
      return bytes.get();
    }
  };
  struct Buffers {
    Buffer compressed, inflated;
  };

  static constexpr SizeType mostInflated = 1032;  // bytes of a deflate stream out of one

  static void require(bool condition, const char* words = "Array size incorrect") {
    if (!condition) {
      throw Exceptions::InvalidData("NORV::TaviOperators::VtiReader::Operator::decodeCompressed", words);
    }
  }
  static void requireBlock(bool condition) { require(condition, "A compressed block is invalid"); }

  SizeType bytesOf(SizeType block, SizeType blocks) const { return block + 1 < blocks ? _blockBytes : _lastBytes; }

  void decodeBlock(SizeType block, const VoxelBytes<char>& volume, Buffers& buffers, VtiProgress& progress,
                   SizeType voxels) const {
    const SizeType size = _offsets[block + 1] - _offsets[block];
    char* const compressed = buffers.compressed.atLeast(std::max<SizeType>(size, 1));
    Base64::decode(_stream, _offsets[block], size, compressed);
    progress.add(voxels);

    const SizeType first = block * (_blockBytes / volume.voxelBytes());
    const SizeType bytes = voxels * volume.voxelBytes();
    char* const inPlace = volume.contiguous(first, voxels);
    char* const target = inPlace != nullptr ? inPlace : buffers.inflated.atLeast(std::max<SizeType>(bytes, 1));
    uLongf length = bytes;
    const int result = uncompress(reinterpret_cast<Bytef*>(target), &length, reinterpret_cast<const Bytef*>(compressed),
                                  static_cast<uLong>(size));
    if (result == Z_MEM_ERROR) {
      throw std::bad_alloc();
    }
    requireBlock(result == Z_OK && length == bytes);
    if (inPlace == nullptr) {
      volume.write(first, voxels, [target](SizeType offset, SizeType count, char* voxel) {
        std::memcpy(voxel, target + offset, count);
      });
    }
  }

  const char* _stream = nullptr;
  SizeType _blockBytes = 0, _lastBytes = 0;
  std::vector<SizeType> _offsets;  // of the blocks in the second stream, and its end
};

}  // namespace NORV::TaviOperators::Impl
