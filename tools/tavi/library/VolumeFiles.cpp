#include <Catalogue.hpp>
#include <FileNames.hpp>
#include <TargetFile.hpp>
#include <Tavi/Data.hpp>
#include <VolumeFiles.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

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

SmartPointer<IComposite> parameterFor(const std::string& op, const std::string& file) {
  const auto parameter = makeParameter(op);
  parameter->setValue(fileNameKey(keysOf(parameter)), SmartPointer<IComposite>(new Data<std::string>(file)));
  return parameter;
}

bool hasKey(const SmartPointer<IComposite>& parameter, const char* key) {
  const auto keys = keysOf(parameter);
  return std::any_of(keys.begin(), keys.end(), [key](const KeyDescription& each) { return each.key == key; });
}

/// A file that is read and written again keeps what its header holds beyond voxel type and extents.
void keepHeader(Session& session, const std::string& file, const SmartPointer<IComposite>& reader) {
  if (hasKey(reader, "outputHeader")) {
    session.headers[finalTarget(file)] = reader->getValue("outputHeader");
  }
}

void useHeader(const Session& session, const std::string& file, const SmartPointer<IComposite>& writer) {
  const auto known = session.headers.find(finalTarget(file));
  if (known != session.headers.end() && known->second != nullptr && hasKey(writer, "inputHeader")) {
    writer->setValue("inputHeader", known->second);
  }
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

std::string volumeExtensionOf(const std::string& file) {
  const FileFormat* format = findFormat(file);
  return format != nullptr ? file.substr(file.size() - std::strlen(format->extension)) : std::string();
}

bool isWritableVolumeName(const std::string& file) {
  const FileFormat* format = findFormat(file);
  return format != nullptr && isOperator(format->writer);
}

void requireReadable(const std::string& file) { requireFormatOperator(file, formatOf(file).reader); }
void requireWritable(const std::string& file) {
  requireFormatOperator(file, formatOf(file).writer);
  requireCreatable(file);
}

SmartPointer<IVolume> loadVolume(Session& session, const std::string& file) {
  requireReadable(file);
  const std::string reader = formatOf(file).reader;
  const auto parameter = parameterFor(reader, file);
  session.run(reader, parameter, "load " + file);
  keepHeader(session, file, parameter);
  return SmartPointer<IVolume>(parameter->getValue(firstVolumeKey(keysOf(parameter), {"output"})));
}

void saveVolume(Session& session, const SmartPointer<IVolume>& volume, const std::string& file) {
  requireWritable(file);
  const std::string writer = formatOf(file).writer;
  TargetFile target(file);
  const auto parameter = parameterFor(writer, target.name());
  parameter->setValue(firstVolumeKey(keysOf(parameter), {"input"}), SmartPointer<IComposite>(volume));
  useHeader(session, file, parameter);
  session.run(writer, parameter, "save " + file, target.name() != file ? file : std::string());
  target.complete();
  session.hasWritten(file);
}

void writeText(Session& session, const std::string& text, const std::string& file) {
  TargetFile target(file);
  const auto close = [](std::FILE* stream) { std::fclose(stream); };
  std::unique_ptr<std::FILE, decltype(close)> stream(std::fopen(target.name().c_str(), "wbe"), close);
  if (stream == nullptr) {
    throw Failure(file + ": cannot be written", std::strerror(errno));
  }
  const bool isWritten = std::fwrite(text.data(), 1, text.size(), stream.get()) == text.size();
  if (std::fclose(stream.release()) != 0 || !isWritten) {
    throw Failure(file + ": could not be written completely", std::strerror(errno));
  }
  target.complete();
  session.hasWritten(file);
}

}  // namespace NORV::TaviTool
