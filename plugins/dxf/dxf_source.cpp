#include "dxf_source.h"

#include <gravok/element_types.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace gvk_dxf {
namespace {

// The origin of one axis: `centre` rounded to a multiple of the spacing of doubles at
// the largest magnitude among `values`, so that v - origin is exact for each value and
// adding the origin back gives v again. When some value would still not come back
// (values of very different magnitudes), the origin is 0.
double exact_origin(double centre, const std::vector<double>& values) {
  double largest = 0;
  for (const double v : values) largest = std::max(largest, std::fabs(v));
  if (!std::isfinite(centre) || largest == 0) return 0;
  const double spacing =
      std::nextafter(largest, std::numeric_limits<double>::infinity()) - largest;
  const double origin = std::round(centre / spacing) * spacing;
  if (!std::isfinite(origin)) return 0;
  for (const double v : values) {
    if ((v - origin) + origin != v) return 0;
  }
  return origin;
}

void shift(std::vector<std::vector<double>>& lists, double by) {
  for (auto& list : lists) {
    for (double& v : list) v -= by;
  }
}

}  // namespace

DxfSource::DxfSource(std::string path, ReadOptions options)
    : m_path(std::move(path)), m_options(std::move(options)) {}

bool DxfSource::load() {
  m_error.clear();
  m_warnings.clear();
  const bool ok = read_drawing(m_path, m_options, m_drawing, m_error, m_warnings);
  if (!ok) m_drawing = Drawing();
  m_current = 0;
  for (double& o : m_origin) o = 0;
  select_surface(0);
  return ok;
}

void DxfSource::get_linear_unit(gvk::Unit<1>& unit) const {
  unit = gvk::Known<1>(m_drawing.unit);
}
void DxfSource::get_area_unit(gvk::Unit<2>& unit) const {
  unit = gvk::Known<2>(m_drawing.unit);
}
void DxfSource::get_volume_unit(gvk::Unit<3>& unit) const {
  unit = gvk::Known<3>(m_drawing.unit);
}

void DxfSource::get_surfaces(std::vector<unsigned long long>& ids,
                             std::vector<std::string>& names) const {
  ids.clear();
  names.clear();
  for (std::size_t i = 0; i < m_drawing.surfaces.size(); ++i) {
    ids.push_back(i);
    names.push_back(m_drawing.surfaces[i].name);
  }
}

void DxfSource::select_surface(unsigned long long id) {
  if (id >= m_drawing.surfaces.size()) return;
  m_current = static_cast<std::size_t>(id);
  Surface s = m_drawing.surfaces[m_current];
  double centre[3] = {0, 0, 0};
  if (!s.x.empty()) {
    gvk::DataSource::ComputeOrigin(s.x, s.y, s.z, centre[0], centre[1], centre[2]);
  }
  // Every coordinate of the drawing on each axis, which the origin must keep exact.
  std::vector<double> axis[3];
  const Surface& kept = m_drawing.surfaces[m_current];
  axis[0] = kept.x, axis[1] = kept.y, axis[2] = kept.z;
  for (const gravok_line_3d& l : m_drawing.break_lines) {
    axis[0].insert(axis[0].end(), {l.x1, l.x2});
    axis[1].insert(axis[1].end(), {l.y1, l.y2});
    axis[2].insert(axis[2].end(), {l.z1, l.z2});
  }
  for (const auto& [kind, e] : m_drawing.elements) {
    for (const auto& xs : e.xs) axis[0].insert(axis[0].end(), xs.begin(), xs.end());
    for (const auto& ys : e.ys) axis[1].insert(axis[1].end(), ys.begin(), ys.end());
    for (const gravok_grading_element& r : e.records) {
      const double* at = r.location;
      if (kind == LowPoint || kind == BoundedPoint) {
        axis[0].push_back(at[0]), axis[1].push_back(at[1]);
      }
      if (kind == BoundedPoint) axis[2].insert(axis[2].end(), {at[3], at[4]});
      if (kind == Offset) {
        axis[0].insert(axis[0].end(), {at[1], at[4]});
        axis[1].insert(axis[1].end(), {at[2], at[5]});
      }
    }
  }
  for (int i = 0; i < 3; ++i) m_origin[i] = exact_origin(centre[i], axis[i]);
}

