// volume_between on two different jittered triangulations of one site (an existing
// ground and a graded surface over it), at 10^4, 10^5 and 10^6 triangles each,
// beside the plain alternative: sampling both surfaces on a square grid and summing
// the difference by the midpoint rule. The grid is as fine as it must be for its cut
// and its fill to come within 0.1 % of the exact figures, and stay there on finer
// grids; finding that fineness (which takes the exact figures) is done once,
// outside the timing. Counters: per_triangle (time per triangle of one
// surface), and for the grid, samples (per side) and error (the larger relative
// error of cut and fill).
#include <gravok/volume.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <random>
#include <utility>
#include <vector>

namespace {

constexpr double kSide = 1000.0;  // metres

struct Mesh {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  gvk::MeshView view() const { return gvk::MeshView{x, y, z, triangles}; }
};

// Rolling ground of some tens of metres of relief.
double ground(double x, double y) {
  return 120 + 18 * std::sin(x / 97.0) * std::cos(y / 131.0) +
         7 * std::sin((x + 2 * y) / 43.0) + 2 * std::cos((3 * x - y) / 17.0);
}

// A graded surface: a gentle plane, pulled a third of the way back to the ground.
double graded(double x, double y) {
  return (2 * (118 + 0.004 * x - 0.003 * y) + ground(x, y)) / 3;
}

// About `triangles` triangles over the site: a grid whose interior vertices are
// moved by up to a fifth of a cell and whose cells are cut along a random diagonal.
Mesh jittered_site(std::size_t triangles, unsigned seed, double (*height)(double, double),
                   double roughness) {
  const int n = static_cast<int>(std::lround(std::sqrt(triangles / 2.0)));
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> jitter(-0.2, 0.2);
  std::normal_distribution<double> rough(0.0, roughness);
  const double h = kSide / n;
  Mesh m;
  for (int j = 0; j <= n; ++j) {
    for (int i = 0; i <= n; ++i) {
      const bool inside = i > 0 && i < n && j > 0 && j < n;
      const double x = h * (i + (inside ? jitter(random) : 0.0)) + 2'000'000.0;
      const double y = h * (j + (inside ? jitter(random) : 0.0)) + 500'000.0;
      m.x.push_back(x);
      m.y.push_back(y);
      m.z.push_back(height(x - 2'000'000.0, y - 500'000.0) +
                    (roughness > 0 ? rough(random) : 0.0));
    }
  }
  const auto at = [n](int i, int j) {
    return static_cast<unsigned long long>(j * (n + 1) + i);
  };
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      if (random() & 1u) {
        m.triangles.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
        m.triangles.push_back({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
      } else {
        m.triangles.push_back({at(i, j), at(i + 1, j), at(i, j + 1)});
        m.triangles.push_back({at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)});
      }
    }
  }
  return m;
}

struct Site {
  Mesh base, top;
  gvk::Earthwork exact;
  int samples = 0;  // per side, for the grid method's 0.1 %
  double error = 0;
};

// Samples the mesh at the centres of k x k cells over the site; `apply(cell, z)` is
// called for each covered centre.
template <typename Apply>
void rasterise(const Mesh& m, int k, Apply apply) {
  const double h = kSide / k;
  const double x0 = 2'000'000.0;
  const double y0 = 500'000.0;
  for (const gvk::Triangle& t : m.triangles) {
    const double ax = m.x[t[0]] - x0, ay = m.y[t[0]] - y0;
    const double bx = m.x[t[1]] - x0, by = m.y[t[1]] - y0;
    const double cx = m.x[t[2]] - x0, cy = m.y[t[2]] - y0;
    const double det = (bx - ax) * (cy - ay) - (cx - ax) * (by - ay);
    const double za = m.z[t[0]], dzb = m.z[t[1]] - za, dzc = m.z[t[2]] - za;
    const int i0 =
        std::max(0, static_cast<int>(std::ceil(std::min({ax, bx, cx}) / h - 0.5)));
    const int i1 =
        std::min(k - 1, static_cast<int>(std::floor(std::max({ax, bx, cx}) / h - 0.5)));
    const int j0 =
        std::max(0, static_cast<int>(std::ceil(std::min({ay, by, cy}) / h - 0.5)));
    const int j1 =
        std::min(k - 1, static_cast<int>(std::floor(std::max({ay, by, cy}) / h - 0.5)));
    for (int j = j0; j <= j1; ++j) {
      const double py = (j + 0.5) * h;
      for (int i = i0; i <= i1; ++i) {
        const double px = (i + 0.5) * h;
        const double u = ((px - ax) * (cy - ay) - (cx - ax) * (py - ay)) / det;
        const double v = ((bx - ax) * (py - ay) - (px - ax) * (by - ay)) / det;
        if (u < 0 || v < 0 || u + v > 1) continue;
        apply(static_cast<std::size_t>(j) * k + i, za + u * dzb + v * dzc);
      }
    }
  }
}

struct CutFill {
  double cut = 0, fill = 0;
};

CutFill grid_volume(const Site& s, int k, std::vector<double>& base) {
  base.assign(static_cast<std::size_t>(k) * k, std::nan(""));
  rasterise(s.base, k, [&](std::size_t cell, double z) { base[cell] = z; });
  const double area = (kSide / k) * (kSide / k);
  CutFill r;
  rasterise(s.top, k, [&](std::size_t cell, double z) {
    const double d = z - base[cell];
    if (d > 0) r.fill += d * area;
    if (d < 0) r.cut -= d * area;
  });
  return r;
}

double grid_error(const Site& s, const CutFill& g) {
  return std::max(std::abs(g.cut - s.exact.cut) / s.exact.cut,
                  std::abs(g.fill - s.exact.fill) / s.exact.fill);
}

// The two surfaces of a site: 0 "graded", a survey of the ground (points 0.3 m
// rough) and a graded surface over it; 1 "resurvey", two surveys of the same
// ground (points 0.05 m rough each), whose differences lie at the scale of the
// triangles.
const Site& site(std::size_t triangles, int kind) {
  static std::map<std::pair<std::size_t, int>, Site> sites;
  auto found = sites.find({triangles, kind});
  if (found != sites.end()) return found->second;
  Site& s = sites[{triangles, kind}];
  s.base = jittered_site(triangles, 1, ground, kind == 0 ? 0.3 : 0.05);
  s.top =
      jittered_site(triangles, 2, kind == 0 ? graded : ground, kind == 0 ? 0.0 : 0.05);
  s.exact = gvk::volume_between(s.base.view(), s.top.view()).total;
  // The coarsest grid from which on the error stays within 0.1 % for three further
  // refinements: sampling errors partly cancel, so a single lucky grid proves little.
  std::vector<double> scratch;
  std::vector<int> sizes;
  std::vector<double> errors;
  for (int k = 64; k <= 40000; k = k * 5 / 4) {
    sizes.push_back(k);
    errors.push_back(grid_error(s, grid_volume(s, k, scratch)));
    const std::size_t n = errors.size();
    if (n >= 4 &&
        std::all_of(errors.end() - 4, errors.end(), [](double e) { return e <= 1e-3; })) {
      s.samples = sizes[n - 4];
      s.error = *std::max_element(errors.end() - 4, errors.end());
      break;
    }
  }
  return s;
}

void BM_VolumeExact(benchmark::State& state) {
  const Site& s =
      site(static_cast<std::size_t>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(gvk::volume_between(s.base.view(), s.top.view()));
  }
  state.counters["per_triangle"] = benchmark::Counter(
      static_cast<double>(s.base.triangles.size()),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["cut"] = s.exact.cut;
  state.counters["fill"] = s.exact.fill;
}
BENCHMARK(BM_VolumeExact)
    ->ArgsProduct({{10'000, 100'000, 1'000'000}, {0, 1}})
    ->ArgNames({"triangles", "resurvey"})
    ->Unit(benchmark::kMillisecond);

void BM_VolumeGrid(benchmark::State& state) {
  const Site& s =
      site(static_cast<std::size_t>(state.range(0)), static_cast<int>(state.range(1)));
  std::vector<double> scratch;
  for (auto _ : state) benchmark::DoNotOptimize(grid_volume(s, s.samples, scratch));
  state.counters["per_triangle"] = benchmark::Counter(
      static_cast<double>(s.base.triangles.size()),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["samples"] = s.samples;
  state.counters["error"] = s.error;
}
BENCHMARK(BM_VolumeGrid)
    ->ArgsProduct({{10'000, 100'000, 1'000'000}, {0, 1}})
    ->ArgNames({"triangles", "resurvey"})
    ->Unit(benchmark::kMillisecond);

}  // namespace
