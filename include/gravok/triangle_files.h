/// @file
/// Triangle's own file layouts, as the mesh generator documents them and other mesh
/// programs write them: vertex files (.node), triangle files (.ele), the pair of them
/// as the library's indexed mesh, and planar straight-line graphs (.poly), read and
/// written. Every reader reports what is wrong with a file by its result, with the
/// file's path and 1-based line in the message; none ends the process, throws (other
/// than the standard allocation exception) or allocates for lines that are not there,
/// whatever the counts in a file say. Numbers are read and written in the classic
/// "C" form whatever global locale the host has installed. Nothing here keeps shared
/// state: calls on different files may run at once, and each call owns the outputs
/// it is given, which nothing else may touch during the call.
///
/// Rules common to every file read here:
/// - "#" starts a comment that runs to the end of the line; lines that hold nothing
///   but white space and comments are skipped (they still count for line numbers).
/// - Fields are separated by white space (space, tab, carriage return, vertical tab,
///   form feed) or commas. Integers are decimal with an optional sign; reals are
///   decimal with an optional point and exponent ("3.", ".5", "-1e-3"); "inf", "nan",
///   hexadecimal and values beyond a double do not parse. A field must end at a
///   separator or at the end of the line: "5.5" is not an integer and "1x" not a real.
/// - A line may carry fields beyond those its layout asks for; they are ignored (the
///   .ele files that PolyFile::to_files writes end every line with such a 0).
/// - Header fields after the count may be left out: a .node or .poly vertex header
///   "N" reads as "N 2 0 0", a segment header "S" as "S 0", an .ele header "T" as
///   "T 3 0".
/// - Vertices are numbered consecutively from 0 or from 1, as the first vertex line
///   says; every vertex line must carry the next number. Every vertex index that a
///   triangle or segment names follows that numbering and must name a vertex of the
///   file; the readers give indices 0-based. Numbers of triangles, segments, holes
///   and regions are read (they must be integers) and otherwise ignored.
/// - A count larger than the lines that follow is an error ("the header announces 9
///   vertices, but the file ends after 4"), found without allocating for the lines
///   announced.
#ifndef GRAVOK_TRIANGLE_FILES_H
#define GRAVOK_TRIANGLE_FILES_H

#include <gravok/export.h>
#include <gravok/records.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace gvk {

/// The outcome of reading or writing one of these files. When `ok` is false,
/// `message` names the file and, where the fault lies on a line, that line:
/// "site.poly:12: segment 5 names vertex 40, but there are 30 vertices"; `path` is
/// the file the fault is in (for a .poly whose vertices are in its .node file, it
/// may be that .node file) and `line` its 1-based line, 0 when the fault concerns
/// the whole file (it cannot be opened, it ends before its header). When `ok` is
/// true, the other members are empty or 0.
struct TriangleFileResult {
  /// True when the file was read or written.
  bool ok = true;
  /// The file the fault is in; empty when ok.
  std::string path;
  /// 1-based line of the fault; 0 when it concerns the whole file or when ok.
  unsigned long long line = 0;
  /// The fault in words, starting with the path; empty when ok.
  std::string message;
  /// True when `ok` is.
  explicit operator bool() const noexcept { return ok; }
};

/// The vertices of a .node file, or of the vertex section of a .poly file.
struct TriangleVertices {
  int dimension = 2;                    ///< 2, or 3 for files of 3-D vertices
  unsigned long long first_number = 0;  ///< 0 or 1: how the file numbers them
  /// Plan coordinates, one per vertex.
  std::vector<double> x, y;         ///< one per vertex
  std::vector<double> z;            ///< the third coordinate; empty unless dimension 3
  std::size_t attribute_count = 0;  ///< attributes per vertex
  std::vector<double> attributes;   ///< vertex i's at [i * attribute_count, ...)
  bool has_markers = false;         ///< whether the file gives boundary markers
  std::vector<long long> markers;   ///< one per vertex when has_markers, else empty
};

/// The triangles of an .ele file.
struct TriangleElements {
  unsigned nodes_per_triangle = 3;  ///< 3, or 6 for second-order triangles
  std::vector<Triangle> triangles;  ///< the three corners, 0-based vertex indices
  std::size_t attribute_count = 0;  ///< attributes per triangle
  std::vector<double> attributes;   ///< triangle j's at [j * attribute_count, ...)
};

/// A hole seed: the point from which the mesh generator eats away triangles up to the
/// enclosing segments.
struct TriangleHole {
  ///@{
  /// Plan position of the seed.
  double x = 0.0, y = 0.0;
  ///@}
};

/// A region seed: every triangle of the segment-bounded region around (x, y) gets
/// `attribute` and, when max_area is positive, no larger area than max_area (a
/// negative value means no constraint).
struct TriangleRegion {
  ///@{
  /// Plan position of the seed.
  double x = 0.0, y = 0.0;
  ///@}
  /// Attribute given to the region's triangles.
  double attribute = 0.0;
  /// Largest triangle area in the region; not positive means no constraint.
  double max_area = -1.0;
};

