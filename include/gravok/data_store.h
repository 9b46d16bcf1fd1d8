/// @file
/// The data store: the receiver of a grading problem, the counterpart of the data
/// source. A host application, a file writer or any other sink derives from DataStore
/// and implements its pure setters; the library supplies the bulk brackets, the kind
/// dispatch set_grading_elements and the whole-problem transfer copyFrom. Every store
/// is also a source and answers every DataSource operation.
///
/// The order of the virtual operations is part of the binary interface: stores are
/// built separately from the library. A new operation goes after the last one, never
/// between two.
///
/// Each setter receives exactly what the DataSource getter of the same stem delivers
/// (set_low_points what get_low_points fills, set_fix_boundary what fix_boundary
/// returns, and so on). The library never synchronises calls into a store: copyFrom
/// makes all its calls from its caller's thread, one at a time. The kind table behind
/// set_grading_elements is shared by all stores and threads; its first filling is
/// safe when several threads make their first call at the same moment.
#ifndef GRAVOK_DATA_STORE_H
#define GRAVOK_DATA_STORE_H

#include <gravok/data_source.h>
#include <gravok/export.h>
#include <gravok/records.h>
#include <gravok/units.h>

#include <string>
#include <vector>

namespace gvk {

/// The receiver of a grading problem: a DataSource with one setter per part.
class GRAVOK_API DataStore : public DataSource {
 public:
  /// A store base has no state: construction, copying and moving copy nothing.
  DataStore() = default;
  /// Copies nothing.
  DataStore(const DataStore&) = default;
  /// Moves nothing.
  DataStore(DataStore&&) = default;
  /// Assigns nothing.
  DataStore& operator=(const DataStore&) = default;
  /// Assigns nothing.
  DataStore& operator=(DataStore&&) = default;

  ~DataStore() override;

  /// Bracket a run of setter calls that belong together, so that a store can treat
  /// them as one batch (a database store opens a transaction in the first and commits
  /// it in the second). copyFrom calls each once around all its setter calls. Default:
  /// nothing; nothing counts or checks the pairing.
  virtual void beginBulkOperation() const;
  /// Closes the bracket beginBulkOperation opened. Default: nothing.
  virtual void endBulkOperation() const;

  /// The units of the problem. The library never calls it: copyFrom does not move
  /// units, and copyAllFrom hands them to set_transferred_units, whose default drops
  /// them (a store that keeps units overrides that one too).
  virtual void set_units(const Unit<1>& linear, const Unit<2>& area,
                         const Unit<3>& volume) = 0;

  /// The existing-ground mesh as get_eg_data delivers it: parallel vertex
  /// coordinates, triangles of 0-based indices into them, one record per triangle.
  virtual void set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                           const std::vector<double>& z,
                           const std::vector<Triangle>& triangles,
                           const std::vector<gravok_triangle_info>& triangle_info) = 0;

  /// The break lines of the existing ground. The library never calls it: copyFrom
  /// does not move break lines, and copyAllFrom hands them to
  /// set_transferred_break_lines.
  virtual void set_break_lines(const std::vector<gravok_line_3d>& lines) = 0;

  /// The objectives of the optimisation, as get_objectives delivers them.
  virtual void set_objectives(const std::vector<gravok_objective>& objectives) = 0;

  /// Routes the elements of one kind to the setter of that kind, handing on the same
  /// vector, also when it is empty: every kind of 100 or more (named or not) goes to
  /// set_complex_elements with the kind; 0 set_low_points, 1 set_bounded_points,
  /// 2 set_aligned_edges, 3 set_offsets, 4 set_drain_lines, 5 set_trizone_polygons,
  /// 6 set_bend_lines. Any other kind (Unclassified, 8 to 99, negative values) is
  /// dropped silently: no setter is called. Exceptions of the setter pass through.
  /// A store may override it; copyFrom calls it virtually for every kind it moves.
  virtual void set_grading_elements(GradingElementType kind,
                                    const std::vector<gravok_grading_element>& elements);

