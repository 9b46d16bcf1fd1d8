#include "plot_cutfill.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace gravok_tool {
namespace {

bool drawable(const gvk::Mesh& mesh, const gvk::Triangle& t) {
  const std::size_t n = std::min({mesh.x.size(), mesh.y.size(), mesh.z.size()});
  for (unsigned long long v : t) {
    if (v >= n || !std::isfinite(mesh.x[v]) || !std::isfinite(mesh.y[v]) ||
        !std::isfinite(mesh.z[v]))
      return false;
  }
  return true;
}

// The mesh's height at each pixel centre, NaN outside its triangles.
std::vector<double> heights(const gvk::Mesh& mesh, const PageMap& map, double ppu,
                            int width, int height) {
  std::vector<double> z(static_cast<std::size_t>(width) * height,
                        std::numeric_limits<double>::quiet_NaN());
  for (const gvk::Triangle& t : mesh.triangles) {
    if (!drawable(mesh, t)) continue;
    double px[3], py[3], pz[3];
    for (int k = 0; k < 3; ++k) {
      px[k] = (map.px(mesh.x[t[k]]) - map.left) * ppu;
      py[k] = (map.py(mesh.y[t[k]]) - map.top) * ppu;
      pz[k] = mesh.z[t[k]];
    }
    const double area =
        (px[1] - px[0]) * (py[2] - py[0]) - (px[2] - px[0]) * (py[1] - py[0]);
    if (area == 0.0 || !std::isfinite(area)) continue;
    const auto clamp_to = [](double v, int most) {
      return static_cast<int>(std::clamp(v, 0.0, static_cast<double>(most)));
    };
    const int i0 = clamp_to(std::floor(std::min({px[0], px[1], px[2]}) - 0.5), width - 1);
    const int i1 = clamp_to(std::ceil(std::max({px[0], px[1], px[2]}) - 0.5), width - 1);
    const int j0 =
        clamp_to(std::floor(std::min({py[0], py[1], py[2]}) - 0.5), height - 1);
    const int j1 = clamp_to(std::ceil(std::max({py[0], py[1], py[2]}) - 0.5), height - 1);
    for (int j = j0; j <= j1; ++j) {
      const double cy = j + 0.5;
      for (int i = i0; i <= i1; ++i) {
        const double cx = i + 0.5;
        const double w0 =
            ((px[1] - cx) * (py[2] - cy) - (px[2] - cx) * (py[1] - cy)) / area;
        const double w1 =
            ((px[2] - cx) * (py[0] - cy) - (px[0] - cx) * (py[2] - cy)) / area;
        const double w2 = 1.0 - w0 - w1;
        if (w0 < -1e-9 || w1 < -1e-9 || w2 < -1e-9) continue;
        z[static_cast<std::size_t>(j) * width + i] = w0 * pz[0] + w1 * pz[1] + w2 * pz[2];
      }
    }
  }
  return z;
}

std::uint32_t pack(const double rgb[3]) {
  std::uint32_t word = 0xFF000000u;
  for (int c = 0; c < 3; ++c) {
    const double v = std::clamp(rgb[c], 0.0, 1.0);
    word |= static_cast<std::uint32_t>(std::lround(v * 255.0)) << (16 - 8 * c);
  }
  return word;
}

// Where the difference is zero on the edge from value a to value b, as a share of it.
double crossing(double a, double b) { return a / (a - b); }

}  // namespace

Difference sample_difference(const gvk::Mesh& base, const gvk::Mesh& top,
                             const PageMap& map, double pixels_per_unit, int width,
                             int height) {
  Difference result;
  result.width = width;
  result.height = height;
  result.d = heights(base, map, pixels_per_unit, width, height);
  const std::vector<double> above = heights(top, map, pixels_per_unit, width, height);
  double limit = 0.0;
  for (std::size_t k = 0; k < result.d.size(); ++k) {
    result.d[k] = above[k] - result.d[k];
    if (std::isfinite(result.d[k])) limit = std::max(limit, std::fabs(result.d[k]));
  }
  result.limit = limit > 0.0 ? limit : 1.0;
  return result;
}

void difference_colour(double t, double rgb[3]) {
  t = std::clamp(t, -1.0, 1.0);
  static const double kCut[3] = {0.72, 0.16, 0.05};
  static const double kFill[3] = {0.05, 0.32, 0.72};
  static const double kZero[3] = {0.97, 0.96, 0.92};
  const double* hue = t < 0.0 ? kCut : kFill;
  const double share = std::pow(std::fabs(t), 0.7);
  for (int c = 0; c < 3; ++c) rgb[c] = kZero[c] + share * (hue[c] - kZero[c]);
}

std::vector<unsigned> shade_difference(const Difference& difference) {
  std::vector<unsigned> pixels(difference.d.size(), 0u);
  for (std::size_t k = 0; k < pixels.size(); ++k) {
    if (!std::isfinite(difference.d[k])) continue;
    double rgb[3];
    difference_colour(difference.d[k] / difference.limit, rgb);
    pixels[k] = pack(rgb);
  }
  return pixels;
}

std::vector<double> trace_zero_line(const Difference& difference, const PageMap& map,
                                    double pixels_per_unit) {
  std::vector<double> lines;
  const int w = difference.width;
  const auto at = [&](int i, int j) {
    return difference.d[static_cast<std::size_t>(j) * w + i];
  };
  const auto page_x = [&](double i) { return map.left + (i + 0.5) / pixels_per_unit; };
  const auto page_y = [&](double j) { return map.top + (j + 0.5) / pixels_per_unit; };
  for (int j = 0; j + 1 < difference.height; ++j) {
    for (int i = 0; i + 1 < w; ++i) {
      // Corners counter-clockwise on the page: (i, j), (i+1, j), (i+1, j+1), (i, j+1).
      const double v[4] = {at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)};
      if (!std::isfinite(v[0]) || !std::isfinite(v[1]) || !std::isfinite(v[2]) ||
          !std::isfinite(v[3]))
        continue;
      const double ci[4] = {0, 1, 1, 0}, cj[4] = {0, 0, 1, 1};
      double points[8];
      int found = 0;
      for (int e = 0; e < 4 && found < 4; ++e) {
        const int f = (e + 1) % 4;
        if ((v[e] >= 0.0) == (v[f] >= 0.0)) continue;
        const double s = crossing(v[e], v[f]);
        points[2 * found] = page_x(i + ci[e] + s * (ci[f] - ci[e]));
        points[2 * found + 1] = page_y(j + cj[e] + s * (cj[f] - cj[e]));
        ++found;
      }
      // Two crossings make one segment; four (a saddle) make two, paired in order.
      for (int k = 0; k + 1 < found; k += 2) {
        lines.insert(lines.end(), {points[2 * k], points[2 * k + 1], points[2 * k + 2],
                                   points[2 * k + 3]});
      }
    }
  }
  return lines;
}

}  // namespace gravok_tool
