#include <Arrays.hpp>
#include <Catalogue.hpp>
#include <Description.hpp>
#include <FileNames.hpp>
#include <Lock.hpp>
#include <Mask.hpp>
#include <Operator.hpp>
#include <PythonNames.hpp>
#include <PythonValues.hpp>
#include <Raise.hpp>
#include <Run.hpp>
#include <Session.hpp>
#include <TargetFile.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <VolumeFiles.hpp>

#include <memory>

namespace NORV::TaviPython {
namespace {

using Tavi::Persistence::Data;

py::object drawMask(const std::string& shape, const std::string& extents) {
  TaviTool::Session session;
  session.quiet = true;
  const auto spec = TaviTool::parseMask("extents", shape, extents);
  SmartPointer<IVolume> mask;
  {
    const Unlocked unlocked;
    mask = TaviTool::makeMask(session, spec);
  }
  return arrayOf(mask);
}

/// What a nested operator reads of a file without its voxels, by key; empty where there is none for the format.
py::dict readHead(const std::string& reader, const std::string& file) {
  const std::string name =
      "NORV::TaviOperators::" + reader.substr(0, reader.size() - std::string("Reader").size()) + "TypeReader::";
  const auto& factory = Tavi::Factory::getClassFactory();
  py::dict head;
  if (!factory.isRegistered(name + "Operator") || !factory.isRegistered(name + "Parameter")) {
    return head;
  }
  const SmartPointer<IOperator> frame(factory.createInstance(name + "Operator"));
  const auto parameter = factory.createInstance(name + "Parameter");
  parameter->setValue("inputFilename", SmartPointer<IComposite>(new Data<std::string>(file)));
  if (const auto failed = run(*frame, parameter, false, py::none())) {
    raise(*failed, reader, parameter, file);
  }
  for (const KeyDescription& key : TaviTool::keysOf(parameter)) {
    if (TaviTool::isOutput(key.key)) {
      head[py::str(key.key)] = pythonOf(parameter->getValue(key.key),
                                        key.info.takes == Takes::dimension || key.info.takes == Takes::position);
    }
  }
  return head;
}

bool shares(const py::object& array) {
  static const std::string function = "shares_memory", argument = "array";
  const Where where{function, argument};
  const py::array checked = requireArray(array, where);
  requireVoxelType(checked, where);
  return sharesMemory(checked);
}

void defineFiles(py::module_& module) {
  py::class_<TaviTool::TargetFile>(module, "TargetFile")
      .def(py::init([](const std::string& name) {
        return std::make_unique<TaviTool::TargetFile>(name, TaviTool::TargetFile::Interrupts::ignored);
      }))
      .def("name", [](const TaviTool::TargetFile& file) { return py::bytes(file.name()); })
      .def("complete", &TaviTool::TargetFile::complete);
  module.def("reader_of", [](const std::string& file) {
    TaviTool::requireReadable(file);
    return std::string(TaviTool::formatOf(file).reader);
  });
  module.def("writer_of", [](const std::string& file) {
    TaviTool::requireWritable(file);
    return std::string(TaviTool::formatOf(file).writer);
  });
  module.def("read_head", &readHead);
}

}  // namespace
}  // namespace NORV::TaviPython

PYBIND11_MODULE(_core, module) {
  using namespace NORV::TaviPython;
  module.doc() = "The library TaviOperators, bound key by key.";
  py::class_<Operator>(module, "Operator")
      .def(py::init<const std::string&, const std::string&, const py::list&, const py::object&>())
      .def("bind", &Operator::bind)
      .def("__call__", &Operator::call)
      .def("host_seconds", &Operator::hostSeconds);
  module.def("operators", &NORV::TaviTool::operatorNames);
  module.def("describe", [](const std::string& op) { return NORV::TaviTool::descriptionOf(op).dump(); });
  module.def("voxel_types", [](const std::string& op) {
    return NORV::TaviTool::instancesText(NORV::TaviTool::reachableInstances(op), NORV::TaviTool::hasOutputVolume(op));
  });
  module.def("snake_case", &NORV::TaviTool::snakeCase);
  module.def("mask", &drawMask);
  module.def("shares_memory", &shares, py::arg("array"),
             "Whether operators take the array without a copy: its steps are those of a view of a dense block.");
  defineFiles(module);
  registerFailures();
  py::module_::import("atexit").attr("register")(py::cpp_function(&endLocking));
}
