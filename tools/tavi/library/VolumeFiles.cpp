#include <Catalogue.hpp>
#include <FileNames.hpp>
#include <RawFile.hpp>
#include <TargetFile.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
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
                             FileFormat{".xsc", "XscReader", "XscWriter"},
                             FileFormat{".raw", "", ""}};

/// Raw files have no operator: the tool moves their voxels itself.
bool isRaw(const FileFormat& format) { return *format.reader == '\0'; }

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
  if (*op != '\0' && !isOperator(op)) {
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

bool isVoxelType(const std::string& word) {
  return std::find(allVoxelTypes().begin(), allVoxelTypes().end(), word) != allVoxelTypes().end();
}

/// The file of a volume to read: a raw file needs extents and voxel type, all others contain them.
VolumeFile parseReadable(const std::string& text) {
  const VolumeFile file = parseVolumeFile({}, text);
  const FileFormat& format = formatOf(file.name);
  requireFormatOperator(file.name, format.reader);
  if (!isRaw(format) && text != file.name) {
    throw UsageError(text + ": a file of this kind holds its voxel type and extents; write " + file.name);
  }
  if (isRaw(format) && (file.voxelType.empty() || !file.dimension)) {
    throw UsageError(text + ": a raw file is read with its extents and voxel type: " + file.name +
                     ":256x256x128:uint16, and :big for big-endian bytes");
  }
  return file;
}

/// The library's readers of heads alone, by the reader of the volume; absent for images.
std::string headReaderOf(const std::string& reader) {
  static const std::string end = "Reader";
  const std::string head = "NORV::TaviOperators::" + reader.substr(0, reader.size() - end.size()) + "TypeReader";
  const auto& identifiers = Tavi::Factory::getClassFactory().getIdentifiers();
  const bool isKnown = std::any_of(identifiers.begin(), identifiers.end(),
                                   [&](const std::string& each) { return each == head + "::Operator"; });
  return isKnown ? head : std::string();
}

/// Head and extents of an XSC file are not checked against its size by the library, which reads what is there.
void requireXscSize(const std::string& name, const std::string& shownName, SizeType voxels) {
  constexpr SizeType headBytes = 4, voxelBytes = 2;
  std::error_code error;
  const auto bytes = std::filesystem::file_size(name, error);
  if (error || !std::filesystem::is_regular_file(name, error)) {
    return;  // a device or a pipe has no size
  }
  if (bytes < headBytes + voxelBytes * voxels) {
    throw Failure(shownName + ": is not complete: " + std::to_string(bytes) + " bytes instead of " +
                  std::to_string(headBytes + voxelBytes * voxels));
  }
}

}  // namespace

VolumeFile parseVolumeFile(const std::string& key, const std::string& text) {
  VolumeFile file;
  std::size_t colon = text.find(':', 2);  // one at index 1 follows a drive letter
  file.name = text.substr(0, colon);
  const auto refuse = [&](const std::string& part) {
    throw UsageError((key.empty() ? "" : key + "=") + text + ": \"" + part + "\" is neither a voxel type (" +
                     join(allVoxelTypes()) + ") nor extents such as 64x64x64");
  };
  while (colon != std::string::npos) {
    const std::size_t next = text.find(':', colon + 1);
    const std::string part = text.substr(colon + 1, next == std::string::npos ? next : next - colon - 1);
    if (isVoxelType(part) && file.voxelType.empty()) {
      file.voxelType = part;
    } else if (part.find('x') != std::string::npos && !file.dimension) {
      file.dimension = parseDimension(key.empty() ? file.name : key, part);
    } else if ((part == "big" || part == "little") && lower(file.name).ends_with(".raw")) {
      file.isBigEndian = part == "big";
    } else {
      refuse(part);
    }
    colon = next;
  }
  return file;
}

