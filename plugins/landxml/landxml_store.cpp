#include "landxml_store.h"

#include <gravok/element_types.h>

#include <algorithm>
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

// The unit types that reading the file back gives for those the store writes: the
// unknown unit throughout when LandXML cannot name the linear unit, the square or cube
// of the linear unit for an area or volume it cannot name.
Units units_read_back(const Units& u) {
  if (landxml_unit_name(u.linear, 1).empty()) return Units{};
  const auto read = [&](std::int32_t type, int power) {
    return landxml_unit_name(type, power).empty() ? u.linear : type;
  };
  return Units{u.linear, read(u.area, 2), read(u.volume, 3)};
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
  m_surface_ids = {0};
  // The store answers an empty host version until it is given one; the file it
  // writes reads back the plug-in's name instead.
  count_host_version();
}

void LandXmlStore::save() const {
  m_document.points.clear();
  m_document.features.clear();
  for (std::size_t i = 0; i < m_document.surfaces.size(); ++i) {
    const auto found = m_surface_descriptions.find(m_surface_ids[i]);
    m_document.surfaces[i].desc =
        found == m_surface_descriptions.end() ? std::string() : found->second;
  }
  for (const auto& [kind, data] : m_kinds) {
    add_kind(kind, data.records, data.xs, data.ys, m_document);
  }
  save_document(m_path, m_document, kApplication);
}

void LandXmlStore::endBulkOperation() const { save(); }

void LandXmlStore::set_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                             const gvk::Unit<3>& volume) {
  const Units given{linear.type, area.type, volume.type};
  m_document.units = given;
  const Units back = units_read_back(given);
  m_losses.set("units LandXML cannot name", (back.linear != given.linear) +
                                                (back.area != given.area) +
                                                (back.volume != given.volume));
}

void LandXmlStore::set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                               const std::vector<double>& z,
                               const std::vector<gvk::Triangle>& triangles,
                               const std::vector<gravok_triangle_info>& triangle_info) {
  m_losses.set("triangle records", gvk_plugin::nonzero_triangle_records(triangle_info));
  Surface& s = m_document.surfaces[0];
  s.x = x;
  s.y = y;
  s.z = z;
  s.triangles = triangles;
}

void LandXmlStore::set_break_lines(const std::vector<gravok_line_3d>& lines) {
  m_document.surfaces[0].break_lines = lines;
}

// A kind is declared lost with as many elements as it has records or lists, and at
// least one when it holds complex data alone.
void LandXmlStore::keep_elements(std::int32_t kind, ReceivedElements data) {
  const std::size_t at_least = data.complex ? 1 : 0;
  m_losses.set(kind_name(kind) + " elements (written for other programs, not read back)",
               std::max({data.records.size(), data.xs.size(), data.ys.size(), at_least}));
  m_kinds[kind] = std::move(data);
}

void LandXmlStore::set_hostcad_version(const std::string& version) {
  m_host_version = version;
  m_document.application = version;
  count_host_version();
}

// Reading the file back gives "<name> <version>" of the <Application> as the host
// version.
void LandXmlStore::count_host_version() {
  const std::string read_back =
      m_document.application_name.empty()
          ? std::string(kApplication) + " "
          : m_document.application_name + " " + m_document.application_version;
  m_losses.set("host version (written as the application's desc, not read back)",
               m_host_version != read_back);
  // Without an application of its own the file names the plug-in as its writer, which
  // reading it back reports as the problem's application.
  m_losses.set("descriptions (no application given: the file names this plug-in)",
               m_document.application_name.empty());
}

void LandXmlStore::set_description(const gvk::ProblemDescription& description) {
  m_document.coordinate_system = description.coordinate_system;
  m_document.application_name = description.application_name;
  m_document.application_version = description.application_version;
  m_surface_descriptions = description.surface_descriptions;
  count_host_version();
}

void LandXmlStore::set_surfaces(const std::vector<gvk::Surface>& surfaces) {
  if (surfaces.empty()) {  // the main mesh alone, which set_eg_data put first
    m_document.surfaces.resize(1);
    m_document.surfaces[0].name = "Existing ground";
    m_surface_ids = {0};
    m_losses.set("surfaces without points (not written)", 0);
    m_losses.set("surface ids (read back as their places, 0 up)", 0);
    return;
  }
  m_document.surfaces.clear();
  m_surface_ids.clear();
  unsigned long long records = 0, empty = 0, renumbered = 0;
  for (const gvk::Surface& given : surfaces) {
    empty += given.mesh.x.empty() && given.mesh.triangles.empty();
    Surface s;
    s.name = given.name;
    s.x = given.mesh.x;
    s.y = given.mesh.y;
    s.z = given.mesh.z;
    s.triangles = given.mesh.triangles;
    s.break_lines = given.break_lines;
    records += gvk_plugin::nonzero_triangle_records(given.mesh.triangle_info);
    m_document.surfaces.push_back(std::move(s));
    renumbered += given.id != m_surface_ids.size();
    m_surface_ids.push_back(given.id);
  }
  m_losses.set("triangle records", records);
  // A surface read back is known by its place in the file.
  m_losses.set("surface ids (read back as their places, 0 up)", renumbered);
  m_losses.set("surfaces without points (not written)", empty);
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
