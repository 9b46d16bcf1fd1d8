// Whether two graphs read or written through gravok/triangle_files.h hold the same
// values, doubles compared by their bit patterns (-0.0 differs from 0.0). The flag
// vertices_from_node_file is not compared: it says where the vertices came from.
// Test and fuzz code only.
#ifndef GRAVOK_TESTS_TRIANGLE_POLY_EQUAL_H
#define GRAVOK_TESTS_TRIANGLE_POLY_EQUAL_H

#include <gravok/triangle_files.h>

#include "bit_patterns.h"

#include <vector>

inline std::vector<double> flattened(const gvk::TrianglePoly& p) {
  std::vector<double> out;
  for (const gvk::TriangleHole& h : p.holes) out.insert(out.end(), {h.x, h.y});
  for (const gvk::TriangleRegion& r : p.regions) {
    out.insert(out.end(), {r.x, r.y, r.attribute, r.max_area});
  }
  return out;
}

inline bool same_poly(const gvk::TrianglePoly& a, const gvk::TrianglePoly& b) {
  const gvk::TriangleVertices& u = a.vertices;
  const gvk::TriangleVertices& v = b.vertices;
  return u.dimension == v.dimension && u.first_number == v.first_number &&
         bit_patterns(u.x) == bit_patterns(v.x) &&
         bit_patterns(u.y) == bit_patterns(v.y) &&
         bit_patterns(u.z) == bit_patterns(v.z) &&
         u.attribute_count == v.attribute_count &&
         bit_patterns(u.attributes) == bit_patterns(v.attributes) &&
         u.has_markers == v.has_markers && u.markers == v.markers &&
         a.segments == b.segments && a.has_segment_markers == b.has_segment_markers &&
         a.segment_markers == b.segment_markers && a.holes.size() == b.holes.size() &&
         a.regions.size() == b.regions.size() &&
         bit_patterns(flattened(a)) == bit_patterns(flattened(b));
}

#endif  // GRAVOK_TESTS_TRIANGLE_POLY_EQUAL_H
