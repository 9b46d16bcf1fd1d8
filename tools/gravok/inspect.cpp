#include "inspect.h"

#include "commands.h"

#include "json_document.h"

#include <gravok/mesh_check.h>
#include <gravok/units.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <locale>
#include <sstream>

namespace gravok_tool {

using gvk::Problem;

namespace {

using Lists = std::vector<std::vector<double>>;

std::string number(double v) {
  std::ostringstream out;
  out.precision(15);
  out << v;
  return out.str();
}

bool has_lists(GradingElementType kind) {
  return kind != LowPoint && kind != BoundedPoint && kind != Offset;
}

// The plan points an element record holds itself (point kinds only).
std::vector<std::pair<double, double>> record_points(GradingElementType kind,
                                                     const gravok_grading_element& e) {
  switch (kind) {
    case LowPoint:
    case BoundedPoint: return {{e.location[0], e.location[1]}};
    case Offset: return {{e.location[1], e.location[2]}, {e.location[4], e.location[5]}};
    default: return {};
  }
}

// The plan points of element `i` of `data` that inspect looks up on the mesh: a point
// kind's record points, then the element's x and y lists pairwise.
std::vector<std::pair<double, double>> element_points(GradingElementType kind,
                                                      const gvk::ElementSet& data,
                                                      std::size_t i) {
  std::vector<std::pair<double, double>> points = record_points(kind, data.records[i]);
  if (has_lists(kind) && i < data.xs.size() && i < data.ys.size()) {
    const std::vector<double>& xs = data.xs[i];
    const std::vector<double>& ys = data.ys[i];
    for (std::size_t k = 0; k < std::min(xs.size(), ys.size()); ++k)
      points.emplace_back(xs[k], ys[k]);
  }
  return points;
}

}  // namespace

std::vector<char> covered_in_plan(const gvk::Mesh& mesh,
                                  const std::vector<std::pair<double, double>>& points,
                                  bool& any_usable) {
  any_usable = false;
  std::vector<char> covered(points.size(), 0);
  const std::vector<double>& x = mesh.x;
  const std::vector<double>& y = mesh.y;
  const std::size_t n = std::min(x.size(), y.size());
  // The finite points in a uniform grid over their extent, about one cell per point.
  double x0 = std::numeric_limits<double>::infinity(), x1 = -x0, y0 = x0, y1 = -x0;
  std::size_t finite = 0;
  for (const auto& [px, py] : points) {
    if (!std::isfinite(px) || !std::isfinite(py)) continue;
    ++finite;
    x0 = std::min(x0, px);
    x1 = std::max(x1, px);
    y0 = std::min(y0, py);
    y1 = std::max(y1, py);
  }
  const std::size_t cells =
      static_cast<std::size_t>(std::sqrt(static_cast<double>(finite))) + 1;
  const auto cell_of = [&](double v, double lo, double hi) -> std::size_t {
    if (!(hi > lo)) return 0;
    const double f = (v - lo) / (hi - lo) * static_cast<double>(cells);
    return std::min(cells - 1, static_cast<std::size_t>(std::max(0.0, f)));
  };
  std::vector<std::size_t> start(finite ? cells * cells + 1 : 1, 0), entries(finite);
  for (int pass = 0; pass < 2 && finite; ++pass) {
    std::vector<std::size_t> fill(start.begin(), start.end() - 1);
    for (std::size_t q = 0; q < points.size(); ++q) {
      const auto [px, py] = points[q];
      if (!std::isfinite(px) || !std::isfinite(py)) continue;
      const std::size_t cell = cell_of(py, y0, y1) * cells + cell_of(px, x0, x1);
      if (pass == 0) {
        ++start[cell + 1];
      } else {
        entries[fill[cell]++] = q;
      }
    }
    if (pass == 0)
      for (std::size_t i = 1; i < start.size(); ++i) start[i] += start[i - 1];
  }
  // One pass over the triangles: each looks at the points in the cells its box meets.
  for (const gvk::Triangle& t : mesh.triangles) {
    if (t[0] >= n || t[1] >= n || t[2] >= n) continue;
    double tx0 = x[t[0]], tx1 = tx0, ty0 = y[t[0]], ty1 = ty0;
    bool usable = std::isfinite(tx0) && std::isfinite(ty0);
    for (int k = 1; k < 3; ++k) {
      usable = usable && std::isfinite(x[t[k]]) && std::isfinite(y[t[k]]);
      tx0 = std::min(tx0, x[t[k]]);
      tx1 = std::max(tx1, x[t[k]]);
      ty0 = std::min(ty0, y[t[k]]);
      ty1 = std::max(ty1, y[t[k]]);
    }
    if (!usable) continue;
    any_usable = true;
    if (!finite || tx1 < x0 || tx0 > x1 || ty1 < y0 || ty0 > y1) continue;
    const std::size_t c0 = cell_of(tx0, x0, x1), c1 = cell_of(tx1, x0, x1);
    const std::size_t r0 = cell_of(ty0, y0, y1), r1 = cell_of(ty1, y0, y1);
    const auto side = [&](unsigned long long a, unsigned long long b, double px,
                          double py) {
      return (x[b] - x[a]) * (py - y[a]) - (y[b] - y[a]) * (px - x[a]);
    };
    for (std::size_t r = r0; r <= r1; ++r) {
      for (std::size_t c = c0; c <= c1; ++c) {
        const std::size_t cell = r * cells + c;
        for (std::size_t i = start[cell]; i < start[cell + 1]; ++i) {
          const std::size_t q = entries[i];
          if (covered[q]) continue;
          const auto [px, py] = points[q];
          if (px < tx0 || px > tx1 || py < ty0 || py > ty1) continue;
          const double s0 = side(t[0], t[1], px, py), s1 = side(t[1], t[2], px, py),
                       s2 = side(t[2], t[0], px, py);
          if ((s0 >= 0 && s1 >= 0 && s2 >= 0) || (s0 <= 0 && s1 <= 0 && s2 <= 0))
            covered[q] = 1;
        }
      }
    }
  }
  return covered;
}

namespace {

class Checker {
 public:
  explicit Checker(const Problem& p) : m_p(p) {}

