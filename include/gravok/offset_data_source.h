/// @file
/// The offset source: a DataSource that wraps another source and moves all its
/// coordinates to another origin. Every coordinate that passes through grows by the
/// offset of its axis while the reported origin shrinks by the same amount, so every
/// absolute value (coordinate plus origin) stays the same. copyFrom uses it to move a
/// problem into a store's origin; hosts may use it directly.
///
/// The wrapper adds no locking and keeps no cache: every call goes to the wrapped
/// source again, so it is exactly as thread-safe as that source.
#ifndef GRAVOK_OFFSET_DATA_SOURCE_H
#define GRAVOK_OFFSET_DATA_SOURCE_H

#include <gravok/data_source.h>
#include <gravok/export.h>
#include <gravok/records.h>

#include <string>
#include <vector>

namespace gvk {

/// A source that wraps another and moves its coordinates to another origin.
///
/// These are not overridden, so the wrapper answers DataSource's defaults, not the
/// wrapped source's values: load, the three unit getters,
/// get_volume_constraint, get_max_iteration_count, get_hostcad_version,
/// is_ge_guid_valid and guid_from_uid. get_grading_elements keeps DataSource's
/// dispatch, which reaches the overridden per-kind getters.
///
/// Every shift is applied after the wrapped source's call has returned, to every
/// entry of the output container, entries the caller put there before included. An
/// exception of the wrapped source passes through and leaves the containers as the
/// source left them, unshifted.
class GRAVOK_API OffsetDataSource : public DataSource {
 public:
  /// Wraps `source` with the offsets (dx, dy, dz) and calls nothing on it. The wrapper
  /// refers to `source` and does not own it: the caller keeps the source alive as long
  /// as the wrapper. Offsets are fixed for the wrapper's life; NaN or infinite offsets
  /// are taken as they are and go through the additions unchanged.
  OffsetDataSource(DataSource& source, double dx, double dy, double dz);

  /// Copies refer to the same source with the same offsets. A wrapper cannot be
  /// re-pointed: it is not assignable.
  OffsetDataSource(const OffsetDataSource&) = default;
  /// Moves: the new wrapper refers to the same source with the same offsets.
  OffsetDataSource(OffsetDataSource&&) = default;
  OffsetDataSource& operator=(const OffsetDataSource&) = delete;
  OffsetDataSource& operator=(OffsetDataSource&&) = delete;

  /// Leaves the wrapped source alone.
  ~OffsetDataSource() override;

  /// Adds `offset` to every element of `values`, in place.
  static void offset_vec(std::vector<double>& values, double offset);
  /// Adds `offset` to every element of every inner vector of `lists`, in place.
  static void offset_vec_vec(std::vector<std::vector<double>>& lists, double offset);
  /// Adds the x offset to every value of `xs` and the y offset to every value of `ys`:
  /// the per-element coordinate lists that accompany an element vector.
  void offset_coords(std::vector<std::vector<double>>& xs,
                     std::vector<std::vector<double>>& ys) const;

  /// Forwarded to the wrapped source unchanged.
  void get_surfaces(std::vector<unsigned long long>& ids,
                    std::vector<std::string>& names) const override;
  void select_surface(unsigned long long id) override;

  /// Forwarded; then the offsets are added to every x, y and z value. Triangles and
  /// triangle records are unchanged.
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<Triangle>& triangles,
                   std::vector<gravok_triangle_info>& triangle_info) override;

  /// Forwarded unchanged.
  void get_objectives(std::vector<gravok_objective>& objectives) override;

  /// Forwarded; then x1 and x2 grow by the x offset, y1 and y2 by the y offset, z1
  /// and z2 by the z offset.
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override;

  /// Forwarded; the records are unchanged, xs and ys move with offset_coords.
  void get_unclassified(std::vector<gravok_grading_element>& elements,
                        std::vector<std::vector<double>>& xs,
                        std::vector<std::vector<double>>& ys) const override;
  /// Forwarded; location[0] grows by the x offset, location[1] by the y offset.
  void get_low_points(std::vector<gravok_grading_element>& elements) const override;
  /// Forwarded; location[0] + x, location[1] + y, and both elevations location[3] and
  /// location[4] + z offset; location[2] is unchanged.
  void get_bounded_points(std::vector<gravok_grading_element>& elements) const override;
  /// Forwarded; the two points location[1..2] and location[4..5] move by the x and y
  /// offsets; location[0] and location[3] are unchanged.
  void get_offsets(std::vector<gravok_grading_element>& elements) const override;
  /// Forwarded; the records are unchanged, xs and ys move with offset_coords.
  void get_drain_lines(std::vector<gravok_grading_element>& elements,
                       std::vector<std::vector<double>>& xs,
                       std::vector<std::vector<double>>& ys) const override;
  /// Forwarded; the records are unchanged, xs and ys move with offset_coords.
  void get_bend_lines(std::vector<gravok_grading_element>& elements,
                      std::vector<std::vector<double>>& xs,
                      std::vector<std::vector<double>>& ys) const override;
  /// Forwarded; the records are unchanged, xs and ys move with offset_coords.
  void get_aligned_edges(std::vector<gravok_grading_element>& elements,
                         std::vector<std::vector<double>>& xs,
                         std::vector<std::vector<double>>& ys) const override;
  /// Forwarded; the records are unchanged, xs and ys move with offset_coords.
  void get_trizone_polygons(std::vector<gravok_grading_element>& elements,
                            std::vector<std::vector<double>>& xs,
                            std::vector<std::vector<double>>& ys) const override;
  /// Forwarded with the kind; records and complex data are unchanged, xs and ys move
  /// with offset_coords.
  void get_complex_elements(GradingElementType kind,
                            std::vector<gravok_grading_element>& elements,
                            std::vector<std::vector<double>>& xs,
                            std::vector<std::vector<double>>& ys,
                            ComplexElementData& complex_data) const override;

  /// Forwarded unchanged.
  bool fix_boundary() const override;
  double get_max_slope() const override;
  double get_min_slope() const override;
  void get_max_slopes(std::vector<double>& slopes) const override;
  void get_min_slopes(std::vector<double>& slopes) const override;
  mesh_metric get_mesh_metric() const override;

  /// The wrapped source's origin minus the offset of the axis.
  double get_xorig() const override;
  /// The wrapped source's y origin minus the y offset.
  double get_yorig() const override;
  /// The wrapped source's z origin minus the z offset.
  double get_zorig() const override;

  /// Forwarded unchanged.
  double get_epsilon() const override;

 private:
  DataSource& m_source;
  double m_xoffset;
  double m_yoffset;
  double m_zoffset;
};

}  // namespace gvk

#endif  // GRAVOK_OFFSET_DATA_SOURCE_H
