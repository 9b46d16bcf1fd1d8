// An estimate of earthwork volumes that shares nothing with the library's overlay:
// both surfaces are sampled at the centres of a square grid of cells, each sample
// located by scanning the cells that every triangle's box covers, and the
// difference is summed by the midpoint rule. Its error shrinks with the cell size,
// so it shows that the exact figures are the limit of a plain method.
#ifndef GRAVOK_TESTS_VOLUME_SAMPLING_H
#define GRAVOK_TESTS_VOLUME_SAMPLING_H

#include <gravok/records.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace sampling {

// k x k cells of side `side / k` from (x0, y0).
struct Window {
  double x0, y0, side;
  int k;
};

// The height of the mesh at each cell centre (row by row), NaN where no triangle
// covers it.
inline std::vector<double> heights(const std::vector<double>& x,
                                   const std::vector<double>& y,
                                   const std::vector<double>& z,
                                   const std::vector<gvk::Triangle>& triangles,
                                   const Window& w) {
  const int k = w.k;
  std::vector<double> at(static_cast<std::size_t>(k) * k,
                         std::numeric_limits<double>::quiet_NaN());
  const double h = w.side / k;
  const auto cell = [&](double v, double v0) {
    return static_cast<int>(std::floor((v - v0) / h));
  };
  for (const gvk::Triangle& t : triangles) {
    const double ax = x[t[0]], ay = y[t[0]], bx = x[t[1]], by = y[t[1]], cx = x[t[2]],
                 cy = y[t[2]];
    const double det = (bx - ax) * (cy - ay) - (cx - ax) * (by - ay);
    if (det == 0) continue;
    const int i0 = std::max(0, cell(std::min({ax, bx, cx}), w.x0));
    const int i1 = std::min(k - 1, cell(std::max({ax, bx, cx}), w.x0));
    const int j0 = std::max(0, cell(std::min({ay, by, cy}), w.y0));
    const int j1 = std::min(k - 1, cell(std::max({ay, by, cy}), w.y0));
    for (int j = j0; j <= j1; ++j) {
      for (int i = i0; i <= i1; ++i) {
        const double px = w.x0 + (i + 0.5) * h, py = w.y0 + (j + 0.5) * h;
        const double u = ((px - ax) * (cy - ay) - (cx - ax) * (py - ay)) / det;
        const double v = ((bx - ax) * (py - ay) - (px - ax) * (by - ay)) / det;
        if (u < 0 || v < 0 || u + v > 1) continue;
        at[static_cast<std::size_t>(j) * k + i] =
            z[t[0]] + u * (z[t[1]] - z[t[0]]) + v * (z[t[2]] - z[t[0]]);
      }
    }
  }
  return at;
}

struct CutFill {
  double cut = 0, fill = 0, area = 0;
};

inline CutFill cut_fill(const std::vector<double>& bx, const std::vector<double>& by,
                        const std::vector<double>& bz,
                        const std::vector<gvk::Triangle>& bt,
                        const std::vector<double>& tx, const std::vector<double>& ty,
                        const std::vector<double>& tz,
                        const std::vector<gvk::Triangle>& tt, const Window& w) {
  const std::vector<double> base = heights(bx, by, bz, bt, w);
  const std::vector<double> top = heights(tx, ty, tz, tt, w);
  const double cell = (w.side / w.k) * (w.side / w.k);
  CutFill s;
  for (std::size_t i = 0; i < base.size(); ++i) {
    const double d = top[i] - base[i];
    if (std::isnan(d)) continue;
    (d > 0 ? s.fill : s.cut) += std::abs(d) * cell;
    s.area += cell;
  }
  return s;
}

}  // namespace sampling

#endif  // GRAVOK_TESTS_VOLUME_SAMPLING_H
