// Fuzz target for the readers of gravok/triangle_files.h: any bytes, read as a .node,
// an .ele, a .node/.ele pair and a .poly file (whose vertex count 0 sends it to the
// same bytes as its .node file), never crash, and a fault always comes with a
// message that names the file. A graph that reads is written with write_poly_file
// and must read back to the same values; a failed round trip aborts.
#include <gravok/triangle_files.h>

#include "../tests/triangle_poly_equal.h"

#include <cstddef>
#include <cstdint>
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

void check(const gvk::TriangleFileResult& result) {
  if (!result.ok && (result.path.empty() || result.message.rfind(result.path, 0) != 0)) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string node = stem() + ".node";
  const std::string poly = stem() + ".poly";
  write(node, data, size);
  write(poly, data, size);

  gvk::TriangleVertices vertices;
  check(gvk::read_node_file(node, vertices));
  gvk::TriangleElements elements;
  check(gvk::read_ele_file(node, size % 64, size % 2, elements));
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  check(gvk::read_node_ele_files(node, node, x, y, z, triangles));

  gvk::TrianglePoly read;
  const gvk::TriangleFileResult result = gvk::read_poly_file(poly, read);
  check(result);
  if (!result || read.vertices.x.empty()) return 0;
  const std::string copy = stem() + ".copy.poly";
  gvk::TrianglePoly again;
  if (!gvk::write_poly_file(copy, read) || !gvk::read_poly_file(copy, again) ||
      !same_poly(again, read)) {
    std::abort();
  }
  return 0;
}
