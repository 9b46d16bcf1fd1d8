#include <gravok/problem.h>

namespace gvk {

StoredUnit::StoredUnit() {
  const Unknown<1> unknown;
  type = unknown.type;
  qualifier = unknown.qualifier;
  name = unknown.name;
  abbreviation = unknown.abbreviation;
  for (const auto& factor : unknown.conversions) conversions.push_back(factor());
}

// The defaults are whatever a bare source answers, so they follow DataSource's.
Problem::Problem() {
  const DataSource bare;
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
  const DataSource::ComplexElementData& c = set.complex;
  return set.records.empty() && set.xs.empty() && set.ys.empty() &&
         c.double_lists_1.empty() && c.double_lists_2.empty() &&
         c.double_lists_3.empty() && c.double_lists_4.empty() &&
         c.double_lists_5.empty() && c.double_lists_6.empty() &&
         c.double_lists_7.empty() && c.double_lists_8.empty() &&
         c.double_lists_9.empty() && c.double_lists_10.empty() &&
         c.double_lists_11.empty() && c.int_lists.empty();
}

}  // namespace gvk
