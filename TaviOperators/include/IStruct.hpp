#pragma once

#include <StructProperty.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/Property.hpp>

#include <string>
#include <utility>
#include <vector>

namespace NORV::TaviOperators {

/// Base of records: a node with named, typed entries, in the order in which they were appended. The entries are
/// `StructProperty` members of the derived class.
class TAVI_EXPORT IStruct : public Tavi::Persistence::IComposite {
public:
  using Entry = Tavi::Persistence::PropertyBase;
  using IComposite = Tavi::Persistence::IComposite;

  IStruct() = default;
  IStruct(const IStruct&) = delete;  // the table below points to members
  IStruct& operator=(const IStruct&) = delete;

  /// Throws InvalidArg for an unknown key, as the entry does for a value that is none of its type.
  void setValue(const std::string& key, Tavi::SmartPointer<IComposite> value) override {
    find(key, "NORV::TaviOperators::IStruct::setValue").set(value);
  }
  /// A copy of the entry's value; throws InvalidArg for an unknown key.
  Tavi::SmartPointer<IComposite> getValue(const std::string& key) const override {
    return find(key, "NORV::TaviOperators::IStruct::getValue").get();
  }
  /// Throws IndexOutOfRange for an index past the end.
  std::string getKey(Tavi::SizeType index) const override {
    if (index >= _entries.size()) {
      throw Exceptions::IndexOutOfRange("NORV::TaviOperators::IStruct::getKey", index, 0,
                                        _entries.size() - Tavi::SizeType{1});
    }
    return _entries[index].first;
  }
  Tavi::SizeType getNumberOfKeys() const override { return _entries.size(); }

protected:
  /// Makes a member reachable under `key`, a literal; throws InvalidArg for a key that is taken.
  void append(const char* key, Entry& entry) {
    for (const auto& taken : _entries) {
      if (std::string(key) == taken.first) {
        throw Exceptions::InvalidArg("NORV::TaviOperators::IStruct::append", "Key '%s' already exists!", key);
      }
    }
    _entries.emplace_back(key, &entry);
    entry.setOwner(this);
  }
  /// For so many entries in all. There may be a record for each of very many objects.
  void reserve(std::size_t entries) { _entries.reserve(entries); }

private:
  Entry& find(const std::string& key, const Exceptions::Origin& origin) const {
    for (const auto& [name, entry] : _entries) {
      if (key == name) {
        return *entry;
      }
    }
    throw Exceptions::InvalidArg(origin, "No such key '%s'!", key.c_str());
  }

  std::vector<std::pair<const char*, Entry*>> _entries;
};

}  // namespace NORV::TaviOperators
