#include <Catalogue.hpp>
#include <Failures.hpp>
#include <FileNames.hpp>
#include <Tavi/Exceptions.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>

namespace NORV::TaviTool {
namespace {

bool holds(const std::string& text, const char* words) { return text.find(words) != std::string::npos; }

std::string systemText(int error) { return std::strerror(error); }

/// The reason that the system gives against opening; empty if it gives none.
std::string whyNotOpened(const std::string& file, bool writes) {
  struct stat status {};
  const bool exists = ::stat(file.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) {
    return systemText(EISDIR);
  }
  if (writes && !exists) {
    // Nothing is created to find out: the folder decides.
    std::string folder = std::filesystem::path(file).parent_path();
    folder = folder.empty() ? "." : folder;
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
      return "folder " + folder + ": " + systemText(errno);
    }
    return {};
  }
  const int descriptor = ::open(file.c_str(), (writes ? O_WRONLY : O_RDONLY) | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    return systemText(errno);
  }
  ::close(descriptor);
  return {};
}

std::string firstBytes(const std::string& file) {
  struct Magic {
    const char* bytes;
    std::size_t size;
    const char* meaning;
  };
  static constexpr std::array<Magic, 7> known{{{"\x1F\x8B", 2, "gzip"},
                                               {"\x04\x22\x4D\x18", 4, "LZ4"},
                                               {"\x89PNG", 4, "PNG"},
                                               {"II*", 3, "TIFF"},
                                               {"MM", 2, "TIFF"},
                                               {"BM", 2, "BMP"},
                                               {"<?xml", 5, "XML"}}};
  std::array<char, 8> bytes{};
  std::FILE* stream = std::fopen(file.c_str(), "rbe");
  if (stream == nullptr) {
    return {};
  }
  const std::size_t size = std::fread(bytes.data(), 1, bytes.size(), stream);
  std::fclose(stream);
  if (size == 0) {
    return {};
  }
  std::string text = ", begins with";
  for (std::size_t i = 0; i < size; ++i) {
    std::array<char, 8> hex{};
    std::snprintf(hex.data(), hex.size(), " %02X", static_cast<unsigned>(static_cast<unsigned char>(bytes[i])));
    text += hex.data();
  }
  for (const Magic& magic : known) {
    if (size >= magic.size && std::memcmp(bytes.data(), magic.bytes, magic.size) == 0) {
      return text + " (" + magic.meaning + ")";
    }
  }
  return text;
}

std::string spaceLeft(const std::string& file, const std::string& shownName) {
  struct statvfs space {};
  struct stat status {};
  if (::stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) && ::statvfs(file.c_str(), &space) == 0) {
    const double free = static_cast<double>(space.f_bavail) * static_cast<double>(space.f_frsize);
    return shownName + ": its file system has " + bytesText(free) + " left";
  }
  return shownName + ": the device takes no more";
}

/// Which volumes were given, by their voxel types or their extents.
std::string givenVolumes(const FailureContext& context, bool asExtents = false) {
  std::vector<std::string> given;
  for (const KeyDescription& key : keysOf(context.parameter)) {
    if (isVolume(key)) {
      const SmartPointer<IVolume> volume(context.parameter->getValue(key.key));
      if (volume != nullptr) {
        given.push_back(key.key + " is " +
                        (asExtents ? toText(volume->getDimension()) : shortName(volume->getVoxelType())));
      }
    }
  }
  return join(given);
}

std::string existingInstances(const FailureContext& context) {
  const auto instances = isOperator(context.op) ? reachableInstances(context.op) : std::vector<Instance>();
  if (instances.empty()) {
    return {};
  }
  const std::string given = givenVolumes(context);
  return (given.empty() ? "" : given + "; ") + context.op + " takes " +
         instancesText(instances, hasOutputVolume(context.op));
}

std::string hintFor(const std::string& text, const FailureContext& context, int error) {
  if (text.ends_with("file name is invalid") || text.ends_with("filename is invalid")) {
    return context.shownFile + ": " + whyNameIsRefused(context.file);
  }
  if (holds(text, "No creationMethod for the identifier") || holds(text, "Voxel types") ||
      holds(text, "volume is of the wrong type")) {
    return existingInstances(context);
  }
  if (holds(text, "differ in size")) {
    return givenVolumes(context, true);
  }
  if (holds(text, "inputMask is NULL")) {
    return givenVolumes(context) + "; a mask is uint8, as \"tavi mask\" writes it";
  }
  if (context.file.empty()) {
    return holds(text, "is NULL") ? givenVolumes(context) : std::string();
  }
  const std::string reason = whyNotOpened(context.file, context.writes);
  if (!reason.empty()) {
    return context.shownFile + ": " + reason;
  }
  if (context.writes) {
    if (error == ENOSPC || error == EDQUOT || error == EFBIG || error == EIO) {
      return spaceLeft(context.file, context.shownFile) + " (" + systemText(error) + ")";
    }
    return {};
  }
  return describeFile(context.file, context.shownFile);
}

}  // namespace

std::string describeFile(const std::string& file, const std::string& shownName) {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) {
    return shownName + ": " + systemText(errno);
  }
  if (S_ISDIR(status.st_mode)) {
    return shownName + ": " + systemText(EISDIR);
  }
  if (!S_ISREG(status.st_mode)) {
    return shownName + ": no regular file";
  }
  return shownName + ": " + std::to_string(status.st_size) + " bytes" + firstBytes(file);
}

void rethrowAsFailure(const std::exception_ptr& failure, const FailureContext& context) {
  const int error = errno;
  // The family first: some of its members have two std::exception bases, which a handler for that class passes over.
  try {
    std::rethrow_exception(failure);
  } catch (const Failure&) {
    throw;  // of the tool itself
  } catch (const Exceptions::Exception& e) {
    const std::string message = e.getErrorMessage();
    const std::string text = std::string(e.getOrigin()) + ": " + (message.empty() ? e.getClassName() : message);
    throw Failure(text, hintFor(text, context, error));
  } catch (const std::bad_alloc&) {
    const std::string what =
        context.file.empty() ? givenVolumes(context) : describeFile(context.file, context.shownFile);
    throw Failure(context.op + ": memory ran out", what);
  } catch (const std::exception& e) {
    throw Failure(e.what(), hintFor(e.what(), context, error));
  } catch (...) {
    throw Failure(context.op + ": a failure of unknown kind");
  }
}

}  // namespace NORV::TaviTool
