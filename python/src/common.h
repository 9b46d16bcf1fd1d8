// Shared pieces of the Python module: the binding functions of each family and the
// conversions between the library's containers and NumPy arrays. Arrays handed to
// Python take over the vector's memory (no copy, no Python object per value); arrays
// taken from Python are copied once into a vector, whatever their dtype, by NumPy's
// own casting. Every conversion needs the GIL.
#ifndef GRAVOK_PYTHON_COMMON_H
#define GRAVOK_PYTHON_COMMON_H

#include <gravok/data_source.h>
#include <gravok/records.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <string>
#include <vector>

namespace gravok_python {

namespace py = pybind11;

void bind_records(py::module_& m);
void bind_units(py::module_& m);
void bind_data(py::module_& m);
void bind_registry(py::module_& m);
void bind_mesh(py::module_& m);
void bind_log(py::module_& m);
void bind_problem(py::module_& m);
void bind_volume(py::module_& m);

// A 1-D float64 array that owns `values`' memory.
py::array_t<double> to_array(std::vector<double>&& values);
// An (n, 3) uint64 array that owns `triangles`' memory.
py::array_t<unsigned long long> to_array(std::vector<gvk::Triangle>&& triangles);
// An (n, 40) uint8 array that owns `info`'s memory, one row per record.
py::array_t<unsigned char> to_array(std::vector<gravok_triangle_info>&& info);

// New arrays holding copies of the vectors' values, in the same shapes.
py::array_t<double> copy_to_array(const std::vector<double>& values);
py::array_t<unsigned long long> copy_to_array(
    const std::vector<gvk::Triangle>& triangles);
py::array_t<unsigned char> copy_to_array(const std::vector<gravok_triangle_info>& info);

// The values of a 1-D array-like, as float64. TypeError or ValueError otherwise.
std::vector<double> doubles_from(py::handle values, const char* what);
// The triangles of an (n, 3) array-like of non-negative integers (an empty sequence
// gives none). TypeError for non-integer data, ValueError for another shape or a
// negative index.
std::vector<gvk::Triangle> triangles_from(py::handle triangles);
// Triangle records from an (n, 40) uint8 array-like or a sequence of
// gravok_triangle_info; None gives none.
std::vector<gravok_triangle_info> triangle_info_from(py::handle info);

// The UTF-16 units of `text` as a str (valid surrogate pairs combine, lone ones stay).
py::str str_from_units(const std::wstring& units);
// The UTF-16 units of a str (characters beyond the BMP become surrogate pairs).
std::wstring units_from_str(const py::str& text);

// A location or path given as str, bytes or os.PathLike (pathlib.Path), as the bytes
// the file system uses for it (UTF-8 for a str). TypeError for anything else.
std::string path_from(const py::handle& location);

// DataSource::ComplexElementData as Python sees it.
using ComplexData = gvk::DataSource::ComplexElementData;

// Releases a Python reference held by C++ code that may outlive the interpreter: the
// reference is dropped under the GIL while Python runs and leaked after it has
// finalized (there is nothing left to free then).
void drop_reference(py::object& object);

}  // namespace gravok_python

#endif  // GRAVOK_PYTHON_COMMON_H
