// PolyFile::from_file and PolyFile::to_files next to their stream-based reference
// versions (tests/poly_oracle.h). The reader reads a file of 10^6 vertex lines and
// 10^6 segment lines (one closed chain through every vertex); the writer writes 10^6
// vertices and 2 * 10^6 triangles. BM_FlushedLinesFloor writes the same number of
// lines, already formatted, with one flush per line: the part of the writer's time
// that the per-line flush alone costs. Files go to a new directory under the system's
// temporary directory, removed at the end.
#include <gravok/poly_file.h>

#include "../tests/poly_oracle.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <system_error>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kVertices = 1000000;
constexpr std::size_t kTriangles = 2000000;

// A new directory of its own, removed when the program ends.
struct ScratchDirectory {
  ScratchDirectory() {
    std::random_device entropy;
    do {
      path =
          fs::temp_directory_path() / ("gravok_poly_bench_" + std::to_string(entropy()));
    } while (!fs::create_directories(path));
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
  fs::path path;
};

fs::path scratch(const std::string& name) {
  static const ScratchDirectory directory;
  return directory.path / name;
}

struct Mesh {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
};

const Mesh& bench_mesh() {
  static const Mesh mesh = [] {
    Mesh m;
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> plan(-5e4, 5e4);
    std::uniform_real_distribution<double> height(-50, 400);
    for (std::size_t i = 0; i < kVertices; ++i) {
      m.x.push_back(plan(rng));
      m.y.push_back(plan(rng));
      m.z.push_back(height(rng));
    }
    for (unsigned long long j = 0; j < kTriangles; ++j) {
      m.triangles.push_back({rng() % kVertices, rng() % kVertices, rng() % kVertices});
    }
    return m;
  }();
  return mesh;
}

// The vertex file as the writer makes it, then a closed chain 0-1-...-(n-1)-0.
const std::string& bench_poly() {
  static const std::string path = [] {
    const Mesh& m = bench_mesh();
    gvk::PolyFile::to_files(scratch("input.poly").string(), m.x, m.y, m.z, {});
    std::ofstream out(scratch("input.1.node"), std::ios::app);
    out << kVertices << " 1\n";
    for (std::size_t s = 0; s < kVertices; ++s) {
      out << s << ' ' << s << ' ' << (s + 1) % kVertices << " 1\n";
    }
    return scratch("input.1.node").string();
  }();
  return path;
}

void set_line_counters(benchmark::State& state, double lines) {
  state.counters["lines"] = lines;
  state.counters["per_line"] = benchmark::Counter(
      lines, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_FromFile(benchmark::State& state) {
  const std::string& path = bench_poly();
  Mesh m;
  std::vector<unsigned long long> boundary;
  for (auto _ : state) {
    gvk::PolyFile::from_file(path, m.x, m.y, m.z, m.triangles, boundary);
    benchmark::DoNotOptimize(boundary.data());
  }
  set_line_counters(state, 2.0 * kVertices);
}

void BM_FromFileStreamReference(benchmark::State& state) {
  const std::string& path = bench_poly();
  Mesh m;
  std::vector<unsigned long long> boundary;
  for (auto _ : state) {
    oracle::poly_from_file(path, m.x, m.y, m.z, m.triangles, boundary);
    benchmark::DoNotOptimize(boundary.data());
  }
  set_line_counters(state, 2.0 * kVertices);
}

void BM_ToFiles(benchmark::State& state) {
  const Mesh& m = bench_mesh();
  const std::string base = scratch("output.poly").string();
  for (auto _ : state) gvk::PolyFile::to_files(base, m.x, m.y, m.z, m.triangles);
  set_line_counters(state, static_cast<double>(kVertices + kTriangles));
}

void BM_ToFilesStreamReference(benchmark::State& state) {
  const Mesh& m = bench_mesh();
  const std::string base = scratch("reference.poly").string();
  for (auto _ : state) oracle::poly_to_files(base, m.x, m.y, m.z, m.triangles);
  set_line_counters(state, static_cast<double>(kVertices + kTriangles));
}

void BM_FlushedLinesFloor(benchmark::State& state) {
  const std::string line = "0 0 1 2 0\n";
  for (auto _ : state) {
    std::ofstream out(scratch("floor.1.ele"));
    for (std::size_t k = 0; k < kVertices + kTriangles; ++k) {
      out.write(line.data(), static_cast<std::streamsize>(line.size()));
      out.flush();
    }
  }
  set_line_counters(state, static_cast<double>(kVertices + kTriangles));
}

BENCHMARK(BM_FromFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromFileStreamReference)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToFiles)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToFilesStreamReference)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FlushedLinesFloor)->Unit(benchmark::kMillisecond);

}  // namespace
