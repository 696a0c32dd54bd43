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
#include <cstring>

namespace NORV::TaviTool {
namespace {

/// The output of the file's reader that has the name of the key, such as outputHeader for inputHeader; empty if there
/// is none.
std::string readerKeyOf(const KeyDescription& key, const std::string& file) {
  if (!isInput(key.key) || volumeExtensionOf(file).empty() || !isOperator(formatOf(file).reader)) {
    return {};
  }
  const std::string wanted = "output" + key.key.substr(std::strlen("input"));
  const auto keys = keysOf(makeParameter(formatOf(file).reader));
  const auto found = std::find_if(keys.begin(), keys.end(), [&](const auto& each) { return each.key == wanted; });
  return found != keys.end() ? wanted : std::string();
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

bool isFileOfObject(const KeyDescription& key, const std::string& text) {
  return key.info.takes == Takes::object && !readerKeyOf(key, text).empty();
}

SmartPointer<IComposite> readObject(Session& session, const KeyDescription& key, const std::string& file) {
  const std::string reader = formatOf(file).reader;
  Call call(session, reader);
  call.set(fileNameKey(keysOf(makeParameter(reader))),
           SmartPointer<IComposite>(new Tavi::Persistence::Data<std::string>(file)));
  return call.run("read " + file).value(readerKeyOf(key, file));
}

SmartPointer<IComposite> parseObject(const SmartPointer<IComposite>& parameter, const KeyDescription& key,
                                     const std::string& text) {
  if (const auto present = parameter->getValue(key.key); present != nullptr && present->getNumberOfKeys() == 3) {
    parseInto(key.key, present, text);
    return present;
  }
  const auto empty = SmartPointer<IComposite>(new TaviOperators::PngWriter::InformationMap);
  // A property empties itself for a class that it does not hold.
  parameter->setValue(key.key, empty);
  if (parameter->getValue(key.key) != nullptr) {
    return makeMap(key.key, text);
  }
  throw UsageError(key.key + "=" + text + ": expected a volume file that it is taken from");
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
