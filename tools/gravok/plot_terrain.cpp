#include "plot_terrain.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace gravok_tool {
namespace {

bool drawable(const gvk::Mesh& mesh, const gvk::Triangle& t) {
  const std::size_t n = std::min({mesh.x.size(), mesh.y.size(), mesh.z.size()});
  for (unsigned long long v : t) {
    if (v >= n) return false;
    if (!std::isfinite(mesh.x[v]) || !std::isfinite(mesh.y[v]) ||
        !std::isfinite(mesh.z[v]))
      return false;
  }
  return true;
}

// The light that a triangle's slope receives from the north-west, 45 degrees above
// the horizon: about 1 on flat ground, brighter on slopes facing the light, darker
// on slopes facing away. `exaggeration` stretches elevations so gentle relief shows.
double light(const gvk::Mesh& mesh, const gvk::Triangle& t, double exaggeration) {
  const double ax = mesh.x[t[1]] - mesh.x[t[0]], ay = mesh.y[t[1]] - mesh.y[t[0]];
  const double az = (mesh.z[t[1]] - mesh.z[t[0]]) * exaggeration;
  const double bx = mesh.x[t[2]] - mesh.x[t[0]], by = mesh.y[t[2]] - mesh.y[t[0]];
  const double bz = (mesh.z[t[2]] - mesh.z[t[0]]) * exaggeration;
  double nx = ay * bz - az * by, ny = az * bx - ax * bz, nz = ax * by - ay * bx;
  const double length = std::sqrt(nx * nx + ny * ny + nz * nz);
  if (!(length > 0.0) || !std::isfinite(length)) return 1.0;
  if (nz < 0.0) nx = -nx, ny = -ny, nz = -nz;
  const double lit = (-nx * 0.5 + ny * 0.5 + nz * 0.70710678) / length;
  return std::clamp(0.3 + 0.75 * lit, 0.35, 1.25);
}

std::uint32_t pack(const double rgb[3], double shade) {
  std::uint32_t word = 0xFF000000u;
  for (int c = 0; c < 3; ++c) {
    const double v = std::clamp(rgb[c] * shade, 0.0, 1.0);
    word |= static_cast<std::uint32_t>(std::lround(v * 255.0)) << (16 - 8 * c);
  }
  return word;
}

struct RasterCorner {
  double x, y, z;
};

void fill_triangle(const std::array<RasterCorner, 3>& c, const Ground& ground,
                   double shade, int width, int height, std::vector<unsigned>& pixels) {
  const double area =
      (c[1].x - c[0].x) * (c[2].y - c[0].y) - (c[2].x - c[0].x) * (c[1].y - c[0].y);
  if (area == 0.0 || !std::isfinite(area)) return;
  const double left = std::min({c[0].x, c[1].x, c[2].x});
  const double right = std::max({c[0].x, c[1].x, c[2].x});
  const double top = std::min({c[0].y, c[1].y, c[2].y});
  const double bottom = std::max({c[0].y, c[1].y, c[2].y});
  const int i0 = static_cast<int>(std::clamp(std::floor(left - 0.5), 0.0, width - 1.0));
  const int i1 = static_cast<int>(std::clamp(std::ceil(right - 0.5), 0.0, width - 1.0));
  const int j0 = static_cast<int>(std::clamp(std::floor(top - 0.5), 0.0, height - 1.0));
  const int j1 = static_cast<int>(std::clamp(std::ceil(bottom - 0.5), 0.0, height - 1.0));
  const double range = ground.z_max - ground.z_min;
  constexpr double kEdge = -1e-9;
  for (int j = j0; j <= j1; ++j) {
    const double py = j + 0.5;
    for (int i = i0; i <= i1; ++i) {
      const double px = i + 0.5;
      const double w0 =
          ((c[1].x - px) * (c[2].y - py) - (c[2].x - px) * (c[1].y - py)) / area;
      const double w1 =
          ((c[2].x - px) * (c[0].y - py) - (c[0].x - px) * (c[2].y - py)) / area;
      const double w2 = 1.0 - w0 - w1;
      if (w0 < kEdge || w1 < kEdge || w2 < kEdge) continue;
      const double z = w0 * c[0].z + w1 * c[1].z + w2 * c[2].z;
      double rgb[3];
      ramp_colour(range > 0.0 ? (z - ground.z_min) / range : 0.5, rgb);
      pixels[static_cast<std::size_t>(j) * width + i] = pack(rgb, shade);
    }
  }
}

// The crossing of the level with the edge from a to b, which it is known to cross.
void cross(const gvk::Mesh& mesh, const PageMap& map, unsigned long long a,
           unsigned long long b, double za, double zb, double level,
           std::vector<double>& out) {
  const double t = (level - za) / (zb - za);
  out.push_back(map.px(mesh.x[a] + t * (mesh.x[b] - mesh.x[a])));
  out.push_back(map.py(mesh.y[a] + t * (mesh.y[b] - mesh.y[a])));
}

}  // namespace

