// Earthwork volumes between two surfaces, given as sources or as arrays, with the
// members of `gravok volume --json`.
#include <gravok/units.h>
#include <gravok/volume.h>

#include "common.h"

namespace gravok_python {

namespace {

// A surface with the origin and units it came with (none for bare arrays).
struct Surface {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  double xorig = 0, yorig = 0, zorig = 0;
  gvk::Unit<1> linear;
  gvk::Unit<3> volume;
};

Surface surface_from(py::handle given, const char* which) {
  Surface s;
  if (py::isinstance<gvk::DataSource>(given)) {
    gvk::DataSource& source = given.cast<gvk::DataSource&>();
    std::vector<gravok_triangle_info> info;
    source.get_eg_data(s.x, s.y, s.z, s.triangles, info);
    s.xorig = source.get_xorig();
    s.yorig = source.get_yorig();
    s.zorig = source.get_zorig();
    source.get_linear_unit(s.linear);
    source.get_volume_unit(s.volume);
    return s;
  }
  if (!py::isinstance<py::sequence>(given) || py::isinstance<py::str>(given) ||
      py::len(given) != 4) {
    throw py::type_error(std::string(which) +
                         " must be a DataSource or a sequence (x, y, z, triangles)");
  }
  py::sequence parts = py::reinterpret_borrow<py::sequence>(given);
  s.x = doubles_from(parts[0], "x");
  s.y = doubles_from(parts[1], "y");
  s.z = doubles_from(parts[2], "z");
  s.triangles = triangles_from(parts[3]);
  return s;
}

template <int N>
bool is_length(const gvk::Unit<N>& unit) {
  return unit.type >= 0 && unit.type < 8;
}

// Moves the top into the base's origin and, when both units are known lengths that
// differ, into the base's unit.
void move_into(Surface& top, const Surface& base) {
  double factor = 1.0;
  if (is_length(top.linear) && is_length(base.linear) &&
      top.linear.type != base.linear.type) {
    factor = gvk::unit_conversion_factor(top.linear.type, base.linear.type, 1);
  }
  const auto move = [factor](std::vector<double>& values, double from, double to) {
    for (double& v : values) v = (v + from) * factor - to;
  };
  move(top.x, top.xorig, base.xorig);
  move(top.y, top.yorig, base.yorig);
  move(top.z, top.zorig, base.zorig);
}

// (xs, ys), a 2 x n array, or the corners of an (n, 2) array, n > 2.
void boundary_from(py::handle given, std::vector<double>& xs, std::vector<double>& ys) {
  py::array_t<double, py::array::c_style | py::array::forcecast> corners =
      py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(given);
  if (!corners || corners.ndim() != 2 ||
      (corners.shape(0) != 2 && corners.shape(1) != 2)) {
    throw py::value_error("boundary must be (xs, ys) or an (n, 2) array of corners");
  }
  const bool rows = corners.shape(0) != 2;
  const py::ssize_t n = rows ? corners.shape(0) : corners.shape(1);
  auto at = corners.unchecked<2>();
  for (py::ssize_t i = 0; i < n; ++i) {
    xs.push_back(rows ? at(i, 0) : at(0, i));
    ys.push_back(rows ? at(i, 1) : at(1, i));
  }
}

py::dict figures(const gvk::VolumeResult& r, const Surface& base) {
  const gvk::Earthwork& e = r.total;
  py::dict out;
  out["cut"] = e.cut;
  out["fill"] = e.fill;
  out["net"] = e.net;
  out["cut_area"] = e.cut_area;
  out["fill_area"] = e.fill_area;
  out["area"] = e.area;
  out["unit"] = base.linear.name;
  out["base_layered_area"] = r.base_layered_area;
  out["top_layered_area"] = r.top_layered_area;
  if (is_length(base.linear) && is_length(base.volume) &&
      base.volume.type != base.linear.type) {
    const double f = gvk::unit_conversion_factor(base.linear.type, base.volume.type, 3);
    out["volume_unit"] = base.volume.name;
    py::dict in_volume_unit;
    in_volume_unit["cut"] = e.cut * f;
    in_volume_unit["fill"] = e.fill * f;
    in_volume_unit["net"] = e.net * f;
    out["in_volume_unit"] = in_volume_unit;
  }
  return out;
}

}  // namespace

void bind_volume(py::module_& m) {
  m.def(
      "volume",
      [](py::handle base_given, py::handle top_given, py::handle boundary) {
        Surface base = surface_from(base_given, "base");
        Surface top = surface_from(top_given, "top");
        move_into(top, base);
        std::vector<double> xs, ys;
        const bool bounded = !boundary.is_none();
        if (bounded) boundary_from(boundary, xs, ys);
        gvk::VolumeResult result;
        {
          py::gil_scoped_release unlocked;
          const gvk::MeshView b{base.x, base.y, base.z, base.triangles};
          const gvk::MeshView t{top.x, top.y, top.z, top.triangles};
          result =
              bounded ? gvk::volume_between(b, t, xs, ys) : gvk::volume_between(b, t);
        }
        if (!result) throw py::value_error(result.message);
        return figures(result, base);
      },
      py::arg("base"), py::arg("top"), py::arg("boundary") = py::none(),
      "Cut, fill and net of the top surface against the base, exact for triangulated "
      "surfaces, over the plan area where both are defined: a dict with cut, fill, net "
      "(fill - cut), cut_area, fill_area, area (the compared area), unit (the base's "
      "linear unit; volumes in its cube, areas in its square), base_layered_area and "
      "top_layered_area (plan area a surface covers more than once; every layer "
      "counts), and volume_unit with in_volume_unit {cut, fill, net} where the base "
      "has a volume unit of another length. base and top are DataSources (their "
      "current surfaces; the top is moved into the base's origin and unit) or "
      "sequences (x, y, z, triangles). boundary, in the base's coordinates, limits the "
      "comparison to a closed polygon: (xs, ys) or an (n, 2) array of corners. "
      "ValueError with the library's reason for a bad mesh or boundary (an index out "
      "of range, a NaN coordinate, a boundary that crosses itself).");
}

}  // namespace gravok_python
