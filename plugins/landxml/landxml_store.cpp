#include "landxml_store.h"

#include <gravok/element_types.h>

#include <utility>

namespace gvk_landxml {
namespace {

constexpr const char* kApplication = "gravok-data LandXML plug-in";

// The name a feature of `kind` carries in the document.
std::string kind_name(std::int32_t kind) {
  const char* name = gvk::element_type_name(static_cast<GradingElementType>(kind));
  return *name ? name : "Kind" + std::to_string(kind);
}

// Kinds whose vertices go round an area: written closed, the last vertex joined to
// the first.
bool is_outline(std::int32_t kind) {
  return kind == SurfaceZone || kind == BuildingPad || kind == Pond || kind == ParkingLot;
}

// The shortest text that reads back as `value`.
std::string number_text(double value) {
  char buffer[kMaxDecimal];
  return std::string(buffer, write_decimal(buffer, value));
}

// Adds the points and features of one kind to `document`.
void add_kind(std::int32_t kind, const std::vector<gravok_grading_element>& records,
              const std::vector<std::vector<double>>& xs,
              const std::vector<std::vector<double>>& ys, Document& document) {
  const std::string name = kind_name(kind) + " ";
  for (std::size_t i = 0; i < records.size(); ++i) {
    const double* at = records[i].location;
    const std::string label = name + std::to_string(i + 1);
    if (kind == LowPoint) {
      document.points.push_back({label, "", {at[0]}, {at[1]}, false});
    } else if (kind == BoundedPoint) {
      const std::string desc =
          "elevations " + number_text(at[3]) + " " + number_text(at[4]);
      document.points.push_back({label, desc, {at[0]}, {at[1]}, false});
    } else if (kind == Offset) {
      document.features.push_back({label, "", {at[1], at[4]}, {at[2], at[5]}, false});
    } else if (i < xs.size() && i < ys.size() && xs[i].size() > 1 && ys[i].size() > 1) {
      document.features.push_back({label, "", xs[i], ys[i], is_outline(kind)});
    }
  }
}

}  // namespace

LandXmlStore::LandXmlStore(std::string path) : m_path(std::move(path)) {
  m_document.surfaces.resize(1);
  m_document.surfaces[0].name = "Existing ground";
}

void LandXmlStore::save() const {
  m_document.points.clear();
  m_document.features.clear();
  for (const auto& [kind, data] : m_kinds) {
    add_kind(kind, data.records, data.xs, data.ys, m_document);
  }
  save_document(m_path, m_document, kApplication);
}

void LandXmlStore::endBulkOperation() const { save(); }

void LandXmlStore::set_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                             const gvk::Unit<3>& volume) {
  m_document.units = {linear.type, area.type, volume.type};
}

void LandXmlStore::set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                               const std::vector<double>& z,
                               const std::vector<gvk::Triangle>& triangles,
                               const std::vector<gravok_triangle_info>&) {
  Surface& s = m_document.surfaces[0];
  s.x = x;
  s.y = y;
  s.z = z;
  s.triangles = triangles;
}

void LandXmlStore::set_break_lines(const std::vector<gravok_line_3d>& lines) {
  m_document.surfaces[0].break_lines = lines;
}

void LandXmlStore::set_objectives(const std::vector<gravok_objective>&) {}

void LandXmlStore::set_low_points(const std::vector<gravok_grading_element>& e) {
  m_kinds[LowPoint] = {e, {}, {}};
}
void LandXmlStore::set_bounded_points(const std::vector<gravok_grading_element>& e) {
  m_kinds[BoundedPoint] = {e, {}, {}};
}
void LandXmlStore::set_offsets(const std::vector<gravok_grading_element>& e) {
  m_kinds[Offset] = {e, {}, {}};
}
void LandXmlStore::set_drain_lines(const std::vector<gravok_grading_element>& e) {
  m_kinds[DrainLine] = {e, {}, {}};
}
void LandXmlStore::set_bend_lines(const std::vector<gravok_grading_element>& e) {
  m_kinds[BendLine] = {e, {}, {}};
}
void LandXmlStore::set_aligned_edges(const std::vector<gravok_grading_element>& e) {
  m_kinds[AlignedEdge] = {e, {}, {}};
}
void LandXmlStore::set_trizone_polygons(const std::vector<gravok_grading_element>& e) {
  m_kinds[SurfaceZone] = {e, {}, {}};
}
void LandXmlStore::set_complex_elements(GradingElementType kind,
                                        const std::vector<gravok_grading_element>& e) {
  m_kinds[kind] = {e, {}, {}};
}

void LandXmlStore::set_transferred_units(const gvk::Unit<1>& linear,
                                         const gvk::Unit<2>& area,
                                         const gvk::Unit<3>& volume) {
  set_units(linear, area, volume);
}

void LandXmlStore::set_transferred_break_lines(const std::vector<gravok_line_3d>& lines) {
  set_break_lines(lines);
}

void LandXmlStore::set_transferred_grading_elements(
    GradingElementType kind, const std::vector<gravok_grading_element>& elements,
    const std::vector<std::vector<double>>& xs,
    const std::vector<std::vector<double>>& ys, const ComplexElementData&) {
  m_kinds[kind] = {elements, xs, ys};
}

void LandXmlStore::set_hostcad_version(const std::string& version) {
  m_document.application = version;
}

void LandXmlStore::get_linear_unit(gvk::Unit<1>& unit) const {
  unit = gvk::Known<1>(m_document.units.linear);
}
void LandXmlStore::get_area_unit(gvk::Unit<2>& unit) const {
  unit = gvk::Known<2>(m_document.units.area);
}
void LandXmlStore::get_volume_unit(gvk::Unit<3>& unit) const {
  unit = gvk::Known<3>(m_document.units.volume);
}

void LandXmlStore::get_eg_data(std::vector<double>& x, std::vector<double>& y,
                               std::vector<double>& z,
                               std::vector<gvk::Triangle>& triangles,
                               std::vector<gravok_triangle_info>& triangle_info) {
  const Surface& s = m_document.surfaces[0];
  x = s.x;
  y = s.y;
  z = s.z;
  triangles = s.triangles;
  triangle_info.assign(triangles.size(), gravok_triangle_info{});
}

void LandXmlStore::get_break_lines(std::vector<gravok_line_3d>& lines) const {
  lines = m_document.surfaces[0].break_lines;
}

}  // namespace gvk_landxml
