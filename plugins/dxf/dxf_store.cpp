#include "dxf_store.h"

#include "dxf_writer.h"

#include <gravok/log.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace gvk_dxf {
namespace {

template <typename T>
bool all_zero(const T& record) {
  unsigned char zero[sizeof(T)] = {};
  return std::memcmp(&record, zero, sizeof(T)) == 0;
}

bool empty(const gvk::DataSource::ComplexElementData& d) {
  const std::vector<std::vector<double>>* lists[] = {
      &d.double_lists_1, &d.double_lists_2,  &d.double_lists_3, &d.double_lists_4,
      &d.double_lists_5, &d.double_lists_6,  &d.double_lists_7, &d.double_lists_8,
      &d.double_lists_9, &d.double_lists_10, &d.double_lists_11};
  for (const auto* list : lists) {
    if (!list->empty()) return false;
  }
  return d.int_lists.empty();
}

// The losses of one kind's elements: bytes and slots DXF has no place for, elements
// without vertices.
void kind_losses(std::int32_t kind, const std::vector<gravok_grading_element>& records,
                 bool geometry, bool complex, std::vector<std::string>& losses) {
  const std::string name = kind_layer(kind);
  std::size_t opaque = 0, slots = 0;
  for (const gravok_grading_element& r : records) {
    gravok_grading_element bare = r;
    std::memset(bare.location, 0, sizeof bare.location);
    if (!all_zero(bare)) ++opaque;
    const double* at = r.location;
    const bool point = kind == LowPoint || kind == BoundedPoint;
    const bool others = kind == LowPoint       ? (at[2] || at[3] || at[4] || at[5])
                        : kind == BoundedPoint ? (at[2] || at[5])
                        : kind == Offset
                            ? (at[0] || at[3])
                            : (at[0] || at[1] || at[2] || at[3] || at[4] || at[5]);
    if (others || (!point && kind != Offset && (at[0] || at[1]))) ++slots;
  }
  auto add = [&](std::size_t count, const std::string& what) {
    if (count) losses.push_back(std::to_string(count) + " " + name + " " + what);
  };
  add(opaque, "element records: their attribute bytes (DXF has no place for them)");
  add(slots, "element records: location slots that are no coordinates");
  const bool polyline = kind != LowPoint && kind != BoundedPoint && kind != Offset;
  if (polyline && !geometry) {
    add(records.size(), "elements arrived without vertices and are not written");
  }
  if (complex)
    losses.push_back(name + ": complex-element data (DXF has no place for it)");
}

}  // namespace

DxfStore::DxfStore(std::string path) : m_path(std::move(path)) {}

void DxfStore::set_surface_name(const std::string& name) { m_surface_name = name; }

void DxfStore::setting(const std::string& name, bool lost) { m_settings[name] = lost; }

