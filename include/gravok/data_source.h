/// @file
/// The data source: the interface through which a grading problem is read, one virtual
/// call per part. Host plug-ins derive from DataSource and override what their data can
/// answer; every operation they leave alone answers the default documented below, so a
/// bare DataSource is a complete, empty problem.
///
/// The order of the virtual operations is part of the binary interface: plug-ins are
/// built separately from the library. A new operation goes after the last one, never
/// between two.
///
/// Getters fill containers that the caller owns and passes by reference. The defaults
/// never clear or shrink them: a container comes back exactly as it was given.
/// Coordinates are local: a coordinate c of a source whose origin is o stands for c + o.
/// The defaults keep no state and may be called from any thread; whether a derived
/// source may be queried from several threads is that source's own affair.
#ifndef GRAVOK_DATA_SOURCE_H
#define GRAVOK_DATA_SOURCE_H

#include <gravok/export.h>
#include <gravok/records.h>
#include <gravok/units.h>

#include <cstdint>
#include <string>
#include <vector>

namespace gvk {

/// The interface a grading problem is read through; every default answers an empty
/// problem.
class GRAVOK_API DataSource {
 public:
  /// Extra data of complex elements (kinds 100 and up), filled by
  /// get_complex_elements beside the element vector. The library never reads, shifts
  /// or stores it.
  class ComplexElementData {
   public:
    /// Double lists number 1, agreed between producer and consumer.
    std::vector<std::vector<double>> double_lists_1;
    /// Double lists number 2, agreed between producer and consumer.
    std::vector<std::vector<double>> double_lists_2;
    /// Double lists number 3, agreed between producer and consumer.
    std::vector<std::vector<double>> double_lists_3;
    /// Double lists number 4, agreed between producer and consumer.
    std::vector<std::vector<double>> double_lists_4;
    /// Double lists number 5, agreed between producer and consumer.
    std::vector<std::vector<double>> double_lists_5;
    /// Double lists number 6, agreed between producer and consumer.
    std::vector<std::vector<double>> double_lists_6;
    /// Double lists number 7, agreed between producer and consumer.
    std::vector<std::vector<double>> double_lists_7;
    /// Double lists number 8, agreed between producer and consumer.
    std::vector<std::vector<double>> double_lists_8;
    /// Double lists number 9, agreed between producer and consumer.
    std::vector<std::vector<double>> double_lists_9;
    /// Double lists number 10, agreed between producer and consumer.
    std::vector<std::vector<double>> double_lists_10;
    /// Double lists number 11, agreed between producer and consumer.
    std::vector<std::vector<double>> double_lists_11;
    /// Integer lists, agreed between producer and consumer.
    std::vector<std::vector<std::int32_t>> int_lists;
  };

  /// The empty GUID string that guid_from_uid returns by default. It exists for as
  /// long as the library is loaded.
  static const std::string m_emptyGUID;

  /// A source has no state: construction and copying copy nothing.
  DataSource() = default;
  /// Copies nothing: the base has no state.
  DataSource(const DataSource&) = default;
  /// Assigns nothing: the base has no state.
  DataSource& operator=(const DataSource&) = default;

  virtual ~DataSource();

  /// Asks the source to read its data; true on success. Default: false. The library
  /// itself never calls it.
  virtual bool load();

  /// Assign the source's units into `unit`. Default: the unknown unit of the
  /// dimension (gvk::Unknown<N>); `unit` keeps its own dynamic class.
  virtual void get_linear_unit(Unit<1>& unit) const;
  /// Assigns the area unit into `unit`, as get_linear_unit does the linear one.
  virtual void get_area_unit(Unit<2>& unit) const;
  /// Assigns the volume unit into `unit`, as get_linear_unit does the linear one.
  virtual void get_volume_unit(Unit<3>& unit) const;

  /// Lists the surfaces the source offers as parallel ids and names. Default: both
  /// left unchanged.
  virtual void get_surfaces(std::vector<unsigned long long>& ids,
                            std::vector<std::string>& names) const;
  /// Makes one surface current for the following queries. Default: does nothing.
  virtual void select_surface(unsigned long long id);

  /// The existing-ground mesh: parallel vertex coordinates, triangles of 0-based
  /// indices into them, and one record per triangle. Default: all five unchanged.
  virtual void get_eg_data(std::vector<double>& x, std::vector<double>& y,
                           std::vector<double>& z, std::vector<Triangle>& triangles,
                           std::vector<gravok_triangle_info>& triangle_info);

  /// The objectives of the optimisation. Default: unchanged.
  virtual void get_objectives(std::vector<gravok_objective>& objectives);

  /// The break lines of the existing ground. Default: unchanged.
  virtual void get_break_lines(std::vector<gravok_line_3d>& lines) const;

