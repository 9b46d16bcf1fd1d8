#include "json_store.h"

#include "json_document.h"

#include <gravok/log.h>

#include <utility>

namespace gvk_json {

JsonStore::JsonStore(std::string path, Problem problem)
    : ProblemAnswers(std::move(problem)), m_path(std::move(path)) {}

bool JsonStore::write() const {
  if (m_path.empty()) return true;  // a store in memory only
  std::string error;
  if (write_file(m_problem, m_path, error)) {
    m_write_error.clear();
    return true;
  }
  m_write_error = error;
  GRAVOK_LOG_ERROR << "JSON store: " << error;
  return false;
}

void JsonStore::beginBulkOperation() const { ++m_depth; }

void JsonStore::endBulkOperation() const {
  if (m_depth > 0) --m_depth;
  changed();
}

void JsonStore::changed() const {
  if (m_depth == 0) write();
}

void JsonStore::set_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                          const gvk::Unit<3>& volume) {
  m_problem.linear_unit = store_unit(linear);
  m_problem.area_unit = store_unit(area);
  m_problem.volume_unit = store_unit(volume);
  changed();
}

void JsonStore::set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                            const std::vector<double>& z,
                            const std::vector<gvk::Triangle>& triangles,
                            const std::vector<gravok_triangle_info>& triangle_info) {
  m_problem.mesh = Mesh{x, y, z, triangles, triangle_info};
  changed();
}

void JsonStore::set_break_lines(const std::vector<gravok_line_3d>& lines) {
  m_problem.break_lines = lines;
  changed();
}

void JsonStore::set_objectives(const std::vector<gravok_objective>& objectives) {
  m_problem.objectives = objectives;
  changed();
}

void JsonStore::set_kind(GradingElementType kind, const Elements& elements) {
  ElementSet& set = m_problem.elements[kind];
  set = ElementSet();
  set.records = elements;
  changed();
}

void JsonStore::set_low_points(const Elements& e) { set_kind(LowPoint, e); }
void JsonStore::set_bounded_points(const Elements& e) { set_kind(BoundedPoint, e); }
void JsonStore::set_offsets(const Elements& e) { set_kind(Offset, e); }
void JsonStore::set_drain_lines(const Elements& e) { set_kind(DrainLine, e); }
void JsonStore::set_bend_lines(const Elements& e) { set_kind(BendLine, e); }
void JsonStore::set_aligned_edges(const Elements& e) { set_kind(AlignedEdge, e); }
void JsonStore::set_trizone_polygons(const Elements& e) { set_kind(SurfaceZone, e); }
void JsonStore::set_complex_elements(GradingElementType kind, const Elements& e) {
  set_kind(kind, e);
}

void JsonStore::set_transferred_units(const gvk::Unit<1>& linear,
                                      const gvk::Unit<2>& area,
                                      const gvk::Unit<3>& volume) {
  set_units(linear, area, volume);
}

void JsonStore::set_transferred_break_lines(const std::vector<gravok_line_3d>& lines) {
  set_break_lines(lines);
}

void JsonStore::set_transferred_grading_elements(GradingElementType kind,
                                                 const Elements& elements,
                                                 const Lists& xs, const Lists& ys,
                                                 const Complex& complex_data) {
  m_problem.elements[kind] = ElementSet{elements, xs, ys, complex_data};
  changed();
}

void JsonStore::set_hostcad_version(const std::string& version) {
  m_problem.hostcad_version = version;
  changed();
}

// The scalar setters: keep the value, then write unless a bracket is open.
#define GRAVOK_JSON_SETTER(setter, type, member) \
  void JsonStore::setter(type value) {           \
    m_problem.member = value;                    \
    changed();                                   \
  }
GRAVOK_JSON_SETTER(set_fix_boundary, bool, fix_boundary)
GRAVOK_JSON_SETTER(set_max_slope, double, max_slope)
GRAVOK_JSON_SETTER(set_min_slope, double, min_slope)
GRAVOK_JSON_SETTER(set_volume_constraint, VolumeConstraint, volume_constraint)
GRAVOK_JSON_SETTER(set_max_slopes, const std::vector<double>&, max_slopes)
GRAVOK_JSON_SETTER(set_min_slopes, const std::vector<double>&, min_slopes)
GRAVOK_JSON_SETTER(set_mesh_metric, mesh_metric, metric)
GRAVOK_JSON_SETTER(set_max_iteration_count, long long, max_iteration_count)
GRAVOK_JSON_SETTER(set_epsilon, double, epsilon)
#undef GRAVOK_JSON_SETTER

}  // namespace gvk_json
