// read_poly_file: vertices (or the .node file beside), segments, holes and regions.
#include <gravok/triangle_files.h>

#include "node_reader.h"
#include "triangle_lines.h"

#include <string>
#include <utility>

namespace gvk {
namespace {

// The .node file that holds the vertices of a .poly file whose vertex count is 0.
std::string node_file_beside(const std::string& poly_path) {
  const std::string suffix = ".poly";
  const bool has_suffix =
      poly_path.size() >= suffix.size() &&
      poly_path.compare(poly_path.size() - suffix.size(), suffix.size(), suffix) == 0;
  return (has_suffix ? poly_path.substr(0, poly_path.size() - suffix.size())
                     : poly_path) +
         ".node";
}

TriangleFileResult read_vertices(TriangleLines& lines, const std::string& path,
                                 TrianglePoly& poly) {
  if (!lines.next()) return lines.file_fault("the file holds no header line");
  unsigned long long count = 0;
  TriangleFileResult result = read_vertex_header(lines, count, poly.vertices);
  if (!result) return result;
  if (count != 0) return read_vertex_lines(lines, count, lines.line(), poly.vertices);
  poly.vertices_from_node_file = true;
  return read_node_file(node_file_beside(path), poly.vertices);
}

TriangleFileResult read_segments(TriangleLines& lines, TrianglePoly& poly) {
  if (!lines.next()) return lines.file_fault("the file ends before its segment header");
  unsigned long long count = 0;
  unsigned long long markers = 0;
  if (!lines.count(count) || (lines.has_field() && !lines.count(markers))) {
    return lines.fault("the segment header is not \"count markers\" in integers");
  }
  if (markers > 1) {
    return lines.fault("the segment marker flag is " + std::to_string(markers) +
                       "; it must be 0 or 1");
  }
  poly.has_segment_markers = markers == 1;
  const unsigned long long header_line = lines.line();
  const TriangleVertices& v = poly.vertices;
  for (unsigned long long k = 0; k < count; ++k) {
    if (!lines.next()) return short_section(lines, header_line, count, k, "segments");
    long long number = 0;
    if (!lines.integer(number)) {
      return lines.fault("the segment number is missing or does not parse");
    }
    const std::string name = "segment " + std::to_string(number);
    std::array<unsigned long long, 2> ends{};
    TriangleFileResult fault;
    for (unsigned long long& end : ends) {
      if (!read_vertex_index(lines, v.x.size(), v.first_number, name, end, fault)) {
        return fault;
      }
    }
    poly.segments.push_back(ends);
    long long marker = 0;
    if (poly.has_segment_markers) {
      if (!lines.integer(marker)) {
        return lines.fault(name + ": the boundary marker is missing or does not parse");
      }
      poly.segment_markers.push_back(marker);
    }
  }
  return TriangleFileResult{};
}

// Reads `fields` reals after the number of each of `count` lines into `out`, the
// last `optional` of them defaulting to what `out` holds.
template <std::size_t N>
TriangleFileResult read_seeds(TriangleLines& lines, const char* what,
                              const char* const (&names)[N], std::size_t optional,
                              std::vector<std::array<double, N>>& out,
                              const std::array<double, N>& defaults) {
  unsigned long long count = 0;
  if (!lines.count(count)) {
    return lines.fault(std::string("the ") + what +
                       " header does not start with a count");
  }
  const unsigned long long header_line = lines.line();
  for (unsigned long long k = 0; k < count; ++k) {
    if (!lines.next()) {
      return short_section(lines, header_line, count, k,
                           (std::string(what) + "s").c_str());
    }
    long long number = 0;
    if (!lines.integer(number)) {
      return lines.fault(std::string("the ") + what +
                         " number is missing or does not parse");
    }
    std::array<double, N> seed = defaults;
    for (std::size_t f = 0; f < N; ++f) {
      if (f >= N - optional && !lines.has_field()) break;
      if (!lines.real(seed[f])) {
        return lines.fault(std::string(what) + " " + std::to_string(number) + ": " +
                           names[f] + " is missing or does not parse");
      }
    }
    out.push_back(seed);
  }
  return TriangleFileResult{};
}

TriangleFileResult read_holes_and_regions(TriangleLines& lines, TrianglePoly& poly) {
  if (!lines.next()) return TriangleFileResult{};
  static const char* const hole_fields[] = {"x", "y"};
  std::vector<std::array<double, 2>> holes;
  TriangleFileResult result =
      read_seeds(lines, "hole", hole_fields, 0, holes, std::array<double, 2>{});
  for (const std::array<double, 2>& h : holes) poly.holes.push_back({h[0], h[1]});
  if (!result || !lines.next()) return result;
  static const char* const region_fields[] = {"x", "y", "the attribute",
                                              "the maximum area"};
  std::vector<std::array<double, 4>> regions;
  result = read_seeds(lines, "region", region_fields, 1, regions,
                      std::array<double, 4>{0.0, 0.0, 0.0, -1.0});
  for (const std::array<double, 4>& r : regions) {
    poly.regions.push_back({r[0], r[1], r[2], r[3]});
  }
  return result;
}

}  // namespace

TriangleFileResult read_poly_file(const std::string& path, TrianglePoly& poly) {
  poly = TrianglePoly{};
  TriangleLines lines(path);
  if (!lines.opened()) return lines.file_fault("cannot open the file");
  TrianglePoly read;
  TriangleFileResult result = read_vertices(lines, path, read);
  if (result) result = read_segments(lines, read);
  if (result) result = read_holes_and_regions(lines, read);
  if (result) poly = std::move(read);
  return result;
}

}  // namespace gvk
