#pragma once

#include <Host.hpp>

#include <string>

/// Values of parameter objects as objects of Python and back. Triples of places and extents are in the order of an
/// array's axes, [z, y, x]; so are the rows and columns of matrices.
namespace NORV::TaviPython {

/// The `Data` of that type name with the value, which must fit it: TypeError for what is no number (or flag, or text),
/// ValueError for a number that does not fit.
SmartPointer<IComposite> dataOf(const std::string& type, py::handle value, const Where& where);

/// Sets the three components of a node, from one number for all or from a sequence of three.
void fillTriple(const SmartPointer<IComposite>& node, py::handle value, bool isSpatial, const Where& where);

/// A matrix of 4 x 4 numbers as the volume in which it passes.
SmartPointer<IVolume> matrixOf(py::handle value, const Where& where);

/// What passes under a key of its own class: a file header from bytes, texts from a dict, a palette from rows of
/// colours.
SmartPointer<IComposite> objectOf(py::handle value, const Where& where);

/// The name of a file from a str, bytes or a path.
std::string fileNameOf(py::handle value, const Where& where);

/// Whether a node is a triple with the components prim, sec and tert.
bool isTriple(const SmartPointer<IComposite>& node);

/// The result under a key: a number, a text, an array, a tuple, a structured array, a dict or bytes; None for nothing.
py::object pythonOf(const SmartPointer<IComposite>& value, bool isSpatial);

/// A vector of records as a structured array; None for what is none.
py::object recordsOf(const SmartPointer<IComposite>& vector);

}  // namespace NORV::TaviPython