  std::vector<Finding> findings;

  void mesh(double tolerance) {
    for (const gvk::MeshFinding& f : gvk::check_mesh(m_p.mesh.x, m_p.mesh.y, m_p.mesh.z,
                                                     m_p.mesh.triangles, tolerance)) {
      static const char* const keys[] = {"missing-coordinates",   "index-out-of-range",
                                         "non-finite-coordinate", "zero-area",
                                         "unused-vertex",         "welded-vertex"};
      const auto k = static_cast<std::size_t>(f.kind);
      const std::string message = gvk::mesh_finding_message(f);
      const std::size_t colon = message.find(": ");
      add(k < std::size(keys) ? keys[k] : "mesh",
          colon == std::string::npos ? "mesh" : message.substr(0, colon),
          colon == std::string::npos ? message : message.substr(colon + 2));
    }
    if (m_p.mesh.triangle_info.size() != m_p.mesh.triangles.size()) {
      add("triangle-info-count", "mesh",
          std::to_string(m_p.mesh.triangle_info.size()) + " triangle records for " +
              std::to_string(m_p.mesh.triangles.size()) + " triangles");
    }
    for (std::size_t i = 0; i < m_p.break_lines.size(); ++i) {
      const gravok_line_3d& l = m_p.break_lines[i];
      for (const double v : {l.x1, l.y1, l.z1, l.x2, l.y2, l.z2}) {
        if (!std::isfinite(v)) {
          add("non-finite-coordinate", "break line " + std::to_string(i),
              "a coordinate is " + number(v));
          break;
        }
      }
    }
  }

  void elements() {
    // Every point is looked up on the mesh in one pass over its triangles, after the
    // mesh check has let go of its own tables, so that the two never take memory at
    // the same time; the findings then follow in the elements' order.
    std::vector<std::pair<double, double>> points;
    for (const auto& [kind, data] : m_p.elements) {
      for (std::size_t i = 0; i < data.records.size(); ++i) {
        for (const auto& point : element_points(kind, data, i)) points.push_back(point);
      }
    }
    m_covered = covered_in_plan(m_p.mesh, points, m_any_usable);
    m_next_point = 0;
    for (const auto& [kind, data] : m_p.elements) {
      for (std::size_t i = 0; i < data.records.size(); ++i) {
        element(kind, data, i);
      }
      if (!has_lists(kind)) continue;
      const std::string where = gvk_json::element_kind_name(kind);
      if (data.xs.size() != data.records.size() ||
          data.ys.size() != data.records.size()) {
        add("list-count", where,
            std::to_string(data.records.size()) + " elements but " +
                std::to_string(data.xs.size()) + " x lists and " +
                std::to_string(data.ys.size()) + " y lists");
      }
    }
  }

