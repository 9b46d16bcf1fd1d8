// reindex_mesh and remove_unused_vertices next to their literal std::map / table
// versions (tests/mesh_oracle.h), at 10^4, 10^5 and 10^6 vertices, and check_mesh
// on meshes of 10^6 triangles. Counters: per_vertex (time per input vertex), or
// per_triangle for the check, and peak_bytes (the most heap memory held at once
// during the call beyond what the mesh itself held before it, counted by the
// replaced global operator new below).
#include <gravok/mesh_check.h>
#include <gravok/mesh_tools.h>

#include "../tests/mesh_oracle.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <random>
#include <vector>

namespace {

std::atomic<long long> g_live{0};
std::atomic<long long> g_peak{0};

// Each block carries its size in front of it, so that delete can count it off.
constexpr std::size_t kHeader = alignof(std::max_align_t);

void* counted_new(std::size_t size) {
  void* raw = std::malloc(size + kHeader);
  if (raw == nullptr) throw std::bad_alloc();
  *static_cast<std::size_t*>(raw) = size;
  const long long live = g_live += static_cast<long long>(size);
  long long peak = g_peak.load();
  while (live > peak && !g_peak.compare_exchange_weak(peak, live)) {
  }
  return static_cast<char*>(raw) + kHeader;
}

void counted_delete(void* block) {
  if (block == nullptr) return;
  void* raw = static_cast<char*>(block) - kHeader;
  g_live -= static_cast<long long>(*static_cast<std::size_t*>(raw));
  std::free(raw);
}

}  // namespace

void* operator new(std::size_t size) { return counted_new(size); }
void* operator new[](std::size_t size) { return counted_new(size); }
void operator delete(void* block) noexcept { counted_delete(block); }
void operator delete[](void* block) noexcept { counted_delete(block); }
void operator delete(void* block, std::size_t) noexcept { counted_delete(block); }
void operator delete[](void* block, std::size_t) noexcept { counted_delete(block); }

