#include "dxf_store.h"

#include "dxf_writer.h"

#include <gravok/replace_file.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <set>
#include <stdexcept>
#include <utility>

namespace gvk_dxf {
namespace {

template <typename T>
bool all_zero(const T& record) {
  unsigned char zero[sizeof(T)] = {};
  return std::memcmp(&record, zero, sizeof(T)) == 0;
}

bool is_polyline_kind(std::int32_t kind) {
  return kind != LowPoint && kind != BoundedPoint && kind != Offset;
}

// Whether a location slot that holds no coordinate of `kind` is set: low points keep
// x y (slots 0 1), bounded points x y and their two elevations (0 1 3 4), offsets their
// two points (1 2 4 5), the other kinds none.
bool other_slots_set(std::int32_t kind, const double* at) {
  switch (kind) {
    case LowPoint: return at[2] || at[3] || at[4] || at[5];
    case BoundedPoint: return at[2] || at[5];
    case Offset: return at[0] || at[3];
    default: return at[0] || at[1] || at[2] || at[3] || at[4] || at[5];
  }
}

}  // namespace

DxfStore::DxfStore(std::string path) : m_path(std::move(path)) {}

void DxfStore::set_surface_name(const std::string& name) { m_surface_name = name; }

Drawing DxfStore::drawing_to_write() const {
  Drawing d;
  d.unit = m_unit;
  Surface s;
  s.name = m_surface_name;
  s.x = m_x, s.y = m_y, s.z = m_z;
  s.triangles = m_triangles;
  if (!s.triangles.empty() || !s.x.empty()) d.surfaces.push_back(std::move(s));
  d.break_lines = m_break_lines;
  for (const auto& [kind, k] : m_kinds) {
    Elements& e = d.elements[kind];
    e.records = k.records;
    e.xs = k.xs, e.ys = k.ys;
  }
  return d;
}

void DxfStore::keep_elements(std::int32_t kind, ReceivedElements k) {
  const std::string name = kind_layer(kind);
  unsigned long long opaque = 0, slots = 0, bare = 0;
  for (std::size_t i = 0; i < k.records.size(); ++i) {
    gravok_grading_element record = k.records[i];
    if (other_slots_set(kind, record.location)) ++slots;
    std::memset(record.location, 0, sizeof record.location);
    if (!all_zero(record)) ++opaque;
    if (is_polyline_kind(kind) &&
        (!k.geometry || i >= k.xs.size() || i >= k.ys.size() || k.xs[i].empty())) {
      ++bare;
    }
  }
  m_losses.set(name + " element records (attribute bytes)", opaque);
  m_losses.set(name + " element records (location slots that are no coordinates)", slots);
  m_losses.set(name + " elements without vertices (not written)", bare);
  m_losses.set(name + " elements (complex-element data)",
               k.complex ? std::max<std::size_t>(k.records.size(), 1) : 0);
  if (k.records.empty() && k.xs.empty() && k.ys.empty()) {
    m_kinds.erase(kind);
  } else {
    m_kinds[kind] = std::move(k);
  }
}

void DxfStore::save() const {
  const Drawing d = drawing_to_write();
  const std::string refused = unwritable(d);
  if (!refused.empty()) {
    throw std::invalid_argument("cannot write " + m_path + ": " + refused);
  }
  gvk::replace_file(m_path, [&](std::FILE* file) { write_drawing(file, d); });
}

void DxfStore::endBulkOperation() const { save(); }

void DxfStore::set_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                         const gvk::Unit<3>& volume) {
  m_unit = linear.type, m_area = area.type, m_volume = volume.type;
  // Reading back gives the unit $INSUNITS states, its square and its cube.
  const std::int32_t back = insunits_of(m_unit) ? m_unit : gvk::kUnknownUnitType;
  m_losses.set("units DXF cannot state",
               (back != m_unit) + (back != m_area) + (back != m_volume));
}

void DxfStore::set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                           const std::vector<double>& z,
                           const std::vector<gvk::Triangle>& triangles,
                           const std::vector<gravok_triangle_info>& triangle_info) {
  m_x = x, m_y = y, m_z = z;
  m_triangles = triangles;
  m_losses.set("triangle records", gvk_plugin::nonzero_triangle_records(triangle_info));
  // Vertices that no triangle names, and vertices that repeat one before them, do
  // not come back as vertices of their own.
  std::vector<bool> used(m_x.size(), false);
  for (const gvk::Triangle& t : m_triangles) {
    for (const unsigned long long v : t) {
      if (v < used.size()) used[v] = true;
    }
  }
  unsigned long long unused = 0, repeated = 0;
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
  m_losses.set("mesh vertices that no triangle uses", unused);
  m_losses.set("mesh vertices that repeat another's coordinates (read back as one)",
               repeated);
}

void DxfStore::set_break_lines(const std::vector<gravok_line_3d>& lines) {
  m_break_lines = lines;
}

void DxfStore::set_description(const gvk::ProblemDescription& description) {
  m_losses.set("descriptions (coordinate system, application, surfaces)",
               !is_empty(description));
}

void DxfStore::set_hostcad_version(const std::string& version) {
  // A drawing's own format version ("DXF AC1032") is the file's, not the problem's:
  // the file written states its own. An application's name and version is lost.
  m_losses.set("host version", !version.empty() && version.rfind("DXF ", 0) != 0);
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
