#include <Failures.hpp>
#include <Raise.hpp>
#include <Tavi/Exceptions.hpp>

#include <cerrno>
#include <new>
#include <stdexcept>
#include <vector>

namespace NORV::TaviPython {
namespace {

/// What the classes of `tavi` are chosen by and hold beside the text.
struct Facts {
  std::string kind = "Failure";
  std::string origin, file;
  int line = 0;
  std::vector<std::string> information;
};

std::string kindOf(const std::exception& failure) {
  if (dynamic_cast<const IOperator::InvalidParameterObjectException*>(&failure) != nullptr) {
    return "InvalidParameterObject";
  }
  if (dynamic_cast<const std::bad_alloc*>(&failure) != nullptr) {
    return "OutOfMemory";
  }
  if (dynamic_cast<const std::overflow_error*>(&failure) != nullptr) {
    return "Overflow";
  }
  if (dynamic_cast<const std::out_of_range*>(&failure) != nullptr) {
    return "OutOfRange";
  }
  if (dynamic_cast<const std::invalid_argument*>(&failure) != nullptr) {
    return "InvalidArgument";
  }
  return dynamic_cast<const std::runtime_error*>(&failure) != nullptr ? "Runtime" : "Failure";
}

Facts factsOf(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const Exceptions::Exception& e) {  // first: some of the family have two std::exception bases
    return {e.getClassName(), e.getOrigin(), e.getFile(), e.getLine(), e.getAdditionalInformation()};
  } catch (const std::exception& e) {
    return {kindOf(e), {}, {}, 0, {}};
  } catch (...) {
    return {};
  }
}

py::object decoded(const std::string& text) {
  return py::reinterpret_steal<py::object>(
      PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "backslashreplace"));
}

void setError(const Facts& facts, const std::string& text, const std::string& hint, const std::string& op,
              const std::string& file, int systemError) {
  const auto make = py::module_::import("tavi._failures").attr("make");
  const py::object error = make(facts.kind, decoded(text), decoded(hint), op, facts.origin, decoded(facts.file),
                                facts.line, facts.information, decoded(file), systemError);
  PyErr_SetObject(py::type::of(error).ptr(), error.ptr());
}

}  // namespace

void raise(const FailedRun& run, const std::string& op, const SmartPointer<IComposite>& parameter,
           const std::string& file) {
  Facts facts = factsOf(run.failure);
  if (facts.kind == "Runtime" && !file.empty()) {
    facts.kind = "File";
  }
  try {
    errno = run.systemError;
    TaviTool::rethrowAsFailure(run.failure, {op, parameter, file, file, op.ends_with("Writer")});
  } catch (const TaviTool::Failure& failure) {
    setError(facts, failure.what(), failure.hint(), op, file, run.systemError);
  }
  throw py::error_already_set();
}

void registerFailures() {
  py::register_exception_translator([](std::exception_ptr failure) {
    try {
      std::rethrow_exception(failure);
    } catch (const TaviTool::UsageError& e) {
      PyErr_SetString(PyExc_ValueError, e.what());
    } catch (const TaviTool::Failure& e) {
      setError({"File", {}, {}, 0, {}}, e.what(), e.hint(), {}, {}, 0);
    } catch (const Exceptions::Exception& e) {
      setError(factsOf(failure), std::string(e.getOrigin()) + ": " + e.getErrorMessage(), {}, {}, {}, 0);
    }
  });
}

}  // namespace NORV::TaviPython
