// The whole problem for Python: gvk::Problem converted into plain Python values (NumPy
// arrays for meshes, slopes and element coordinates; lists of records; the unit, enum
// and record classes of the module) and back. The package's Problem class
// (gravok/_problem.py) holds those values, so that everything a Python program
// changes in it is its own, and crosses into C++ only when it is saved or handed on.
#include <gravok/hand_over.h>
#include <gravok/problem.h>

#include "common.h"

#include <tuple>

namespace gravok_python {

namespace {

using Elements = std::vector<gravok_grading_element>;
using Lists = std::vector<std::vector<double>>;

py::list arrays_of(Lists&& lists) {
  py::list arrays;
  for (std::vector<double>& list : lists) arrays.append(to_array(std::move(list)));
  return arrays;
}

Lists lists_of(const py::handle& arrays, const char* what) {
  Lists lists;
  for (const py::handle& array : arrays) lists.push_back(doubles_from(array, what));
  return lists;
}

py::dict mesh_to_python(gvk::Mesh&& mesh) {
  py::dict d;
  d["x"] = to_array(std::move(mesh.x));
  d["y"] = to_array(std::move(mesh.y));
  d["z"] = to_array(std::move(mesh.z));
  d["triangles"] = to_array(std::move(mesh.triangles));
  d["triangle_info"] = to_array(std::move(mesh.triangle_info));
  return d;
}

gvk::Mesh mesh_from_python(const py::handle& d) {
  gvk::Mesh mesh;
  mesh.x = doubles_from(d["x"], "mesh.x");
  mesh.y = doubles_from(d["y"], "mesh.y");
  mesh.z = doubles_from(d["z"], "mesh.z");
  mesh.triangles = triangles_from(d["triangles"]);
  mesh.triangle_info = triangle_info_from(d["triangle_info"]);
  return mesh;
}

template <int N>
py::object unit_to_python(const gvk::StoredUnit& stored) {
  gvk::Unit<N> unit;
  gvk::restore_unit(stored, unit);
  return py::cast(std::move(unit));
}

template <int N>
gvk::StoredUnit unit_from_python(const py::handle& unit) {
  return gvk::store_unit(unit.cast<const gvk::Unit<N>&>());
}

py::dict description_to_python(gvk::ProblemDescription&& d) {
  py::dict out;
  out["epsg_code"] = d.coordinate_system.epsg_code;
  out["wkt"] = d.coordinate_system.wkt;
  out["coordinate_system_name"] = d.coordinate_system.name;
  out["application_name"] = d.application_name;
  out["application_version"] = d.application_version;
  out["surface_descriptions"] = d.surface_descriptions;
  return out;
}

gvk::ProblemDescription description_from_python(const py::handle& d) {
  gvk::ProblemDescription out;
  out.coordinate_system.epsg_code = d["epsg_code"].cast<std::string>();
  out.coordinate_system.wkt = d["wkt"].cast<std::string>();
  out.coordinate_system.name = d["coordinate_system_name"].cast<std::string>();
  out.application_name = d["application_name"].cast<std::string>();
  out.application_version = d["application_version"].cast<std::string>();
  out.surface_descriptions =
      d["surface_descriptions"].cast<std::map<unsigned long long, std::string>>();
  return out;
}

// The problem as a dict of the names the package's Problem takes; the vectors' memory
// moves into the arrays without a copy.
py::dict to_python(gvk::Problem&& p) {
  py::dict d;
  d["hostcad_version"] = p.hostcad_version;
  d["linear_unit"] = unit_to_python<1>(p.linear_unit);
  d["area_unit"] = unit_to_python<2>(p.area_unit);
  d["volume_unit"] = unit_to_python<3>(p.volume_unit);
  d["origin"] = py::make_tuple(p.xorig, p.yorig, p.zorig);
  d["fix_boundary"] = p.fix_boundary;
  d["max_slope"] = p.max_slope;
  d["min_slope"] = p.min_slope;
  d["volume_constraint"] = p.volume_constraint;
  d["max_slopes"] = to_array(std::move(p.max_slopes));
  d["min_slopes"] = to_array(std::move(p.min_slopes));
  d["mesh_metric"] = p.metric;
  d["max_iteration_count"] = p.max_iteration_count;
  d["epsilon"] = p.epsilon;
  d["surface_ids"] = p.surface_ids;
  d["surface_names"] = p.surface_names;
  d["objectives"] = p.objectives;
  d["break_lines"] = p.break_lines;
  d["mesh"] = mesh_to_python(std::move(p.mesh));
  py::dict elements;
  for (auto& [kind, set] : p.elements) {
    py::dict kind_set;
    kind_set["records"] = set.records;
    kind_set["xs"] = arrays_of(std::move(set.xs));
    kind_set["ys"] = arrays_of(std::move(set.ys));
    kind_set["complex"] = std::move(set.complex);
    elements[py::cast(kind)] = kind_set;
  }
  d["elements"] = elements;
  d["guids_valid"] = p.guids_valid;
  d["guids"] = p.guids;
  py::list surfaces;
  for (gvk::Surface& surface : p.surfaces) {
    py::dict s;
    s["id"] = surface.id;
    s["name"] = surface.name;
    s["mesh"] = mesh_to_python(std::move(surface.mesh));
    s["break_lines"] = surface.break_lines;
    surfaces.append(s);
  }
  d["surfaces"] = surfaces;
  d["description"] = description_to_python(std::move(p.description));
  return d;
}

gvk::Problem from_python(const py::handle& d) {
  gvk::Problem p;
  p.hostcad_version = d["hostcad_version"].cast<std::string>();
  p.linear_unit = unit_from_python<1>(d["linear_unit"]);
  p.area_unit = unit_from_python<2>(d["area_unit"]);
  p.volume_unit = unit_from_python<3>(d["volume_unit"]);
  const auto origin = d["origin"].cast<std::tuple<double, double, double>>();
  std::tie(p.xorig, p.yorig, p.zorig) = origin;
  p.fix_boundary = d["fix_boundary"].cast<bool>();
  p.max_slope = d["max_slope"].cast<double>();
  p.min_slope = d["min_slope"].cast<double>();
  p.volume_constraint = d["volume_constraint"].cast<VolumeConstraint>();
  p.max_slopes = doubles_from(d["max_slopes"], "max_slopes");
  p.min_slopes = doubles_from(d["min_slopes"], "min_slopes");
  p.metric = d["mesh_metric"].cast<mesh_metric>();
  p.max_iteration_count = d["max_iteration_count"].cast<long long>();
  p.epsilon = d["epsilon"].cast<double>();
  p.surface_ids = d["surface_ids"].cast<std::vector<unsigned long long>>();
  p.surface_names = d["surface_names"].cast<std::vector<std::string>>();
  p.objectives = d["objectives"].cast<std::vector<gravok_objective>>();
  p.break_lines = d["break_lines"].cast<std::vector<gravok_line_3d>>();
  p.mesh = mesh_from_python(d["mesh"]);
  for (const auto& [kind, set] : d["elements"].cast<py::dict>()) {
    gvk::ElementSet& out = p.elements[kind.cast<GradingElementType>()];
    out.records = set["records"].cast<Elements>();
    out.xs = lists_of(set["xs"], "xs");
    out.ys = lists_of(set["ys"], "ys");
    out.complex = set["complex"].cast<ComplexData>();
  }
  p.guids_valid = d["guids_valid"].cast<bool>();
  p.guids = d["guids"].cast<std::map<long long, std::string>>();
  for (const py::handle& s : d["surfaces"]) {
    gvk::Surface surface;
    surface.id = s["id"].cast<unsigned long long>();
    surface.name = s["name"].cast<std::string>();
    surface.mesh = mesh_from_python(s["mesh"]);
    surface.break_lines = s["break_lines"].cast<std::vector<gravok_line_3d>>();
    p.surfaces.push_back(std::move(surface));
  }
  p.description = description_from_python(d["description"]);
  return p;
}

// snapshot of `source`, or take_snapshot when `take`, outside the GIL (a Python source
// takes it back for its calls).
gvk::Problem snapshot_of(gvk::DataSource& source, bool take) {
  gvk::Problem problem;
  py::gil_scoped_release unlocked;
  if (take) {
    gvk::take_snapshot(source, problem);
  } else {
    gvk::snapshot(source, problem);
  }
  return problem;
}

}  // namespace

void bind_problem(py::module_& m) {
  m.def(
      "_snapshot",
      [](gvk::DataSource& source) { return to_python(snapshot_of(source, false)); },
      py::arg("source"), "The problem values of everything `source` answers.");
  m.def(
      "_take_snapshot",
      [](gvk::DataSource& source) { return to_python(snapshot_of(source, true)); },
      py::arg("source"),
      "What _snapshot gives, with the meshes taken rather than copied from a source "
      "that can give them away (gvk::take_snapshot): the source is spent afterwards.");
  m.def(
      "_problem_source",
      [](const py::handle& values) -> std::unique_ptr<gvk::DataSource> {
        return std::make_unique<gvk::ProblemSource>(from_python(values));
      },
      py::arg("values"), "A source that answers every getter from the problem values.");
}

}  // namespace gravok_python