void DxfSource::get_eg_data(std::vector<double>& x, std::vector<double>& y,
                            std::vector<double>& z, std::vector<gvk::Triangle>& triangles,
                            std::vector<gravok_triangle_info>& triangle_info) {
  const bool any = m_current < m_drawing.surfaces.size();
  const Surface empty;
  const Surface& s = any ? m_drawing.surfaces[m_current] : empty;
  x = s.x, y = s.y, z = s.z;
  for (double& v : x) v -= m_origin[0];
  for (double& v : y) v -= m_origin[1];
  for (double& v : z) v -= m_origin[2];
  triangles = s.triangles;
  triangle_info.assign(triangles.size(), gravok_triangle_info{});
}

void DxfSource::get_break_lines(std::vector<gravok_line_3d>& lines) const {
  lines = m_drawing.break_lines;
  for (gravok_line_3d& l : lines) {
    l.x1 -= m_origin[0], l.y1 -= m_origin[1], l.z1 -= m_origin[2];
    l.x2 -= m_origin[0], l.y2 -= m_origin[1], l.z2 -= m_origin[2];
  }
}

void DxfSource::elements_of(std::int32_t kind,
                            std::vector<gravok_grading_element>& elements,
                            std::vector<std::vector<double>>* xs,
                            std::vector<std::vector<double>>* ys) const {
  const auto found = m_drawing.elements.find(kind);
  const Elements none;
  const Elements& e = found == m_drawing.elements.end() ? none : found->second;
  elements = e.records;
  for (gravok_grading_element& r : elements) {
    double* at = r.location;
    if (kind == LowPoint || kind == BoundedPoint)
      at[0] -= m_origin[0], at[1] -= m_origin[1];
    if (kind == BoundedPoint) at[3] -= m_origin[2], at[4] -= m_origin[2];
    if (kind == Offset) {
      at[1] -= m_origin[0], at[2] -= m_origin[1], at[4] -= m_origin[0],
          at[5] -= m_origin[1];
    }
  }
  if (xs) *xs = e.xs, shift(*xs, m_origin[0]);
  if (ys) *ys = e.ys, shift(*ys, m_origin[1]);
}

void DxfSource::get_unclassified(std::vector<gravok_grading_element>& elements,
                                 std::vector<std::vector<double>>& xs,
                                 std::vector<std::vector<double>>& ys) const {
  elements_of(Unclassified, elements, &xs, &ys);
}
void DxfSource::get_low_points(std::vector<gravok_grading_element>& elements) const {
  elements_of(LowPoint, elements, nullptr, nullptr);
}
void DxfSource::get_bounded_points(std::vector<gravok_grading_element>& elements) const {
  elements_of(BoundedPoint, elements, nullptr, nullptr);
}
void DxfSource::get_offsets(std::vector<gravok_grading_element>& elements) const {
  elements_of(Offset, elements, nullptr, nullptr);
}
void DxfSource::get_drain_lines(std::vector<gravok_grading_element>& elements,
                                std::vector<std::vector<double>>& xs,
                                std::vector<std::vector<double>>& ys) const {
  elements_of(DrainLine, elements, &xs, &ys);
}
void DxfSource::get_bend_lines(std::vector<gravok_grading_element>& elements,
                               std::vector<std::vector<double>>& xs,
                               std::vector<std::vector<double>>& ys) const {
  elements_of(BendLine, elements, &xs, &ys);
}
void DxfSource::get_aligned_edges(std::vector<gravok_grading_element>& elements,
                                  std::vector<std::vector<double>>& xs,
                                  std::vector<std::vector<double>>& ys) const {
  elements_of(AlignedEdge, elements, &xs, &ys);
}
void DxfSource::get_trizone_polygons(std::vector<gravok_grading_element>& elements,
                                     std::vector<std::vector<double>>& xs,
                                     std::vector<std::vector<double>>& ys) const {
  elements_of(SurfaceZone, elements, &xs, &ys);
}
void DxfSource::get_complex_elements(GradingElementType kind,
                                     std::vector<gravok_grading_element>& elements,
                                     std::vector<std::vector<double>>& xs,
                                     std::vector<std::vector<double>>& ys,
                                     ComplexElementData&) const {
  if (kind < 100) return;
  elements_of(kind, elements, &xs, &ys);
}

std::string DxfSource::get_hostcad_version() const {
  return m_drawing.version.empty() ? std::string() : "DXF " + m_drawing.version;
}

}  // namespace gvk_dxf