namespace {

struct Mesh {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
};

constexpr double kTolerance = 1e-3;

// Scenario 0, a triangle soup: a jittered terrain grid whose triangles each carry
// their own three corners, so about six vertices weld into each grid point.
// Scenario 1, distinct points: a jittered grid with one vertex per point and two
// triangles per cell, where nothing welds and the index grows to every vertex.
// Scenario 2, near-duplicates: the grid of scenario 1 in which every tenth vertex is
// a jittered copy of a random vertex of the row before, as where tiles or strips
// overlap, so 10 % of the vertices weld and 90 % become representatives.
Mesh make_mesh(std::size_t n, int scenario) {
  std::mt19937_64 rng(42);
  std::uniform_real_distribution<double> jitter(-kTolerance / 4, kTolerance / 4);
  Mesh mesh;
  auto add = [&](double gx, double gy) {
    mesh.x.push_back(gx * 0.5 + jitter(rng));
    mesh.y.push_back(gy * 0.5 + jitter(rng));
    mesh.z.push_back(std::sin(gx * 0.1) + std::cos(gy * 0.07));
  };
  const std::size_t side = static_cast<std::size_t>(std::sqrt(
                               static_cast<double>(scenario == 0 ? n / 6 : n))) +
                           1;
  for (std::size_t k = 0; mesh.x.size() < n; ++k) {
    const double gx = static_cast<double>(k % side);
    const double gy = static_cast<double>(k / side);
    if (scenario == 0) {
      const unsigned long long v = mesh.x.size();
      add(gx, gy), add(gx + 1, gy), add(gx, gy + 1);
      add(gx + 1, gy), add(gx + 1, gy + 1), add(gx, gy + 1);
      mesh.triangles.push_back({v, v + 1, v + 2});
      mesh.triangles.push_back({v + 3, v + 4, v + 5});
    } else if (scenario == 2 && mesh.x.size() % 10 == 9 && k >= side) {
      const std::size_t copied = k - 1 - rng() % side;
      add(static_cast<double>(copied % side), static_cast<double>(copied / side));
      --k;
    } else {
      add(gx, gy);
    }
  }
  for (std::vector<double>* v : {&mesh.x, &mesh.y, &mesh.z}) v->resize(n);
  if (scenario == 0) {
    while (!mesh.triangles.empty() && mesh.triangles.back()[2] >= n)
      mesh.triangles.pop_back();
  } else {
    for (unsigned long long k = 0; k + side + 1 < n; ++k) {
      mesh.triangles.push_back({k, k + 1, k + side});
      mesh.triangles.push_back({k + 1, k + side + 1, k + side});
    }
  }
  return mesh;
}

// Half of the vertices of a distinct-point mesh, every other grid row, unused.
Mesh make_sparse_mesh(std::size_t n) {
  Mesh mesh = make_mesh(n, 1);
  std::vector<gvk::Triangle> kept;
  for (std::size_t k = 0; k < mesh.triangles.size(); k += 4)
    kept.push_back(mesh.triangles[k]);
  mesh.triangles = kept;
  return mesh;
}

// Each run starts from a fresh copy of the mesh, assigned into containers kept from
// run to run so that the copy itself allocates as little as possible.
template <typename Operation>
void run(benchmark::State& state, const Mesh& original, Operation operation) {
  long long peak = 0;
  Mesh mesh;
  for (auto _ : state) {
    state.PauseTiming();
    mesh.x.assign(original.x.begin(), original.x.end());
    mesh.y.assign(original.y.begin(), original.y.end());
    mesh.z.assign(original.z.begin(), original.z.end());
    mesh.triangles.assign(original.triangles.begin(), original.triangles.end());
    const long long before = g_live.load();
    g_peak = before;
    state.ResumeTiming();
    operation(mesh);
    benchmark::DoNotOptimize(mesh.x.data());
    state.PauseTiming();
    if (g_peak.load() - before > peak) peak = g_peak.load() - before;
    state.ResumeTiming();
  }
  const double n = static_cast<double>(original.x.size());
  state.counters["per_vertex"] = benchmark::Counter(
      n, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["peak_bytes"] = static_cast<double>(peak);
}

void BM_ReindexMesh(benchmark::State& state) {
  const Mesh mesh = make_mesh(static_cast<std::size_t>(state.range(0)),
                              static_cast<int>(state.range(1)));
  run(state, mesh,
      [](Mesh& m) { gvk::reindex_mesh(m.x, m.y, m.z, m.triangles, kTolerance); });
}

void BM_ReindexMeshLiteralMap(benchmark::State& state) {
  const Mesh mesh = make_mesh(static_cast<std::size_t>(state.range(0)),
                              static_cast<int>(state.range(1)));
  run(state, mesh,
      [](Mesh& m) { oracle::reindex_mesh(m.x, m.y, m.z, m.triangles, kTolerance); });
}

void BM_RemoveUnusedVertices(benchmark::State& state) {
  const Mesh mesh = make_sparse_mesh(static_cast<std::size_t>(state.range(0)));
  run(state, mesh,
      [](Mesh& m) { gvk::remove_unused_vertices(m.x, m.y, m.z, m.triangles); });
}

void BM_RemoveUnusedVerticesLiteral(benchmark::State& state) {
  const Mesh mesh = make_sparse_mesh(static_cast<std::size_t>(state.range(0)));
  run(state, mesh,
      [](Mesh& m) { oracle::remove_unused_vertices(m.x, m.y, m.z, m.triangles); });
}

// The mesh is only read, so no copy is made; the findings list is part of the cost.
void BM_CheckMesh(benchmark::State& state) {
  const std::size_t triangles = static_cast<std::size_t>(state.range(0));
  const int scenario = static_cast<int>(state.range(1));
  // Three vertices per triangle in the soup, about one per two triangles otherwise.
  const Mesh mesh = make_mesh(scenario == 0 ? 3 * triangles : triangles / 2, scenario);
  long long peak = 0;
  std::size_t findings = 0;
  for (auto _ : state) {
    const long long before = g_live.load();
    g_peak = before;
    const std::vector<gvk::MeshFinding> found =
        gvk::check_mesh(mesh.x, mesh.y, mesh.z, mesh.triangles, kTolerance);
    benchmark::DoNotOptimize(found.data());
    findings = found.size();
    if (g_peak.load() - before > peak) peak = g_peak.load() - before;
  }
  state.counters["per_triangle"] = benchmark::Counter(
      static_cast<double>(mesh.triangles.size()),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["triangles"] = static_cast<double>(mesh.triangles.size());
  state.counters["vertices"] = static_cast<double>(mesh.x.size());
  state.counters["findings"] = static_cast<double>(findings);
  state.counters["peak_bytes"] = static_cast<double>(peak);
}

// Arguments: vertex count, scenario (0 triangle soup, 1 distinct points, 2 with 10 %
// near-duplicates).
BENCHMARK(BM_ReindexMesh)
    ->ArgsProduct({{10000, 100000, 1000000}, {0, 1, 2}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReindexMeshLiteralMap)
    ->ArgsProduct({{10000, 100000, 1000000}, {0, 1, 2}})
    ->Unit(benchmark::kMillisecond);
// Arguments: triangle count, scenario (0 triangle soup, 1 distinct points).
BENCHMARK(BM_CheckMesh)->ArgsProduct({{1000000}, {0, 1}})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RemoveUnusedVertices)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RemoveUnusedVerticesLiteral)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