Ground survey_ground(const gvk::Mesh& mesh) {
  Ground ground;
  bool first = true;
  for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
    const gvk::Triangle& t = mesh.triangles[i];
    if (!drawable(mesh, t)) {
      ++ground.skipped;
      continue;
    }
    ground.triangles.push_back(i);
    for (unsigned long long v : t) {
      if (first) {
        ground.x_min = ground.x_max = mesh.x[v];
        ground.y_min = ground.y_max = mesh.y[v];
        ground.z_min = ground.z_max = mesh.z[v];
        first = false;
      }
      ground.x_min = std::min(ground.x_min, mesh.x[v]);
      ground.x_max = std::max(ground.x_max, mesh.x[v]);
      ground.y_min = std::min(ground.y_min, mesh.y[v]);
      ground.y_max = std::max(ground.y_max, mesh.y[v]);
      ground.z_min = std::min(ground.z_min, mesh.z[v]);
      ground.z_max = std::max(ground.z_max, mesh.z[v]);
    }
  }
  return ground;
}

void ramp_colour(double t, double rgb[3]) {
  // Low ground green, middle ground straw, high ground brown fading to stone.
  static const double kStops[][4] = {{0.00, 0.16, 0.42, 0.26},
                                     {0.22, 0.38, 0.62, 0.30},
                                     {0.48, 0.80, 0.80, 0.48},
                                     {0.74, 0.72, 0.54, 0.34},
                                     {1.00, 0.90, 0.88, 0.84}};
  t = std::isfinite(t) ? std::clamp(t, 0.0, 1.0) : 0.5;
  std::size_t k = 1;
  while (k < 4 && t > kStops[k][0]) ++k;
  const double f = (t - kStops[k - 1][0]) / (kStops[k][0] - kStops[k - 1][0]);
  for (int c = 0; c < 3; ++c)
    rgb[c] = kStops[k - 1][c + 1] + f * (kStops[k][c + 1] - kStops[k - 1][c + 1]);
}

std::vector<unsigned> shade_ground(const gvk::Mesh& mesh, const Ground& ground,
                                   const PageMap& map, double pixels_per_unit, int width,
                                   int height) {
  std::vector<unsigned> pixels(static_cast<std::size_t>(width) * height, 0u);
  const double span = std::max(ground.x_max - ground.x_min, ground.y_max - ground.y_min);
  const double range = ground.z_max - ground.z_min;
  const double exaggeration =
      range > 0.0 ? std::clamp(0.2 * span / range, 1.0, 20.0) : 1.0;
  for (std::size_t index : ground.triangles) {
    const gvk::Triangle& t = mesh.triangles[index];
    std::array<RasterCorner, 3> corners;
    for (int k = 0; k < 3; ++k) {
      corners[k] = {(map.px(mesh.x[t[k]]) - map.left) * pixels_per_unit,
                    (map.py(mesh.y[t[k]]) - map.top) * pixels_per_unit, mesh.z[t[k]]};
    }
    fill_triangle(corners, ground, light(mesh, t, exaggeration), width, height, pixels);
  }
  return pixels;
}

void trace_contours(const gvk::Mesh& mesh, const Ground& ground, const PageMap& map,
                    double interval, double zorig, std::vector<double>& lines,
                    std::vector<double>& index_lines) {
  // Level numbers are counted in doubles; past 2^50 they no longer step by one.
  constexpr double kLargestLevel = 1e15;
  if (!(interval > 0.0) || ground.triangles.empty()) return;
  if (std::fabs((ground.z_min + zorig) / interval) > kLargestLevel ||
      std::fabs((ground.z_max + zorig) / interval) > kLargestLevel)
    return;
  for (std::size_t index : ground.triangles) {
    const gvk::Triangle& t = mesh.triangles[index];
    const double z[3] = {mesh.z[t[0]] + zorig, mesh.z[t[1]] + zorig,
                         mesh.z[t[2]] + zorig};
    const double low = std::min({z[0], z[1], z[2]}), high = std::max({z[0], z[1], z[2]});
    for (double k = std::floor(low / interval) + 1.0; k * interval <= high; k += 1.0) {
      const double level = k * interval;
      if (level <= low) continue;
      std::vector<double>& out = std::fmod(k, 5.0) == 0.0 ? index_lines : lines;
      for (int e = 0; e < 3; ++e) {
        const int f = (e + 1) % 3;
        if ((z[e] >= level) != (z[f] >= level))
          cross(mesh, map, t[e], t[f], z[e], z[f], level, out);
      }
    }
  }
}

}  // namespace gravok_tool
