#include "problem.h"

#include <gravok/element_types.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>

namespace gravok_tool {
namespace {

using Lists = std::vector<std::vector<double>>;

template <int N>
UnitValues unit_values(const gvk::Unit<N>& unit) {
  UnitValues values{unit.type, unit.qualifier, {}, unit.name, unit.abbreviation};
  for (const auto& factor : unit.conversions) values.factors.push_back(factor());
  return values;
}

template <int N>
void assign_unit(const UnitValues& values, gvk::Unit<N>& unit) {
  unit.type = values.type;
  unit.qualifier = values.qualifier;
  unit.name = values.name;
  unit.abbreviation = values.abbreviation;
  unit.conversions.clear();
  for (const double factor : values.factors) {
    unit.conversions.emplace_back([factor] { return factor; });
  }
}

template <class T>
void append(std::vector<T>& out, const std::vector<T>& in) {
  out.insert(out.end(), in.begin(), in.end());
}

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
    if (std::isnan(v)) {
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

void compare_units(Differences& d, const std::string& path, const UnitValues& a,
                   const UnitValues& b) {
  d.value(path + "/type", a.type, b.type);
  d.value(path + "/qualifier", a.qualifier, b.qualifier);
  d.list(path + "/factors", a.factors, b.factors);
  d.value(path + "/name", a.name, b.name);
  d.value(path + "/abbreviation", a.abbreviation, b.abbreviation);
}

void compare_complex(Differences& d, const std::string& path,
                     const gvk::DataSource::ComplexElementData& a,
                     const gvk::DataSource::ComplexElementData& b) {
  const Lists gvk::DataSource::ComplexElementData::*lists[] = {
      &gvk::DataSource::ComplexElementData::double_lists_1,
      &gvk::DataSource::ComplexElementData::double_lists_2,
      &gvk::DataSource::ComplexElementData::double_lists_3,
      &gvk::DataSource::ComplexElementData::double_lists_4,
      &gvk::DataSource::ComplexElementData::double_lists_5,
      &gvk::DataSource::ComplexElementData::double_lists_6,
      &gvk::DataSource::ComplexElementData::double_lists_7,
      &gvk::DataSource::ComplexElementData::double_lists_8,
      &gvk::DataSource::ComplexElementData::double_lists_9,
      &gvk::DataSource::ComplexElementData::double_lists_10,
      &gvk::DataSource::ComplexElementData::double_lists_11};
  for (std::size_t i = 0; i < std::size(lists); ++i) {
    d.lists(path + "/double_lists_" + std::to_string(i + 1), a.*lists[i], b.*lists[i]);
  }
  if (!d.same_size(path + "/int_lists", a.int_lists.size(), b.int_lists.size())) return;
  for (std::size_t i = 0; i < a.int_lists.size(); ++i) {
    if (a.int_lists[i] != b.int_lists[i]) {
      d.same_size(path + "/int_lists/" + std::to_string(i), 0, 1);
    }
  }
}

}  // namespace

std::vector<GradingElementType> problem_kinds() {
  std::vector<GradingElementType> kinds = gvk::allElementTypes();
  kinds.push_back(ParkingLot);
  return kinds;
}

Problem read_problem(gvk::DataSource& source) {
  Problem p;
  gvk::Unit<1> linear;
  gvk::Unit<2> area;
  gvk::Unit<3> volume;
  source.get_linear_unit(linear);
  source.get_area_unit(area);
  source.get_volume_unit(volume);
  p.linear = unit_values(linear);
  p.area = unit_values(area);
  p.volume = unit_values(volume);
  source.get_surfaces(p.surface_ids, p.surface_names);
  source.get_eg_data(p.x, p.y, p.z, p.triangles, p.triangle_info);
  source.get_objectives(p.objectives);
  source.get_break_lines(p.break_lines);
  for (const GradingElementType kind : problem_kinds()) {
    KindData& data = p.kinds[kind];
    source.get_grading_elements(kind, data.elements, data.xs, data.ys, data.complex_data);
  }
  p.fix_boundary = source.fix_boundary();
  p.max_slope = source.get_max_slope();
  p.min_slope = source.get_min_slope();
  p.volume_constraint = source.get_volume_constraint();
  source.get_max_slopes(p.max_slopes);
  source.get_min_slopes(p.min_slopes);
  p.metric = source.get_mesh_metric();
  p.xorig = source.get_xorig();
  p.yorig = source.get_yorig();
  p.zorig = source.get_zorig();
  p.max_iteration_count = source.get_max_iteration_count();
  p.epsilon = source.get_epsilon();
  p.hostcad_version = source.get_hostcad_version();
  p.guids_valid = source.is_ge_guid_valid();
  return p;
}

std::vector<std::string> compare_problems(const Problem& a, const Problem& b) {
  Differences d;
  compare_units(d, "/units/linear", a.linear, b.linear);
  compare_units(d, "/units/area", a.area, b.area);
  compare_units(d, "/units/volume", a.volume, b.volume);
  if (d.same_size("/surfaces", a.surface_ids.size(), b.surface_ids.size())) {
    for (std::size_t i = 0; i < a.surface_ids.size(); ++i) {
      const std::string at = "/surfaces/" + std::to_string(i);
      d.value(at + "/id", static_cast<long long>(a.surface_ids[i]),
              static_cast<long long>(b.surface_ids[i]));
    }
  }
  if (d.same_size("/surface_names", a.surface_names.size(), b.surface_names.size())) {
    for (std::size_t i = 0; i < a.surface_names.size(); ++i) {
      d.value("/surface_names/" + std::to_string(i), a.surface_names[i],
              b.surface_names[i]);
    }
  }
  d.list("/mesh/x", a.x, b.x);
  d.list("/mesh/y", a.y, b.y);
  d.list("/mesh/z", a.z, b.z);
  if (d.same_size("/mesh/triangles", a.triangles.size(), b.triangles.size())) {
    for (std::size_t i = 0; i < a.triangles.size(); ++i) {
      for (int c = 0; c < 3; ++c) {
        d.value("/mesh/triangles/" + std::to_string(i) + "/" + std::to_string(c),
                static_cast<long long>(a.triangles[i][c]),
                static_cast<long long>(b.triangles[i][c]));
      }
    }
  }
  d.records("/mesh/triangle_info", a.triangle_info, b.triangle_info);
  d.records("/objectives", a.objectives, b.objectives);
  d.records("/break_lines", a.break_lines, b.break_lines);
  for (const GradingElementType kind : problem_kinds()) {
    const std::string at = "/elements/" + std::to_string(kind);
    const auto ka = a.kinds.find(kind);
    const auto kb = b.kinds.find(kind);
    const KindData none;
    const KindData& da = ka == a.kinds.end() ? none : ka->second;
    const KindData& db = kb == b.kinds.end() ? none : kb->second;
    d.records(at + "/records", da.elements, db.elements);
    d.lists(at + "/xs", da.xs, db.xs);
    d.lists(at + "/ys", da.ys, db.ys);
    compare_complex(d, at + "/complex", da.complex_data, db.complex_data);
  }
  d.value("/fix_boundary", a.fix_boundary ? 1LL : 0LL, b.fix_boundary ? 1LL : 0LL);
  d.value("/max_slope", a.max_slope, b.max_slope);
  d.value("/min_slope", a.min_slope, b.min_slope);
  d.value("/volume_constraint", static_cast<long long>(a.volume_constraint),
          static_cast<long long>(b.volume_constraint));
  d.list("/max_slopes", a.max_slopes, b.max_slopes);
  d.list("/min_slopes", a.min_slopes, b.min_slopes);
  d.value("/mesh_metric/kind", static_cast<long long>(a.metric.kind),
          static_cast<long long>(b.metric.kind));
  d.value("/mesh_metric/value", a.metric.value, b.metric.value);
  d.value("/mesh_metric/flag_a", a.metric.flag_a ? 1LL : 0LL,
          b.metric.flag_a ? 1LL : 0LL);
  d.value("/mesh_metric/flag_b", a.metric.flag_b ? 1LL : 0LL,
          b.metric.flag_b ? 1LL : 0LL);
  d.value("/origin/x", a.xorig, b.xorig);
  d.value("/origin/y", a.yorig, b.yorig);
  d.value("/origin/z", a.zorig, b.zorig);
  d.value("/max_iteration_count", a.max_iteration_count, b.max_iteration_count);
  d.value("/epsilon", a.epsilon, b.epsilon);
  d.value("/hostcad_version", a.hostcad_version, b.hostcad_version);
  d.value("/guids_valid", a.guids_valid ? 1LL : 0LL, b.guids_valid ? 1LL : 0LL);
  return d.lines;
}

Problem generated_problem() {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double tiny = std::numeric_limits<double>::denorm_min();
  const double huge = std::numeric_limits<double>::max();
  Problem p;
  const auto unit = [](std::int32_t type, const std::string& name,
                       const std::string& abbreviation, double scale) {
    UnitValues u{type, 0, {}, name, abbreviation};
    for (int k = 0; k < 9; ++k) u.factors.push_back(scale * (k + 1));
    return u;
  };
  p.linear = unit(4, "foot", "ft", 0.3048);
  p.area = unit(4, "foot", "ft", 0.09290304);
  p.volume = unit(4, "foot", "ft", 0.028316846592);
  p.surface_ids = {7, 18446744073709551615ULL};
  p.surface_names = {"existing ground", "Gel\xc3\xa4nde \"2\"\n"};
  // A 3 x 3 grid of vertices, eight triangles, with a vertex of every sort of value.
  for (int j = 0; j < 3; ++j) {
    for (int i = 0; i < 3; ++i) {
      p.x.push_back(i * 10.125);
      p.y.push_back(j * 7.0625);
      p.z.push_back(100.0 + 0.001 * (i + 3 * j));
    }
  }
  p.z[4] = -0.0;
  p.z[8] = tiny;
  for (unsigned long long j = 0; j < 2; ++j) {
    for (unsigned long long i = 0; i < 2; ++i) {
      const unsigned long long a = i + 3 * j;
      p.triangles.push_back({a, a + 1, a + 4});
      p.triangles.push_back({a, a + 4, a + 3});
    }
  }
  for (std::size_t t = 0; t < p.triangles.size(); ++t) {
    gravok_triangle_info info{};
    for (std::size_t b = 0; b < sizeof info.data; ++b) {
      info.data[b] = static_cast<unsigned char>(t * 31 + b * 7);
    }
    p.triangle_info.push_back(info);
  }
  gravok_objective objective{};
  for (std::size_t b = 0; b < sizeof objective.data; ++b) {
    objective.data[b] = static_cast<unsigned char>(255 - b);
  }
  p.objectives = {objective, gravok_objective{}};
  p.break_lines = {{0.5, 1.5, 100.25, 20.0, 14.0, nan},
                   {-huge, huge, inf, -inf, 0, -0.0}};
  unsigned char fill = 1;
  for (const GradingElementType kind : problem_kinds()) {
    KindData& data = p.kinds[kind];
    for (int e = 0; e < 2; ++e) {
      gravok_grading_element element{};
      for (unsigned char& byte : element.attributes) byte = fill++;
      for (unsigned char& byte : element.trailer) byte = fill++;
      for (int s = 0; s < 6; ++s) element.location[s] = 1.5 * s + e + 0.1 * kind;
      data.elements.push_back(element);
    }
    const bool points = kind == LowPoint || kind == BoundedPoint || kind == Offset;
    if (!points) {
      data.xs = {{1.0, 2.5, 20.25}, {}};
      data.ys = {{1.0, 13.5, 0.125}, {}};
    }
    if (kind >= 100) {
      data.complex_data.double_lists_1 = {{0.25, -1.0}, {nan}};
      data.complex_data.double_lists_11 = {{huge}};
      data.complex_data.int_lists = {{kind, -1, 2147483647}};
    }
  }
  p.kinds[LowPoint].elements[1].location[2] = nan;
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

void ProblemStore::get_linear_unit(gvk::Unit<1>& unit) const {
  assign_unit(m_problem.linear, unit);
}
void ProblemStore::get_area_unit(gvk::Unit<2>& unit) const {
  assign_unit(m_problem.area, unit);
}
void ProblemStore::get_volume_unit(gvk::Unit<3>& unit) const {
  assign_unit(m_problem.volume, unit);
}
void ProblemStore::get_surfaces(std::vector<unsigned long long>& ids,
                                std::vector<std::string>& names) const {
  append(ids, m_problem.surface_ids);
  append(names, m_problem.surface_names);
}
void ProblemStore::get_eg_data(std::vector<double>& x, std::vector<double>& y,
                               std::vector<double>& z,
                               std::vector<gvk::Triangle>& triangles,
                               std::vector<gravok_triangle_info>& triangle_info) {
  append(x, m_problem.x);
  append(y, m_problem.y);
  append(z, m_problem.z);
  append(triangles, m_problem.triangles);
  append(triangle_info, m_problem.triangle_info);
}
void ProblemStore::get_objectives(std::vector<gravok_objective>& objectives) {
  append(objectives, m_problem.objectives);
}
void ProblemStore::get_break_lines(std::vector<gravok_line_3d>& lines) const {
  append(lines, m_problem.break_lines);
}
void ProblemStore::deliver(GradingElementType kind,
                           std::vector<gravok_grading_element>& elements, Lists* xs,
                           Lists* ys) const {
  const auto found = m_problem.kinds.find(kind);
  if (found == m_problem.kinds.end()) return;
  append(elements, found->second.elements);
  if (xs) append(*xs, found->second.xs);
  if (ys) append(*ys, found->second.ys);
}
void ProblemStore::get_unclassified(std::vector<gravok_grading_element>& elements,
                                    Lists& xs, Lists& ys) const {
  deliver(Unclassified, elements, &xs, &ys);
}
void ProblemStore::get_low_points(std::vector<gravok_grading_element>& elements) const {
  deliver(LowPoint, elements, nullptr, nullptr);
}
void ProblemStore::get_bounded_points(
    std::vector<gravok_grading_element>& elements) const {
  deliver(BoundedPoint, elements, nullptr, nullptr);
}
void ProblemStore::get_offsets(std::vector<gravok_grading_element>& elements) const {
  deliver(Offset, elements, nullptr, nullptr);
}
void ProblemStore::get_drain_lines(std::vector<gravok_grading_element>& elements,
                                   Lists& xs, Lists& ys) const {
  deliver(DrainLine, elements, &xs, &ys);
}
void ProblemStore::get_bend_lines(std::vector<gravok_grading_element>& elements,
                                  Lists& xs, Lists& ys) const {
  deliver(BendLine, elements, &xs, &ys);
}
void ProblemStore::get_aligned_edges(std::vector<gravok_grading_element>& elements,
                                     Lists& xs, Lists& ys) const {
  deliver(AlignedEdge, elements, &xs, &ys);
}
void ProblemStore::get_trizone_polygons(std::vector<gravok_grading_element>& elements,
                                        Lists& xs, Lists& ys) const {
  deliver(SurfaceZone, elements, &xs, &ys);
}
void ProblemStore::get_complex_elements(GradingElementType kind,
                                        std::vector<gravok_grading_element>& elements,
                                        Lists& xs, Lists& ys,
                                        ComplexElementData& complex_data) const {
  deliver(kind, elements, &xs, &ys);
  const auto found = m_problem.kinds.find(kind);
  if (found != m_problem.kinds.end()) complex_data = found->second.complex_data;
}
void ProblemStore::get_max_slopes(std::vector<double>& slopes) const {
  append(slopes, m_problem.max_slopes);
}
void ProblemStore::get_min_slopes(std::vector<double>& slopes) const {
  append(slopes, m_problem.min_slopes);
}

void ProblemStore::set_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                             const gvk::Unit<3>& volume) {
  m_problem.linear = unit_values(linear);
  m_problem.area = unit_values(area);
  m_problem.volume = unit_values(volume);
}
void ProblemStore::set_transferred_units(const gvk::Unit<1>& linear,
                                         const gvk::Unit<2>& area,
                                         const gvk::Unit<3>& volume) {
  set_units(linear, area, volume);
}
void ProblemStore::set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                               const std::vector<double>& z,
                               const std::vector<gvk::Triangle>& triangles,
                               const std::vector<gravok_triangle_info>& triangle_info) {
  m_problem.x = x;
  m_problem.y = y;
  m_problem.z = z;
  m_problem.triangles = triangles;
  m_problem.triangle_info = triangle_info;
}
void ProblemStore::set_break_lines(const std::vector<gravok_line_3d>& lines) {
  m_problem.break_lines = lines;
}
void ProblemStore::set_transferred_break_lines(const std::vector<gravok_line_3d>& lines) {
  m_problem.break_lines = lines;
}
void ProblemStore::set_objectives(const std::vector<gravok_objective>& objectives) {
  m_problem.objectives = objectives;
}
void ProblemStore::set_low_points(const std::vector<gravok_grading_element>& elements) {
  m_problem.kinds[LowPoint].elements = elements;
}
void ProblemStore::set_bounded_points(
    const std::vector<gravok_grading_element>& elements) {
  m_problem.kinds[BoundedPoint].elements = elements;
}
void ProblemStore::set_offsets(const std::vector<gravok_grading_element>& elements) {
  m_problem.kinds[Offset].elements = elements;
}
void ProblemStore::set_drain_lines(const std::vector<gravok_grading_element>& elements) {
  m_problem.kinds[DrainLine].elements = elements;
}
void ProblemStore::set_bend_lines(const std::vector<gravok_grading_element>& elements) {
  m_problem.kinds[BendLine].elements = elements;
}
void ProblemStore::set_aligned_edges(
    const std::vector<gravok_grading_element>& elements) {
  m_problem.kinds[AlignedEdge].elements = elements;
}
void ProblemStore::set_trizone_polygons(
    const std::vector<gravok_grading_element>& elements) {
  m_problem.kinds[SurfaceZone].elements = elements;
}
void ProblemStore::set_complex_elements(
    GradingElementType kind, const std::vector<gravok_grading_element>& elements) {
  m_problem.kinds[kind].elements = elements;
}
void ProblemStore::set_transferred_grading_elements(
    GradingElementType kind, const std::vector<gravok_grading_element>& elements,
    const Lists& xs, const Lists& ys, const ComplexElementData& complex_data) {
  m_problem.kinds[kind] = KindData{elements, xs, ys, complex_data};
}

}  // namespace gravok_tool
