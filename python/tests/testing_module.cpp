// Helpers for the Python tests only: C++ threads that log through the library, and
// the literal reference mesh tools of the C++ tests on plain lists.
#include <gravok/log.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "../../tests/mesh_oracle.h"

#include <thread>
#include <vector>

namespace py = pybind11;

PYBIND11_MODULE(_gravok_testing, m) {
  m.def(
      "log_from_threads",
      [](int threads, int entries) {
        py::gil_scoped_release unlocked;
        std::vector<std::thread> workers;
        for (int t = 0; t < threads; ++t) {
          workers.emplace_back([t, entries] {
            for (int i = 0; i < entries; ++i) {
              GRAVOK_LOG_INFO << "thread " << t << " entry " << i;
            }
          });
        }
        for (std::thread& worker : workers) worker.join();
      },
      py::arg("threads"), py::arg("entries"),
      "Logs `entries` info entries from each of `threads` C++ threads, the GIL "
      "released.");
  m.def("reindex_oracle",
        [](std::vector<double> x, std::vector<double> y, std::vector<double> z,
           std::vector<gvk::Triangle> triangles, double tolerance) {
          oracle::reindex_mesh(x, y, z, triangles, tolerance);
          return py::make_tuple(x, y, z, triangles);
        });
  m.def("remove_unused_oracle",
        [](std::vector<double> x, std::vector<double> y, std::vector<double> z,
           std::vector<gvk::Triangle> triangles) {
          oracle::remove_unused_vertices(x, y, z, triangles);
          return py::make_tuple(x, y, z, triangles);
        });
}