const FileFormat& formatOf(const std::string& file) {
  const FileFormat* format = findFormat(file);
  if (format == nullptr) {
    std::vector<std::string> known;
    for (const FileFormat& each : formats) {
      if (isRaw(each) || isOperator(each.reader) || isOperator(each.writer)) {
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
  return format != nullptr && (isRaw(*format) || isOperator(format->writer));
}

std::vector<std::string> writableTypes(const std::string& file) {
  const FileFormat& format = formatOf(file);
  if (isRaw(format)) {
    return allVoxelTypes();
  }
  std::vector<std::string> types;
  for (const Instance& instance : registeredInstances(format.writer)) {
    types.push_back(instance.front());
  }
  return types;
}

void requireReadable(const std::string& text) { static_cast<void>(parseReadable(text)); }

void requireWritable(const std::string& text) {
  const VolumeFile file = parseVolumeFile({}, text);
  requireFormatOperator(file.name, formatOf(file.name).writer);
  requireCreatable(file.name);
}

void requireVoxelType(const std::string& file, const std::string& voxelType) {
  const auto types = writableTypes(file);
  if (std::find(types.begin(), types.end(), voxelType) == types.end()) {
    throw UsageError(file + ": " + formatOf(file).writer + " writes no " + voxelType + ", only " + join(types) +
                     "; convert the voxels first, for instance with \"tavi run StaticCast\"");
  }
}

SmartPointer<IVolume> loadVolume(Session& session, const std::string& text) {
  const VolumeFile file = parseReadable(text);
  const FileFormat& format = formatOf(file.name);
  if (isRaw(format)) {
    return readRaw(session, file);
  }
  const std::string reader = format.reader;
  const auto parameter = parameterFor(reader, file.name);
  session.run(reader, parameter, "load " + file.name);
  keepHeader(session, file.name, parameter);
  const SmartPointer<IVolume> volume(parameter->getValue(firstVolumeKey(keysOf(parameter), {"output"})));
  requireWholeFile(file.name, file.name, reader, *volume);
  return volume;
}

VolumeHead headOf(Session& session, const std::string& text) {
  const VolumeFile file = parseReadable(text);
  const FileFormat& format = formatOf(file.name);
  if (isRaw(format)) {
    requireRawSize(file);
    return {file.voxelType, file.dimension};
  }
  const std::string reader = headReaderOf(format.reader);
  if (reader.empty()) {
    const auto volume = loadVolume(session, text);  // an image of one slice
    return {shortName(volume->getVoxelType()), volume->getDimension()};
  }
  auto& factory = Tavi::Factory::getClassFactory();
  const SmartPointer<IOperator> head(factory.createInstance(reader + "::Operator"));
  const SmartPointer<IComposite> parameter(factory.createInstance(reader + "::Parameter"));
  const auto keys = keysOf(parameter);
  parameter->setValue(fileNameKey(keys), SmartPointer<IComposite>(new Data<std::string>(file.name)));
  session.run(format.reader, *head, parameter, "look into " + file.name);
  VolumeHead result;
  result.voxelType = shortName(valueText(parameter->getValue("outputVoxelType")));
  for (const KeyDescription& key : keys) {
    if (key.info.takes == Takes::dimension) {
      result.dimension = parseDimension(key.key, valueText(parameter->getValue(key.key)));
    }
  }
  return result;
}

void saveVolume(Session& session, const SmartPointer<IVolume>& volume, const std::string& text) {
  requireWritable(text);
  const VolumeFile file = parseVolumeFile({}, text);
  const FileFormat& format = formatOf(file.name);
  TargetFile target(file.name);
  if (isRaw(format)) {
    writeRaw(session, volume, file, target.name());
  } else {
    const std::string writer = format.writer;
    const auto parameter = parameterFor(writer, target.name());
    parameter->setValue(firstVolumeKey(keysOf(parameter), {"input"}), SmartPointer<IComposite>(volume));
    useHeader(session, file.name, parameter);
    session.run(writer, parameter, "save " + file.name, target.name() != file.name ? file.name : std::string());
    requireWholeFile(target.name(), file.name, writer, *volume);
  }
  target.complete();
  session.hasWritten(file.name);
}

void requireWholeFile(const std::string& writtenName, const std::string& shownName, const std::string& op,
                      const IVolume& volume) {
  if (op == "XscWriter" || op == "XscReader") {
    requireXscSize(writtenName, shownName, volume.getRoiSize());
  }
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
