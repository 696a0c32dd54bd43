#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <string>

namespace NORV::TaviTool {

/// One run of an operator: its parameter object, filled key by key.
class Call {
public:
  /// An operator of the list, through its frame.
  Call(Session& session, const std::string& op);

  Call& set(const std::string& key, const SmartPointer<IVolume>& volume);
  Call& set(const std::string& key, const SmartPointer<IComposite>& value);
  Call& setCount(const std::string& key, SizeType count);
  Call& setFlag(const std::string& key, bool flag);

  /// Shows its progress under the name `doing`; throws as Session::run does.
  Call& run(const std::string& doing);

  SmartPointer<IComposite> value(const std::string& key) const;
  SmartPointer<IVolume> volume(const std::string& key) const;
  SizeType count(const std::string& key) const;

private:
  Session& _session;
  std::string _op;
  SmartPointer<IComposite> _parameter;
};

/// The view of a volume as a volume of its own.
SmartPointer<IVolume> copyOf(Session& session, const SmartPointer<IVolume>& volume, const std::string& doing);

}  // namespace NORV::TaviTool
