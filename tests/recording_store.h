// Test double shared by the store, transfer, offset-source, registry and plug-in tests:
// a store, and so also a source, that logs every call made on it as "<role>.<operation>"
// into a call log that several doubles share, keeps what its setters receive and answers
// it back from its getters. Every answer starts different from DataSource's default, so a
// call that reaches the base class instead of the double shows.
#ifndef GRAVOK_TESTS_RECORDING_STORE_H
#define GRAVOK_TESTS_RECORDING_STORE_H

#include <gravok/data_store.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace gvk_test {

using Elements = std::vector<gravok_grading_element>;
using Lists = std::vector<std::vector<double>>;

// Every call of the doubles, in order, as "source.get_max_slope" or
// "store.set_grading_elements(3)". The call named in `throw_at` is logged and then
// throws std::runtime_error, as a failing host database would.
struct CallLog {
  std::vector<std::string> calls;
  std::string throw_at;

  void record(const std::string& call) {
    calls.push_back(call);
    if (call == throw_at) throw std::runtime_error(call);
  }
};

// A record whose location is `location` and whose other bytes are all zero.
inline gravok_grading_element record(const std::array<double, 6>& location) {
  gravok_grading_element e{};
  std::copy(location.begin(), location.end(), e.location);
  return e;
}

struct Origin {
  double x = 0.0, y = 0.0, z = 0.0;
};

