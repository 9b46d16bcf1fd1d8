#include <gravok/data_store.h>
#include <gravok/element_types.h>
#include <gravok/offset_data_source.h>
#include <gravok/surfaces.h>

#include <algorithm>

namespace gvk {
namespace {

struct Offsets {
  double dx;
  double dy;
  double dz;
};

// Each setting goes from the source's getter straight to the store's setter of the
// same stem before the next one is read.
void copy_settings(DataSource& source, DataStore& store) {
  std::vector<gravok_objective> objectives;
  source.get_objectives(objectives);
  store.set_objectives(objectives);
  store.set_max_slope(source.get_max_slope());
  store.set_min_slope(source.get_min_slope());
  store.set_volume_constraint(source.get_volume_constraint());
  std::vector<double> max_slopes;
  source.get_max_slopes(max_slopes);
  store.set_max_slopes(max_slopes);
  std::vector<double> min_slopes;
  source.get_min_slopes(min_slopes);
  store.set_min_slopes(min_slopes);
  store.set_fix_boundary(source.fix_boundary());
  store.set_epsilon(source.get_epsilon());
  store.set_max_iteration_count(source.get_max_iteration_count());
  store.set_mesh_metric(source.get_mesh_metric());
}

// Source origin minus store origin, one axis at a time and the source first. Separate
// statements fix the order of the calls, which a store or source may observe.
Offsets origin_difference(const DataSource& source, const DataStore& store) {
  Offsets d{};
  const double source_x = source.get_xorig();
  d.dx = source_x - store.get_xorig();
  const double source_y = source.get_yorig();
  d.dy = source_y - store.get_yorig();
  const double source_z = source.get_zorig();
  d.dz = source_z - store.get_zorig();
  return d;
}

// Reads the mesh from the source itself, then the origins (the source may set its
// origin while delivering the mesh), shifts the mesh in place and hands it over.
Offsets copy_mesh(DataSource& source, DataStore& store) {
  std::vector<double> x, y, z;
  std::vector<Triangle> triangles;
  std::vector<gravok_triangle_info> triangle_info;
  source.get_eg_data(x, y, z, triangles, triangle_info);
  const Offsets d = origin_difference(source, store);
  OffsetDataSource::offset_vec(x, d.dx);
  OffsetDataSource::offset_vec(y, d.dy);
  OffsetDataSource::offset_vec(z, d.dz);
  store.set_eg_data(x, y, z, triangles, triangle_info);
  return d;
}

// One set of containers serves every kind. The complex-data holder is deliberately
// kept across kinds: only the records reach the store, so what it holds is never used.
void copy_elements(DataSource& source, DataStore& store, const Offsets& d) {
  OffsetDataSource shifted(source, d.dx, d.dy, d.dz);
  std::vector<gravok_grading_element> elements;
  std::vector<std::vector<double>> xs, ys;
  DataSource::ComplexElementData complex_data;
  for (const GradingElementType kind : allElementTypes()) {
    shifted.get_grading_elements(kind, elements, xs, ys, complex_data);
    store.set_grading_elements(kind, elements);
    elements.clear();
    xs.clear();
    ys.clear();
  }
}

// The parts that only the complete transfer moves. Units go into default-constructed
// units, as a caller of the getters would pass them.
void copy_units_and_version(const DataSource& source, DataStore& store) {
  Unit<1> linear;
  Unit<2> area;
  Unit<3> volume;
  source.get_linear_unit(linear);
  source.get_area_unit(area);
  source.get_volume_unit(volume);
  store.set_transferred_units(linear, area, volume);
  store.set_hostcad_version(source.get_hostcad_version());
}

void copy_break_lines(const OffsetDataSource& shifted, DataStore& store) {
  std::vector<gravok_line_3d> lines;
  shifted.get_break_lines(lines);
  store.set_transferred_break_lines(lines);
}

// Moves one kind with its lists and complex data. `always` hands the kind over even
// when the source has nothing of it; each kind starts from empty containers.
void copy_kind(OffsetDataSource& shifted, DataStore& store, GradingElementType kind,
               bool always) {
  std::vector<gravok_grading_element> elements;
  std::vector<std::vector<double>> xs, ys;
  DataSource::ComplexElementData complex_data;
  shifted.get_grading_elements(kind, elements, xs, ys, complex_data);
  if (always || !elements.empty() || !xs.empty() || !ys.empty()) {
    store.set_transferred_grading_elements(kind, elements, xs, ys, complex_data);
  }
}

// The description, when the source tells one and the store keeps one.
void copy_description(const DataSource& source, DataStore& store) {
  const auto* described = dynamic_cast<const DescribedSource*>(&source);
  auto* keeper = dynamic_cast<DescribedStore*>(&store);
  if (!described || !keeper) return;
  ProblemDescription description;
  described->get_description(description);
  keeper->set_description(description);
}

// The surface the source has current, read as copy_mesh reads the main one: the mesh
// first, then the origins, which a source may move per surface.
Surface shifted_surface(DataSource& source, const DataStore& store) {
  Surface s;
  Mesh& m = s.mesh;
  source.get_eg_data(m.x, m.y, m.z, m.triangles, m.triangle_info);
  const Offsets d = origin_difference(source, store);
  OffsetDataSource::offset_vec(m.x, d.dx);
  OffsetDataSource::offset_vec(m.y, d.dy);
  OffsetDataSource::offset_vec(m.z, d.dz);
  OffsetDataSource(source, d.dx, d.dy, d.dz).get_break_lines(s.break_lines);
  return s;
}

// Every surface the source lists, for a store that keeps several: each selected in
// turn, then the first selected again, as a source starts. A source that lists none
// hands over an empty list, so that no surface of an earlier problem stays behind.
void copy_surfaces(DataSource& source, DataStore& store) {
  auto* keeper = dynamic_cast<SurfaceStore*>(&store);
  if (!keeper) return;
  std::vector<unsigned long long> ids;
  std::vector<std::string> names;
  source.get_surfaces(ids, names);
  const std::size_t count = std::min(ids.size(), names.size());
  std::vector<Surface> surfaces;
  for (std::size_t i = 0; i < count; ++i) {
    source.select_surface(ids[i]);
    surfaces.push_back(shifted_surface(source, store));
    surfaces.back().id = ids[i];
    surfaces.back().name = names[i];
  }
  if (count > 0) source.select_surface(ids.front());
  keeper->set_surfaces(surfaces);
}

}  // namespace

void DataStore::copyFrom(DataSource& source) {
  beginBulkOperation();
  copy_settings(source, *this);
  const Offsets d = copy_mesh(source, *this);
  copy_elements(source, *this, d);
  endBulkOperation();
}

void DataStore::copyAllFrom(DataSource& source) {
  beginBulkOperation();
  copy_settings(source, *this);
  copy_units_and_version(source, *this);
  const Offsets d = copy_mesh(source, *this);
  OffsetDataSource shifted(source, d.dx, d.dy, d.dz);
  copy_break_lines(shifted, *this);
  for (const GradingElementType kind : allElementTypes()) {
    copy_kind(shifted, *this, kind, true);
  }
  copy_kind(shifted, *this, ParkingLot, false);
  copy_description(source, *this);
  copy_surfaces(source, *this);
  endBulkOperation();
}

}  // namespace gvk
