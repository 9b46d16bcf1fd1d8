// Fuzz target for reindex_mesh and remove_unused_vertices: on any small well-formed
// mesh (y and z as long as x, every index in range) and any tolerance, the library
// gives bit for bit what the literal ordered-map versions give, first for the weld,
// then for the removal of the vertices the welded mesh no longer uses.
#include <gravok/mesh_tools.h>

#include "../tests/bit_patterns.h"
#include "../tests/mesh_oracle.h"
#include "fuzzed_mesh.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void same(const fuzzed::Mesh& a, const fuzzed::Mesh& b) {
  if (bit_patterns(a.x) != bit_patterns(b.x) || bit_patterns(a.y) != bit_patterns(b.y) ||
      bit_patterns(a.z) != bit_patterns(b.z) || a.triangles != b.triangles) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzzed::Bytes in(data, size);
  fuzzed::Mesh actual = fuzzed::mesh(in, true);
  fuzzed::Mesh expected = actual;

  gvk::reindex_mesh(actual.x, actual.y, actual.z, actual.triangles, actual.tolerance);
  oracle::reindex_mesh(expected.x, expected.y, expected.z, expected.triangles,
                       expected.tolerance);
  same(actual, expected);

  gvk::remove_unused_vertices(actual.x, actual.y, actual.z, actual.triangles);
  oracle::remove_unused_vertices(expected.x, expected.y, expected.z, expected.triangles);
  same(actual, expected);
  return 0;
}
