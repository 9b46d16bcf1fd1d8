#include <gravok/element_types.h>
#include <gravok/hand_over.h>
#include <gravok/problem.h>

#include <algorithm>
#include <set>
#include <utility>

namespace gvk {
namespace {

void snapshot_units(const DataSource& source, Problem& problem) {
  Unit<1> linear;
  Unit<2> area;
  Unit<3> volume;
  source.get_linear_unit(linear);
  source.get_area_unit(area);
  source.get_volume_unit(volume);
  problem.linear_unit = store_unit(linear);
  problem.area_unit = store_unit(area);
  problem.volume_unit = store_unit(volume);
}

void snapshot_settings(const DataSource& source, Problem& problem) {
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

void snapshot_elements(DataSource& source, Problem& problem) {
  std::set<GradingElementType> kinds;
  for (GradingElementType kind : allElementTypes()) kinds.insert(kind);
  for (GradingElementType kind : complexElementTypes()) kinds.insert(kind);
  for (GradingElementType kind : kinds) {
    ElementSet set;
    source.get_grading_elements(kind, set.records, set.xs, set.ys, set.complex);
    if (!is_empty(set)) problem.elements[kind] = std::move(set);
  }
}

// Adds `d` to every value; nothing at all when `d` is zero, so that values keep their
// bits (-0.0 + 0.0 would become 0.0).
void shift(std::vector<double>& values, double d) {
  if (d == 0) return;
  for (double& v : values) v += d;
}

// The mesh that `source` has current, taken from `giver` when there is one.
void fetch_mesh(DataSource& source, HandOverSource* giver, Mesh& m) {
  if (giver) {
    giver->take_eg_data(m.x, m.y, m.z, m.triangles, m.triangle_info);
  } else {
    source.get_eg_data(m.x, m.y, m.z, m.triangles, m.triangle_info);
  }
}

// The surface that `source` has current, re-expressed in the problem's origin.
Surface current_surface(DataSource& source, HandOverSource* giver,
                        const Problem& problem) {
  Surface s;
  Mesh& m = s.mesh;
  fetch_mesh(source, giver, m);
  source.get_break_lines(s.break_lines);
  const double dx = source.get_xorig() - problem.xorig;
  const double dy = source.get_yorig() - problem.yorig;
  const double dz = source.get_zorig() - problem.zorig;
  shift(m.x, dx);
  shift(m.y, dy);
  shift(m.z, dz);
  for (gravok_line_3d& line : s.break_lines) {
    line.x1 += dx;
    line.x2 += dx;
    line.y1 += dy;
    line.y2 += dy;
    line.z1 += dz;
    line.z2 += dz;
  }
  return s;
}

// Every listed surface in turn, when the source lists several; the first one is left
// current, as a source starts.
void snapshot_surfaces(DataSource& source, HandOverSource* giver, Problem& problem) {
  const std::size_t count =
      std::min(problem.surface_ids.size(), problem.surface_names.size());
  if (count < 2) return;
  for (std::size_t i = 0; i < count; ++i) {
    source.select_surface(problem.surface_ids[i]);
    problem.surfaces.push_back(current_surface(source, giver, problem));
    problem.surfaces.back().id = problem.surface_ids[i];
    problem.surfaces.back().name = problem.surface_names[i];
  }
  source.select_surface(problem.surface_ids.front());
}

// Snapshot, taking the meshes from `giver` (the source itself, or null to copy them).
// With several surfaces the main mesh is copied and only the surfaces' meshes are
// taken: the main mesh is asked for first, and it is most often one of the surfaces,
// which must still be there when its turn comes.
void fill(DataSource& source, HandOverSource* giver, Problem& problem,
          const std::vector<long long>& uids) {
  problem = Problem();
  snapshot_units(source, problem);
  source.get_surfaces(problem.surface_ids, problem.surface_names);
  const bool several =
      std::min(problem.surface_ids.size(), problem.surface_names.size()) > 1;
  fetch_mesh(source, several ? nullptr : giver, problem.mesh);
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
  snapshot_surfaces(source, giver, problem);
  if (const auto* described = dynamic_cast<const DescribedSource*>(&source)) {
    described->get_description(problem.description);
  }
}

}  // namespace

void snapshot(DataSource& source, Problem& problem, const std::vector<long long>& uids) {
  fill(source, nullptr, problem, uids);
}

void take_snapshot(DataSource& source, Problem& problem,
                   const std::vector<long long>& uids) {
  fill(source, dynamic_cast<HandOverSource*>(&source), problem, uids);
}

}  // namespace gvk
