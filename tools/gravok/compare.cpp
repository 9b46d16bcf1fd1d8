#include "compare.h"

#include <algorithm>

#include <gravok/element_types.h>

#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <sstream>

namespace gravok_tool {
namespace {

using Lists = std::vector<std::vector<double>>;
using Complex = gvk::DataSource::ComplexElementData;

// Collects differences under a JSON-pointer-like path.
class Differences {
 public:
  std::vector<std::string> lines;

  void value(const std::string& path, double a, double b) {
    if (std::memcmp(&a, &b, sizeof a) != 0) add(path, text(a), text(b));
  }
  void value(const std::string& path, long long a, long long b) {
    if (a != b) add(path, std::to_string(a), std::to_string(b));
  }
  void value(const std::string& path, std::int32_t a, std::int32_t b) {
    value(path, static_cast<long long>(a), static_cast<long long>(b));
  }
  void value(const std::string& path, bool a, bool b) {
    value(path, static_cast<long long>(a), static_cast<long long>(b));
  }
  void value(const std::string& path, const std::string& a, const std::string& b) {
    if (a != b) add(path, "\"" + a + "\"", "\"" + b + "\"");
  }
  template <class T>
  void bytes(const std::string& path, const T& a, const T& b) {
    if (std::memcmp(&a, &b, sizeof a) != 0) add(path, "bytes", "other bytes");
  }
  void list(const std::string& path, const std::vector<double>& a,
            const std::vector<double>& b) {
    if (!same_size(path, a.size(), b.size())) return;
    for (std::size_t i = 0; i < a.size(); ++i) {
      value(path + "/" + std::to_string(i), a[i], b[i]);
    }
  }
  void lists(const std::string& path, const Lists& a, const Lists& b) {
    if (!same_size(path, a.size(), b.size())) return;
    for (std::size_t i = 0; i < a.size(); ++i) {
      list(path + "/" + std::to_string(i), a[i], b[i]);
    }
  }
  template <class T>
  void records(const std::string& path, const std::vector<T>& a,
               const std::vector<T>& b) {
    if (!same_size(path, a.size(), b.size())) return;
    for (std::size_t i = 0; i < a.size(); ++i) {
      bytes(path + "/" + std::to_string(i), a[i], b[i]);
    }
  }
  bool same_size(const std::string& path, std::size_t a, std::size_t b) {
    if (a == b) return true;
    add(path, std::to_string(a) + " entries", std::to_string(b) + " entries");
    return false;
  }

