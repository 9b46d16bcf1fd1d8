#include "problem.h"

#include <gravok/element_types.h>

#include <charconv>
#include <set>
#include <system_error>

namespace gvk_json {

StoredUnit::StoredUnit() {
  const gvk::Unknown<1> unknown;
  type = unknown.type;
  qualifier = unknown.qualifier;
  name = unknown.name;
  abbreviation = unknown.abbreviation;
  for (const auto& factor : unknown.conversions) conversions.push_back(factor());
}

// The defaults are whatever a bare source answers, so they follow the library.
Problem::Problem() {
  gvk::DataSource bare;
  xorig = bare.get_xorig();
  yorig = bare.get_yorig();
  zorig = bare.get_zorig();
  fix_boundary = bare.fix_boundary();
  max_slope = bare.get_max_slope();
  min_slope = bare.get_min_slope();
  volume_constraint = bare.get_volume_constraint();
  metric = bare.get_mesh_metric();
  max_iteration_count = bare.get_max_iteration_count();
  epsilon = bare.get_epsilon();
  hostcad_version = bare.get_hostcad_version();
  guids_valid = bare.is_ge_guid_valid();
}

bool is_empty(const ElementSet& set) {
  const gvk::DataSource::ComplexElementData& c = set.complex;
  return set.records.empty() && set.xs.empty() && set.ys.empty() &&
         c.double_lists_1.empty() && c.double_lists_2.empty() &&
         c.double_lists_3.empty() && c.double_lists_4.empty() &&
         c.double_lists_5.empty() && c.double_lists_6.empty() &&
         c.double_lists_7.empty() && c.double_lists_8.empty() &&
         c.double_lists_9.empty() && c.double_lists_10.empty() &&
         c.double_lists_11.empty() && c.int_lists.empty();
}

std::string element_kind_name(GradingElementType kind) {
  const char* name = gvk::element_type_name(kind);
  return *name ? name : std::to_string(static_cast<std::int32_t>(kind));
}

bool element_kind_from_name(std::string_view name, GradingElementType& kind) {
  std::vector<GradingElementType> named = gvk::allElementTypes();
  named.push_back(ParkingLot);
  for (const GradingElementType k : named) {
    if (name == gvk::element_type_name(k)) {
      kind = k;
      return true;
    }
  }
  std::int32_t value = 0;
  const auto [end, error] =
      std::from_chars(name.data(), name.data() + name.size(), value);
  if (error != std::errc() || end != name.data() + name.size()) return false;
  kind = static_cast<GradingElementType>(value);
  // Only the canonical spelling: "007", "+8" and the number of a named kind are not
  // names.
  return element_kind_name(kind) == name;
}

namespace {

void snapshot_units(const gvk::DataSource& source, Problem& problem) {
  gvk::Unit<1> linear;
  gvk::Unit<2> area;
  gvk::Unit<3> volume;
  source.get_linear_unit(linear);
  source.get_area_unit(area);
  source.get_volume_unit(volume);
  problem.linear_unit = store_unit(linear);
  problem.area_unit = store_unit(area);
  problem.volume_unit = store_unit(volume);
}

void snapshot_settings(const gvk::DataSource& source, Problem& problem) {
  problem.fix_boundary = source.fix_boundary();
  problem.max_slope = source.get_max_slope();
  problem.min_slope = source.get_min_slope();
  problem.volume_constraint = source.get_volume_constraint();
  source.get_max_slopes(problem.max_slopes);
  source.get_min_slopes(problem.min_slopes);
  problem.metric = source.get_mesh_metric();
  problem.max_iteration_count = source.get_max_iteration_count();
  problem.epsilon = source.get_epsilon();
}

void snapshot_elements(gvk::DataSource& source, Problem& problem) {
  std::set<GradingElementType> kinds;
  for (GradingElementType kind : gvk::allElementTypes()) kinds.insert(kind);
  for (GradingElementType kind : gvk::complexElementTypes()) kinds.insert(kind);
  for (GradingElementType kind : kinds) {
    ElementSet set;
    source.get_grading_elements(kind, set.records, set.xs, set.ys, set.complex);
    if (!is_empty(set)) problem.elements[kind] = std::move(set);
  }
}

}  // namespace

void snapshot(gvk::DataSource& source, Problem& problem,
              const std::vector<long long>& uids) {
  problem = Problem();
  snapshot_units(source, problem);
  source.get_surfaces(problem.surface_ids, problem.surface_names);
  Mesh& mesh = problem.mesh;
  source.get_eg_data(mesh.x, mesh.y, mesh.z, mesh.triangles, mesh.triangle_info);
  source.get_objectives(problem.objectives);
  source.get_break_lines(problem.break_lines);
  snapshot_settings(source, problem);
  problem.xorig = source.get_xorig();
  problem.yorig = source.get_yorig();
  problem.zorig = source.get_zorig();
  problem.hostcad_version = source.get_hostcad_version();
  snapshot_elements(source, problem);
  problem.guids_valid = source.is_ge_guid_valid();
  for (long long uid : uids) {
    const std::string& guid = source.guid_from_uid(uid);
    if (!guid.empty()) problem.guids[uid] = guid;
  }
}

}  // namespace gvk_json
