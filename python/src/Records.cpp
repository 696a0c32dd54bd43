#include <IStruct.hpp>
#include <Numbers.hpp>
#include <PythonValues.hpp>
#include <Tavi/ClassFactory.hpp>

#include <array>
#include <cstring>
#include <vector>

namespace NORV::TaviPython {
namespace {

/// An entry of a record and the numbers it holds, in the order in which they lie in an element of the array.
struct Entry {
  std::string key;
  py::object type;
  std::size_t bytes = 0;
  std::vector<Entry> children;  ///< of a triple in the order z, y, x; or of a region
};

std::size_t bytesOf(const std::vector<Entry>& entries) {
  std::size_t bytes = 0;
  for (const Entry& entry : entries) {
    bytes += entry.bytes;
  }
  return bytes;
}

std::vector<Entry> entriesOf(const SmartPointer<IComposite>& node);

Entry entryOf(const std::string& key, const SmartPointer<IComposite>& value) {
  Entry entry{key, py::none(), 0, {}};
  const bool isNumber = withNumber(*value, [&]<class T>(T) {
    entry.type = py::dtype::of<T>();
    entry.bytes = sizeof(T);
  });
  if (isNumber) {
    return entry;
  }
  entry.children = entriesOf(value);
  entry.bytes = bytesOf(entry.children);
  if (isTriple(value)) {
    std::swap(entry.children.front(), entry.children.back());
    entry.type = py::make_tuple(entry.children.front().type, 3);
  } else {
    py::list fields;
    for (const Entry& child : entry.children) {
      fields.append(py::make_tuple(child.key, child.type));
    }
    entry.type = fields;
  }
  return entry;
}

std::vector<Entry> entriesOf(const SmartPointer<IComposite>& node) {
  std::vector<Entry> entries;
  for (SizeType i = 0; i < node->getNumberOfKeys(); ++i) {
    const std::string key = node->getKey(i);
    const auto value = node->getValue(key);
    if (value != nullptr) {
      entries.push_back(entryOf(key, value));
    }
  }
  return entries;
}

/// Writes the numbers of a node one after the other; returns the place behind the last.
char* store(const SmartPointer<IComposite>& node, const std::vector<Entry>& entries, char* target) {
  for (const Entry& entry : entries) {
    const auto value = node->getValue(entry.key);
    if (!entry.children.empty()) {
      target = store(value, entry.children, target);
      continue;
    }
    withNumber(*value, [&](auto number) { std::memcpy(target, &number, sizeof number); });
    target += entry.bytes;
  }
  return target;
}

/// An element of the class that the name of a vector's class tells, for the columns of an empty one.
SmartPointer<IComposite> sampleOf(const IComposite& vector) {
  const std::string type = vector.getType();
  const auto begin = type.find("< "), end = type.rfind(" >");
  if (begin == std::string::npos || end == std::string::npos || end < begin + 2) {
    return {};
  }
  const std::string element = type.substr(begin + 2, end - begin - 2);
  const auto& factory = Tavi::Factory::getClassFactory();
  return factory.isRegistered(element) ? factory.createInstance(element) : SmartPointer<IComposite>();
}

}  // namespace

py::object recordsOf(const SmartPointer<IComposite>& vector) {
  const SizeType count = vector->getNumberOfKeys();
  const auto sample = count > 0 ? vector->getValue(vector->getKey(0)) : sampleOf(*vector);
  if (sample == nullptr || dynamic_cast<const TaviOperators::IStruct*>(sample.get()) == nullptr) {
    return py::none();
  }
  const auto entries = entriesOf(sample);
  py::list fields;
  for (const Entry& entry : entries) {
    fields.append(py::make_tuple(entry.key, entry.type));
  }
  const auto type = py::module_::import("numpy").attr("dtype")(fields);
  py::array array = py::module_::import("numpy").attr("empty")(count, type);
  char* target = static_cast<char*>(array.mutable_data());
  for (SizeType i = 0; i < count; ++i) {
    target = store(vector->getValue(vector->getKey(i)), entries, target);
  }
  return array;
}

}  // namespace NORV::TaviPython
