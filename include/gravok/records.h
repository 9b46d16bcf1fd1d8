/// @file
/// Exchange records and enumerations: the plain data that every other family passes
/// around. Host plug-ins and the optimiser are built separately from the library, so
/// the fields, their order and their widths are a binary contract, checked below at
/// compile time. No record owns memory; a byte copy duplicates any of them. The
/// records and enumerations are global names; the mesh triangle type is in gvk.
/// Everything here is plain data: use it from any thread, as any value.
#ifndef GRAVOK_RECORDS_H
#define GRAVOK_RECORDS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

/// Kind of a grading element. Values 0 to 7 are the simple kinds, 100 and up the
/// complex kinds. The kind always travels beside the records, never inside them.
/// Every 32-bit value is a valid value of the type: unnamed kinds such as 8 or -1
/// reach the interfaces too, and each interface documents what it does with them.
enum GradingElementType : std::int32_t {
  LowPoint = 0,      ///< point in location[0..1]
  BoundedPoint = 1,  ///< point in location[0..1], two elevations in location[3..4]
  AlignedEdge = 2,   ///< polyline in xs/ys
  Offset = 3,        ///< two points in location[1..2] and location[4..5]
  DrainLine = 4,     ///< polyline in xs/ys
  SurfaceZone = 5,   ///< polygon in xs/ys
  BendLine = 6,      ///< polyline in xs/ys
  Unclassified = 7,  ///< vertex lists in xs/ys
  Curb = 100,        ///< complex kinds: vertex lists in xs/ys and extra data
  BuildingPad = 101,
  Pond = 102,
  ParkingLot = 103,
  RetWall = 104,
  Pathway = 105,
};

/// Kind of a surface zone. The library produces no value besides these two.
enum TriZoneType : std::int32_t {
  Generic = 1,
  Exclusion = 2,
};

/// Kind of volume constraint that a source asks for. Sources may return values the
/// library does not name; they are passed on unchanged.
enum VolumeConstraint : std::int32_t {
  Unconstrained = 0,
};

/// One grading element of any kind. `attributes` and `trailer` are agreed between
/// the producer and the consumer of the record; the library copies them verbatim.
/// Which `location` slots are coordinates depends on the kind (see
/// GradingElementType); the library shifts only those.
struct gravok_grading_element {
  /// Bytes agreed between the producer and the consumer; copied verbatim.
  unsigned char attributes[312];
  /// Coordinate slots; which of them hold coordinates depends on the kind.
  double location[6];
  /// Bytes agreed between the producer and the consumer; copied verbatim.
  unsigned char trailer[120];
};

/// One three-dimensional break-line segment of the existing ground.
struct gravok_line_3d {
  /// x of the first end point.
  double x1;
  /// y of the first end point.
  double y1;
  /// Elevation of the first end point.
  double z1;
  /// x of the second end point.
  double x2;
  /// y of the second end point.
  double y2;
  /// Elevation of the second end point.
  double z2;
};

/// One objective of the optimisation; opaque to the library, never shifted.
struct gravok_objective {
  /// Opaque bytes of the objective.
  unsigned char data[24];
};

/// Per-triangle information of the existing-ground mesh; opaque, never shifted.
struct gravok_triangle_info {
  /// Opaque bytes of the triangle's information.
  unsigned char data[40];
};

/// Mesh settings of the optimisation. The library supplies only the defaults
/// (kind 1, value 0.0, flag_a false, flag_b true) and never interprets the fields.
struct mesh_metric {
  /// Kind of metric; default 1.
  std::int32_t kind;
  /// Value of the metric; default 0.0.
  double value;
  /// First flag; default false.
  bool flag_a;
  /// Second flag; default true.
  bool flag_b;
};

namespace gvk {

/// One triangle of an indexed mesh: three 0-based vertex indices into the parallel
/// coordinate arrays x, y and z. Every triangle list of the interface is a
/// std::vector<gvk::Triangle>, so one mesh flows between all operations unconverted.
using Triangle = std::array<unsigned long long, 3>;

}  // namespace gvk

static_assert(sizeof(gravok_grading_element) == 480, "element record is 480 bytes");
static_assert(offsetof(gravok_grading_element, location) == 312, "location at 312");
static_assert(offsetof(gravok_grading_element, trailer) == 360, "trailer at 360");
static_assert(sizeof(gravok_line_3d) == 48, "break-line record is 48 bytes");
static_assert(sizeof(gravok_objective) == 24, "objective record is 24 bytes");
static_assert(sizeof(gravok_triangle_info) == 40, "triangle record is 40 bytes");
static_assert(offsetof(mesh_metric, kind) == 0, "mesh_metric::kind at 0");
static_assert(offsetof(mesh_metric, value) == 8, "mesh_metric::value at 8");
static_assert(offsetof(mesh_metric, flag_a) == 16, "mesh_metric::flag_a at 16");
static_assert(offsetof(mesh_metric, flag_b) == 17, "mesh_metric::flag_b at 17");
static_assert(sizeof(bool) == 1, "bool fields are one byte");
static_assert(sizeof(GradingElementType) == 4 && sizeof(TriZoneType) == 4 &&
                  sizeof(VolumeConstraint) == 4,
              "the enumerations are 32 bits wide");
static_assert(std::is_trivially_copyable<gravok_grading_element>::value &&
                  std::is_trivially_copyable<gravok_line_3d>::value &&
                  std::is_trivially_copyable<gravok_objective>::value &&
                  std::is_trivially_copyable<gravok_triangle_info>::value &&
                  std::is_trivially_copyable<mesh_metric>::value,
              "records are plain bytes");
static_assert(sizeof(gvk::Triangle) == 24, "a triangle is three 64-bit indices");

#endif  // GRAVOK_RECORDS_H
