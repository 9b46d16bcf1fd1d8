#include "node_ele_store.h"

#include "mesh_files.h"

#include <gravok/element_types.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace gvk_triangle {
namespace {

bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// How many of `values` 12 fixed decimals do not give back.
unsigned long long rounded(const std::vector<double>& values, std::size_t count) {
  unsigned long long changed = 0;
  char text[400];
  for (std::size_t i = 0; i < count && i < values.size(); ++i) {
    if (!std::isfinite(values[i])) continue;  // refused on writing
    std::snprintf(text, sizeof text, "%.12f", values[i]);
    changed += std::strtod(text, nullptr) != values[i];
  }
  return changed;
}

bool is_default(const gvk::StoredUnit& unit) {
  return unit.type == gvk::kUnknownUnitType;
}

void count_settings(const gvk::Problem& p, gvk::LossTally& tally) {
  const gvk::Problem d;
  tally.set("settings (fix boundary)", p.fix_boundary != d.fix_boundary);
  tally.set("settings (max slope)", !same(p.max_slope, d.max_slope));
  tally.set("settings (min slope)", !same(p.min_slope, d.min_slope));
  tally.set("settings (volume constraint)", p.volume_constraint != d.volume_constraint);
  tally.set("settings (max slopes)", p.max_slopes.size());
  tally.set("settings (min slopes)", p.min_slopes.size());
  tally.set("settings (mesh metric)",
            p.metric.kind != d.metric.kind || !same(p.metric.value, d.metric.value) ||
                p.metric.flag_a != d.metric.flag_a || p.metric.flag_b != d.metric.flag_b);
  tally.set("settings (max iteration count)",
            p.max_iteration_count != d.max_iteration_count);
  tally.set("settings (epsilon)", !same(p.epsilon, d.epsilon));
}

}  // namespace

NodeEleStore::NodeEleStore(std::string node_path, std::string ele_path)
    : m_node_path(std::move(node_path)), m_ele_path(std::move(ele_path)) {}

void NodeEleStore::write() const {
  const gvk::Mesh& m = problem().mesh;
  write_node_ele(m_node_path, m_ele_path, m.x, m.y, m.z, m.triangles);
}

void NodeEleStore::beginBulkOperation() const { ++m_depth; }

void NodeEleStore::endBulkOperation() const {
  if (m_depth > 0) --m_depth;
  problem_changed();
}

void NodeEleStore::problem_changed() const {
  if (m_depth == 0) write();
}

std::vector<gvk::StoreLoss> NodeEleStore::losses() const {
  const gvk::Problem& p = problem();
  gvk::LossTally tally;
  tally.set("objectives", p.objectives.size());
  count_settings(p, tally);
  tally.set("units", !is_default(p.linear_unit) + !is_default(p.area_unit) +
                         !is_default(p.volume_unit));
  tally.set("host version", !p.hostcad_version.empty());
  tally.set("break lines", p.break_lines.size());
  const gravok_triangle_info zero{};
  tally.set("triangle records",
            static_cast<unsigned long long>(
                std::count_if(p.mesh.triangle_info.begin(), p.mesh.triangle_info.end(),
                              [&](const gravok_triangle_info& info) {
                                return std::memcmp(&info, &zero, sizeof zero) != 0;
                              })));
  for (const auto& [kind, set] : p.elements) {
    const char* name = gvk::element_type_name(kind);
    const std::string what = *name ? name : "kind " + std::to_string(kind);
    tally.set(what + " elements",
              gvk::is_empty(set) ? 0 : std::max<std::size_t>(set.records.size(), 1));
  }
  tally.set("surfaces besides the current one",
            p.surfaces.size() > 1 ? p.surfaces.size() - 1 : 0);
  tally.set("descriptions (coordinate system, application, surfaces)",
            !is_empty(p.description));
  const std::size_t n = p.mesh.x.size();
  tally.set("coordinates rounded to 12 decimals",
            rounded(p.mesh.x, n) + rounded(p.mesh.y, n) + rounded(p.mesh.z, n));
  return tally.losses();
}

}  // namespace gvk_triangle
