#include <Call.hpp>
#include <Catalogue.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Values.hpp>

namespace NORV::TaviTool {

using Tavi::Persistence::Data;

Call::Call(Session& session, const std::string& op) : _session(session), _op(op), _parameter(makeParameter(op)) {}

Call& Call::set(const std::string& key, const SmartPointer<IVolume>& volume) {
  return set(key, SmartPointer<IComposite>(volume));
}

Call& Call::set(const std::string& key, const SmartPointer<IComposite>& value) {
  _parameter->setValue(key, value);
  return *this;
}

Call& Call::setCount(const std::string& key, SizeType count) {
  return set(key, SmartPointer<IComposite>(new Data<uint64>(count)));
}

Call& Call::setFlag(const std::string& key, bool flag) {
  return set(key, SmartPointer<IComposite>(new Data<bool>(flag)));
}

Call& Call::run(const std::string& doing) {
  _session.run(_op, _parameter, doing);
  return *this;
}

SmartPointer<IComposite> Call::value(const std::string& key) const { return _parameter->getValue(key); }

SmartPointer<IVolume> Call::volume(const std::string& key) const { return SmartPointer<IVolume>(value(key)); }

SizeType Call::count(const std::string& key) const { return valueJson(value(key)).get<SizeType>(); }

SmartPointer<IVolume> copyOf(Session& session, const SmartPointer<IVolume>& volume, const std::string& doing) {
  // An operator of the core: it has no frame.
  auto& factory = Tavi::Factory::getClassFactory();
  const std::string type = volume->getType();
  const SmartPointer<IOperator> copy(
      factory.createInstance("NORV::Tavi::Copy::Operator< " + type + ", " + type + " >"));
  const SmartPointer<IComposite> parameter(factory.createInstance("NORV::Tavi::Copy::Parameter"));
  parameter->setValue("inputVolume", SmartPointer<IComposite>(volume));
  session.run("Copy", *copy, parameter, doing);
  return SmartPointer<IVolume>(parameter->getValue("outputVolume"));
}

}  // namespace NORV::TaviTool