 private:
  static std::string text(double v) {
    std::ostringstream out;
    out.precision(17);
    out << v;
    if (std::isnan(v) || v == 0) {  // the bits tell NaN payloads and signed zeros apart
      unsigned long long bits;
      std::memcpy(&bits, &v, sizeof bits);
      out << " (bits 0x" << std::hex << bits << ")";
    }
    return out.str();
  }
  void add(const std::string& path, const std::string& a, const std::string& b) {
    lines.push_back(path + ": " + a + " != " + b);
  }
};

void compare_units(Differences& d, const std::string& path, const gvk_json::StoredUnit& a,
                   const gvk_json::StoredUnit& b) {
  d.value(path + "/type", a.type, b.type);
  d.value(path + "/qualifier", a.qualifier, b.qualifier);
  d.list(path + "/conversions", a.conversions, b.conversions);
  d.value(path + "/name", a.name, b.name);
  d.value(path + "/abbreviation", a.abbreviation, b.abbreviation);
}

void compare_complex(Differences& d, const std::string& path, const Complex& a,
                     const Complex& b) {
  const Lists Complex::*lists[] = {
      &Complex::double_lists_1,  &Complex::double_lists_2, &Complex::double_lists_3,
      &Complex::double_lists_4,  &Complex::double_lists_5, &Complex::double_lists_6,
      &Complex::double_lists_7,  &Complex::double_lists_8, &Complex::double_lists_9,
      &Complex::double_lists_10, &Complex::double_lists_11};
  for (std::size_t i = 0; i < std::size(lists); ++i) {
    d.lists(path + "/double_lists_" + std::to_string(i + 1), a.*lists[i], b.*lists[i]);
  }
  if (!d.same_size(path + "/int_lists", a.int_lists.size(), b.int_lists.size())) return;
  for (std::size_t i = 0; i < a.int_lists.size(); ++i) {
    const std::string at = path + "/int_lists/" + std::to_string(i);
    if (!d.same_size(at, a.int_lists[i].size(), b.int_lists[i].size())) continue;
    for (std::size_t k = 0; k < a.int_lists[i].size(); ++k) {
      d.value(at + "/" + std::to_string(k), a.int_lists[i][k], b.int_lists[i][k]);
    }
  }
}

}  // namespace

std::vector<std::string> compare_problems(const Problem& a, const Problem& b) {
  Differences d;
  d.value("/hostcad_version", a.hostcad_version, b.hostcad_version);
  compare_units(d, "/units/linear", a.linear_unit, b.linear_unit);
  compare_units(d, "/units/area", a.area_unit, b.area_unit);
  compare_units(d, "/units/volume", a.volume_unit, b.volume_unit);
  d.value("/origin/x", a.xorig, b.xorig);
  d.value("/origin/y", a.yorig, b.yorig);
  d.value("/origin/z", a.zorig, b.zorig);
  d.value("/fix_boundary", a.fix_boundary, b.fix_boundary);
  d.value("/max_slope", a.max_slope, b.max_slope);
  d.value("/min_slope", a.min_slope, b.min_slope);
  d.value("/volume_constraint", static_cast<std::int32_t>(a.volume_constraint),
          static_cast<std::int32_t>(b.volume_constraint));
  d.list("/max_slopes", a.max_slopes, b.max_slopes);
  d.list("/min_slopes", a.min_slopes, b.min_slopes);
  d.value("/mesh_metric/kind", a.metric.kind, b.metric.kind);
  d.value("/mesh_metric/value", a.metric.value, b.metric.value);
  d.value("/mesh_metric/flag_a", a.metric.flag_a, b.metric.flag_a);
  d.value("/mesh_metric/flag_b", a.metric.flag_b, b.metric.flag_b);
  d.value("/max_iteration_count", a.max_iteration_count, b.max_iteration_count);
  d.value("/epsilon", a.epsilon, b.epsilon);
  if (d.same_size("/surfaces", a.surface_ids.size(), b.surface_ids.size())) {
    for (std::size_t i = 0; i < a.surface_ids.size(); ++i) {
      d.value("/surfaces/" + std::to_string(i) + "/id",
              static_cast<long long>(a.surface_ids[i]),
              static_cast<long long>(b.surface_ids[i]));
    }
  }
  if (d.same_size("/surface_names", a.surface_names.size(), b.surface_names.size())) {
    for (std::size_t i = 0; i < a.surface_names.size(); ++i) {
      d.value("/surface_names/" + std::to_string(i), a.surface_names[i],
              b.surface_names[i]);
    }
  }
  d.records("/objectives", a.objectives, b.objectives);
  d.records("/break_lines", a.break_lines, b.break_lines);
  d.list("/mesh/x", a.mesh.x, b.mesh.x);
  d.list("/mesh/y", a.mesh.y, b.mesh.y);
  d.list("/mesh/z", a.mesh.z, b.mesh.z);
  if (d.same_size("/mesh/triangles", a.mesh.triangles.size(), b.mesh.triangles.size())) {
    for (std::size_t i = 0; i < a.mesh.triangles.size(); ++i) {
      for (int c = 0; c < 3; ++c) {
        d.value("/mesh/triangles/" + std::to_string(i) + "/" + std::to_string(c),
                static_cast<long long>(a.mesh.triangles[i][c]),
                static_cast<long long>(b.mesh.triangles[i][c]));
      }
    }
  }
  d.records("/mesh/triangle_info", a.mesh.triangle_info, b.mesh.triangle_info);
  std::map<GradingElementType, bool> kinds;
  for (const auto& entry : a.elements) kinds[entry.first] = true;
  for (const auto& entry : b.elements) kinds[entry.first] = true;
  const gvk_json::ElementSet none;
  for (const auto& entry : kinds) {
    const GradingElementType kind = entry.first;
    const std::string at = "/elements/" + gvk_json::element_kind_name(kind);
    const auto ka = a.elements.find(kind);
    const auto kb = b.elements.find(kind);
    const gvk_json::ElementSet& sa = ka == a.elements.end() ? none : ka->second;
    const gvk_json::ElementSet& sb = kb == b.elements.end() ? none : kb->second;
    d.records(at + "/records", sa.records, sb.records);
    d.lists(at + "/xs", sa.xs, sb.xs);
    d.lists(at + "/ys", sa.ys, sb.ys);
    compare_complex(d, at + "/complex", sa.complex, sb.complex);
  }
  d.value("/guids_valid", a.guids_valid, b.guids_valid);
  return d.lines;
}

Problem generated_problem() {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double tiny = std::numeric_limits<double>::denorm_min();
  const double huge = std::numeric_limits<double>::max();
  Problem p;
  p.linear_unit = gvk_json::store_unit(gvk::Known<1>(4));
  p.area_unit = gvk_json::store_unit(gvk::Known<2>(4));
  p.volume_unit = gvk_json::store_unit(gvk::Known<3>(5));
  p.surface_ids = {7, 18446744073709551615ULL};
  p.surface_names = {"existing ground", "Gel\xc3\xa4nde \"2\"\n"};
  // A 3 x 3 grid of vertices, eight triangles, with a vertex of every sort of value.
  gvk_json::Mesh& m = p.mesh;
  for (int j = 0; j < 3; ++j) {
    for (int i = 0; i < 3; ++i) {
      m.x.push_back(i * 10.125);
      m.y.push_back(j * 7.0625);
      m.z.push_back(100.0 + 0.001 * (i + 3 * j));
    }
  }
  m.z[4] = -0.0;
  m.z[8] = tiny;
  for (unsigned long long j = 0; j < 2; ++j) {
    for (unsigned long long i = 0; i < 2; ++i) {
      const unsigned long long a = i + 3 * j;
      m.triangles.push_back({a, a + 1, a + 4});
      m.triangles.push_back({a, a + 4, a + 3});
    }
  }
  for (std::size_t t = 0; t < m.triangles.size(); ++t) {
    gravok_triangle_info info{};
    for (std::size_t b = 0; b < sizeof info.data; ++b) {
      info.data[b] = static_cast<unsigned char>(t * 31 + b * 7);
    }
    m.triangle_info.push_back(info);
  }
  gravok_objective objective{};
  for (std::size_t b = 0; b < sizeof objective.data; ++b) {
    objective.data[b] = static_cast<unsigned char>(255 - b);
  }
  p.objectives = {objective, gravok_objective{}};
  p.break_lines = {{0.5, 1.5, 100.25, 20.0, 14.0, nan},
                   {-huge, huge, inf, -inf, 0, -0.0}};
  std::vector<GradingElementType> kinds = gvk::allElementTypes();
  kinds.push_back(ParkingLot);
  unsigned char fill = 1;
  for (const GradingElementType kind : kinds) {
    gvk_json::ElementSet& set = p.elements[kind];
    for (int e = 0; e < 2; ++e) {
      gravok_grading_element element{};
      for (unsigned char& byte : element.attributes) byte = fill++;
      for (unsigned char& byte : element.trailer) byte = fill++;
      for (int s = 0; s < 6; ++s) element.location[s] = 1.5 * s + e + 0.1 * kind;
      set.records.push_back(element);
    }
    const bool points = kind == LowPoint || kind == BoundedPoint || kind == Offset;
    if (!points) {
      set.xs = {{1.0, 2.5, 20.25}, {}};
      set.ys = {{1.0, 13.5, 0.125}, {}};
    }
    if (kind >= 100) {
      set.complex.double_lists_1 = {{0.25, -1.0}, {nan}};
      set.complex.double_lists_11 = {{huge}};
      set.complex.int_lists = {{kind, -1, 2147483647}};
    }
  }
  p.elements[LowPoint].records[1].location[2] = nan;
  p.fix_boundary = false;
  p.max_slope = 0.5;
  p.min_slope = 0.0125;
  p.volume_constraint = static_cast<VolumeConstraint>(2);
  p.max_slopes = {0.25, inf};
  p.min_slopes = {0.01};
  p.metric = {3, 2.75, true, false};
  p.xorig = 2000000.125;
  p.yorig = 500000.0625;
  p.zorig = -12.5;
  p.max_iteration_count = 5000000000LL;
  p.epsilon = 1e-9;
  p.hostcad_version = "roundtrip 1.0";
  return p;
}

Problem without_non_finite_break_lines(Problem problem) {
  std::vector<gravok_line_3d>& lines = problem.break_lines;
  lines.erase(std::remove_if(lines.begin(), lines.end(),
                             [](const gravok_line_3d& l) {
                               return !std::isfinite(l.x1) || !std::isfinite(l.y1) ||
                                      !std::isfinite(l.z1) || !std::isfinite(l.x2) ||
                                      !std::isfinite(l.y2) || !std::isfinite(l.z2);
                             }),
              lines.end());
  return problem;
}

}  // namespace gravok_tool
