#include <gravok/problem.h>

#include <utility>

namespace gvk {
namespace {

using Elements = std::vector<gravok_grading_element>;
using Lists = std::vector<std::vector<double>>;
using Complex = DataSource::ComplexElementData;

template <class T>
void append(std::vector<T>& out, const std::vector<T>& in) {
  out.insert(out.end(), in.begin(), in.end());
}

void append_complex(Complex& out, const Complex& in) {
  append(out.double_lists_1, in.double_lists_1);
  append(out.double_lists_2, in.double_lists_2);
  append(out.double_lists_3, in.double_lists_3);
  append(out.double_lists_4, in.double_lists_4);
  append(out.double_lists_5, in.double_lists_5);
  append(out.double_lists_6, in.double_lists_6);
  append(out.double_lists_7, in.double_lists_7);
  append(out.double_lists_8, in.double_lists_8);
  append(out.double_lists_9, in.double_lists_9);
  append(out.double_lists_10, in.double_lists_10);
  append(out.double_lists_11, in.double_lists_11);
  append(out.int_lists, in.int_lists);
}

// The entry of `surfaces` that is current, or null while the main mesh is. Looked up
// by id on every call, so that changes to the problem never leave a dangling entry.
const Surface* current_surface(const Problem& p, bool selected, unsigned long long id) {
  if (!selected) return nullptr;
  for (const Surface& s : p.surfaces) {
    if (s.id == id) return &s;
  }
  return nullptr;
}

bool has_surface(const Problem& p, unsigned long long id) {
  return current_surface(p, true, id) != nullptr;
}

void answer_surfaces(const Problem& p, std::vector<unsigned long long>& ids,
                     std::vector<std::string>& names) {
  if (p.surfaces.empty()) {
    append(ids, p.surface_ids);
    append(names, p.surface_names);
    return;
  }
  for (const Surface& s : p.surfaces) {
    ids.push_back(s.id);
    names.push_back(s.name);
  }
}

void answer_mesh(const Mesh& m, std::vector<double>& x, std::vector<double>& y,
                 std::vector<double>& z, std::vector<Triangle>& triangles,
                 std::vector<gravok_triangle_info>& triangle_info) {
  append(x, m.x);
  append(y, m.y);
  append(z, m.z);
  append(triangles, m.triangles);
  append(triangle_info, m.triangle_info);
}

void deliver(const Problem& p, GradingElementType kind, Elements& e, Lists* xs = nullptr,
             Lists* ys = nullptr, Complex* complex = nullptr) {
  const auto found = p.elements.find(kind);
  if (found == p.elements.end()) return;
  const ElementSet& set = found->second;
  append(e, set.records);
  if (xs) append(*xs, set.xs);
  if (ys) append(*ys, set.ys);
  if (complex) append_complex(*complex, set.complex);
}

const std::string& guid_of(const Problem& p, long long uid) {
  const auto found = p.guids.find(uid);
  return found == p.guids.end() ? DataSource::m_emptyGUID : found->second;
}

}  // namespace

// The getters are the same for the source and the store: both answer from m_problem,
// with the current surface given by m_selected and m_surface.
#define GRAVOK_PROBLEM_GETTERS(Class)                                                  \
  const Problem& Class::problem() const { return m_problem; }                          \
  Problem& Class::problem() { return m_problem; }                                      \
  bool Class::load() { return true; }                                                  \
  void Class::get_linear_unit(Unit<1>& unit) const {                                   \
    restore_unit(m_problem.linear_unit, unit);                                         \
  }                                                                                    \
  void Class::get_area_unit(Unit<2>& unit) const {                                     \
    restore_unit(m_problem.area_unit, unit);                                           \
  }                                                                                    \
  void Class::get_volume_unit(Unit<3>& unit) const {                                   \
    restore_unit(m_problem.volume_unit, unit);                                         \
  }                                                                                    \
  void Class::get_surfaces(std::vector<unsigned long long>& ids,                       \
                           std::vector<std::string>& names) const {                    \
    answer_surfaces(m_problem, ids, names);                                            \
  }                                                                                    \
  void Class::select_surface(unsigned long long id) {                                  \
    if (!has_surface(m_problem, id)) return;                                           \
    m_selected = true;                                                                 \
    m_surface = id;                                                                    \
  }                                                                                    \
  void Class::get_eg_data(std::vector<double>& x, std::vector<double>& y,              \
                          std::vector<double>& z, std::vector<Triangle>& triangles,    \
                          std::vector<gravok_triangle_info>& triangle_info) {          \
    const Surface* s = current_surface(m_problem, m_selected, m_surface);              \
    answer_mesh(s ? s->mesh : m_problem.mesh, x, y, z, triangles, triangle_info);      \
  }                                                                                    \
  void Class::get_objectives(std::vector<gravok_objective>& objectives) {              \
    append(objectives, m_problem.objectives);                                          \
  }                                                                                    \
  void Class::get_break_lines(std::vector<gravok_line_3d>& lines) const {              \
    const Surface* s = current_surface(m_problem, m_selected, m_surface);              \
    append(lines, s ? s->break_lines : m_problem.break_lines);                         \
  }                                                                                    \
  void Class::get_unclassified(Elements& e, Lists& xs, Lists& ys) const {              \
    deliver(m_problem, Unclassified, e, &xs, &ys);                                     \
  }                                                                                    \
  void Class::get_low_points(Elements& e) const { deliver(m_problem, LowPoint, e); }   \
  void Class::get_bounded_points(Elements& e) const {                                  \
    deliver(m_problem, BoundedPoint, e);                                               \
  }                                                                                    \
  void Class::get_offsets(Elements& e) const { deliver(m_problem, Offset, e); }        \
  void Class::get_drain_lines(Elements& e, Lists& xs, Lists& ys) const {               \
    deliver(m_problem, DrainLine, e, &xs, &ys);                                        \
  }                                                                                    \
  void Class::get_bend_lines(Elements& e, Lists& xs, Lists& ys) const {                \
    deliver(m_problem, BendLine, e, &xs, &ys);                                         \
  }                                                                                    \
  void Class::get_aligned_edges(Elements& e, Lists& xs, Lists& ys) const {             \
    deliver(m_problem, AlignedEdge, e, &xs, &ys);                                      \
  }                                                                                    \
  void Class::get_trizone_polygons(Elements& e, Lists& xs, Lists& ys) const {          \
    deliver(m_problem, SurfaceZone, e, &xs, &ys);                                      \
  }                                                                                    \
  void Class::get_complex_elements(GradingElementType kind, Elements& e, Lists& xs,    \
                                   Lists& ys, Complex& complex_data) const {           \
    deliver(m_problem, kind, e, &xs, &ys, &complex_data);                              \
  }                                                                                    \
  bool Class::fix_boundary() const { return m_problem.fix_boundary; }                  \
  double Class::get_max_slope() const { return m_problem.max_slope; }                  \
  double Class::get_min_slope() const { return m_problem.min_slope; }                  \
  VolumeConstraint Class::get_volume_constraint() const {                              \
    return m_problem.volume_constraint;                                                \
  }                                                                                    \
  void Class::get_max_slopes(std::vector<double>& slopes) const {                      \
    append(slopes, m_problem.max_slopes);                                              \
  }                                                                                    \
  void Class::get_min_slopes(std::vector<double>& slopes) const {                      \
    append(slopes, m_problem.min_slopes);                                              \
  }                                                                                    \
  mesh_metric Class::get_mesh_metric() const { return m_problem.metric; }              \
  double Class::get_xorig() const { return m_problem.xorig; }                          \
  double Class::get_yorig() const { return m_problem.yorig; }                          \
  double Class::get_zorig() const { return m_problem.zorig; }                          \
  long long Class::get_max_iteration_count() const {                                   \
    return m_problem.max_iteration_count;                                              \
  }                                                                                    \
  double Class::get_epsilon() const { return m_problem.epsilon; }                      \
  std::string Class::get_hostcad_version() const { return m_problem.hostcad_version; } \
  bool Class::is_ge_guid_valid() const { return m_problem.guids_valid; }               \
  const std::string& Class::guid_from_uid(const long long& uid) const {                \
    return guid_of(m_problem, uid);                                                    \
  }                                                                                    \
  void Class::get_description(ProblemDescription& description) const {                 \
    description = m_problem.description;                                               \
  }

ProblemSource::ProblemSource() = default;
ProblemSource::ProblemSource(Problem problem) : m_problem(std::move(problem)) {}
ProblemSource::~ProblemSource() = default;
GRAVOK_PROBLEM_GETTERS(ProblemSource)

ProblemStore::ProblemStore() = default;
ProblemStore::ProblemStore(Problem problem) : m_problem(std::move(problem)) {}
ProblemStore::~ProblemStore() = default;
GRAVOK_PROBLEM_GETTERS(ProblemStore)

#undef GRAVOK_PROBLEM_GETTERS

void ProblemStore::problem_changed() const {}

void ProblemStore::set_units(const Unit<1>& linear, const Unit<2>& area,
                             const Unit<3>& volume) {
  m_problem.linear_unit = store_unit(linear);
  m_problem.area_unit = store_unit(area);
  m_problem.volume_unit = store_unit(volume);
  problem_changed();
}

void ProblemStore::set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                               const std::vector<double>& z,
                               const std::vector<Triangle>& triangles,
                               const std::vector<gravok_triangle_info>& triangle_info) {
  m_problem.mesh = Mesh{x, y, z, triangles, triangle_info};
  problem_changed();
}

