// A base for the stores of file formats that hold a surface and its elements but have
// no place for the optimisation's settings and objectives (DXF, LandXML). It declares
// what they drop through gvk::DeclaresLosses: each setting that differs from
// gvk::DataSource's default, which is what reading the file back answers ("settings
// (max slope)"; NaN equals NaN), every objective, and what the derived store adds to
// m_losses itself. It hands the elements of every kind to the derived store's
// keep_elements, and the complete transfer's units and break lines to set_units and
// set_break_lines.
//
// Header-only and internal to the plug-ins; not part of the library's interface. A
// store is used from one thread at a time.
#ifndef GRAVOK_PLUGIN_FORMAT_STORE_H
#define GRAVOK_PLUGIN_FORMAT_STORE_H

#include <gravok/data_source.h>
#include <gravok/data_store.h>
#include <gravok/store_losses.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace gvk_plugin {

// How many of `records` are not all zero bytes (per-triangle records that a format
// without them drops).
inline unsigned long long nonzero_triangle_records(
    const std::vector<gravok_triangle_info>& records) {
  const gravok_triangle_info zero{};
  return static_cast<unsigned long long>(
      std::count_if(records.begin(), records.end(), [&](const gravok_triangle_info& r) {
        return std::memcmp(&r, &zero, sizeof zero) != 0;
      }));
}

// Whether a complex element's extra data holds anything.
inline bool holds_anything(const gvk::DataSource::ComplexElementData& d) {
  const std::vector<std::vector<double>>* lists[] = {
      &d.double_lists_1, &d.double_lists_2,  &d.double_lists_3, &d.double_lists_4,
      &d.double_lists_5, &d.double_lists_6,  &d.double_lists_7, &d.double_lists_8,
      &d.double_lists_9, &d.double_lists_10, &d.double_lists_11};
  for (const auto* list : lists) {
    if (!list->empty()) return true;
  }
  return !d.int_lists.empty();
}

class FormatStore : public gvk::DataStore, public gvk::DeclaresLosses {
 public:
  std::vector<gvk::StoreLoss> losses() const override { return m_losses.losses(); }

  // The per-kind setters (what copyFrom calls) hand records alone, without vertices.
  void set_low_points(const std::vector<gravok_grading_element>& e) override {
    keep_elements(LowPoint, {e, {}, {}, false, false});
  }
  void set_bounded_points(const std::vector<gravok_grading_element>& e) override {
    keep_elements(BoundedPoint, {e, {}, {}, false, false});
  }
  void set_offsets(const std::vector<gravok_grading_element>& e) override {
    keep_elements(Offset, {e, {}, {}, false, false});
  }
  void set_drain_lines(const std::vector<gravok_grading_element>& e) override {
    keep_elements(DrainLine, {e, {}, {}, false, false});
  }
  void set_bend_lines(const std::vector<gravok_grading_element>& e) override {
    keep_elements(BendLine, {e, {}, {}, false, false});
  }
  void set_aligned_edges(const std::vector<gravok_grading_element>& e) override {
    keep_elements(AlignedEdge, {e, {}, {}, false, false});
  }
  void set_trizone_polygons(const std::vector<gravok_grading_element>& e) override {
    keep_elements(SurfaceZone, {e, {}, {}, false, false});
  }
  void set_complex_elements(GradingElementType kind,
                            const std::vector<gravok_grading_element>& e) override {
    keep_elements(kind, {e, {}, {}, false, false});
  }

  // The complete transfer (copyAllFrom): every kind with its vertices and complex data.
  void set_transferred_grading_elements(
      GradingElementType kind, const std::vector<gravok_grading_element>& elements,
      const std::vector<std::vector<double>>& xs,
      const std::vector<std::vector<double>>& ys,
      const ComplexElementData& complex_data) override {
    keep_elements(kind, {elements, xs, ys, true, holds_anything(complex_data)});
  }
  void set_transferred_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                             const gvk::Unit<3>& volume) override {
    set_units(linear, area, volume);
  }
  void set_transferred_break_lines(const std::vector<gravok_line_3d>& lines) override {
    set_break_lines(lines);
  }

  void set_objectives(const std::vector<gravok_objective>& objectives) override {
    m_losses.set("objectives", objectives.size());
  }
  void set_fix_boundary(bool fix) override {
    m_losses.set("settings (fix boundary)", fix != gvk::DataSource().fix_boundary());
  }
  void set_max_slope(double slope) override {
    m_losses.set("settings (max slope)",
                 differs(slope, gvk::DataSource().get_max_slope()));
  }
  void set_min_slope(double slope) override {
    m_losses.set("settings (min slope)",
                 differs(slope, gvk::DataSource().get_min_slope()));
  }
  void set_volume_constraint(VolumeConstraint constraint) override {
    m_losses.set("settings (volume constraint)",
                 constraint != gvk::DataSource().get_volume_constraint());
  }
  void set_max_slopes(const std::vector<double>& slopes) override {
    m_losses.set("settings (max slopes)", slopes.size());
  }
  void set_min_slopes(const std::vector<double>& slopes) override {
    m_losses.set("settings (min slopes)", slopes.size());
  }
  void set_mesh_metric(mesh_metric metric) override {
    const mesh_metric d = gvk::DataSource().get_mesh_metric();
    m_losses.set("settings (mesh metric)",
                 metric.kind != d.kind || differs(metric.value, d.value) ||
                     metric.flag_a != d.flag_a || metric.flag_b != d.flag_b);
  }
  void set_max_iteration_count(long long count) override {
    m_losses.set("settings (max iteration count)",
                 count != gvk::DataSource().get_max_iteration_count());
  }
  void set_epsilon(double epsilon) override {
    m_losses.set("settings (epsilon)", differs(epsilon, gvk::DataSource().get_epsilon()));
  }

 protected:
  // The elements of one kind as a setter received them.
  struct ReceivedElements {
    std::vector<gravok_grading_element> records;
    std::vector<std::vector<double>> xs, ys;
    bool geometry = false;  // xs and ys arrived (the complete transfer)
    bool complex = false;   // complex data arrived that is not empty
  };
  // Keeps the elements of `kind`, replacing earlier ones of that kind, and sets their
  // losses.
  virtual void keep_elements(std::int32_t kind, ReceivedElements elements) = 0;

  gvk::LossTally m_losses;

 private:
  static bool differs(double value, double default_value) {
    return !(value == default_value || (std::isnan(value) && std::isnan(default_value)));
  }
};

}  // namespace gvk_plugin

#endif  // GRAVOK_PLUGIN_FORMAT_STORE_H