  /// Per-kind setters: each receives the complete vector of its kind in one call, the
  /// element records only (never the coordinate lists xs and ys nor complex data).
  virtual void set_low_points(const std::vector<gravok_grading_element>& elements) = 0;
  /// Bounded points (kind 1).
  virtual void set_bounded_points(
      const std::vector<gravok_grading_element>& elements) = 0;
  /// Offsets (kind 3).
  virtual void set_offsets(const std::vector<gravok_grading_element>& elements) = 0;
  /// Drain lines (kind 4).
  virtual void set_drain_lines(const std::vector<gravok_grading_element>& elements) = 0;
  /// Bend lines (kind 6).
  virtual void set_bend_lines(const std::vector<gravok_grading_element>& elements) = 0;
  /// Aligned edges (kind 2).
  virtual void set_aligned_edges(const std::vector<gravok_grading_element>& elements) = 0;
  /// Surface zones (kind 5).
  virtual void set_trizone_polygons(
      const std::vector<gravok_grading_element>& elements) = 0;
  /// Complex elements of `kind` (100 and up).
  virtual void set_complex_elements(
      GradingElementType kind, const std::vector<gravok_grading_element>& elements) = 0;

  /// Settings of the optimisation, each as its getter returns it.
  virtual void set_fix_boundary(bool fix) = 0;
  /// The greatest slope, as get_max_slope returns it.
  virtual void set_max_slope(double slope) = 0;
  /// The least slope, as get_min_slope returns it.
  virtual void set_min_slope(double slope) = 0;
  /// The volume constraint, as get_volume_constraint returns it.
  virtual void set_volume_constraint(VolumeConstraint constraint) = 0;
  /// The greatest slopes, as get_max_slopes fills them.
  virtual void set_max_slopes(const std::vector<double>& slopes) = 0;
  /// The least slopes, as get_min_slopes fills them.
  virtual void set_min_slopes(const std::vector<double>& slopes) = 0;
  /// The mesh settings, as get_mesh_metric returns them.
  virtual void set_mesh_metric(mesh_metric metric) = 0;
  /// The iteration limit, as get_max_iteration_count returns it.
  virtual void set_max_iteration_count(long long count) = 0;
  /// The tolerance, as get_epsilon returns it.
  virtual void set_epsilon(double epsilon) = 0;

  /// Operations of the complete transfer, copyAllFrom, which copyFrom never calls. Each
  /// default passes on only what copyFrom would hand over, so a store written for
  /// copyFrom alone receives the same calls from either transfer; a store that keeps
  /// the whole problem overrides them.
  ///
  /// The source's units, as its three unit getters fill default-constructed units.
  /// Default: nothing (the units are dropped).
  virtual void set_transferred_units(const Unit<1>& linear, const Unit<2>& area,
                                     const Unit<3>& volume);
  /// The source's break lines, shifted into this store's origin (both ends of every
  /// line: x, y and z). Default: nothing (the lines are dropped).
  virtual void set_transferred_break_lines(const std::vector<gravok_line_3d>& lines);
  /// The elements of one kind with everything the getters deliver beside the records:
  /// the coordinate lists xs and ys, shifted into this store's origin, and the
  /// complex-element data, which is handed on as the source filled it (the library
  /// does not know what it holds, so it never shifts it). Default: the records go to
  /// set_grading_elements(kind, elements), as copyFrom hands them; the rest is dropped.
  virtual void set_transferred_grading_elements(
      GradingElementType kind, const std::vector<gravok_grading_element>& elements,
      const std::vector<std::vector<double>>& xs,
      const std::vector<std::vector<double>>& ys, const ComplexElementData& complex_data);
  /// The version text of the host application that supplied the data, as
  /// get_hostcad_version returns it. Default: nothing.
  virtual void set_hostcad_version(const std::string& version);

