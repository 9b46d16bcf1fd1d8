// Mesh tools, the mesh check and Triangle's .poly/.node/.ele files on NumPy arrays.
// Each tool copies its input arrays once into the library's vectors, works on them
// without the GIL and hands the results back as arrays that own the vectors' memory.
// Before a tool that assumes a sound mesh, the arrays are checked here, so that bad
// input raises ValueError instead of reaching code that would read out of bounds.
#include <gravok/mesh_check.h>
#include <gravok/mesh_tools.h>
#include <gravok/poly_file.h>

#include "common.h"

namespace gravok_python {

namespace {

struct Mesh {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
};

// The mesh of four array-likes, with y and z at least as long as x and every index
// below the vertex count (ValueError otherwise).
Mesh sound_mesh(py::handle x, py::handle y, py::handle z, py::handle triangles) {
  Mesh mesh{doubles_from(x, "x"), doubles_from(y, "y"), doubles_from(z, "z"),
            triangles_from(triangles)};
  if (mesh.y.size() < mesh.x.size() || mesh.z.size() < mesh.x.size()) {
    throw py::value_error("y and z must be at least as long as x");
  }
  const unsigned long long count = mesh.x.size();
  for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
    for (unsigned long long corner : mesh.triangles[t]) {
      if (corner >= count) {
        throw py::value_error("triangle " + std::to_string(t) + " names vertex " +
                              std::to_string(corner) + ", but the mesh has " +
                              std::to_string(count) + " vertices");
      }
    }
  }
  return mesh;
}

py::array_t<unsigned long long> index_array(std::vector<unsigned long long>&& values) {
  auto* owned = new std::vector<unsigned long long>(std::move(values));
  py::capsule free_when_done(
      owned, [](void* p) { delete static_cast<std::vector<unsigned long long>*>(p); });
  return py::array_t<unsigned long long>(static_cast<py::ssize_t>(owned->size()),
                                         owned->data(), free_when_done);
}

py::tuple mesh_tuple(Mesh&& mesh) {
  return py::make_tuple(to_array(std::move(mesh.x)), to_array(std::move(mesh.y)),
                        to_array(std::move(mesh.z)), to_array(std::move(mesh.triangles)));
}

}  // namespace