  void settings() {
    const auto check = [&](const char* key, bool bad, const std::string& what) {
      if (bad) add(key, "settings", what);
    };
    check("slope-order", m_p.max_slope < m_p.min_slope,
          "the maximum slope " + number(m_p.max_slope) + " is below the minimum slope " +
              number(m_p.min_slope));
    check("slope-range", !(m_p.min_slope >= 0) || !std::isfinite(m_p.max_slope),
          "the slopes " + number(m_p.min_slope) + " to " + number(m_p.max_slope) +
              " are not a finite range from zero up");
    const std::size_t pairs = std::min(m_p.max_slopes.size(), m_p.min_slopes.size());
    for (std::size_t i = 0; i < pairs; ++i) {
      check("slope-order", m_p.max_slopes[i] < m_p.min_slopes[i],
            "maximum slope " + std::to_string(i) + " (" + number(m_p.max_slopes[i]) +
                ") is below minimum slope " + std::to_string(i) + " (" +
                number(m_p.min_slopes[i]) + ")");
    }
    check("slope-count",
          !m_p.max_slopes.empty() && !m_p.min_slopes.empty() &&
              m_p.max_slopes.size() != m_p.min_slopes.size(),
          std::to_string(m_p.max_slopes.size()) + " maximum slopes but " +
              std::to_string(m_p.min_slopes.size()) + " minimum slopes");
    check("non-finite-origin",
          !std::isfinite(m_p.xorig) || !std::isfinite(m_p.yorig) ||
              !std::isfinite(m_p.zorig),
          "the origin (" + number(m_p.xorig) + ", " + number(m_p.yorig) + ", " +
              number(m_p.zorig) + ") is not finite");
    check("iteration-count", m_p.max_iteration_count <= 0,
          "the maximum iteration count " + std::to_string(m_p.max_iteration_count) +
              " allows no iteration");
    check("epsilon", !(m_p.epsilon >= 0) || !std::isfinite(m_p.epsilon),
          "epsilon " + number(m_p.epsilon) + " is not a finite value from zero up");
    check("unit-factors",
          m_p.linear_unit.conversions.size() != gvk::kKnownUnitTypes ||
              m_p.area_unit.conversions.size() != gvk::kKnownUnitTypes ||
              m_p.volume_unit.conversions.size() != gvk::kKnownUnitTypes,
          "a unit does not carry one conversion factor per known unit type");
    check("surface-names", m_p.surface_ids.size() != m_p.surface_names.size(),
          std::to_string(m_p.surface_ids.size()) + " surface ids but " +
              std::to_string(m_p.surface_names.size()) + " surface names");
  }

 private:
  void add(std::string check, std::string where, std::string what) {
    findings.push_back({std::move(check), std::move(where), std::move(what)});
  }

  void element(GradingElementType kind, const gvk::ElementSet& data, std::size_t i) {
    const std::string where = gvk_json::element_kind_name(kind) + " " + std::to_string(i);
    const std::vector<std::pair<double, double>> points = element_points(kind, data, i);
    for (const double v : data.records[i].location) {
      if (!has_lists(kind) && !std::isfinite(v)) {
        add("non-finite-coordinate", where, "a location value is " + number(v));
        break;
      }
    }
    if (has_lists(kind) && i < data.xs.size() && i < data.ys.size()) {
      const std::vector<double>& xs = data.xs[i];
      const std::vector<double>& ys = data.ys[i];
      if (xs.size() != ys.size()) {
        add("list-length", where,
            std::to_string(xs.size()) + " x values but " + std::to_string(ys.size()) +
                " y values");
      }
    }
    for (std::size_t k = 0; k < points.size(); ++k, ++m_next_point) {
      const auto [px, py] = points[k];
      if (!std::isfinite(px) || !std::isfinite(py)) {
        // A point kind's record has been reported above already.
        if (!has_lists(kind)) continue;
        add("non-finite-coordinate", where,
            "point " + std::to_string(k) + " is (" + number(px) + ", " + number(py) +
                ")");
      } else if (m_any_usable && !m_covered[m_next_point]) {
        add("outside-mesh", where,
            "point " + std::to_string(k) + " (" + number(px) + ", " + number(py) +
                ") lies outside the mesh");
      }
    }
  }