  /// Moves the problem of `source` into this store, re-expressed in this store's
  /// origin: the settings, the existing-ground mesh and the element records, and
  /// nothing else. The units, the break lines, the elements' coordinate lists (xs and
  /// ys: the geometry of every drain line, bend line, aligned edge, surface zone and
  /// complex element), the complex-element data, the host version, the surfaces and
  /// the GUIDs never reach the store, and ParkingLot elements are never asked for.
  /// copyAllFrom moves all of that except GUIDs, and the surfaces to a SurfaceStore.
  ///
  /// Inside one bulk bracket it hands each setting to the setter of the same stem
  /// (objectives, max slope, min slope, volume constraint, max slopes, min slopes, fix
  /// boundary, epsilon, max iteration count, mesh metric), then reads the source's
  /// mesh, then the offsets d = source origin - store origin (x, y, z in turn, each
  /// time the source's origin getter before the store's), adds them to the mesh and
  /// hands it to set_eg_data, and finally moves the elements of every kind of
  /// allElementTypes(), in its order, through an OffsetDataSource with those offsets
  /// into set_grading_elements, once per kind, also when a kind has no elements.
  ///
  /// The source is read as it answers now: it is neither loaded nor asked for units,
  /// surfaces, break lines, host version or GUIDs. Nothing is validated; NaN or
  /// infinite origins flow into the offsets unchanged. An exception from the source,
  /// the store or an allocation stops the transfer at once and reaches the caller;
  /// endBulkOperation is then not called, and the store keeps what its setters took in
  /// so far. Neither object is owned or kept.
  void copyFrom(DataSource& source);

  /// The complete transfer: everything copyFrom does, in the same order, and besides
  /// it the units, the host version, the break lines and each kind's coordinate lists
  /// and complex data, through the four operations above. Inside the bulk bracket:
  /// copyFrom's settings; the units (set_transferred_units) and the host version
  /// (set_hostcad_version); the mesh with the offsets, exactly as copyFrom moves it;
  /// the break lines through the OffsetDataSource (set_transferred_break_lines); then
  /// for every kind of allElementTypes(), in its order, the records, xs, ys and the
  /// complex data of that kind through the OffsetDataSource into
  /// set_transferred_grading_elements, once per kind, also when a kind has none.
  /// ParkingLot, which is not in allElementTypes(), is asked for last and handed over
  /// only when the source gives it records or lists. Each kind starts with empty
  /// containers and an empty complex-data holder, so no kind sees another's data.
  ///
  /// A store that overrides none of the four operations receives from copyAllFrom
  /// exactly the calls copyFrom makes on it, unless the source has ParkingLot elements,
  /// which reach set_complex_elements(ParkingLot, ...) through the default. The source
  /// is not loaded and no surface is selected; surfaces and GUIDs stay behind.
  /// Exceptions behave as in copyFrom.
  ///
  /// Additions for the extension interfaces of gravok/surfaces.h, made after
  /// ParkingLot and before the bracket closes, only where both sides take part
  /// (dynamic_cast): a source that is a DescribedSource hands its description to a
  /// store that is a DescribedStore (set_description); and a store that is a
  /// SurfaceStore receives every surface the source lists (ids and names paired up;
  /// a longer list's extra entries are left out): each is selected in turn, its mesh
  /// read and shifted into this store's origin with the offsets of its own origin,
  /// read after its mesh as for the main mesh, its break lines shifted through an
  /// OffsetDataSource, and all of them go to set_surfaces in one call (an empty list
  /// when the source lists none); the first listed surface is then selected again. A
  /// store that is not a SurfaceStore, and its source, see none of these calls, so a
  /// store written for 1.0 receives exactly the calls described above.
  void copyAllFrom(DataSource& source);
};

}  // namespace gvk

#endif  // GRAVOK_DATA_STORE_H
