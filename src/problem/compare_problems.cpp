#include <gravok/element_types.h>
#include <gravok/problem.h>

#include <cmath>
#include <cstring>
#include <iterator>
#include <sstream>

namespace gvk {
namespace {

using Lists = std::vector<std::vector<double>>;
using Complex = DataSource::ComplexElementData;

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
  void value(const std::string& path, unsigned long long a, unsigned long long b) {
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
  template <class T>
  void list(const std::string& path, const std::vector<T>& a, const std::vector<T>& b) {
    if (!same_size(path, a.size(), b.size())) return;
    for (std::size_t i = 0; i < a.size(); ++i) {
      value(path + "/" + std::to_string(i), a[i], b[i]);
    }
  }
  template <class T>
  void lists(const std::string& path, const std::vector<std::vector<T>>& a,
             const std::vector<std::vector<T>>& b) {
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

// The kind as the JSON problem document names it: the catalogue name, or the number.
std::string kind_name(GradingElementType kind) {
  const char* name = element_type_name(kind);
  return *name ? name : std::to_string(static_cast<std::int32_t>(kind));
}

void compare_units(Differences& d, const std::string& path, const StoredUnit& a,
                   const StoredUnit& b) {
  d.value(path + "/type", a.type, b.type);
  d.value(path + "/qualifier", a.qualifier, b.qualifier);
  d.list(path + "/conversions", a.conversions, b.conversions);
  d.value(path + "/name", a.name, b.name);
  d.value(path + "/abbreviation", a.abbreviation, b.abbreviation);
}

void compare_settings(Differences& d, const Problem& a, const Problem& b) {
  d.value("/settings/fix_boundary", a.fix_boundary, b.fix_boundary);
  d.value("/settings/max_slope", a.max_slope, b.max_slope);
  d.value("/settings/min_slope", a.min_slope, b.min_slope);
  d.value("/settings/volume_constraint", static_cast<std::int32_t>(a.volume_constraint),
          static_cast<std::int32_t>(b.volume_constraint));
  d.list("/settings/max_slopes", a.max_slopes, b.max_slopes);
  d.list("/settings/min_slopes", a.min_slopes, b.min_slopes);
  d.value("/settings/mesh_metric/kind", a.metric.kind, b.metric.kind);
  d.value("/settings/mesh_metric/value", a.metric.value, b.metric.value);
  d.value("/settings/mesh_metric/flag_a", a.metric.flag_a, b.metric.flag_a);
  d.value("/settings/mesh_metric/flag_b", a.metric.flag_b, b.metric.flag_b);
  d.value("/settings/max_iteration_count", a.max_iteration_count, b.max_iteration_count);
  d.value("/settings/epsilon", a.epsilon, b.epsilon);
}

void compare_mesh(Differences& d, const std::string& path, const Mesh& a, const Mesh& b) {
  d.list(path + "/x", a.x, b.x);
  d.list(path + "/y", a.y, b.y);
  d.list(path + "/z", a.z, b.z);
  if (d.same_size(path + "/triangles", a.triangles.size(), b.triangles.size())) {
    for (std::size_t i = 0; i < a.triangles.size(); ++i) {
      for (int c = 0; c < 3; ++c) {
        d.value(path + "/triangles/" + std::to_string(i) + "/" + std::to_string(c),
                a.triangles[i][c], b.triangles[i][c]);
      }
    }
  }
  d.records(path + "/triangle_info", a.triangle_info, b.triangle_info);
}

void compare_surfaces(Differences& d, const Problem& a, const Problem& b) {
  d.list("/surfaces/ids", a.surface_ids, b.surface_ids);
  d.list("/surfaces/names", a.surface_names, b.surface_names);
  if (!d.same_size("/all_surfaces", a.surfaces.size(), b.surfaces.size())) return;
  for (std::size_t i = 0; i < a.surfaces.size(); ++i) {
    const std::string at = "/all_surfaces/" + std::to_string(i);
    const Surface& sa = a.surfaces[i];
    const Surface& sb = b.surfaces[i];
    d.value(at + "/id", sa.id, sb.id);
    d.value(at + "/name", sa.name, sb.name);
    compare_mesh(d, at + "/mesh", sa.mesh, sb.mesh);
    d.records(at + "/break_lines", sa.break_lines, sb.break_lines);
  }
}

void compare_description(Differences& d, const ProblemDescription& a,
                         const ProblemDescription& b) {
  const CoordinateSystem& ca = a.coordinate_system;
  const CoordinateSystem& cb = b.coordinate_system;
  d.value("/description/coordinate_system/epsg_code", ca.epsg_code, cb.epsg_code);
  d.value("/description/coordinate_system/wkt", ca.wkt, cb.wkt);
  d.value("/description/coordinate_system/name", ca.name, cb.name);
  d.value("/description/coordinate_system/description", ca.description, cb.description);
  d.value("/description/coordinate_system/horizontal_name", ca.horizontal_name,
          cb.horizontal_name);
  d.value("/description/coordinate_system/horizontal_datum", ca.horizontal_datum,
          cb.horizontal_datum);
  d.value("/description/coordinate_system/vertical_datum", ca.vertical_datum,
          cb.vertical_datum);
  d.value("/description/application/name", a.application_name, b.application_name);
  d.value("/description/application/version", a.application_version,
          b.application_version);
  std::map<unsigned long long, std::string> ids;
  for (const auto& entry : a.surface_descriptions) ids[entry.first];
  for (const auto& entry : b.surface_descriptions) ids[entry.first];
  for (const auto& entry : ids) {
    const auto ia = a.surface_descriptions.find(entry.first);
    const auto ib = b.surface_descriptions.find(entry.first);
    d.value("/description/surfaces/" + std::to_string(entry.first),
            ia == a.surface_descriptions.end() ? entry.second : ia->second,
            ib == b.surface_descriptions.end() ? entry.second : ib->second);
  }
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
  d.lists(path + "/int_lists", a.int_lists, b.int_lists);
}

void compare_elements(Differences& d, const Problem& a, const Problem& b) {
  std::map<GradingElementType, bool> kinds;
  for (const auto& entry : a.elements) kinds[entry.first] = true;
  for (const auto& entry : b.elements) kinds[entry.first] = true;
  const ElementSet none;
  for (const auto& entry : kinds) {
    const GradingElementType kind = entry.first;
    const std::string at = "/elements/" + kind_name(kind);
    const auto ka = a.elements.find(kind);
    const auto kb = b.elements.find(kind);
    const ElementSet& sa = ka == a.elements.end() ? none : ka->second;
    const ElementSet& sb = kb == b.elements.end() ? none : kb->second;
    d.records(at + "/records", sa.records, sb.records);
    d.lists(at + "/xs", sa.xs, sb.xs);
    d.lists(at + "/ys", sa.ys, sb.ys);
    compare_complex(d, at + "/complex", sa.complex, sb.complex);
  }
}

}  // namespace

std::vector<std::string> compare_problems(const Problem& a, const Problem& b) {
  Differences d;
  d.value("/hostcad_version", a.hostcad_version, b.hostcad_version);
  compare_units(d, "/units/linear", a.linear_unit, b.linear_unit);
  compare_units(d, "/units/area", a.area_unit, b.area_unit);
  compare_units(d, "/units/volume", a.volume_unit, b.volume_unit);
  d.value("/origin/0", a.xorig, b.xorig);
  d.value("/origin/1", a.yorig, b.yorig);
  d.value("/origin/2", a.zorig, b.zorig);
  compare_settings(d, a, b);
  compare_surfaces(d, a, b);
  d.records("/objectives", a.objectives, b.objectives);
  d.records("/break_lines", a.break_lines, b.break_lines);
  compare_mesh(d, "/mesh", a.mesh, b.mesh);
  compare_elements(d, a, b);
  d.value("/guids/valid", a.guids_valid, b.guids_valid);
  compare_description(d, a.description, b.description);
  return d.lines;
}

}  // namespace gvk
