#include <Catalogue.hpp>
#include <FileNames.hpp>
#include <Interrupt.hpp>
#include <Tavi/Data.hpp>
#include <VolumeFiles.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

namespace NORV::TaviTool {
namespace {

using Tavi::Persistence::Data;

// The longer ends come first. A row whose operators a build does not have is reported as such.
constexpr std::array formats{FileFormat{".rek.gz", "RekGzReader", "RekGzWriter"},
                             FileFormat{".rek.lz4", "RekLz4Reader", "RekLz4Writer"},
                             FileFormat{".rek", "RekReader", "RekWriter"},
                             FileFormat{".vti", "VtiReader", "VtiWriter"},
                             FileFormat{".tiff", "TiffVolumeReader", "TiffVolumeWriter"},
                             FileFormat{".tif", "TiffVolumeReader", "TiffVolumeWriter"},
                             FileFormat{".png", "PngReader", "PngWriter"},
                             FileFormat{".bmp", "BmpReader", "BmpWriter"},
                             FileFormat{".xsc", "XscReader", "XscWriter"}};

std::string lower(std::string text) {
  for (char& c : text) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return text;
}

const FileFormat* findFormat(const std::string& file) {
  for (const FileFormat& format : formats) {
    if (lower(file).ends_with(format.extension)) {
      return &format;
    }
  }
  return nullptr;
}

void requireFormatOperator(const std::string& file, const char* op) {
  if (!isOperator(op)) {
    throw UsageError(file + ": this build of the library has no " + op);
  }
}

/// A file beside the target that becomes the target when it is complete, and is removed otherwise.
class PartialFile {
public:
  explicit PartialFile(const std::string& target) : _target(target) {
    struct stat status {};
    const bool exists = ::lstat(target.c_str(), &status) == 0;
    // A name that the library refuses is left for it to refuse.
    if ((exists && !S_ISREG(status.st_mode)) || !whyNameIsRefused(target).empty()) {
      return;
    }
    if (exists && ::access(target.c_str(), W_OK) != 0) {
      return;
    }
    const std::size_t stem = target.size() - std::strlen(formatOf(target).extension);
    for (int attempt = 0; attempt < 100; ++attempt) {
      const std::string name =
          target.substr(0, stem) + ".partial" + (attempt > 0 ? std::to_string(attempt) : "") + target.substr(stem);
      const int file = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (file >= 0) {
        if (exists) {
          static_cast<void>(::fchmod(file, status.st_mode & 07777));  // at worst the usual mode
        }
        ::close(file);
        _partial = name;
        _guard.emplace(name);
        return;
      }
      if (errno != EEXIST) {
        return;
      }
    }
  }
  PartialFile(const PartialFile&) = delete;
  PartialFile& operator=(const PartialFile&) = delete;
  ~PartialFile() {
    if (!_partial.empty()) {
      ::unlink(_partial.c_str());
    }
  }

  const std::string& name() const { return _partial.empty() ? _target : _partial; }

  void complete() {
    if (_partial.empty()) {
      return;
    }
    if (::rename(_partial.c_str(), _target.c_str()) != 0) {
      throw Failure(_target + ": cannot be replaced", std::strerror(errno));
    }
    _partial.clear();
  }

private:
  std::string _target;
  std::string _partial;
  std::optional<Interrupt::RemovesAtEnd> _guard;
};

SmartPointer<IComposite> parameterFor(const std::string& op, const std::string& file) {
  const auto parameter = makeParameter(op);
  parameter->setValue(fileNameKey(keysOf(parameter)), SmartPointer<IComposite>(new Data<std::string>(file)));
  return parameter;
}

}  // namespace

const FileFormat& formatOf(const std::string& file) {
  const FileFormat* format = findFormat(file);
  if (format == nullptr) {
    std::vector<std::string> known;
    for (const FileFormat& each : formats) {
      if (isOperator(each.reader) || isOperator(each.writer)) {
        known.emplace_back(each.extension);
      }
    }
    throw UsageError(file + ": the name does not end like a volume file: " + join(known));
  }
  return *format;
}

bool isWritableVolumeName(const std::string& file) {
  const FileFormat* format = findFormat(file);
  return format != nullptr && isOperator(format->writer);
}

void requireReadable(const std::string& file) { requireFormatOperator(file, formatOf(file).reader); }
void requireWritable(const std::string& file) { requireFormatOperator(file, formatOf(file).writer); }

SmartPointer<IVolume> loadVolume(Session& session, const std::string& file) {
  requireReadable(file);
  const std::string reader = formatOf(file).reader;
  const auto parameter = parameterFor(reader, file);
  session.run(reader, parameter, "load " + file);
  return SmartPointer<IVolume>(parameter->getValue(firstVolumeKey(keysOf(parameter), {"output"})));
}

void saveVolume(Session& session, const SmartPointer<IVolume>& volume, const std::string& file) {
  requireWritable(file);
  const std::string writer = formatOf(file).writer;
  PartialFile target(file);
  const auto parameter = parameterFor(writer, target.name());
  parameter->setValue(firstVolumeKey(keysOf(parameter), {"input"}), SmartPointer<IComposite>(volume));
  session.run(writer, parameter, "save " + file, target.name() != file ? file : std::string());
  target.complete();
  session.hasWritten(file);
}

void writeText(Session& session, const std::string& text, const std::string& file) {
  const auto close = [](std::FILE* stream) { std::fclose(stream); };
  const std::unique_ptr<std::FILE, decltype(close)> stream(std::fopen(file.c_str(), "wbe"), close);
  if (stream == nullptr) {
    throw Failure(file + ": cannot be written", std::strerror(errno));
  }
  if (std::fwrite(text.data(), 1, text.size(), stream.get()) != text.size() || std::fflush(stream.get()) != 0) {
    throw Failure(file + ": could not be written completely", std::strerror(errno));
  }
  session.hasWritten(file);
}

}  // namespace NORV::TaviTool
