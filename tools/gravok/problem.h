// A whole problem as a source answers it: every getter of the data source, asked once,
// kept as plain values. The tool's commands read problems into this form to inspect,
// compare and write them, so that nothing a host answers is lost on the way.
#ifndef GRAVOK_TOOL_PROBLEM_H
#define GRAVOK_TOOL_PROBLEM_H

#include <gravok/data_source.h>
#include <gravok/data_store.h>
#include <gravok/records.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace gravok_tool {

// A unit as plain numbers: its five members, the conversion factors called once.
struct UnitValues {
  std::int32_t type = 9;
  std::int32_t qualifier = 0;
  std::vector<double> factors;
  std::string name;
  std::string abbreviation;
};

// One kind's answer: the records, the coordinate lists and (complex kinds) the
// complex-element data.
struct KindData {
  std::vector<gravok_grading_element> elements;
  std::vector<std::vector<double>> xs, ys;
  gvk::DataSource::ComplexElementData complex_data;
};

struct Problem {
  UnitValues linear, area, volume;
  std::vector<unsigned long long> surface_ids;
  std::vector<std::string> surface_names;
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> triangle_info;
  std::vector<gravok_objective> objectives;
  std::vector<gravok_line_3d> break_lines;
  std::map<GradingElementType, KindData> kinds;  // every kind the tool asks for
  bool fix_boundary = true;
  double max_slope = 0.0, min_slope = 0.0;
  VolumeConstraint volume_constraint = Unconstrained;
  std::vector<double> max_slopes, min_slopes;
  mesh_metric metric{};
  double xorig = 0.0, yorig = 0.0, zorig = 0.0;
  long long max_iteration_count = 0;
  double epsilon = 0.0;
  std::string hostcad_version;
  bool guids_valid = false;
};

// The kinds the tool asks a source for: every kind of the catalogue's transfer list
// and ParkingLot, in that order.
std::vector<GradingElementType> problem_kinds();

// Asks `source` every getter once, in the order of the interface (the mesh before
// the origin, as the transfer reads them). GUIDs are not asked: the uids of a
// problem live in the records' opaque bytes, which only the host knows how to read,
// so only whether the source maps uids at all is kept.
Problem read_problem(gvk::DataSource& source);

// Every difference between two problems, one line each ("/mesh/x/12: 1.5 != 1.25"),
// comparing doubles and records bit for bit; empty when they are the same.
std::vector<std::string> compare_problems(const Problem& expected, const Problem& actual);

// A problem that exercises every field: every kind with records, lists and complex
// data, non-zero origins, non-finite and extreme values, surfaces and units.
Problem generated_problem();

// A store that keeps everything it receives, the complete transfer's operations
// included, in a Problem, and as a source answers every getter from it. Its origin is
// the one the Problem holds: the transfers express what they hand over in it.
class ProblemStore : public gvk::DataStore {
 public:
  explicit ProblemStore(Problem problem = {}) : m_problem(std::move(problem)) {}
  const Problem& problem() const { return m_problem; }