  /// The elements of one kind, routed through virtual dispatch to the getter of that
  /// kind: 0 get_low_points, 1 get_bounded_points, 2 get_aligned_edges, 3 get_offsets,
  /// 4 get_drain_lines, 5 get_trizone_polygons, 6 get_bend_lines, 7 get_unclassified,
  /// and every other value (complex kinds 100 to 105, but also 8 to 99 and negative
  /// values) get_complex_elements with the kind unchanged. Containers that the chosen
  /// getter does not take are left exactly as they were; nothing is cleared here.
  virtual void get_grading_elements(GradingElementType kind,
                                    std::vector<gravok_grading_element>& elements,
                                    std::vector<std::vector<double>>& xs,
                                    std::vector<std::vector<double>>& ys,
                                    ComplexElementData& complex_data);

  /// Per-kind element getters. Elements of kinds other than low points, bounded points
  /// and offsets carry their geometry in xs (x lists) and ys (y lists), one inner list
  /// per element. Default of each: everything unchanged.
  virtual void get_unclassified(std::vector<gravok_grading_element>& elements,
                                std::vector<std::vector<double>>& xs,
                                std::vector<std::vector<double>>& ys) const;
  /// Low points: a point in location[0..1] of each record.
  virtual void get_low_points(std::vector<gravok_grading_element>& elements) const;
  /// Bounded points: a point in location[0..1], two elevations in location[3..4].
  virtual void get_bounded_points(std::vector<gravok_grading_element>& elements) const;
  /// Offsets: two points, location[1..2] and location[4..5].
  virtual void get_offsets(std::vector<gravok_grading_element>& elements) const;
  /// Drain lines: one polyline per element in xs and ys.
  virtual void get_drain_lines(std::vector<gravok_grading_element>& elements,
                               std::vector<std::vector<double>>& xs,
                               std::vector<std::vector<double>>& ys) const;
  /// Bend lines: one polyline per element in xs and ys.
  virtual void get_bend_lines(std::vector<gravok_grading_element>& elements,
                              std::vector<std::vector<double>>& xs,
                              std::vector<std::vector<double>>& ys) const;
  /// Aligned edges: one polyline per element in xs and ys.
  virtual void get_aligned_edges(std::vector<gravok_grading_element>& elements,
                                 std::vector<std::vector<double>>& xs,
                                 std::vector<std::vector<double>>& ys) const;
  /// Surface zones: one closed outline per element in xs and ys.
  virtual void get_trizone_polygons(std::vector<gravok_grading_element>& elements,
                                    std::vector<std::vector<double>>& xs,
                                    std::vector<std::vector<double>>& ys) const;
  /// Complex elements of `kind` (100 and up): vertex lists in xs and ys, extra data in
  /// `complex_data`.
  virtual void get_complex_elements(GradingElementType kind,
                                    std::vector<gravok_grading_element>& elements,
                                    std::vector<std::vector<double>>& xs,
                                    std::vector<std::vector<double>>& ys,
                                    ComplexElementData& complex_data) const;

  /// Settings of the optimisation, passed through the library unchanged.
  virtual bool fix_boundary() const;                       ///< default: true
  virtual double get_max_slope() const;                    ///< default: 0.33
  virtual double get_min_slope() const;                    ///< default: 0.005
  virtual VolumeConstraint get_volume_constraint() const;  ///< default: Unconstrained
  virtual void get_max_slopes(std::vector<double>& slopes) const;  ///< default: unchanged
  virtual void get_min_slopes(std::vector<double>& slopes) const;  ///< default: unchanged
  virtual mesh_metric get_mesh_metric() const;  ///< default: default_mesh_metric()

  /// The origin of the source's coordinates. Default: 0.0 on each axis.
  virtual double get_xorig() const;
  /// The y origin. Default: 0.0.
  virtual double get_yorig() const;
  /// The z origin. Default: 0.0.
  virtual double get_zorig() const;

  virtual long long get_max_iteration_count() const;  ///< default: 100000
  virtual double get_epsilon() const;                 ///< default: exactly 0.0

  /// Version text of the host application that supplied the data. Default: "".
  virtual std::string get_hostcad_version() const;

  /// Whether guid_from_uid can map uids back to GUID strings. Default: false.
  virtual bool is_ge_guid_valid() const;
  /// The GUID string whose hashGradingElementUid is `uid`. Default: m_emptyGUID,
  /// whatever the uid.
  virtual const std::string& guid_from_uid(const long long& uid) const;

  /// Picks the centre of the bounding box of the n = x.size() points (x[i], y[i], z[i])
  /// as their origin, writes it to xorig, yorig and zorig, then subtracts it from
  /// every point, so that point + origin gives back the point as it was. y and z must
  /// be at least as long as x; entries beyond x's length are neither measured nor
  /// moved. Empty arrays give a NaN origin on every axis and stay empty.
  static void ComputeOrigin(std::vector<double>& x, std::vector<double>& y,
                            std::vector<double>& z, double& xorig, double& yorig,
                            double& zorig);
};

}  // namespace gvk

#endif  // GRAVOK_DATA_SOURCE_H
