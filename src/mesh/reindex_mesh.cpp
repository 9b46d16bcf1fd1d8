// Welding of vertices that coincide in plan, on the shared representative index
// (plan_index.h, which says why it copies the standard ordered map step for step).
#include <gravok/mesh_tools.h>

#include "plan_index.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace gvk {
namespace {

// Moves each representative (the vertices whose new index is the next one to be
// handed out) to its new place and drops the rest, releasing the spare storage.
template <typename Link>
void keep_representatives(std::vector<double>& x, std::vector<double>& y,
                          std::vector<double>& z, const std::vector<Link>& new_index) {
  double* const xs = x.data();  // held in registers across the stores below
  double* const ys = y.data();
  double* const zs = z.data();
  std::size_t kept = 0;
  for (std::size_t i = 0; i < new_index.size(); ++i) {
    if (new_index[i] != kept) continue;
    xs[kept] = xs[i];
    ys[kept] = ys[i];
    zs[kept] = zs[i];
    ++kept;
  }
  for (std::vector<double>* v : {&x, &y, &z}) {
    v->resize(kept);
    v->shrink_to_fit();
  }
}

template <typename Link>
void reindex_with(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                  std::vector<Triangle>& triangles, double tolerance) {
  std::vector<Link> new_index(x.size());
  {
    PlanIndex<Link> index(x, y, tolerance);
    for (std::size_t i = 0; i < new_index.size(); ++i) new_index[i] = index.place(i);
  }
  keep_representatives(x, y, z, new_index);
  for (Triangle& triangle : triangles) {
    for (unsigned long long& corner : triangle) corner = new_index[corner];
  }
}

}  // namespace

void reindex_mesh(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                  std::vector<Triangle>& triangles, double tolerance) {
  if (!(tolerance >= 0.0)) return;  // negative or NaN: the order would be unusable
  // 32-bit links while every slot number (vertex count + 2) fits in them.
  if (plan_index_fits_32_bits(x.size())) {
    reindex_with<std::uint32_t>(x, y, z, triangles, tolerance);
  } else {
    reindex_with<unsigned long long>(x, y, z, triangles, tolerance);
  }
}

}  // namespace gvk