Drawing DxfStore::drawing_to_write(std::vector<std::string>& losses) const {
  Drawing d;
  d.unit = m_unit;
  if (m_unit == 8) losses.push_back("the linear unit arcsecond, which DXF cannot state");
  if (m_area != m_unit || m_volume != m_unit) {
    losses.push_back(
        "area and volume units that are not the square and cube of the "
        "linear unit");
  }
  Surface s;
  s.name = m_surface_name;
  s.x = m_x, s.y = m_y, s.z = m_z;
  s.triangles = m_triangles;
  if (!s.triangles.empty() || !s.x.empty()) d.surfaces.push_back(std::move(s));
  // Vertices that no triangle names, and vertices that repeat one before them, do
  // not come back as vertices of their own.
  std::vector<bool> used(m_x.size(), false);
  for (const gvk::Triangle& t : m_triangles) {
    for (const unsigned long long v : t) {
      if (v < used.size()) used[v] = true;
    }
  }
  std::size_t unused = 0, repeated = 0;
  std::set<std::array<std::uint64_t, 3>> seen;
  for (std::size_t v = 0; v < used.size(); ++v) {
    if (!used[v]) {
      ++unused;
      continue;
    }
    std::array<std::uint64_t, 3> bits{};
    const double xyz[3] = {m_x[v], v < m_y.size() ? m_y[v] : 0,
                           v < m_z.size() ? m_z[v] : 0};
    std::memcpy(bits.data(), xyz, sizeof xyz);
    if (!seen.insert(bits).second) ++repeated;
  }
  if (unused)
    losses.push_back(std::to_string(unused) + " mesh vertices that no triangle uses");
  if (repeated) {
    losses.push_back(
        std::to_string(repeated) +
        " mesh vertices that repeat another's coordinates (read back as one)");
  }
  if (m_triangle_info)
    losses.push_back("per-triangle records (DXF has no place for them)");
  d.break_lines = m_break_lines;
  for (const auto& [kind, k] : m_kinds) {
    Elements& e = d.elements[kind];
    e.records = k.records;
    e.xs = k.xs, e.ys = k.ys;
    kind_losses(kind, k.records, k.geometry, k.complex, losses);
    const bool polyline = kind != LowPoint && kind != BoundedPoint && kind != Offset;
    std::size_t bare = 0;
    for (std::size_t i = 0; polyline && k.geometry && i < k.records.size(); ++i) {
      if (i >= k.xs.size() || i >= k.ys.size() || k.xs[i].empty()) ++bare;
    }
    if (bare) {
      losses.push_back(std::to_string(bare) + " " + kind_layer(kind) +
                       " elements without vertices");
    }
  }
  for (const auto& [name, lost] : m_settings) {
    if (lost) losses.push_back("the setting " + name + " (DXF has no place for it)");
  }
  if (!m_hostcad_version.empty()) losses.push_back("the host version text");
  return d;
}

void DxfStore::save() const {
  std::vector<std::string> losses;
  const Drawing d = drawing_to_write(losses);
  const std::string refused = unwritable(d);
  if (!refused.empty()) {
    throw std::invalid_argument("cannot write " + m_path + ": " + refused);
  }
  const std::string temporary = m_path + ".part";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    if (!out) {
      throw std::system_error(errno, std::generic_category(), "cannot write " + m_path);
    }
    write_drawing(out, d);
    out.close();
    if (!out) {
      const int failure = errno;
      std::remove(temporary.c_str());
      throw std::system_error(failure, std::generic_category(), "cannot write " + m_path);
    }
  }
  std::error_code failed;
  std::filesystem::rename(temporary, m_path, failed);
  if (failed) {
    std::remove(temporary.c_str());
    throw std::system_error(failed, "cannot write " + m_path);
  }
  m_losses = std::move(losses);
}

void DxfStore::endBulkOperation() const {
  save();
  for (const std::string& loss : m_losses) {
    GRAVOK_LOG_WARN << m_path << ": not written: " << loss;
  }
}

void DxfStore::set_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                         const gvk::Unit<3>& volume) {
  m_unit = linear.type, m_area = area.type, m_volume = volume.type;
}

void DxfStore::set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                           const std::vector<double>& z,
                           const std::vector<gvk::Triangle>& triangles,
                           const std::vector<gravok_triangle_info>& triangle_info) {
  m_x = x, m_y = y, m_z = z;
  m_triangles = triangles;
  m_triangle_info = false;
  for (const gravok_triangle_info& i : triangle_info) {
    m_triangle_info = m_triangle_info || !all_zero(i);
  }
}

void DxfStore::set_break_lines(const std::vector<gravok_line_3d>& lines) {
  m_break_lines = lines;
}

void DxfStore::set_objectives(const std::vector<gravok_objective>& objectives) {
  setting("objectives", !objectives.empty());
}

