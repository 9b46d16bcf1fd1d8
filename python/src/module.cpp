// The extension module gravok._gravok, which the package gravok re-exports.
#include "common.h"

PYBIND11_MODULE(_gravok, m) {
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