// Operations that log their call, then answer, append or keep one member.
#define GRAVOK_TEST_GET(type, getter, answer) \
  type getter() const override { return logged(#getter, answer); }
#define GRAVOK_TEST_GET_LIST(getter, type, member, qualifier) \
  void getter(std::vector<type>& out) qualifier override {    \
    append(out, logged(#getter, member));                     \
  }
#define GRAVOK_TEST_SET(setter, type, member) \
  void setter(type in) override { member = logged(#setter, in); }
#define GRAVOK_TEST_ELEMENTS(getter, setter, kind)                       \
  void getter(Elements& e) const override { deliver(#getter, kind, e); } \
  void setter(const Elements& in) override { keep(#setter, kind, in); }
#define GRAVOK_TEST_ELEMENT_LISTS(getter, setter, kind)           \
  void getter(Elements& e, Lists& xs, Lists& ys) const override { \
    deliver(#getter, kind, e, &xs, &ys);                          \
  }                                                               \
  void setter(const Elements& in) override { keep(#setter, kind, in); }

class Recorder : public gvk::DataStore {
 public:
  Recorder(CallLog& log, std::string role_name, Origin at = {})
      : role(std::move(role_name)), origin(at), m_log(log) {}

  const std::string role;  // "source" or "store" in the tests of the transfer
  Origin origin;
  // When set, get_eg_data moves the origin there, as a source that computes its
  // origin from its mesh does.
  std::optional<Origin> origin_after_mesh;
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> triangle_info;
  std::vector<gravok_line_3d> break_lines;
  std::map<GradingElementType, Elements> elements;
  std::map<GradingElementType, Lists> lists;  // answered as both xs and ys
  // The vector that each kind's setter was handed, to see copies.
  std::map<GradingElementType, const Elements*> handed;
  std::vector<gravok_objective> objectives =
      std::vector<gravok_objective>(2, gravok_objective{{7}});
  double max_slope = 0.41, min_slope = 0.012, epsilon = 1e-7;
  VolumeConstraint volume_constraint = static_cast<VolumeConstraint>(3);
  std::vector<double> max_slopes{0.5, 0.25}, min_slopes{0.01};
  bool fixed_boundary = false;
  long long max_iteration_count = 5000000000LL;  // needs all 64 bits
  mesh_metric metric{4, 0.75, true, false};
  // Whether an element getter was handed a non-empty container, and how full the
  // complex-data holder was at each complex call.
  mutable bool filled_on_arrival = false;
  mutable std::vector<std::size_t> complex_holder_sizes;

  // DataSource's operations, in its order.
  bool load() override { return logged("load", true); }
  void get_linear_unit(gvk::Unit<1>&) const override { log("get_linear_unit"); }
  void get_area_unit(gvk::Unit<2>&) const override { log("get_area_unit"); }
  void get_volume_unit(gvk::Unit<3>&) const override { log("get_volume_unit"); }
  void get_surfaces(std::vector<unsigned long long>&,
                    std::vector<std::string>&) const override {
    log("get_surfaces");
  }
  void select_surface(unsigned long long) override { log("select_surface"); }
  void get_eg_data(std::vector<double>& x_out, std::vector<double>& y_out,
                   std::vector<double>& z_out, std::vector<gvk::Triangle>& triangles_out,
                   std::vector<gravok_triangle_info>& info_out) override {
    log("get_eg_data");
    append(x_out, x);
    append(y_out, y);
    append(z_out, z);
    append(triangles_out, triangles);
    append(info_out, triangle_info);
    if (origin_after_mesh) origin = *origin_after_mesh;
  }
  GRAVOK_TEST_GET_LIST(get_objectives, gravok_objective, objectives, )
  GRAVOK_TEST_GET_LIST(get_break_lines, gravok_line_3d, break_lines, const)
  void get_grading_elements(GradingElementType kind, Elements& e, Lists& xs, Lists& ys,
                            ComplexElementData& complex_data) override {
    log("get_grading_elements");
    DataSource::get_grading_elements(kind, e, xs, ys, complex_data);
  }
  void get_unclassified(Elements& e, Lists& xs, Lists& ys) const override {
    deliver("get_unclassified", Unclassified, e, &xs, &ys);
  }
  void get_complex_elements(GradingElementType kind, Elements& e, Lists& xs, Lists& ys,
                            ComplexElementData& complex_data) const override {
    complex_holder_sizes.push_back(complex_data.int_lists.size());
    complex_data.int_lists.push_back({kind});
    deliver("get_complex_elements(" + std::to_string(kind) + ")", kind, e, &xs, &ys);
  }
  GRAVOK_TEST_GET_LIST(get_max_slopes, double, max_slopes, const)
  GRAVOK_TEST_GET_LIST(get_min_slopes, double, min_slopes, const)
  GRAVOK_TEST_GET(bool, fix_boundary, fixed_boundary)
  GRAVOK_TEST_GET(double, get_max_slope, max_slope)
  GRAVOK_TEST_GET(double, get_min_slope, min_slope)
  GRAVOK_TEST_GET(VolumeConstraint, get_volume_constraint, volume_constraint)
  GRAVOK_TEST_GET(mesh_metric, get_mesh_metric, metric)
  GRAVOK_TEST_GET(double, get_xorig, origin.x)
  GRAVOK_TEST_GET(double, get_yorig, origin.y)
  GRAVOK_TEST_GET(double, get_zorig, origin.z)
  GRAVOK_TEST_GET(long long, get_max_iteration_count, max_iteration_count)
  GRAVOK_TEST_GET(double, get_epsilon, epsilon)
  GRAVOK_TEST_GET(std::string, get_hostcad_version, "host 9")
  GRAVOK_TEST_GET(bool, is_ge_guid_valid, false)
  const std::string& guid_from_uid(const long long& uid) const override {
    return logged("guid_from_uid", DataSource::guid_from_uid(uid));
  }

  // DataStore's operations.
  void beginBulkOperation() const override { log("beginBulkOperation"); }
  void endBulkOperation() const override { log("endBulkOperation"); }
  void set_units(const gvk::Unit<1>&, const gvk::Unit<2>&, const gvk::Unit<3>&) override {
    log("set_units");
  }
  void set_eg_data(const std::vector<double>& x_in, const std::vector<double>& y_in,
                   const std::vector<double>& z_in,
                   const std::vector<gvk::Triangle>& triangles_in,
                   const std::vector<gravok_triangle_info>& info_in) override {
    log("set_eg_data");
    x = x_in;
    y = y_in;
    z = z_in;
    triangles = triangles_in;
    triangle_info = info_in;
  }
  GRAVOK_TEST_SET(set_break_lines, const std::vector<gravok_line_3d>&, break_lines)
  GRAVOK_TEST_SET(set_objectives, const std::vector<gravok_objective>&, objectives)
  void set_grading_elements(GradingElementType kind, const Elements& in) override {
    log("set_grading_elements(" + std::to_string(kind) + ")");
    DataStore::set_grading_elements(kind, in);
  }
  GRAVOK_TEST_ELEMENTS(get_low_points, set_low_points, LowPoint)
  GRAVOK_TEST_ELEMENTS(get_bounded_points, set_bounded_points, BoundedPoint)
  GRAVOK_TEST_ELEMENTS(get_offsets, set_offsets, Offset)
  GRAVOK_TEST_ELEMENT_LISTS(get_drain_lines, set_drain_lines, DrainLine)
  GRAVOK_TEST_ELEMENT_LISTS(get_bend_lines, set_bend_lines, BendLine)
  GRAVOK_TEST_ELEMENT_LISTS(get_aligned_edges, set_aligned_edges, AlignedEdge)
  GRAVOK_TEST_ELEMENT_LISTS(get_trizone_polygons, set_trizone_polygons, SurfaceZone)
  void set_complex_elements(GradingElementType kind, const Elements& in) override {
    keep("set_complex_elements(" + std::to_string(kind) + ")", kind, in);
  }
  GRAVOK_TEST_SET(set_fix_boundary, bool, fixed_boundary)
  GRAVOK_TEST_SET(set_max_slope, double, max_slope)
  GRAVOK_TEST_SET(set_min_slope, double, min_slope)
  GRAVOK_TEST_SET(set_volume_constraint, VolumeConstraint, volume_constraint)
  GRAVOK_TEST_SET(set_max_slopes, const std::vector<double>&, max_slopes)
  GRAVOK_TEST_SET(set_min_slopes, const std::vector<double>&, min_slopes)
  GRAVOK_TEST_SET(set_mesh_metric, mesh_metric, metric)
  GRAVOK_TEST_SET(set_max_iteration_count, long long, max_iteration_count)
  GRAVOK_TEST_SET(set_epsilon, double, epsilon)

 private:
  void log(const std::string& call) const { m_log.record(role + "." + call); }
  template <class T>
  const T& logged(const std::string& call, const T& answer) const {
    log(call);
    return answer;
  }
  template <class T>
  static void append(std::vector<T>& out, const std::vector<T>& in) {
    out.insert(out.end(), in.begin(), in.end());
  }
  void deliver(const std::string& getter, GradingElementType kind, Elements& e,
               Lists* xs = nullptr, Lists* ys = nullptr) const {
    log(getter);
    filled_on_arrival |= !e.empty() || (xs && !xs->empty()) || (ys && !ys->empty());
    if (elements.count(kind)) append(e, elements.at(kind));
    if (!xs || !lists.count(kind)) return;
    append(*xs, lists.at(kind));
    append(*ys, lists.at(kind));
  }
  void keep(const std::string& setter, GradingElementType kind, const Elements& in) {
    log(setter);
    elements[kind] = in;
    handed[kind] = &in;
  }

  CallLog& m_log;
};

#undef GRAVOK_TEST_GET
#undef GRAVOK_TEST_GET_LIST
#undef GRAVOK_TEST_SET
#undef GRAVOK_TEST_ELEMENTS
#undef GRAVOK_TEST_ELEMENT_LISTS

}  // namespace gvk_test

#endif  // GRAVOK_TESTS_RECORDING_STORE_H