void ProblemStore::set_break_lines(const std::vector<gravok_line_3d>& lines) {
  m_problem.break_lines = lines;
  problem_changed();
}

void ProblemStore::set_objectives(const std::vector<gravok_objective>& objectives) {
  m_problem.objectives = objectives;
  problem_changed();
}

// A plain per-kind setter carries the records alone: the kind's lists and complex data
// go with the set it replaces.
#define GRAVOK_KIND_SETTER(setter, kind)                         \
  void ProblemStore::setter(const Elements& elements) {          \
    m_problem.elements[kind] = ElementSet{elements, {}, {}, {}}; \
    problem_changed();                                           \
  }
GRAVOK_KIND_SETTER(set_low_points, LowPoint)
GRAVOK_KIND_SETTER(set_bounded_points, BoundedPoint)
GRAVOK_KIND_SETTER(set_offsets, Offset)
GRAVOK_KIND_SETTER(set_drain_lines, DrainLine)
GRAVOK_KIND_SETTER(set_bend_lines, BendLine)
GRAVOK_KIND_SETTER(set_aligned_edges, AlignedEdge)
GRAVOK_KIND_SETTER(set_trizone_polygons, SurfaceZone)
#undef GRAVOK_KIND_SETTER

void ProblemStore::set_complex_elements(GradingElementType kind,
                                        const Elements& elements) {
  m_problem.elements[kind] = ElementSet{elements, {}, {}, {}};
  problem_changed();
}

