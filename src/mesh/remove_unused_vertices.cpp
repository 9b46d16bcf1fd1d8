// Removal of vertices that no triangle references.
#include <gravok/mesh_tools.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace gvk {
namespace {

// Marks every referenced vertex with 1; returns how many there are.
template <typename Index>
std::size_t mark_referenced(const std::vector<Triangle>& triangles,
                            std::vector<Index>& table) {
  std::size_t referenced = 0;
  for (const Triangle& triangle : triangles) {
    for (unsigned long long corner : triangle) {
      if (table[corner] != 0) continue;
      table[corner] = 1;
      ++referenced;
    }
  }
  return referenced;
}

// Moves the marked vertices down over the gaps; their table entries become their
// new indices.
template <typename Index>
void compact_marked(std::vector<double>& x, std::vector<double>& y,
                    std::vector<double>& z, std::vector<Index>& table) {
  double* const xs = x.data();  // held in registers across the stores below
  double* const ys = y.data();
  double* const zs = z.data();
  std::size_t next = 0;
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (table[i] == 0) continue;
    xs[next] = xs[i];
    ys[next] = ys[i];
    zs[next] = zs[i];
    table[i] = static_cast<Index>(next++);
  }
}

template <typename Index>
void remove_unused_with(std::vector<double>& x, std::vector<double>& y,
                        std::vector<double>& z, std::vector<Triangle>& triangles) {
  std::vector<Index> table(x.size(), 0);
  const std::size_t referenced = mark_referenced(triangles, table);
  compact_marked(x, y, z, table);
  x.resize(referenced);
  y.resize(referenced);
  z.resize(referenced);
  for (Triangle& triangle : triangles) {
    for (unsigned long long& corner : triangle) corner = table[corner];
  }
}

}  // namespace

void remove_unused_vertices(std::vector<double>& x, std::vector<double>& y,
                            std::vector<double>& z, std::vector<Triangle>& triangles) {
  // A 32-bit table while every vertex index fits in it: half the memory traffic.
  if (x.size() <= std::numeric_limits<std::uint32_t>::max()) {
    remove_unused_with<std::uint32_t>(x, y, z, triangles);
  } else {
    remove_unused_with<unsigned long long>(x, y, z, triangles);
  }
}

}  // namespace gvk
