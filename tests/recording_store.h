// Test doubles shared by the store, transfer and registry tests: a call log that
// sources and stores write to in call order, and a store that logs every call the
// library makes on it, keeps what its setters receive and answers it back as a
// source.
#ifndef GRAVOK_TESTS_RECORDING_STORE_H
#define GRAVOK_TESTS_RECORDING_STORE_H

#include <gravok/data_store.h>

#include <map>
#include <stdexcept>
#include <string>
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

struct Origin {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

class RecordingStore : public gvk::DataStore {
 public:
  explicit RecordingStore(CallLog& log, Origin at = {}) : origin(at), m_log(log) {}

  Origin origin;

  // What the setters received; a kind's entry exists once its setter was called.
  std::vector<gravok_objective> objectives;
  double max_slope = 0, min_slope = 0, epsilon = 0;
  VolumeConstraint volume_constraint = Unconstrained;
  std::vector<double> max_slopes, min_slopes;
  bool fixed_boundary = false;
  long long max_iteration_count = 0;
  mesh_metric metric{};
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> triangle_info;
  std::map<GradingElementType, Elements> elements;
  // Address of the vector each per-kind setter was handed, to see copies.
  std::map<GradingElementType, const Elements*> handed;

  void beginBulkOperation() const override { m_log.record("store.beginBulkOperation"); }
  void endBulkOperation() const override { m_log.record("store.endBulkOperation"); }

  void set_units(const gvk::Unit<1>&, const gvk::Unit<2>&, const gvk::Unit<3>&) override {
    m_log.record("store.set_units");
  }
  void set_eg_data(const std::vector<double>& x_in, const std::vector<double>& y_in,
                   const std::vector<double>& z_in,
                   const std::vector<gvk::Triangle>& triangles_in,
                   const std::vector<gravok_triangle_info>& info_in) override {
    m_log.record("store.set_eg_data");
    x = x_in;
    y = y_in;
    z = z_in;
    triangles = triangles_in;
    triangle_info = info_in;
  }
  void set_break_lines(const std::vector<gravok_line_3d>&) override {
    m_log.record("store.set_break_lines");
  }
  void set_objectives(const std::vector<gravok_objective>& in) override {
    m_log.record("store.set_objectives");
    objectives = in;
  }
  void set_grading_elements(GradingElementType kind, const Elements& in) override {
    m_log.record("store.set_grading_elements(" + std::to_string(kind) + ")");
    DataStore::set_grading_elements(kind, in);
  }
  void set_low_points(const Elements& in) override {
    keep("set_low_points", LowPoint, in);
  }
  void set_bounded_points(const Elements& in) override {
    keep("set_bounded_points", BoundedPoint, in);
  }
  void set_offsets(const Elements& in) override { keep("set_offsets", Offset, in); }
  void set_drain_lines(const Elements& in) override {
    keep("set_drain_lines", DrainLine, in);
  }
  void set_bend_lines(const Elements& in) override {
    keep("set_bend_lines", BendLine, in);
  }
  void set_aligned_edges(const Elements& in) override {
    keep("set_aligned_edges", AlignedEdge, in);
  }
  void set_trizone_polygons(const Elements& in) override {
    keep("set_trizone_polygons", SurfaceZone, in);
  }
  void set_complex_elements(GradingElementType kind, const Elements& in) override {
    keep("set_complex_elements(" + std::to_string(kind) + ")", kind, in);
  }
  void set_fix_boundary(bool in) override {
    m_log.record("store.set_fix_boundary");
    fixed_boundary = in;
  }
  void set_max_slope(double in) override {
    m_log.record("store.set_max_slope");
    max_slope = in;
  }
  void set_min_slope(double in) override {
    m_log.record("store.set_min_slope");
    min_slope = in;
  }
  void set_volume_constraint(VolumeConstraint in) override {
    m_log.record("store.set_volume_constraint");
    volume_constraint = in;
  }
  void set_max_slopes(const std::vector<double>& in) override {
    m_log.record("store.set_max_slopes");
    max_slopes = in;
  }
  void set_min_slopes(const std::vector<double>& in) override {
    m_log.record("store.set_min_slopes");
    min_slopes = in;
  }
  void set_mesh_metric(mesh_metric in) override {
    m_log.record("store.set_mesh_metric");
    metric = in;
  }
  void set_max_iteration_count(long long in) override {
    m_log.record("store.set_max_iteration_count");
    max_iteration_count = in;
  }
  void set_epsilon(double in) override {
    m_log.record("store.set_epsilon");
    epsilon = in;
  }

  // As a source, the store answers its origin (logged) and what it took in.
  double get_xorig() const override {
    m_log.record("store.get_xorig");
    return origin.x;
  }
  double get_yorig() const override {
    m_log.record("store.get_yorig");
    return origin.y;
  }
  double get_zorig() const override {
    m_log.record("store.get_zorig");
    return origin.z;
  }
  void get_eg_data(std::vector<double>& x_out, std::vector<double>& y_out,
                   std::vector<double>& z_out, std::vector<gvk::Triangle>& triangles_out,
                   std::vector<gravok_triangle_info>& info_out) override {
    x_out = x;
    y_out = y;
    z_out = z;
    triangles_out = triangles;
    info_out = triangle_info;
  }
  void get_low_points(Elements& out) const override { answer(LowPoint, out); }
  void get_bounded_points(Elements& out) const override { answer(BoundedPoint, out); }
  void get_offsets(Elements& out) const override { answer(Offset, out); }
  void get_drain_lines(Elements& out, Lists&, Lists&) const override {
    answer(DrainLine, out);
  }

 private:
  void keep(const std::string& setter, GradingElementType kind, const Elements& in) {
    m_log.record("store." + setter);
    elements[kind] = in;
    handed[kind] = &in;
  }
  void answer(GradingElementType kind, Elements& out) const {
    const auto found = elements.find(kind);
    if (found != elements.end()) out = found->second;
  }

  CallLog& m_log;
};

}  // namespace gvk_test

#endif  // GRAVOK_TESTS_RECORDING_STORE_H