/// A planar straight-line graph as a .poly file holds it.
struct TrianglePoly {
  /// The vertices, from the .poly file or the .node file beside it.
  TriangleVertices vertices;
  /// True when the .poly file's vertex count was 0 and `vertices` came from the
  /// .node file beside it.
  bool vertices_from_node_file = false;
  std::vector<std::array<unsigned long long, 2>> segments;  ///< 0-based end points
  /// Whether the file gives segment markers.
  bool has_segment_markers = false;
  std::vector<long long> segment_markers;  ///< one per segment when has_segment_markers
  /// Hole seeds.
  std::vector<TriangleHole> holes;
  /// Region seeds.
  std::vector<TriangleRegion> regions;
};

/// Reads the .node file at `path`: the header "count dimension attributes markers"
/// (dimension 2 or 3; markers 0 or 1), then one line per vertex: its number, the
/// coordinates, `attributes` reals and, when markers is 1, an integer marker.
/// `vertices` is replaced by what the file holds. On error the result names the
/// fault and `vertices` is left empty (default-constructed): the file cannot be
/// opened, has no header, a header or vertex field is missing or does not parse, the
/// dimension is neither 2 nor 3, the markers flag is neither 0 nor 1, the first
/// vertex number is neither 0 nor 1, a vertex number breaks the count, or the file
/// ends before the vertices the header announces.
GRAVOK_API TriangleFileResult read_node_file(const std::string& path,
                                             TriangleVertices& vertices);

/// Reads the .ele file at `path` whose triangles index a vertex file of
/// `vertex_count` vertices numbered from `first_number` (0 or 1; take both from the
/// TriangleVertices read from the .node file). The header is "count
/// nodes_per_triangle attributes" with 3 or 6 nodes per triangle; each triangle line
/// is its number, its nodes (for 6, the three corners first, then the three
/// mid-edge nodes, as the mesh generator writes them) and `attributes` reals.
/// `elements` receives the three corners of each triangle, 0-based. On error
/// `elements` is left empty: the file cannot be opened, has no header, a field is
/// missing or does not parse, nodes per triangle is neither 3 nor 6, a node (corner
/// or mid-edge) names no vertex ("site.1.ele:7: triangle 5 names vertex 40, but there
/// are 30 vertices"), or the file ends before the triangles the header announces.
GRAVOK_API TriangleFileResult read_ele_file(const std::string& path,
                                            unsigned long long vertex_count,
                                            unsigned long long first_number,
                                            TriangleElements& elements);

/// Reads a .node and .ele pair as the library's indexed mesh: x and y are the
/// vertices' coordinates; z is the third coordinate of a 3-D vertex file, else the
/// first attribute of each vertex when the file has attributes, else 0.0 for every
/// vertex; triangles are the corners, 0-based. The pair that PolyFile::to_files
/// writes reads back whole (its z is the vertices' one attribute), as long as its
/// coordinates are finite and its triangles name its vertices. Errors are those
/// of read_node_file and read_ele_file, the .node file's first; all four outputs are
/// then empty. Outputs are replaced, not appended to.
GRAVOK_API TriangleFileResult read_node_ele_files(
    const std::string& node_path, const std::string& ele_path, std::vector<double>& x,
    std::vector<double>& y, std::vector<double>& z, std::vector<Triangle>& triangles);

/// Reads the .poly file at `path`: the vertex section as in a .node file, then the
/// segment header "count markers" and one line per segment: its number, its two end
/// points and, when markers is 1, an integer marker; then the hole count and one line
/// per hole: its number, x and y; then the region count and one line per region: its
/// number, x, y, attribute and maximum area (a missing maximum area reads as -1, no
/// constraint). The file may end after its segments (no holes, no regions) or after
/// its holes (no regions).
///
/// A vertex count of 0 means, as for the mesh generator, that the vertices are in the
/// .node file beside the .poly file: `path` with its extension ".poly" (or, without
/// that extension, the whole of `path`) followed by ".node". That file is read with
/// read_node_file, `vertices_from_node_file` is set, and segments index its vertices;
/// a fault in it is reported with its own path and line. A .poly file thus cannot
/// hold a graph without vertices, and write_poly_file refuses to write one.
///
/// `poly` is replaced by what the file holds. On error it is left empty: the faults of
/// read_node_file, a segment end point that names no vertex ("site.poly:12: segment 5
/// names vertex 40, but there are 30 vertices"), a missing or unparsable field, a
/// markers flag neither 0 nor 1, a section shorter than its count.
GRAVOK_API TriangleFileResult read_poly_file(const std::string& path, TrianglePoly& poly);

/// Writes `poly` to `path` (created or replaced) as a .poly file that read_poly_file
/// reads back to the same values: the vertex section with the vertices numbered from
/// poly.vertices.first_number, then the segments, holes and regions, each section
/// with its header. Reals are written in their shortest form that reads back to the
/// same double; -0.0 keeps its sign. The file always carries its own vertices (the
/// count is never 0), so vertices_from_node_file is not written.
///
/// Nothing is written, and the result names the first fault, when `poly` is not
/// consistent: no vertices; a dimension other than 2 or 3; first_number other than 0
/// or 1; y, z (for dimension 3), attributes, markers or segment_markers of the wrong
/// length; a segment end point not below the vertex count; a coordinate, attribute,
/// hole or region value that is infinite or NaN (no reader reads those back). The
/// result's `line` is then 0. A file that cannot be created or written is an error
/// too; a failed write may leave the file as far as it got.
GRAVOK_API TriangleFileResult write_poly_file(const std::string& path,
                                              const TrianglePoly& poly);

}  // namespace gvk

#endif  // GRAVOK_TRIANGLE_FILES_H
