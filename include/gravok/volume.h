/// @file
/// Earthwork volumes: cut, fill and net between two triangulated surfaces, a base
/// (say the existing ground) and a top (say the proposed ground), each an indexed
/// mesh of the kind gravok/mesh_tools.h describes, in the same coordinates.
///
/// Each surface is read as the piecewise-linear function its triangles span over
/// their plan area. The result is the exact integral of (top - base) over the plan
/// area where both surfaces are defined, optionally limited to a caller's closed
/// boundary polygon, exact up to floating-point rounding: the two triangulations
/// are overlaid in plan, every overlapping pair of triangles is clipped to their
/// common polygon (and to the boundary), and each such piece is split where the
/// difference changes sign. Fill is the volume where the top lies above the base,
/// cut where it lies below; both are reported as positive numbers and net is
/// fill - cut. The work is done relative to a local origin inside the data, so
/// coordinates of survey size (x 2,000,000) lose nothing beyond their own rounding.
///
/// What counts as surface:
/// - A triangle covers its plan area. Orientation does not matter.
/// - A triangle of zero plan area (a repeated corner, collinear corners) covers
///   nothing and is passed over; so is a mesh all of whose triangles are such.
/// - Where a mesh has no triangle (a hole, such as the invisible faces that a
///   LandXML reader leaves out, or the land beyond its edge) it is not defined,
///   and nothing is compared there. Surfaces that overlap only partly are compared
///   over their common part; surfaces that do not overlap give area 0.
/// - Triangles of one mesh that overlap one another in plan make it a surface of
///   several layers there; every layer is compared, so that area and its volumes
///   count once per layer. The result reports the plan area found covered more
///   than once (`base_layered_area`, `top_layered_area`), so such a mesh does not
///   go unnoticed (see VolumeResult for what that figure catches).
/// - Where the difference is zero over a whole piece (identical surfaces, within a
///   relative 1e-12 of the largest elevation), the piece counts towards `area`
///   only, neither towards cut nor fill.
///
/// What is refused (the result's `ok` is false and `message` says why, naming the
/// mesh, the triangle or vertex and the value; nothing is computed): a triangle
/// index not below the vertex count, y or z shorter than x, a coordinate of a
/// vertex that some triangle uses that is NaN or infinite, coordinates so far apart
/// that their differences overflow, and a mesh of 2^32 - 1 triangles or more. A
/// result that overflows a double (a surface steeper or larger than a double can
/// integrate) is refused too rather than reported as infinite. A boundary polygon is
/// refused when its x and y lists differ in length, when a coordinate is not
/// finite, or when it is not a simple polygon: no two of its edges may meet except
/// consecutive ones at their shared corner (an outline that crosses or touches
/// itself). A repeated closing corner and repeated consecutive corners are
/// dropped first; a polygon of fewer than three distinct corners encloses nothing.
/// Either orientation of a polygon is accepted.
///
/// Cost: the top mesh's triangles go into a uniform plan grid of about one cell per
/// triangle; each base triangle is compared only with the top triangles registered
/// in the cells its bounding box touches. For two meshes of n and m triangles of
/// comparable size over one site that is O(n + m) time and memory (the overlapping
/// pairs are a small constant per triangle), never the O(n m) of comparing all
/// pairs; only inputs whose triangles overlap very many of the other's (a few huge
/// triangles over a fine mesh) approach the number of pairs that truly overlap. A
/// boundary of k corners adds O(k) fan triangles, indexed the same way. The
/// library starts no threads.
///
/// The functions keep no shared state: calls may run on several threads at once
/// while nothing writes the meshes and polygons they read.
#ifndef GRAVOK_VOLUME_H
#define GRAVOK_VOLUME_H

#include <gravok/export.h>
#include <gravok/records.h>

#include <string>
#include <vector>

