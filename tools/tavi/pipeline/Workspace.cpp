#include <TargetFile.hpp>
#include <VolumeFiles.hpp>
#include <Workspace.hpp>

namespace NORV::TaviTool {

void Workspace::put(const std::string& name, const SmartPointer<IComposite>& value) {
  const auto found = _entries.find(name);
  if (found != _entries.end() && found->second.uses > 0) {
    found->second.value = value;
  }
}

SmartPointer<IComposite> Workspace::value(const std::string& name) const {
  const auto found = _entries.find(name);
  return found != _entries.end() ? found->second.value : SmartPointer<IComposite>();
}

SmartPointer<IVolume> Workspace::volumeOfFile(const std::string& text) {
  if (const SmartPointer<IVolume> present(value(text)); present != nullptr) {
    return present;
  }
  const auto volume = loadVolume(_session, text);
  put(text, SmartPointer<IComposite>(volume));
  return volume;
}

void Workspace::release(const std::string& source) {
  const auto found = _entries.find(source);
  if (found != _entries.end() && found->second.uses > 0 && --found->second.uses == 0) {
    found->second.value = {};
  }
}

void Workspace::forgetFile(const std::string& name) {
  const std::string target = finalTarget(name);
  for (auto& [source, entry] : _entries) {
    if (!source.starts_with('$') && finalTarget(parseVolumeFile({}, source).name) == target) {
      entry.value = {};
    }
  }
}

}  // namespace NORV::TaviTool
