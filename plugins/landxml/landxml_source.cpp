#include "landxml_source.h"

#include <utility>

namespace gvk_landxml {
namespace {

// Moves a surface's points to the centre of their bounding box, and its break lines
// and boundaries with them; returns that origin. A surface without points keeps
// (0, 0, 0), where ComputeOrigin would give NaN.
std::array<double, 3> move_to_origin(Surface& s) {
  std::array<double, 3> o{0, 0, 0};
  if (s.x.empty()) return o;
  gvk::DataSource::ComputeOrigin(s.x, s.y, s.z, o[0], o[1], o[2]);
  for (gravok_line_3d& l : s.break_lines) {
    l.x1 -= o[0], l.y1 -= o[1], l.z1 -= o[2];
    l.x2 -= o[0], l.y2 -= o[1], l.z2 -= o[2];
  }
  for (auto& xs : s.boundary_xs) {
    for (double& x : xs) x -= o[0];
  }
  for (auto& ys : s.boundary_ys) {
    for (double& y : ys) y -= o[1];
  }
  return o;
}

}  // namespace

LandXmlSource::LandXmlSource(std::string path) : m_path(std::move(path)) {}

bool LandXmlSource::load() {
  m_error.clear();
  m_warnings.clear();
  const bool ok = read_document(m_path, m_document, m_error, m_warnings);
  if (!ok) m_document = Document();
  m_local.assign(m_document.surfaces.size(), false);
  m_origins.assign(m_document.surfaces.size(), {0, 0, 0});
  m_current = 0;
  select_surface(0);
  return ok;
}

void LandXmlSource::get_linear_unit(gvk::Unit<1>& unit) const {
  unit = gvk::Known<1>(m_document.units.linear);
}

void LandXmlSource::get_area_unit(gvk::Unit<2>& unit) const {
  unit = gvk::Known<2>(m_document.units.area);
}

void LandXmlSource::get_volume_unit(gvk::Unit<3>& unit) const {
  unit = gvk::Known<3>(m_document.units.volume);
}

void LandXmlSource::get_surfaces(std::vector<unsigned long long>& ids,
                                 std::vector<std::string>& names) const {
  ids.clear();
  names.clear();
  for (std::size_t i = 0; i < m_document.surfaces.size(); ++i) {
    ids.push_back(i);
    names.push_back(m_document.surfaces[i].name);
  }
}

void LandXmlSource::select_surface(unsigned long long id) {
  if (id >= m_document.surfaces.size()) return;
  m_current = static_cast<std::size_t>(id);
  if (!m_local[m_current]) {
    m_origins[m_current] = move_to_origin(m_document.surfaces[m_current]);
    m_local[m_current] = true;
  }
  for (int axis = 0; axis < 3; ++axis) m_origin[axis] = m_origins[m_current][axis];
}

const Surface* LandXmlSource::current() const {
  return m_current < m_document.surfaces.size() ? &m_document.surfaces[m_current]
                                                : nullptr;
}

void LandXmlSource::get_eg_data(std::vector<double>& x, std::vector<double>& y,
                                std::vector<double>& z,
                                std::vector<gvk::Triangle>& triangles,
                                std::vector<gravok_triangle_info>& triangle_info) {
  const Surface* s = current();
  x = s ? s->x : std::vector<double>();
  y = s ? s->y : std::vector<double>();
  z = s ? s->z : std::vector<double>();
  triangles = s ? s->triangles : std::vector<gvk::Triangle>();
  triangle_info.assign(triangles.size(), gravok_triangle_info{});
}

void LandXmlSource::take_eg_data(std::vector<double>& x, std::vector<double>& y,
                                 std::vector<double>& z,
                                 std::vector<gvk::Triangle>& triangles,
                                 std::vector<gravok_triangle_info>& triangle_info) {
  x.clear();
  y.clear();
  z.clear();
  triangles.clear();
  if (m_current < m_document.surfaces.size()) {
    Surface& s = m_document.surfaces[m_current];
    x.swap(s.x);
    y.swap(s.y);
    z.swap(s.z);
    triangles.swap(s.triangles);
  }
  triangle_info.assign(triangles.size(), gravok_triangle_info{});
}

void LandXmlSource::get_break_lines(std::vector<gravok_line_3d>& lines) const {
  const Surface* s = current();
  lines = s ? s->break_lines : std::vector<gravok_line_3d>();
}

void LandXmlSource::get_trizone_polygons(std::vector<gravok_grading_element>& elements,
                                         std::vector<std::vector<double>>& xs,
                                         std::vector<std::vector<double>>& ys) const {
  const Surface* s = current();
  xs = s ? s->boundary_xs : std::vector<std::vector<double>>();
  ys = s ? s->boundary_ys : std::vector<std::vector<double>>();
  elements.assign(xs.size(), gravok_grading_element{});
}

std::string LandXmlSource::get_hostcad_version() const { return m_document.application; }

void LandXmlSource::get_description(gvk::ProblemDescription& description) const {
  description = gvk::ProblemDescription();
  description.coordinate_system = m_document.coordinate_system;
  description.application_name = m_document.application_name;
  description.application_version = m_document.application_version;
  for (std::size_t i = 0; i < m_document.surfaces.size(); ++i) {
    const std::string& desc = m_document.surfaces[i].desc;
    if (!desc.empty()) description.surface_descriptions[i] = desc;
  }
}

}  // namespace gvk_landxml
