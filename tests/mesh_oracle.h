// Literal reference versions of the mesh tools, written as directly as possible on
// the standard library: the plan index is a std::map over vertex indices whose order
// reads the caller's coordinates, looked up with lower_bound and extended with
// emplace_hint at that lower bound. The library must agree with these bit for bit.
// Test and benchmark code only.
#ifndef GRAVOK_TESTS_MESH_ORACLE_H
#define GRAVOK_TESTS_MESH_ORACLE_H

#include <gravok/records.h>

#include <cstddef>
#include <map>
#include <memory_resource>
#include <utility>
#include <vector>

namespace oracle {

// The plan-tolerance order on vertex indices.
struct PlanOrder {
  const std::vector<double>* x;
  const std::vector<double>* y;
  double t;
  bool operator()(unsigned long long a, unsigned long long b) const {
    const std::vector<double>& xs = *x;
    const std::vector<double>& ys = *y;
    if (xs[b] - t > xs[a]) return true;
    if (xs[a] > xs[b] + t) return false;
    return ys[b] - t > ys[a];
  }
};

// The order is not a strict weak order, and a hinted insert may then replace a leaf
// of the map, which drops out of it. The nodes live in an arena that is released as
// a whole, so such a node is not leaked.
inline void reindex_mesh(std::vector<double>& x, std::vector<double>& y,
                         std::vector<double>& z, std::vector<gvk::Triangle>& triangles,
                         double tolerance) {
  if (!(tolerance >= 0.0)) return;  // the library's documented choice
  const std::size_t n = x.size();
  std::vector<unsigned long long> new_index(n, 0);
  const PlanOrder order{&x, &y, tolerance};
  std::pmr::monotonic_buffer_resource arena;
  std::pmr::map<unsigned long long, unsigned long long, PlanOrder> index(order, &arena);
  std::vector<double> out_x, out_y, out_z;
  for (unsigned long long i = 0; i < n; ++i) {
    const auto bound = index.lower_bound(i);
    if (bound != index.end() && !order(i, bound->first)) {
      new_index[i] = bound->second;
      continue;
    }
    const unsigned long long m = out_x.size();
    index.emplace_hint(bound, i, m);
    new_index[i] = m;
    out_x.push_back(x[i]);
    out_y.push_back(y[i]);
    out_z.push_back(z[i]);
  }
  x = std::move(out_x);
  y = std::move(out_y);
  z = std::move(out_z);
  for (gvk::Triangle& triangle : triangles) {
    for (unsigned long long& k : triangle) k = new_index[k];
  }
}

inline void remove_unused_vertices(std::vector<double>& x, std::vector<double>& y,
                                   std::vector<double>& z,
                                   std::vector<gvk::Triangle>& triangles) {
  std::vector<unsigned long long> table(x.size(), 0);  // 1 for a referenced vertex
  for (const gvk::Triangle& triangle : triangles) {
    for (unsigned long long k : triangle) table[k] = 1;
  }
  std::size_t j = 0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (table[i] == 0) continue;
    x[j] = x[i];
    y[j] = y[i];
    z[j] = z[i];
    table[i] = j++;  // from here on, the vertex's new index
  }
  x.resize(j);
  y.resize(j);
  z.resize(j);
  for (gvk::Triangle& triangle : triangles) {
    for (unsigned long long& k : triangle) k = table[k];
  }
}

}  // namespace oracle

#endif  // GRAVOK_TESTS_MESH_ORACLE_H