namespace gvk {

/// A surface as the volume functions read it: references to the caller's indexed
/// mesh (vertex i is (x[i], y[i], z[i]), the vertex count is x.size()), borrowed for
/// the call. Nothing about the arrays is assumed; what is wrong with them is
/// refused by the result.
struct MeshView {
  const std::vector<double>& x;            ///< plan x of each vertex
  const std::vector<double>& y;            ///< plan y, at least as long as x
  const std::vector<double>& z;            ///< elevation, at least as long as x
  const std::vector<Triangle>& triangles;  ///< 0-based vertex indices
};

/// Cut, fill and net over one plan region, in the cube (volumes) and square (areas)
/// of the coordinates' unit. Every member is 0 for a region where the surfaces do
/// not overlap.
struct Earthwork {
  double cut = 0.0;        ///< volume where the top lies below the base, >= 0
  double fill = 0.0;       ///< volume where the top lies above the base, >= 0
  double net = 0.0;        ///< fill - cut
  double cut_area = 0.0;   ///< plan area where the top lies below the base
  double fill_area = 0.0;  ///< plan area where the top lies above the base
  /// Plan area compared: where both surfaces are defined (and inside the region).
  /// It is cut_area + fill_area plus the area where the two coincide.
  double area = 0.0;
};

/// The outcome of a volume computation. When `ok` is false, `message` says what was
/// refused ("top mesh: triangle 12 names vertex 40, but there are 30 vertices") and
/// every figure is 0; when `ok` is true, `message` is empty.
struct VolumeResult {
  /// True when both meshes (and the boundary, where one is given) were usable.
  bool ok = true;
  /// Why the computation was refused; empty when ok.
  std::string message;
  /// Over the whole common plan area, or inside the boundary where one is given.
  Earthwork total;
  /// volumes_by_region only: one entry per polygon, in the order given.
  std::vector<Earthwork> regions;
  /// volumes_by_region only: one entry per polygon, empty when the polygon was
  /// used, else why it was refused (that region's Earthwork is then all 0).
  std::vector<std::string> region_faults;
  /// Plan area over which the base mesh was found to overlap itself, counted once
  /// per extra layer, before any boundary clips it; with a boundary, only the
  /// triangles whose bounding boxes reach the boundary's are looked at. It is
  /// measured per top triangle, as the area of the base pieces over it beyond its
  /// own area, so it is exact where the base lies over whole top triangles and a
  /// lower bound where a layered part reaches past the top's edge. 0 for a mesh
  /// without overlapping triangles (within a relative 1e-9 per triangle).
  double base_layered_area = 0.0;
  /// The same for the top mesh, measured per base triangle.
  double top_layered_area = 0.0;
  /// True when `ok` is.
  explicit operator bool() const noexcept { return ok; }
};

/// Cut, fill and net of `top` against `base` over the plan area where both are
/// defined; see the file comment for what counts and what is refused.
GRAVOK_API VolumeResult volume_between(const MeshView& base, const MeshView& top);

/// The same, inside the closed polygon with corners (boundary_x[i], boundary_y[i]):
/// the polygon may be non-convex, in either orientation, closed by repeating its
/// first corner or not. A refused polygon refuses the whole computation.
GRAVOK_API VolumeResult volume_between(const MeshView& base, const MeshView& top,
                                       const std::vector<double>& boundary_x,
                                       const std::vector<double>& boundary_y);

/// Volumes inside each of several closed polygons (xs[i], ys[i]), the lists of an
/// element's corners as sources give them (the outlines of building pads, ponds,
/// parking lots, surface zones), and in total over the whole common area. Regions
/// are computed independently: where polygons overlap, the area counts in each.
/// One overlay serves all of them. A polygon that is refused fills its entry of
/// `region_faults` and leaves the others computed; a mesh that is refused refuses
/// the whole call. There is one region for each list of the longer of xs and ys;
/// a region that lacks its y (or x) list is refused ("it has 5 x and 0 y values").
GRAVOK_API VolumeResult volumes_by_region(const MeshView& base, const MeshView& top,
                                          const std::vector<std::vector<double>>& xs,
                                          const std::vector<std::vector<double>>& ys);

}  // namespace gvk

#endif  // GRAVOK_VOLUME_H
