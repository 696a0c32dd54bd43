#include <Call.hpp>
#include <NoKeys.hpp>
#include <RawFile.hpp>
#include <Voxels.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace NORV::TaviTool {
namespace {

/// Rows go through the stream in pieces of this size, between which an interrupt is noticed.
constexpr std::size_t pieceBytes = std::size_t{1} << 22;

struct CloseFile {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseFile>;

/// Moves the dense voxels of a volume from or to a stream.
class Transfer final : public IOperator {
public:
  Transfer(Stream stream, std::byte* data, std::size_t bytes, bool writes)
      : _stream(std::move(stream)),
        _data(data),
        _bytes(bytes),
        _writes(writes) {}

  void apply(SmartPointer<IComposite>) override {
    while (_moved < _bytes && !_aborted) {
      const std::size_t piece = std::min(pieceBytes, _bytes - _moved);
      std::byte* const at = _data + _moved;
      const std::size_t moved =
          _writes ? std::fwrite(at, 1, piece, _stream.get()) : std::fread(at, 1, piece, _stream.get());
      _moved += moved;
      if (moved != piece) {
        _error = std::ferror(_stream.get()) != 0 ? errno : 0;
        _isShort = true;
        return;
      }
    }
    if (_writes && std::fclose(_stream.release()) != 0) {
      _error = errno;
      _isShort = true;
    }
  }
  Tavi::Progress getProgress() const override {
    return Tavi::Progress(_bytes == 0 ? 1.0 : static_cast<double>(_moved) / static_cast<double>(_bytes));
  }
  void abort() override { _aborted = true; }

  bool isShort() const { return _isShort; }
  std::string reason() const { return _error != 0 ? std::strerror(_error) : "the file ends early"; }

private:
  Stream _stream;
  std::byte* _data;
  std::size_t _bytes;
  bool _writes;
  std::atomic<std::size_t> _moved{0};
  std::atomic<bool> _aborted{false};
  bool _isShort = false;
  int _error = 0;
};

Stream open(const std::string& name, const char* mode) { return Stream(std::fopen(name.c_str(), mode)); }

std::size_t bytesOf(const IVolume& volume) {
  return static_cast<std::size_t>(volume.getRoiSize()) * static_cast<std::size_t>(voxelBytes(volume));
}

std::byte* firstByte(const SmartPointer<IVolume>& volume) {
  std::byte* first = nullptr;
  withVoxels(volume, [&](const auto& view) { first = reinterpret_cast<std::byte*>(view.data); });
  return first;
}

void swapIfForeign(const SmartPointer<IVolume>& volume, bool isBigEndian) {
  if (isBigEndian == (std::endian::native == std::endian::big)) {
    return;
  }
  const auto size = static_cast<std::size_t>(voxelBytes(*volume));
  std::byte* const end = firstByte(volume) + bytesOf(*volume);
  for (std::byte* voxel = firstByte(volume); size > 1 && voxel != end; voxel += size) {
    std::reverse(voxel, voxel + size);
  }
}

}  // namespace

void requireRawSize(const VolumeFile& file) {
  struct stat status {};
  if (::stat(file.name.c_str(), &status) != 0) {
    throw Failure(file.name + ": cannot be read", std::strerror(errno));
  }
  if (!S_ISREG(status.st_mode)) {
    throw Failure(file.name + ": cannot be read", "it is no regular file");
  }
  const auto size = file.dimension->size();
  const SizeType bytes = voxelBytes(file.voxelType);
  // The division keeps extents whose bytes do not fit 64 bits apart.
  const auto present = static_cast<SizeType>(status.st_size);
  if (present % bytes != 0 || present / bytes != size) {
    throw Failure(file.name + ": " + toText(*file.dimension) + " voxels of " + file.voxelType +
                  " do not fit: that is " + std::to_string(size) + " times " + std::to_string(bytes) +
                  " bytes, the file has " + std::to_string(present));
  }
}

SmartPointer<IVolume> readRaw(Session& session, const VolumeFile& file) {
  requireRawSize(file);
  Stream stream = open(file.name, "rbe");
  if (stream == nullptr) {
    throw Failure(file.name + ": cannot be read", std::strerror(errno));
  }
  const auto volume = makeVolume(file.voxelType, *file.dimension);
  Transfer transfer(std::move(stream), firstByte(volume), bytesOf(*volume), false);
  session.run("RawReader", transfer, SmartPointer<IComposite>(new NoKeys), "load " + file.name);
  if (transfer.isShort()) {
    throw Failure(file.name + ": could not be read completely", transfer.reason());
  }
  swapIfForeign(volume, file.isBigEndian);
  return volume;
}

void writeRaw(Session& session, const SmartPointer<IVolume>& volume, const VolumeFile& file, const std::string& name) {
  bool isDense = false;
  withVoxels(volume, [&](const auto& view) { isDense = view.isDense(); });
  // A copy is dense, and its bytes may be swapped.
  const bool isForeign = file.isBigEndian != (std::endian::native == std::endian::big);
  const auto dense = isDense && !isForeign ? volume : copyOf(session, volume, "prepare " + file.name);
  swapIfForeign(dense, file.isBigEndian);
  Stream stream = open(name, "wbe");
  if (stream == nullptr) {
    throw Failure(file.name + ": cannot be written", std::strerror(errno));
  }
  Transfer transfer(std::move(stream), firstByte(dense), bytesOf(*dense), true);
  session.run("RawWriter", transfer, SmartPointer<IComposite>(new NoKeys), "save " + file.name, file.name);
  if (transfer.isShort()) {
    throw Failure(file.name + ": could not be written completely", transfer.reason());
  }
}

}  // namespace NORV::TaviTool
