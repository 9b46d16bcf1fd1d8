/// @file
/// Mesh tools: operations on the indexed triangle mesh, three parallel coordinate
/// arrays x, y, z and a list of gvk::Triangle. Vertex i is (x[i], y[i], z[i]); the
/// vertex count is x.size(), and y and z are at least that long. Triangle indices are
/// 0-based and below the vertex count: callers guarantee this, nothing here checks
/// it (check_mesh in gravok/mesh_check.h lists what breaks these guarantees).
/// The tools keep no shared state: calls on different meshes may run on different
/// threads at once, but nothing else may touch a mesh while a call works on it.
#ifndef GRAVOK_MESH_TOOLS_H
#define GRAVOK_MESH_TOOLS_H

#include <gravok/export.h>
#include <gravok/records.h>

#include <vector>

namespace gvk {

/// Welds vertices that coincide in plan. Vertices are visited in index order; each is
/// looked up once, by a single descent, in an ordered index of the representatives
/// found so far, ordered by plan position within `tolerance`: a precedes b when
/// x[b] - t > x[a], else not when x[a] > x[b] + t, else when y[b] - t > y[a]. If the
/// lower bound of that descent is within the tolerance (|dx| <= t and |dy| <= t in
/// exact terms, the border included) the vertex merges into it; otherwise it becomes
/// a representative itself. The order is not transitive, so the result is that of
/// this exact procedure on the C++ standard library's ordered map (its hinted insert
/// and red-black rebalancing as GCC's library performs them), reproduced bit for bit
/// on every platform: a vertex within the tolerance of some representative other than
/// the lower bound stays, and chains of close vertices do not collapse.
///
/// Afterwards x, y and z hold the representatives' coordinates in order of first
/// appearance (each group keeps its lowest-numbered vertex, z included), all three of
/// the same length, and every triangle index names the vertex's representative.
/// Triangles are never removed or reordered, even when two corners become equal;
/// vertices that no triangle uses are kept (see remove_unused_vertices). z is never
/// compared. A negative or NaN tolerance merges nothing and leaves all four
/// containers exactly as they were; -0.0 welds as 0 does. An allocation failure
/// propagates with the containers unchanged.
GRAVOK_API void reindex_mesh(std::vector<double>& x, std::vector<double>& y,
                             std::vector<double>& z, std::vector<Triangle>& triangles,
                             double tolerance);

/// Deletes every vertex that no triangle references, keeps the others in their
/// former relative order, and renumbers the triangles to match (vertex i's new index
/// is the number of referenced vertices before it). x, y and z are shortened in place
/// to the referenced count; a mesh without triangles loses all its vertices.
/// Triangles keep their count, order and points.
GRAVOK_API void remove_unused_vertices(std::vector<double>& x, std::vector<double>& y,
                                       std::vector<double>& z,
                                       std::vector<Triangle>& triangles);

/// The default mesh settings: kind 1, value 0.0, flag_a false, flag_b true. It is what
/// DataSource::get_mesh_metric answers when a source does not override it.
GRAVOK_API mesh_metric default_mesh_metric();

}  // namespace gvk

#endif  // GRAVOK_MESH_TOOLS_H
