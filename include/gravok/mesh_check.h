/// @file
/// Mesh check: finds, before a host hands an indexed triangle mesh to the mesh tools or
/// to a store, what those tools assume away: triangle indices out of range, y or z
/// shorter than x, coordinates that are not finite, triangles of zero area in plan,
/// vertices no triangle uses, and vertices that reindex_mesh would weld. The mesh is
/// that of gravok/mesh_tools.h (x, y, z and a list of gvk::Triangle, vertex count
/// x.size()), but nothing about it is assumed here: any contents are checked without
/// undefined behaviour. The check reads the mesh only and keeps no shared state, so
/// calls may run on several threads at once while nothing writes the mesh.
#ifndef GRAVOK_MESH_CHECK_H
#define GRAVOK_MESH_CHECK_H

#include <gravok/export.h>
#include <gravok/records.h>

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace gvk {

/// What a finding reports. The values are fixed; new kinds are only ever appended.
/// A list of findings holds the kinds in this order (see check_mesh).
enum class MeshFindingKind : std::int32_t {
  /// Axis `part` (1 y, 2 z) is shorter than x: vertex `index`, the first one without
  /// that coordinate, and every later vertex lack it (`index` is the array's length).
  MissingCoordinates = 0,
  /// Corner `part` (0 to 2) of triangle `index` names vertex `value`, which is not
  /// below the vertex count.
  IndexOutOfRange = 1,
  /// Coordinate `part` (0 x, 1 y, 2 z) of vertex `index` is NaN or infinite.
  NonFiniteCoordinate = 2,
  /// Triangle `index` has zero area in plan: it names one vertex twice, or the cross
  /// product of its edges in x and y is exactly zero (its corners are collinear).
  ZeroArea = 3,
  /// No triangle names vertex `index`.
  UnusedVertex = 4,
  /// reindex_mesh with the check's tolerance merges vertex `index` into vertex
  /// `value`, the lowest-numbered vertex of its group.
  WeldedVertex = 5,
};

/// One finding: plain data, copied freely. Fields a kind does not use are 0.
struct MeshFinding {
  /// What the finding is about.
  MeshFindingKind kind;
  std::int32_t part;            ///< corner 0 to 2, or axis 0 x, 1 y, 2 z
  unsigned long long index;     ///< the triangle or vertex the finding names
  unsigned long long value;     ///< the vertex a corner names or a vertex welds into
  unsigned long long vertices;  ///< the mesh's vertex count, x.size()
};
static_assert(std::is_trivially_copyable<MeshFinding>::value && sizeof(MeshFinding) == 32,
              "MeshFinding is a fixed plain record");

/// No cap on the number of findings.
constexpr unsigned long long kAllMeshFindings =
    std::numeric_limits<unsigned long long>::max();

/// Checks the mesh and returns its findings, at most `max_findings` of them (0 gives an
/// empty list at once). The list is ordered by kind, in the order of MeshFindingKind,
/// then by the triangle or vertex index, then by corner or axis; when it reaches
/// `max_findings` the check stops, so a capped list keeps the most severe findings,
/// and a list of exactly `max_findings` entries may have been cut short.
///
/// The vertex count is x.size(); entries of y and z beyond it are ignored. Each check
/// reads only coordinates that exist: a vertex without y (or z) is reported once as
/// MissingCoordinates and its missing coordinates are read by nothing. A triangle that
/// names a vertex out of range, or a vertex without y, is left out of the zero-area
/// check; its other corners still count as used. Welds are those of reindex_mesh(x, y,
/// z, triangles, weld_tolerance) exactly, computed among the vertices that have both x
/// and y (z plays no part); a negative or NaN tolerance finds no welds, as reindex_mesh
/// then merges nothing. A vertex that welds keeps its own findings of other kinds.
///
/// Memory grows with the vertex and triangle counts and the number of findings, never
/// with the value of a bad index. An allocation failure propagates.
GRAVOK_API std::vector<MeshFinding> check_mesh(
    const std::vector<double>& x, const std::vector<double>& y,
    const std::vector<double>& z, const std::vector<Triangle>& triangles,
    double weld_tolerance, unsigned long long max_findings = kAllMeshFindings);

/// One line of English for a finding, without a line break, for instance
/// "triangle 12: corner 2 names vertex 900, but the mesh has 100 vertices". A kind
/// outside the enumeration gives "mesh finding of unknown kind K"; a corner or axis
/// outside 0 to 2 is printed as its number.
GRAVOK_API std::string mesh_finding_message(const MeshFinding& finding);

}  // namespace gvk

#endif  // GRAVOK_MESH_CHECK_H