// The scalar and list settings: keep the value, then tell.
#define GRAVOK_SETTING_SETTER(setter, type, member) \
  void ProblemStore::setter(type value) {           \
    m_problem.member = value;                       \
    problem_changed();                              \
  }
GRAVOK_SETTING_SETTER(set_fix_boundary, bool, fix_boundary)
GRAVOK_SETTING_SETTER(set_max_slope, double, max_slope)
GRAVOK_SETTING_SETTER(set_min_slope, double, min_slope)
GRAVOK_SETTING_SETTER(set_volume_constraint, VolumeConstraint, volume_constraint)
GRAVOK_SETTING_SETTER(set_max_slopes, const std::vector<double>&, max_slopes)
GRAVOK_SETTING_SETTER(set_min_slopes, const std::vector<double>&, min_slopes)
GRAVOK_SETTING_SETTER(set_mesh_metric, mesh_metric, metric)
GRAVOK_SETTING_SETTER(set_max_iteration_count, long long, max_iteration_count)
GRAVOK_SETTING_SETTER(set_epsilon, double, epsilon)
GRAVOK_SETTING_SETTER(set_hostcad_version, const std::string&, hostcad_version)
GRAVOK_SETTING_SETTER(set_description, const ProblemDescription&, description)
#undef GRAVOK_SETTING_SETTER

void ProblemStore::set_transferred_units(const Unit<1>& linear, const Unit<2>& area,
                                         const Unit<3>& volume) {
  set_units(linear, area, volume);
}

void ProblemStore::set_transferred_break_lines(const std::vector<gravok_line_3d>& lines) {
  set_break_lines(lines);
}

void ProblemStore::set_transferred_grading_elements(GradingElementType kind,
                                                    const Elements& elements,
                                                    const Lists& xs, const Lists& ys,
                                                    const Complex& complex_data) {
  m_problem.elements[kind] = ElementSet{elements, xs, ys, complex_data};
  problem_changed();
}

void ProblemStore::set_surfaces(const std::vector<Surface>& surfaces) {
  // One surface is the main mesh itself: only its id and name are news.
  m_problem.surfaces = surfaces.size() > 1 ? surfaces : std::vector<Surface>();
  m_problem.surface_ids.clear();
  m_problem.surface_names.clear();
  for (const Surface& s : surfaces) {
    m_problem.surface_ids.push_back(s.id);
    m_problem.surface_names.push_back(s.name);
  }
  problem_changed();
}

}  // namespace gvk
