// A base for the stores of file formats that hold a surface and its elements but have
// no place for the optimisation's settings and objectives (DXF, LandXML). It declares
// what they drop through gvk::DeclaresLosses: each setting that differs from
// gvk::DataSource's default, which is what reading the file back answers ("settings
// (max slope)"; NaN equals NaN), every objective, and what the derived store adds to
// m_losses itself.
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

class FormatStore : public gvk::DataStore, public gvk::DeclaresLosses {
 public:
  std::vector<gvk::StoreLoss> losses() const override { return m_losses.losses(); }

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
  gvk::LossTally m_losses;

 private:
  static bool differs(double value, double default_value) {
    return !(value == default_value || (std::isnan(value) && std::isnan(default_value)));
  }
};

}  // namespace gvk_plugin

#endif  // GRAVOK_PLUGIN_FORMAT_STORE_H
