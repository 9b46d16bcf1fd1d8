// The extension module gravok._gravok, which the package gravok re-exports.
#include "common.h"

#include <system_error>

namespace {

// A store's failed write (std::system_error, "cannot write PATH: REASON") becomes the
// OSError of its error number, so that FileNotFoundError, PermissionError and the
// others arise as Python's own file functions raise them; a write the store refuses
// for its content (std::invalid_argument) is pybind11's ValueError already.
void translate_system_error(std::exception_ptr thrown) {
  try {
    if (thrown) std::rethrow_exception(thrown);
  } catch (const std::system_error& e) {
    const int error = e.code().default_error_condition().value();
    pybind11::object exception =
        pybind11::reinterpret_borrow<pybind11::object>(PyExc_OSError)(error, e.what());
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())),
                    exception.ptr());
  }
}

}  // namespace

PYBIND11_MODULE(_gravok, m) {
  pybind11::register_exception_translator(translate_system_error);
  m.doc() =
      "gravok: terrain-grading problems, their sources and stores, plug-ins and mesh "
      "tools, with NumPy arrays for meshes.";
  m.attr("__version__") = GRAVOK_PYTHON_VERSION;
  gravok_python::bind_records(m);
  gravok_python::bind_units(m);
  gravok_python::bind_data(m);
  gravok_python::bind_registry(m);
  gravok_python::bind_mesh(m);
  gravok_python::bind_log(m);
  gravok_python::bind_problem(m);
  gravok_python::bind_volume(m);
}