  bool load() override { return true; }
  void get_linear_unit(gvk::Unit<1>& unit) const override;
  void get_area_unit(gvk::Unit<2>& unit) const override;
  void get_volume_unit(gvk::Unit<3>& unit) const override;
  void get_surfaces(std::vector<unsigned long long>& ids,
                    std::vector<std::string>& names) const override;
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& triangle_info) override;
  void get_objectives(std::vector<gravok_objective>& objectives) override;
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override;
  void get_unclassified(std::vector<gravok_grading_element>& elements,
                        std::vector<std::vector<double>>& xs,
                        std::vector<std::vector<double>>& ys) const override;
  void get_low_points(std::vector<gravok_grading_element>& elements) const override;
  void get_bounded_points(std::vector<gravok_grading_element>& elements) const override;
  void get_offsets(std::vector<gravok_grading_element>& elements) const override;
  void get_drain_lines(std::vector<gravok_grading_element>& elements,
                       std::vector<std::vector<double>>& xs,
                       std::vector<std::vector<double>>& ys) const override;
  void get_bend_lines(std::vector<gravok_grading_element>& elements,
                      std::vector<std::vector<double>>& xs,
                      std::vector<std::vector<double>>& ys) const override;
  void get_aligned_edges(std::vector<gravok_grading_element>& elements,
                         std::vector<std::vector<double>>& xs,
                         std::vector<std::vector<double>>& ys) const override;
  void get_trizone_polygons(std::vector<gravok_grading_element>& elements,
                            std::vector<std::vector<double>>& xs,
                            std::vector<std::vector<double>>& ys) const override;
  void get_complex_elements(GradingElementType kind,
                            std::vector<gravok_grading_element>& elements,
                            std::vector<std::vector<double>>& xs,
                            std::vector<std::vector<double>>& ys,
                            ComplexElementData& complex_data) const override;
  bool fix_boundary() const override { return m_problem.fix_boundary; }
  double get_max_slope() const override { return m_problem.max_slope; }
  double get_min_slope() const override { return m_problem.min_slope; }
  VolumeConstraint get_volume_constraint() const override {
    return m_problem.volume_constraint;
  }
  void get_max_slopes(std::vector<double>& slopes) const override;
  void get_min_slopes(std::vector<double>& slopes) const override;
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

  void set_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                 const gvk::Unit<3>& volume) override;
  void set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                   const std::vector<double>& z,
                   const std::vector<gvk::Triangle>& triangles,
                   const std::vector<gravok_triangle_info>& triangle_info) override;
  void set_break_lines(const std::vector<gravok_line_3d>& lines) override;
  void set_objectives(const std::vector<gravok_objective>& objectives) override;
  void set_low_points(const std::vector<gravok_grading_element>& elements) override;
  void set_bounded_points(const std::vector<gravok_grading_element>& elements) override;
  void set_offsets(const std::vector<gravok_grading_element>& elements) override;
  void set_drain_lines(const std::vector<gravok_grading_element>& elements) override;
  void set_bend_lines(const std::vector<gravok_grading_element>& elements) override;
  void set_aligned_edges(const std::vector<gravok_grading_element>& elements) override;
  void set_trizone_polygons(const std::vector<gravok_grading_element>& elements) override;
  void set_complex_elements(GradingElementType kind,
                            const std::vector<gravok_grading_element>& elements) override;
  void set_fix_boundary(bool fix) override { m_problem.fix_boundary = fix; }
  void set_max_slope(double slope) override { m_problem.max_slope = slope; }
  void set_min_slope(double slope) override { m_problem.min_slope = slope; }
  void set_volume_constraint(VolumeConstraint constraint) override {
    m_problem.volume_constraint = constraint;
  }
  void set_max_slopes(const std::vector<double>& slopes) override {
    m_problem.max_slopes = slopes;
  }
  void set_min_slopes(const std::vector<double>& slopes) override {
    m_problem.min_slopes = slopes;
  }
  void set_mesh_metric(mesh_metric metric) override { m_problem.metric = metric; }
  void set_max_iteration_count(long long count) override {
    m_problem.max_iteration_count = count;
  }
  void set_epsilon(double epsilon) override { m_problem.epsilon = epsilon; }
  void set_transferred_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                             const gvk::Unit<3>& volume) override;
  void set_transferred_break_lines(const std::vector<gravok_line_3d>& lines) override;
  void set_transferred_grading_elements(
      GradingElementType kind, const std::vector<gravok_grading_element>& elements,
      const std::vector<std::vector<double>>& xs,
      const std::vector<std::vector<double>>& ys,
      const ComplexElementData& complex_data) override;
  void set_hostcad_version(const std::string& version) override {
    m_problem.hostcad_version = version;
  }

 private:
  void deliver(GradingElementType kind, std::vector<gravok_grading_element>& elements,
               std::vector<std::vector<double>>* xs,
               std::vector<std::vector<double>>* ys) const;

  Problem m_problem;
};

}  // namespace gravok_tool

#endif  // GRAVOK_TOOL_PROBLEM_H
