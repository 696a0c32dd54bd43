#pragma once

#include <Common.hpp>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <string>

/// The Python package: a host of the library that knows parameter objects, not operators. What it knows of keys comes
/// from the same tables as the command line's.
namespace NORV::TaviPython {

namespace py = pybind11;

using Tavi::Dimension;
using Tavi::IOperator;
using Tavi::IVolume;
using Tavi::Position;
using Tavi::RegionOfInterest;
using Tavi::SizeType;
using Tavi::SmartPointer;
using Tavi::Persistence::IComposite;
using Tavi::Persistence::KeyDescription;
using Tavi::Persistence::KeyInfo;
using Tavi::Persistence::Takes;

/// Whose argument a value is, for the texts of failures.
struct Where {
  const std::string& function;
  const std::string& argument;

  /// "saturation(): lower_limit"
  std::string text() const { return function + "(): " + argument; }
};

/// What Python shows of a value, shortened.
std::string shown(py::handle value);

/// str(value)
inline std::string textOf(py::handle value) { return py::str(value).cast<std::string>(); }

}  // namespace NORV::TaviPython
