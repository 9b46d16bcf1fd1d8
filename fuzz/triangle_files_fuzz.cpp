// Fuzz target for the readers of gravok/triangle_files.h: any bytes, read as a .node,
// an .ele, a .node/.ele pair and a .poly file (whose vertex count 0 sends it to the
// same bytes as its .node file), never crash, and the readers agree with each other
// and with their documented promises:
// - a fault comes with a message that starts with the file's path, and leaves the
//   outputs empty;
// - read_node_ele_files succeeds exactly when read_node_file and then read_ele_file
//   (with the vertex file's count and numbering) do, and its mesh is theirs: x and y
//   the vertices, z the third coordinate, else the first attribute, else 0;
// - every triangle corner and segment end point names a vertex that was read;
// - a .poly file that carries its own vertices reads them as read_node_file reads the
//   same bytes;
// - a graph that reads is written with write_poly_file and reads back the same.
#include <gravok/triangle_files.h>

#include "../tests/bit_patterns.h"
#include "../tests/triangle_poly_equal.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

const std::string& stem() {
  static const std::string path =
      "gravok-tri-fuzz-" + std::to_string(reinterpret_cast<std::uintptr_t>(&path));
  return path;
}

void write(const std::string& path, const std::uint8_t* data, std::size_t size) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

// Names the failed check's line before aborting, so that a finding reads at once.
void check(bool ok, int line = __builtin_LINE()) {
  if (ok) return;
  std::fprintf(stderr, "triangle_files_fuzz.cpp:%d: check failed\n", line);
  std::abort();
}

void check(const gvk::TriangleFileResult& result, int line = __builtin_LINE()) {
  check(result.ok || (!result.path.empty() && result.message.rfind(result.path, 0) == 0),
        line);
}

bool empty(const gvk::TriangleVertices& v) {
  return v.x.empty() && v.y.empty() && v.z.empty() && v.attributes.empty() &&
         v.markers.empty();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string node = stem() + ".node";
  const std::string poly = stem() + ".poly";
  write(node, data, size);
  write(poly, data, size);

  gvk::TriangleVertices vertices;
  const gvk::TriangleFileResult node_result = gvk::read_node_file(node, vertices);
  check(node_result);
  check(node_result || empty(vertices));
  const std::size_t n = vertices.x.size();
  if (node_result) {
    check(vertices.y.size() == n &&
          vertices.z.size() == (vertices.dimension == 3 ? n : 0));
    check(vertices.attributes.size() == n * vertices.attribute_count);
    check(vertices.markers.size() == (vertices.has_markers ? n : 0));
  }

  // The same bytes as the triangles of the vertex file just read (or of an arbitrary
  // one when it did not read).
  const unsigned long long count = node_result ? n : size % 64;
  const unsigned long long first = node_result ? vertices.first_number : size % 2;
  gvk::TriangleElements elements;
  const gvk::TriangleFileResult ele_result =
      gvk::read_ele_file(node, count, first, elements);
  check(ele_result);
  check(ele_result || (elements.triangles.empty() && elements.attributes.empty()));
  for (const gvk::Triangle& t : elements.triangles) {
    for (unsigned long long k : t) check(k < count);
  }

  std::vector<double> x{1.0}, y{1.0}, z{1.0};
  std::vector<gvk::Triangle> triangles{{0, 0, 0}};
  const gvk::TriangleFileResult pair =
      gvk::read_node_ele_files(node, node, x, y, z, triangles);
  check(pair);
  check(pair.ok == (node_result.ok && ele_result.ok));
  if (!pair) {
    check(x.empty() && y.empty() && z.empty() && triangles.empty());
  } else {
    std::vector<double> expected_z(n, 0.0);
    if (vertices.dimension == 3) {
      expected_z = vertices.z;
    } else if (vertices.attribute_count > 0) {
      for (std::size_t i = 0; i < n; ++i) {
        expected_z[i] = vertices.attributes[i * vertices.attribute_count];
      }
    }
    check(bit_patterns(x) == bit_patterns(vertices.x) &&
          bit_patterns(y) == bit_patterns(vertices.y) &&
          bit_patterns(z) == bit_patterns(expected_z) && triangles == elements.triangles);
  }

  gvk::TrianglePoly read;
  const gvk::TriangleFileResult result = gvk::read_poly_file(poly, read);
  check(result);
  if (!result) {
    check(empty(read.vertices) && read.segments.empty() && read.holes.empty() &&
          read.regions.empty());
    return 0;
  }
  for (const auto& segment : read.segments) {
    for (unsigned long long k : segment) check(k < read.vertices.x.size());
  }
  if (!read.vertices_from_node_file) {
    gvk::TrianglePoly as_node;
    as_node.vertices = vertices;
    gvk::TrianglePoly only_vertices;
    only_vertices.vertices = read.vertices;
    check(node_result.ok && same_poly(as_node, only_vertices));
  }
  if (read.vertices.x.empty()) return 0;
  const std::string copy = stem() + ".copy.poly";
  gvk::TrianglePoly again;
  check(gvk::write_poly_file(copy, read).ok && gvk::read_poly_file(copy, again).ok &&
        same_poly(again, read));
  return 0;
}