void bind_mesh(py::module_& m) {
  m.def(
      "reindex_mesh",
      [](py::handle x, py::handle y, py::handle z, py::handle triangles,
         double tolerance) {
        Mesh mesh = sound_mesh(x, y, z, triangles);
        {
          py::gil_scoped_release unlocked;
          gvk::reindex_mesh(mesh.x, mesh.y, mesh.z, mesh.triangles, tolerance);
        }
        return mesh_tuple(std::move(mesh));
      },
      py::arg("x"), py::arg("y"), py::arg("z"), py::arg("triangles"),
      py::arg("tolerance"),
      "(x, y, z, triangles): new arrays with the vertices that coincide in plan within "
      "`tolerance` welded, exactly as the C++ reindex_mesh does. The inputs are not "
      "changed. ValueError when y or z is shorter than x or an index is out of range.");
  m.def(
      "remove_unused_vertices",
      [](py::handle x, py::handle y, py::handle z, py::handle triangles) {
        Mesh mesh = sound_mesh(x, y, z, triangles);
        {
          py::gil_scoped_release unlocked;
          gvk::remove_unused_vertices(mesh.x, mesh.y, mesh.z, mesh.triangles);
        }
        return mesh_tuple(std::move(mesh));
      },
      py::arg("x"), py::arg("y"), py::arg("z"), py::arg("triangles"),
      "(x, y, z, triangles): new arrays without the vertices no triangle uses, the "
      "triangles renumbered. ValueError as for reindex_mesh.");

  py::enum_<gvk::MeshFindingKind>(m, "MeshFindingKind", "What a mesh finding reports.")
      .value("MissingCoordinates", gvk::MeshFindingKind::MissingCoordinates)
      .value("IndexOutOfRange", gvk::MeshFindingKind::IndexOutOfRange)
      .value("NonFiniteCoordinate", gvk::MeshFindingKind::NonFiniteCoordinate)
      .value("ZeroArea", gvk::MeshFindingKind::ZeroArea)
      .value("UnusedVertex", gvk::MeshFindingKind::UnusedVertex)
      .value("WeldedVertex", gvk::MeshFindingKind::WeldedVertex);
  py::class_<gvk::MeshFinding>(m, "MeshFinding", "One finding of check_mesh.")
      .def_readonly("kind", &gvk::MeshFinding::kind)
      .def_readonly("part", &gvk::MeshFinding::part)
      .def_readonly("index", &gvk::MeshFinding::index)
      .def_readonly("value", &gvk::MeshFinding::value)
      .def_readonly("vertices", &gvk::MeshFinding::vertices)
      .def("__str__", &gvk::mesh_finding_message)
      .def("__repr__", [](const gvk::MeshFinding& f) {
        return "MeshFinding('" + gvk::mesh_finding_message(f) + "')";
      });
  m.def(
      "check_mesh",
      [](py::handle x, py::handle y, py::handle z, py::handle triangles, double tolerance,
         unsigned long long max_findings) {
        const std::vector<double> xs = doubles_from(x, "x"), ys = doubles_from(y, "y"),
                                  zs = doubles_from(z, "z");
        const std::vector<gvk::Triangle> ts = triangles_from(triangles);
        py::gil_scoped_release unlocked;
        return gvk::check_mesh(xs, ys, zs, ts, tolerance, max_findings);
      },
      py::arg("x"), py::arg("y"), py::arg("z"), py::arg("triangles"),
      py::arg("weld_tolerance"), py::arg("max_findings") = gvk::kAllMeshFindings,
      "The mesh's findings (a list of MeshFinding, at most max_findings), ordered by "
      "kind, then index, then part. Any mesh is accepted.");
  m.def("mesh_finding_message", &gvk::mesh_finding_message, py::arg("finding"),
        "One line of English for a finding.");

  py::class_<gvk::PolyReadResult> result(m, "PolyReadResult",
                                         "What PolyFile.read found when it failed.");
  py::enum_<gvk::PolyReadResult::Status>(result, "Status")
      .value("ok", gvk::PolyReadResult::ok)
      .value("cannot_open", gvk::PolyReadResult::cannot_open)
      .value("empty", gvk::PolyReadResult::empty)
      .value("bad_vertex_count", gvk::PolyReadResult::bad_vertex_count)
      .value("bad_vertex_line", gvk::PolyReadResult::bad_vertex_line);
  result.def_readonly("status", &gvk::PolyReadResult::status)
      .def_readonly("line", &gvk::PolyReadResult::line)
      .def_readonly("message", &gvk::PolyReadResult::message);

  static py::exception<gvk::PolyReadResult> poly_error(m, "PolyReadError",
                                                       PyExc_ValueError);
  poly_error.attr("__doc__") =
      "PolyFile.read could not read a file: a ValueError whose `status` "
      "(PolyReadResult.Status) and `line` (1-based, 0 for the whole file) name the "
      "fault.";
  py::class_<gvk::PolyFile>(m, "PolyFile", "Triangle-format files.")
      .def_static(
          "read",
          [](const std::string& path) {
            Mesh mesh;
            std::vector<unsigned long long> boundary;
            gvk::PolyReadResult outcome;
            {
              py::gil_scoped_release unlocked;
              outcome = gvk::PolyFile::read(path, mesh.x, mesh.y, mesh.z, mesh.triangles,
                                            boundary);
            }
            if (!outcome) {
              py::object error =
                  py::reinterpret_borrow<py::object>(poly_error.ptr())(outcome.message);
              error.attr("status") = outcome.status;
              error.attr("line") = outcome.line;
              PyErr_SetObject(poly_error.ptr(), error.ptr());
              throw py::error_already_set();
            }
            py::tuple arrays = mesh_tuple(std::move(mesh));
            return py::make_tuple(arrays[0], arrays[1], arrays[2], arrays[3],
                                  index_array(std::move(boundary)));
          },
          py::arg("path"),
          "(x, y, z, triangles, boundary) of a .poly file: float64 vertex coordinates, "
          "an empty (0, 3) triangle array and the uint64 vertex numbers of the walk "
          "around its closed boundary. PolyReadError (a ValueError with status, line "
          "and the message) when the file cannot be opened, is empty, or its vertex "
          "count or a vertex line does not parse.")
      .def_static(
          "to_files",
          [](const std::string& basename, py::handle x, py::handle y, py::handle z,
             py::handle triangles) {
            const std::vector<double> xs = doubles_from(x, "x"),
                                      ys = doubles_from(y, "y"),
                                      zs = doubles_from(z, "z");
            if (ys.size() < xs.size() || zs.size() < xs.size()) {
              throw py::value_error("y and z must be at least as long as x");
            }
            const std::vector<gvk::Triangle> ts = triangles_from(triangles);
            py::gil_scoped_release unlocked;
            gvk::PolyFile::to_files(basename, xs, ys, zs, ts);
          },
          py::arg("basename"), py::arg("x"), py::arg("y"), py::arg("z"),
          py::arg("triangles"),
          "Writes stem.1.node and stem.1.ele (stem: basename without its last '.' part). "
          "Nothing is reported: a file that cannot be created stays unwritten.");
}

}  // namespace gravok_python
