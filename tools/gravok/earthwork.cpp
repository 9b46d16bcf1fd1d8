#include "earthwork.h"

#include "commands.h"
#include "json_document.h"
#include "surface_choice.h"

#include <gravok/data_source.h>
#include <gravok/hand_over.h>
#include <gravok/triangle_files.h>
#include <gravok/units.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iostream>
#include <memory>
#include <sstream>

namespace gravok_tool {
namespace {

bool is_length(const gvk::StoredUnit& unit) { return unit.type >= 0 && unit.type < 8; }

// The factor from the length unit `from` to `to`; 1 unless both are known and differ.
double length_factor(const gvk::StoredUnit& from, const gvk::StoredUnit& to) {
  if (!is_length(from) || !is_length(to) || from.type == to.type) return 1.0;
  return gvk::unit_conversion_factor(from.type, to.type, 1);
}

// Makes the surface `wanted` (a name, else an id; with `wanted` empty, the first the
// source lists) the problem's mesh. False, having said why, when there is no such one.
bool pick_surface(gvk::Problem& p, const std::string& location, const std::string& wanted,
                  std::string& label) {
  std::vector<unsigned long long> ids = p.surface_ids;
  std::vector<std::string> names = p.surface_names;
  if (!p.surfaces.empty()) {
    ids.clear();
    names.clear();
    for (const gvk::Surface& s : p.surfaces) {
      ids.push_back(s.id);
      names.push_back(s.name);
    }
  }
  label = location;
  std::size_t pick = 0;
  if (wanted.empty()) {
    if (std::min(ids.size(), names.size()) == 0) return true;
  } else if (!find_surface(ids, names, wanted, pick)) {
    std::cerr << "gravok: " << location << " has no surface \"" << wanted << "\"; "
              << surface_list(ids, names) << "\n";
    return false;
  }
  if (!p.surfaces.empty()) p.mesh = std::move(p.surfaces[pick].mesh);
  label += ", surface \"" + names[pick] + "\"";
  return true;
}

bool read_surface(const std::string& location, const std::string& wanted,
                  gvk::Problem& problem, std::string& label) {
  std::unique_ptr<gvk::DataSource> source = open_source(location);
  if (!source) return false;
  gvk::take_snapshot(*source, problem);
  return pick_surface(problem, location, wanted, label);
}

// Moves a coordinate list of `from` (local to its origin, in its unit) into the
// frame of `to`.
void move_values(std::vector<double>& values, double origin_from, double factor,
                 double origin_to) {
  for (double& v : values) v = (v + origin_from) * factor - origin_to;
}

// The corners of the one closed ring that the segments of a .poly file form, in
// absolute coordinates; false with `error` when they form none or several.
bool poly_ring(const std::string& path, std::vector<double>& xs, std::vector<double>& ys,
               std::string& error) {
  gvk::TrianglePoly poly;
  const gvk::TriangleFileResult read = gvk::read_poly_file(path, poly);
  if (!read) {
    error = read.message;
    return false;
  }
  const std::size_t n = poly.vertices.x.size();
  std::vector<std::vector<std::size_t>> ends(n);
  for (std::size_t s = 0; s < poly.segments.size(); ++s) {
    for (const unsigned long long v : poly.segments[s]) ends[v].push_back(s);
  }
  for (std::size_t v = 0; v < n; ++v) {
    if (!ends[v].empty() && ends[v].size() != 2) {
      error = path + ": vertex " + std::to_string(v + poly.vertices.first_number) +
              " ends " + std::to_string(ends[v].size()) +
              " segments; a boundary is one closed ring";
      return false;
    }
  }
  if (poly.segments.empty()) {
    error = path + ": no segments, so no boundary";
    return false;
  }
  std::size_t segment = 0;
  unsigned long long vertex = poly.segments[0][0];
  for (std::size_t steps = 0; steps < poly.segments.size(); ++steps) {
    xs.push_back(poly.vertices.x[vertex]);
    ys.push_back(poly.vertices.y[vertex]);
    const auto& s = poly.segments[segment];
    vertex = s[0] == vertex ? s[1] : s[0];
    segment = ends[vertex][0] == segment ? ends[vertex][1] : ends[vertex][0];
    if (vertex == poly.segments[0][0] && steps + 1 < poly.segments.size()) {
      error = path + ": the segments form more than one ring; a boundary is one";
      return false;
    }
  }
  return true;
}

// The boundary polygon of --boundary in the base's frame: the ring of a .poly file
// (absolute coordinates in the base's unit) or the first closed outline of a
// problem. Returns 0, or 2 having said why it cannot be read.
int read_boundary(const std::string& location, const gvk::Problem& base,
                  std::vector<double>& xs, std::vector<double>& ys, std::string& label) {
  std::string lower = location;
  for (char& c : lower)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (lower.size() > 5 && lower.compare(lower.size() - 5, 5, ".poly") == 0) {
    std::string error;
    if (!poly_ring(location, xs, ys, error)) {
      std::cerr << "gravok: " << error << "\n";
      return kUsage;
    }
    for (double& x : xs) x -= base.xorig;
    for (double& y : ys) y -= base.yorig;
    label = location;
    return kSuccess;
  }
  gvk::Problem holder;
  std::unique_ptr<gvk::DataSource> source = open_source(location);
  if (!source) return kUsage;
  gvk::take_snapshot(*source, holder);
  const std::vector<Outline> outlines = closed_outlines(holder);
  if (outlines.empty()) {
    std::cerr << "gravok: " << location
              << " holds no closed outline (building pad, pond, "
              << "parking lot or surface zone) to take as the boundary\n";
    return kUsage;
  }
  const Outline& first = outlines.front();
  xs = *first.xs;
  ys = *first.ys;
  const double factor = length_factor(holder.linear_unit, base.linear_unit);
  move_values(xs, holder.xorig, factor, base.xorig);
  move_values(ys, holder.yorig, factor, base.yorig);
  label = location + ", " + gvk_json::element_kind_name(first.kind) + " " +
          std::to_string(first.number);
  return kSuccess;
}

std::string number(double value, int decimals = 3) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::string json_number(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

// How the report names units: the linear unit's label with a power, and the volume
// unit where it is known and differs from the cube of the linear one.
struct Units {
  std::string length;
  std::string volume;    // empty when there is no separate volume unit
  double to_volume = 1;  // from the cube of the linear unit
  std::string linear_name;
  std::string volume_name;
};

Units units_of(const gvk::Problem& p) {
  Units u;
  u.length = length_label(p.linear_unit);
  u.linear_name = p.linear_unit.name;
  if (is_length(p.linear_unit) && is_length(p.volume_unit) &&
      p.volume_unit.type != p.linear_unit.type) {
    u.volume = p.volume_unit.abbreviation;
    u.volume_name = p.volume_unit.name;
    u.to_volume = gvk::unit_conversion_factor(p.linear_unit.type, p.volume_unit.type, 3);
  }
  return u;
}

std::string volume_text(double value, const Units& u) {
  const std::string cube = number(value) + " " + u.length + "\xC2\xB3";
  if (u.volume.empty()) return cube;
  return number(value * u.to_volume) + " " + u.volume + "\xC2\xB3 (" + cube + ")";
}

std::string area_text(double value, const Units& u) {
  return number(value) + " " + u.length + "\xC2\xB2";
}

void print_text(const gvk::Earthwork& e, const Units& u, const std::string& indent) {
  std::cout << indent << "compared area " << area_text(e.area, u) << "\n"
            << indent << "cut           " << volume_text(e.cut, u) << " over "
            << area_text(e.cut_area, u) << "\n"
            << indent << "fill          " << volume_text(e.fill, u) << " over "
            << area_text(e.fill_area, u) << "\n"
            << indent << "net           " << volume_text(e.net, u) << " (fill - cut)\n";
}

std::string json_figures(const gvk::Earthwork& e, const Units& u) {
  std::ostringstream out;
  out << "\"cut\": " << json_number(e.cut) << ", \"fill\": " << json_number(e.fill)
      << ", \"net\": " << json_number(e.net)
      << ", \"cut_area\": " << json_number(e.cut_area)
      << ", \"fill_area\": " << json_number(e.fill_area)
      << ", \"area\": " << json_number(e.area);
  if (!u.volume.empty()) {
    out << ", \"in_volume_unit\": {\"cut\": " << json_number(e.cut * u.to_volume)
        << ", \"fill\": " << json_number(e.fill * u.to_volume)
        << ", \"net\": " << json_number(e.net * u.to_volume) << "}";
  }
  return out.str();
}

struct Report {
  const SurfacePair& pair;
  bool by_element;
  std::string boundary;
  gvk::VolumeResult total;
  std::vector<Outline> outlines;
  gvk::VolumeResult regions;
};

void print_json(const Report& r, const Units& u) {
  std::cout << "{\"base\": " << json_string(r.pair.base_label)
            << ", \"top\": " << json_string(r.pair.top_label);
  if (!r.boundary.empty()) std::cout << ", \"boundary\": " << json_string(r.boundary);
  std::cout << ", \"unit\": " << json_string(u.linear_name);
  if (!u.volume.empty()) std::cout << ", \"volume_unit\": " << json_string(u.volume_name);
  std::cout << ",\n " << json_figures(r.total.total, u)
            << ",\n \"base_layered_area\": " << json_number(r.total.base_layered_area)
            << ", \"top_layered_area\": " << json_number(r.total.top_layered_area);
  if (r.by_element) {
    std::cout << ",\n \"elements\": [";
    for (std::size_t i = 0; i < r.outlines.size(); ++i) {
      const Outline& o = r.outlines[i];
      std::cout << (i ? ",\n  " : "\n  ")
                << "{\"kind\": " << json_string(gvk_json::element_kind_name(o.kind))
                << ", \"number\": " << o.number << ", "
                << json_figures(r.regions.regions[i], u);
      if (!r.regions.region_faults[i].empty()) {
        std::cout << ", \"fault\": " << json_string(r.regions.region_faults[i]);
      }
      std::cout << "}";
    }
    std::cout << (r.outlines.empty() ? "]" : "\n ]");
  }
  std::cout << "}\n";
}

void print_report(const Report& r, const Units& u) {
  std::cout << "base  " << r.pair.base_label << " (" << r.pair.base.mesh.triangles.size()
            << " triangles)\n"
            << "top   " << r.pair.top_label << " (" << r.pair.top.triangles.size()
            << " triangles)\n";
  if (!r.pair.conversion.empty()) std::cout << "      " << r.pair.conversion << "\n";
  if (!r.boundary.empty()) std::cout << "inside " << r.boundary << "\n";
  print_text(r.total.total, u, "");
  if (r.by_element && r.outlines.empty()) {
    std::cout
        << "no building pad, pond, parking lot or surface zone in the base's problem\n";
  }
  for (std::size_t i = 0; i < r.outlines.size(); ++i) {
    const Outline& o = r.outlines[i];
    std::cout << gvk_json::element_kind_name(o.kind) << " " << o.number << ":";
    if (!r.regions.region_faults[i].empty()) {
      std::cout << " not computed: " << r.regions.region_faults[i] << "\n";
      continue;
    }
    std::cout << "\n";
    print_text(r.regions.regions[i], u, "  ");
  }
}

// What the report found that makes the exit status 1, said on stderr.
bool report_losses(const Report& r, const Units& u) {
  bool lost = false;
  if (!(r.total.total.area > 0)) {
    std::cerr << "gravok: the surfaces do not overlap in plan"
              << (r.boundary.empty() ? "" : " inside the boundary")
              << "; nothing to compare\n";
    lost = true;
  }
  const std::pair<const char*, double> layered[] = {{"base", r.total.base_layered_area},
                                                    {"top", r.total.top_layered_area}};
  for (const auto& [which, area] : layered) {
    if (area > 0) {
      std::cerr << "gravok: the " << which << " surface overlaps itself over "
                << area_text(area, u) << "; every layer was counted\n";
      lost = true;
    }
  }
  for (std::size_t i = 0; i < r.outlines.size(); ++i) {
    if (r.regions.region_faults[i].empty()) continue;
    std::cerr << "gravok: " << gvk_json::element_kind_name(r.outlines[i].kind) << " "
              << r.outlines[i].number
              << " was not computed: " << r.regions.region_faults[i] << "\n";
    lost = true;
  }
  return lost;
}

}  // namespace

gvk::MeshView mesh_view(const gvk::Mesh& mesh) {
  return gvk::MeshView{mesh.x, mesh.y, mesh.z, mesh.triangles};
}

std::string length_label(const gvk::StoredUnit& unit) {
  if (unit.type != gvk::kUnknownUnitType && !unit.abbreviation.empty())
    return unit.abbreviation;
  return "units";
}

std::vector<Outline> closed_outlines(const gvk::Problem& problem) {
  std::vector<Outline> outlines;
  for (const GradingElementType kind : {BuildingPad, Pond, ParkingLot, SurfaceZone}) {
    const auto set = problem.elements.find(kind);
    if (set == problem.elements.end()) continue;
    const std::size_t count = std::min(set->second.xs.size(), set->second.ys.size());
    for (std::size_t i = 0; i < count; ++i) {
      outlines.push_back(Outline{kind, i + 1, &set->second.xs[i], &set->second.ys[i]});
    }
  }
  return outlines;
}

int read_surface_pair(const std::string& base, const std::string& base_surface,
                      const std::string& top, const std::string& top_surface,
                      SurfacePair& pair) {
  if (!read_surface(base, base_surface, pair.base, pair.base_label)) return kUsage;
  gvk::Problem other;
  if (!read_surface(top, top_surface, other, pair.top_label)) return kUsage;
  const double factor = length_factor(other.linear_unit, pair.base.linear_unit);
  if (factor != 1.0) {
    pair.conversion =
        "converted from " + other.linear_unit.name + " to " + pair.base.linear_unit.name;
  }
  pair.top = std::move(other.mesh);
  move_values(pair.top.x, other.xorig, factor, pair.base.xorig);
  move_values(pair.top.y, other.yorig, factor, pair.base.yorig);
  move_values(pair.top.z, other.zorig, factor, pair.base.zorig);
  return kSuccess;
}

int volume(const Options& o) {
  SurfacePair pair;
  int status =
      read_surface_pair(o.location, o.base_surface, o.target, o.top_surface, pair);
  if (status != kSuccess) return status;
  std::vector<double> bx, by;
  Report report{pair, o.by_element, "", {}, {}, {}};
  if (!o.boundary.empty()) {
    status = read_boundary(o.boundary, pair.base, bx, by, report.boundary);
    if (status != kSuccess) return status;
  }
  const gvk::MeshView base = mesh_view(pair.base.mesh);
  const gvk::MeshView top = mesh_view(pair.top);
  if (o.by_element) {
    report.outlines = closed_outlines(pair.base);
    std::vector<std::vector<double>> xs, ys;
    for (const Outline& outline : report.outlines) {
      xs.push_back(*outline.xs);
      ys.push_back(*outline.ys);
    }
    report.regions = gvk::volumes_by_region(base, top, xs, ys);
    if (o.boundary.empty()) report.total = report.regions;
  }
  if (!o.by_element || !o.boundary.empty()) {
    report.total = o.boundary.empty() ? gvk::volume_between(base, top)
                                      : gvk::volume_between(base, top, bx, by);
  }
  if (!report.total) {
    std::cerr << "gravok: " << report.total.message << "\n";
    return kFailed;
  }
  const Units units = units_of(pair.base);
  if (o.json) {
    print_json(report, units);
  } else {
    print_report(report, units);
  }
  return report_losses(report, units) ? kFailed : kSuccess;
}

}  // namespace gravok_tool
