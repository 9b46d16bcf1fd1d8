// A source that answers every getter from a Problem it holds. The JSON source is this
// class over the problem read from a document, the JSON store the same answers over
// what its setters received; a tool may serve any Problem through it. Like every
// source it is called from one thread at a time.
#ifndef GRAVOK_JSON_PROBLEM_SOURCE_H
#define GRAVOK_JSON_PROBLEM_SOURCE_H

#include "problem.h"

#include <gravok/data_source.h>
#include <gravok/data_store.h>

#include <utility>

namespace gvk_json {

// Answers from `problem()`. Getters append to the containers they are given, as the
// library's defaults leave what is there: a caller passes empty containers to receive
// exactly the problem's lists. Kinds the problem lacks leave the containers unchanged;
// the kind dispatch is DataSource's own. `Base` is gvk::DataSource or gvk::DataStore.
template <class Base>
class ProblemAnswers : public Base {
 public:
  using Elements = std::vector<gravok_grading_element>;
  using Lists = std::vector<std::vector<double>>;
  using Complex = gvk::DataSource::ComplexElementData;

  ProblemAnswers() = default;
  explicit ProblemAnswers(Problem problem) : m_problem(std::move(problem)) {}

  const Problem& problem() const { return m_problem; }

  // Always true: the problem is in memory from construction on.
  bool load() override { return true; }
  void get_linear_unit(gvk::Unit<1>& unit) const override {
    restore_unit(m_problem.linear_unit, unit);
  }
  void get_area_unit(gvk::Unit<2>& unit) const override {
    restore_unit(m_problem.area_unit, unit);
  }
  void get_volume_unit(gvk::Unit<3>& unit) const override {
    restore_unit(m_problem.volume_unit, unit);
  }
  void get_surfaces(std::vector<unsigned long long>& ids,
                    std::vector<std::string>& names) const override {
    append(ids, m_problem.surface_ids);
    append(names, m_problem.surface_names);
  }
  // A document holds one mesh: every surface answers it, so selecting does nothing.
  void select_surface(unsigned long long) override {}
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& triangle_info) override {
    append(x, m_problem.mesh.x);
    append(y, m_problem.mesh.y);
    append(z, m_problem.mesh.z);
    append(triangles, m_problem.mesh.triangles);
    append(triangle_info, m_problem.mesh.triangle_info);
  }
  void get_objectives(std::vector<gravok_objective>& objectives) override {
    append(objectives, m_problem.objectives);
  }
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override {
    append(lines, m_problem.break_lines);
  }
  void get_unclassified(Elements& e, Lists& xs, Lists& ys) const override {
    deliver(Unclassified, e, &xs, &ys);
  }
  void get_low_points(Elements& e) const override { deliver(LowPoint, e); }
  void get_bounded_points(Elements& e) const override { deliver(BoundedPoint, e); }
  void get_offsets(Elements& e) const override { deliver(Offset, e); }
  void get_drain_lines(Elements& e, Lists& xs, Lists& ys) const override {
    deliver(DrainLine, e, &xs, &ys);
  }
  void get_bend_lines(Elements& e, Lists& xs, Lists& ys) const override {
    deliver(BendLine, e, &xs, &ys);
  }
  void get_aligned_edges(Elements& e, Lists& xs, Lists& ys) const override {
    deliver(AlignedEdge, e, &xs, &ys);
  }
  void get_trizone_polygons(Elements& e, Lists& xs, Lists& ys) const override {
    deliver(SurfaceZone, e, &xs, &ys);
  }
  void get_complex_elements(GradingElementType kind, Elements& e, Lists& xs, Lists& ys,
                            Complex& complex) const override {
    deliver(kind, e, &xs, &ys, &complex);
  }
  bool fix_boundary() const override { return m_problem.fix_boundary; }
  double get_max_slope() const override { return m_problem.max_slope; }
  double get_min_slope() const override { return m_problem.min_slope; }
  VolumeConstraint get_volume_constraint() const override {
    return m_problem.volume_constraint;
  }
  void get_max_slopes(std::vector<double>& slopes) const override {
    append(slopes, m_problem.max_slopes);
  }
  void get_min_slopes(std::vector<double>& slopes) const override {
    append(slopes, m_problem.min_slopes);
  }
  mesh_metric get_mesh_metric() const override { return m_problem.metric; }
  double get_xorig() const override { return m_problem.xorig; }
  double get_yorig() const override { return m_problem.yorig; }
  double get_zorig() const override { return m_problem.zorig; }
  long long get_max_iteration_count() const override {
    return m_problem.max_iteration_count;
  }
  double get_epsilon() const override { return m_problem.epsilon; }
  std::string get_hostcad_version() const override { return m_problem.hostcad_version; }
  bool is_ge_guid_valid() const override { return m_problem.guids_valid; }
  // The GUID kept for `uid`, or the empty GUID when the problem has none for it.
  const std::string& guid_from_uid(const long long& uid) const override {
    const auto found = m_problem.guids.find(uid);
    return found == m_problem.guids.end() ? gvk::DataSource::m_emptyGUID : found->second;
  }

 protected:
  Problem m_problem;

 private:
  template <class T>
  static void append(std::vector<T>& out, const std::vector<T>& in) {
    out.insert(out.end(), in.begin(), in.end());
  }
  void deliver(GradingElementType kind, Elements& e, Lists* xs = nullptr,
               Lists* ys = nullptr, Complex* complex = nullptr) const {
    const auto found = m_problem.elements.find(kind);
    if (found == m_problem.elements.end()) return;
    const ElementSet& set = found->second;
    append(e, set.records);
    if (xs) append(*xs, set.xs);
    if (ys) append(*ys, set.ys);
    if (complex) append_complex(*complex, set.complex);
  }
  static void append_complex(Complex& out, const Complex& in) {
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
};

// A read-only source over a problem, as the JSON source provider hands it out.
using ProblemSource = ProblemAnswers<gvk::DataSource>;

}  // namespace gvk_json

#endif  // GRAVOK_JSON_PROBLEM_SOURCE_H