void DxfStore::set_low_points(const std::vector<gravok_grading_element>& e) {
  m_kinds[LowPoint] = {e, {}, {}, true, false};
}
void DxfStore::set_bounded_points(const std::vector<gravok_grading_element>& e) {
  m_kinds[BoundedPoint] = {e, {}, {}, true, false};
}
void DxfStore::set_offsets(const std::vector<gravok_grading_element>& e) {
  m_kinds[Offset] = {e, {}, {}, true, false};
}
void DxfStore::set_drain_lines(const std::vector<gravok_grading_element>& e) {
  m_kinds[DrainLine] = {e, {}, {}, false, false};
}
void DxfStore::set_bend_lines(const std::vector<gravok_grading_element>& e) {
  m_kinds[BendLine] = {e, {}, {}, false, false};
}
void DxfStore::set_aligned_edges(const std::vector<gravok_grading_element>& e) {
  m_kinds[AlignedEdge] = {e, {}, {}, false, false};
}
void DxfStore::set_trizone_polygons(const std::vector<gravok_grading_element>& e) {
  m_kinds[SurfaceZone] = {e, {}, {}, false, false};
}
void DxfStore::set_complex_elements(GradingElementType kind,
                                    const std::vector<gravok_grading_element>& e) {
  m_kinds[kind] = {e, {}, {}, false, false};
}

void DxfStore::set_fix_boundary(bool fix) { setting("fix boundary", !fix); }
void DxfStore::set_max_slope(double slope) { setting("max slope", slope != 0.33); }
void DxfStore::set_min_slope(double slope) { setting("min slope", slope != 0.005); }
void DxfStore::set_volume_constraint(VolumeConstraint constraint) {
  setting("volume constraint", constraint != Unconstrained);
}
void DxfStore::set_max_slopes(const std::vector<double>& slopes) {
  setting("max slopes", !slopes.empty());
}
void DxfStore::set_min_slopes(const std::vector<double>& slopes) {
  setting("min slopes", !slopes.empty());
}
void DxfStore::set_mesh_metric(mesh_metric metric) {
  setting("mesh metric",
          metric.kind != 1 || metric.value != 0.0 || metric.flag_a || !metric.flag_b);
}
void DxfStore::set_max_iteration_count(long long count) {
  setting("max iteration count", count != 100000);
}
void DxfStore::set_epsilon(double epsilon) { setting("epsilon", epsilon != 0.0); }

void DxfStore::set_transferred_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                                     const gvk::Unit<3>& volume) {
  set_units(linear, area, volume);
}

void DxfStore::set_transferred_break_lines(const std::vector<gravok_line_3d>& lines) {
  set_break_lines(lines);
}

void DxfStore::set_transferred_grading_elements(
    GradingElementType kind, const std::vector<gravok_grading_element>& elements,
    const std::vector<std::vector<double>>& xs,
    const std::vector<std::vector<double>>& ys, const ComplexElementData& complex_data) {
  if (elements.empty() && xs.empty() && ys.empty() && empty(complex_data)) {
    m_kinds.erase(kind);
    return;
  }
  m_kinds[kind] = {elements, xs, ys, true, !empty(complex_data)};
}

void DxfStore::set_hostcad_version(const std::string& version) {
  m_hostcad_version = version;
}

void DxfStore::get_linear_unit(gvk::Unit<1>& unit) const { unit = gvk::Known<1>(m_unit); }
void DxfStore::get_area_unit(gvk::Unit<2>& unit) const { unit = gvk::Known<2>(m_area); }
void DxfStore::get_volume_unit(gvk::Unit<3>& unit) const {
  unit = gvk::Known<3>(m_volume);
}

void DxfStore::get_eg_data(std::vector<double>& x, std::vector<double>& y,
                           std::vector<double>& z, std::vector<gvk::Triangle>& triangles,
                           std::vector<gravok_triangle_info>& triangle_info) {
  x = m_x, y = m_y, z = m_z;
  triangles = m_triangles;
  triangle_info.assign(triangles.size(), gravok_triangle_info{});
}

void DxfStore::get_break_lines(std::vector<gravok_line_3d>& lines) const {
  lines = m_break_lines;
}

}  // namespace gvk_dxf