  const Problem& m_p;
  // Whether each point of the elements, in their order, lies on the mesh.
  std::vector<char> m_covered;
  bool m_any_usable = false;
  std::size_t m_next_point = 0;
};

}  // namespace

std::vector<Finding> inspect_problem(const Problem& problem, double tolerance) {
  Checker checker(problem);
  checker.mesh(tolerance);
  checker.elements();
  checker.settings();
  return checker.findings;
}

// The coordinate system and the writing application, where the problem names them.
void summarise_description(std::ostream& out, const gvk::ProblemDescription& d) {
  const gvk::CoordinateSystem& c = d.coordinate_system;
  std::string system;
  for (const std::string& part :
       {c.epsg_code.empty() ? c.epsg_code : "EPSG:" + c.epsg_code, c.name, c.description,
        c.horizontal_name}) {
    if (!part.empty()) system += (system.empty() ? "" : ", ") + part;
  }
  if (system.empty() && !c.wkt.empty()) system = "given as WKT";
  if (!system.empty()) out << "coordinate system: " << system << "\n";
  if (!d.application_name.empty()) {
    out << "application: " << d.application_name
        << (d.application_version.empty() ? "" : " " + d.application_version) << "\n";
  }
}

std::string summarise_problem(const Problem& p) {
  std::ostringstream out;
  out.precision(15);
  // An area or volume unit carries the name of its length ("foot"): it is printed as
  // the square or cube of it, "square foot (ft²)".
  const auto unit = [](const gvk::StoredUnit& u, int power) {
    if (u.type == gvk::kUnknownUnitType) return u.name;
    const std::string prefix = power == 2 ? "square " : power == 3 ? "cubic " : "";
    const std::string exponent = power == 2 ? "\xC2\xB2" : power == 3 ? "\xC2\xB3" : "";
    return prefix + u.name +
           (u.abbreviation.empty() ? "" : " (" + u.abbreviation + exponent + ")");
  };
  out << "units: linear " << unit(p.linear_unit, 1) << ", area " << unit(p.area_unit, 2)
      << ", volume " << unit(p.volume_unit, 3) << "\n";
  out << "origin: " << p.xorig << ", " << p.yorig << ", " << p.zorig << "\n";
  if (!p.hostcad_version.empty()) out << "host: " << p.hostcad_version << "\n";
  summarise_description(out, p.description);
  for (std::size_t i = 0; i < p.surface_ids.size(); ++i) {
    const unsigned long long id = p.surface_ids[i];
    out << "surface " << id << ": "
        << (i < p.surface_names.size() ? p.surface_names[i] : "");
    for (const gvk::Surface& s : p.surfaces) {
      if (s.id != id) continue;
      out << " (" << s.mesh.x.size() << " vertices, " << s.mesh.triangles.size()
          << " triangles)";
      break;
    }
    const auto desc = p.description.surface_descriptions.find(id);
    if (desc != p.description.surface_descriptions.end()) out << ": " << desc->second;
    out << "\n";
  }
  out << "mesh: " << p.mesh.x.size() << " vertices, " << p.mesh.triangles.size()
      << " triangles";
  double lo[3], hi[3];
  const std::vector<double>* axes[] = {&p.mesh.x, &p.mesh.y, &p.mesh.z};
  bool any = false;
  for (int a = 0; a < 3; ++a) {
    lo[a] = std::numeric_limits<double>::infinity();
    hi[a] = -lo[a];
    for (const double v : *axes[a]) {
      if (!std::isfinite(v)) continue;
      lo[a] = std::min(lo[a], v);
      hi[a] = std::max(hi[a], v);
      any = true;
    }
  }
  if (any) {
    out << ", extent x " << lo[0] << " to " << hi[0] << ", y " << lo[1] << " to " << hi[1]
        << ", z " << lo[2] << " to " << hi[2] << " (local)";
  }
  out << "\n";
  out << "break lines: " << p.break_lines.size()
      << ", objectives: " << p.objectives.size() << "\n";
  out << "elements:";
  bool none = true;
  for (const auto& [kind, data] : p.elements) {
    if (data.records.empty()) continue;
    out << " " << gvk_json::element_kind_name(kind) << " " << data.records.size();
    none = false;
  }
  out << (none ? " none\n" : "\n");
  out << "settings: slopes " << p.min_slope << " to " << p.max_slope << ", "
      << p.max_slopes.size() << " maximum and " << p.min_slopes.size()
      << " minimum slopes, volume constraint " << p.volume_constraint << ", fix boundary "
      << (p.fix_boundary ? "yes" : "no") << ", mesh metric " << p.metric.kind << "/"
      << p.metric.value << ", iterations " << p.max_iteration_count << ", epsilon "
      << p.epsilon << "\n";
  return out.str();
}

namespace {

// A number as JSON has it: NaN and the infinities, which JSON lacks, as null.
std::string json_number(double value) {
  if (!std::isfinite(value)) return "null";
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.precision(17);
  out << value;
  return out.str();
}

std::string json_unit(const gvk::StoredUnit& u) {
  return "{\"type\": " + std::to_string(u.type) + ", \"name\": " + json_string(u.name) +
         ", \"abbreviation\": " + json_string(u.abbreviation) + "}";
}

}  // namespace

std::string summarise_problem_json(const Problem& p) {
  std::ostringstream out;
  out << "{\"units\": {\"linear\": " << json_unit(p.linear_unit)
      << ", \"area\": " << json_unit(p.area_unit)
      << ", \"volume\": " << json_unit(p.volume_unit) << "}";
  out << ", \"origin\": [" << json_number(p.xorig) << ", " << json_number(p.yorig) << ", "
      << json_number(p.zorig) << "]";
  out << ", \"host_version\": " << json_string(p.hostcad_version);
  const gvk::ProblemDescription& d = p.description;
  out << ", \"application\": {\"name\": " << json_string(d.application_name)
      << ", \"version\": " << json_string(d.application_version) << "}";
  out << ", \"coordinate_system\": {\"epsg_code\": "
      << json_string(d.coordinate_system.epsg_code)
      << ", \"name\": " << json_string(d.coordinate_system.name) << "}";
  out << ", \"surfaces\": [";
  for (std::size_t i = 0; i < p.surface_ids.size(); ++i) {
    out << (i ? ", " : "") << "{\"id\": " << p.surface_ids[i] << ", \"name\": "
        << json_string(i < p.surface_names.size() ? p.surface_names[i] : "") << "}";
  }
  out << "], \"mesh\": {\"vertices\": " << p.mesh.x.size()
      << ", \"triangles\": " << p.mesh.triangles.size() << "}";
  out << ", \"break_lines\": " << p.break_lines.size()
      << ", \"objectives\": " << p.objectives.size() << ", \"elements\": {";
  bool first = true;
  for (const auto& [kind, data] : p.elements) {
    if (data.records.empty()) continue;
    out << (first ? "" : ", ") << json_string(gvk_json::element_kind_name(kind)) << ": "
        << data.records.size();
    first = false;
  }
  out << "}, \"settings\": {\"fix_boundary\": " << (p.fix_boundary ? "true" : "false")
      << ", \"max_slope\": " << json_number(p.max_slope)
      << ", \"min_slope\": " << json_number(p.min_slope)
      << ", \"max_slopes\": " << p.max_slopes.size()
      << ", \"min_slopes\": " << p.min_slopes.size()
      << ", \"volume_constraint\": " << static_cast<int>(p.volume_constraint)
      << ", \"max_iteration_count\": " << p.max_iteration_count
      << ", \"epsilon\": " << json_number(p.epsilon) << "}}";
  return out.str();
}

}  // namespace gravok_tool
