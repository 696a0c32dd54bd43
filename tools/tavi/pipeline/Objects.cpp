#include <Call.hpp>
#include <Catalogue.hpp>
#include <FeatureTable.hpp>
#include <IAffineTransformMatrix.hpp>
#include <Objects.hpp>
#include <PngWriter.hpp>
#include <Tavi/Data.hpp>
#include <Values.hpp>
#include <VolumeFiles.hpp>

#include <algorithm>
#include <array>

namespace NORV::TaviTool {
namespace {

/// Keys of the library whose values come from files of their kind, and the key of the reader that hands them out.
struct FileObject {
  const char* key;
  const char* extension;
  const char* readerKey;
};
constexpr std::array fileObjects{
    FileObject{"inputHeader", ".rek", "outputHeader"}, FileObject{"inputHeader", ".rek.gz", "outputHeader"},
    FileObject{"inputHeader", ".rek.lz4", "outputHeader"}, FileObject{"inputColorTable", ".bmp", "outputColorTable"}};

const FileObject* findFileObject(const KeyDescription& key, const std::string& text) {
  const auto found = std::find_if(fileObjects.begin(), fileObjects.end(), [&](const FileObject& each) {
    return key.key == each.key && text.ends_with(each.extension);
  });
  return found != fileObjects.end() ? &*found : nullptr;
}

/// "Title=Scan,Author=Me"
SmartPointer<IComposite> makeMap(const std::string& key, const std::string& text) {
  const SmartPointer<TaviOperators::PngWriter::InformationMap> map(new TaviOperators::PngWriter::InformationMap);
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find(',', at), text.size());
    const std::string entry = text.substr(at, end - at);
    const std::size_t equals = entry.find('=');
    if (equals == std::string::npos || equals == 0) {
      throw UsageError(key + "=" + text + ": expected keywords and texts, such as Title=Scan,Author=Me");
    }
    map->insert_or_assign(entry.substr(0, equals), entry.substr(equals + 1));
    at = end + 1;
  }
  return map;
}

}  // namespace

bool isFileOfObject(const KeyDescription& key, const std::string& text) { return findFileObject(key, text) != nullptr; }

SmartPointer<IComposite> readObject(Session& session, const KeyDescription& key, const std::string& file) {
  const std::string reader = formatOf(file).reader;
  Call call(session, reader);
  call.set(fileNameKey(keysOf(makeParameter(reader))),
           SmartPointer<IComposite>(new Tavi::Persistence::Data<std::string>(file)));
  return call.run("read " + file).value(findFileObject(key, file)->readerKey);
}

SmartPointer<IComposite> parseObject(const SmartPointer<IComposite>& parameter, const KeyDescription& key,
                                     const std::string& text) {
  if (key.key == "inputHeader") {
    throw UsageError(key.key + "=" + text + ": expected a REK file, whose header it is");
  }
  if (key.key == "inputColorTable") {
    throw UsageError(key.key + "=" + text + ": expected a BMP file, whose palette it is");
  }
  if (key.key == "inputInformationMap") {
    return makeMap(key.key, text);
  }
  const auto present = parameter->getValue(key.key);
  if (present == nullptr) {
    throw UsageError(key.key + " cannot be given on the command line");
  }
  parseInto(key.key, present, text);
  return present;
}

SmartPointer<IVolume> matrixVolumeOf(const SmartPointer<IComposite>& value) {
  const SmartPointer<TaviOperators::IAffineTransformMatrix> matrix(value);
  return matrix != nullptr ? matrix->getMatrixVolume() : SmartPointer<IVolume>();
}

std::string resultText(const SmartPointer<IComposite>& value, const std::string& key, const std::string& file) {
  if (!file.ends_with(".csv")) {
    return valueJson(value).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  }
  return value != nullptr ? csvOf(value) : throw Failure("there is no " + key, file + " was not written");
}

}  // namespace NORV::TaviTool
