// The JSON problem document at 10^6 triangles: writing it (write_document into a
// string, write_file to disk) and reading it (read_document from a string, read_file
// from disk, with the reader's buffers kept between reads as a thread keeps them, and
// from fresh buffers as on a thread's first read). Throughput counts the document's
// bytes. The mesh is a surveyed grid in state-plane coordinates with millimetre noise, so
// every coordinate takes its full 16 to 17 significant digits, and each triangle carries
// its 40-byte record; a few elements of each kind ride along.
#include "json_document.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>

namespace {

gvk::Problem surveyed_problem(std::size_t side) {
  gvk::Problem p;
  std::mt19937_64 random(42);
  std::uniform_real_distribution<double> noise(-0.0005, 0.0005);
  gvk::Mesh& mesh = p.mesh;
  for (std::size_t i = 0; i < side; ++i) {
    for (std::size_t j = 0; j < side; ++j) {
      mesh.x.push_back(2000000.0 + 1.25 * static_cast<double>(j) + noise(random));
      mesh.y.push_back(500000.0 + 1.25 * static_cast<double>(i) + noise(random));
      mesh.z.push_back(100.0 + 0.01 * static_cast<double>(i + j) + noise(random));
    }
  }
  for (unsigned long long i = 0; i + 1 < side; ++i) {
    for (unsigned long long j = 0; j + 1 < side; ++j) {
      const unsigned long long a = i * side + j, b = a + 1, c = a + side, d = c + 1;
      mesh.triangles.push_back({a, b, d});
      mesh.triangles.push_back({a, d, c});
    }
  }
  mesh.triangle_info.resize(mesh.triangles.size());
  for (gravok_triangle_info& info : mesh.triangle_info)
    for (unsigned char& byte : info.data) byte = static_cast<unsigned char>(random());
  for (GradingElementType kind : {LowPoint, DrainLine, SurfaceZone, Pond}) {
    gvk::ElementSet& set = p.elements[kind];
    set.records.resize(100);
    set.xs.assign(100, {2000001.5, 2000002.5, 2000003.5});
    set.ys.assign(100, {500001.5, 500002.5, 500003.5});
  }
  return p;
}

// 708 x 708 vertices: 501,264 vertices and 1,000,014 triangles.
const gvk::Problem& problem() {
  static const gvk::Problem p = surveyed_problem(708);
  return p;
}

const std::string& text() {
  static const std::string t = [] {
    std::string out;
    gvk_json::write_document(problem(), out);
    return out;
  }();
  return t;
}

const std::string kPath = "gravok_json_bench.json";

void BM_WriteDocument(benchmark::State& state) {
  std::string out;
  for (auto _ : state) {
    gvk_json::write_document(problem(), out);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * out.size()));
  state.counters["bytes"] = static_cast<double>(out.size());
}

void BM_ReadDocument(benchmark::State& state) {
  gvk::Problem p;
  std::string error;
  for (auto _ : state) {
    if (!gvk_json::read_document(text(), p, error)) state.SkipWithError(error.c_str());
    benchmark::DoNotOptimize(p.mesh.x.data());
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * text().size()));
}

void BM_WriteFile(benchmark::State& state) {
  for (auto _ : state) gvk_json::write_file(problem(), kPath);
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * text().size()));
}

void BM_ReadFile(benchmark::State& state) {
  std::string error;
  gvk_json::write_file(problem(), kPath);
  gvk::Problem p;
  for (auto _ : state)
    if (!gvk_json::read_file(kPath, p, error)) state.SkipWithError(error.c_str());
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * text().size()));
  std::remove(kPath.c_str());
}

// read_file as a host's first read on a thread pays it: the reader's buffers freed
// before each read, so the parser and the text buffer start from fresh memory.
void BM_ReadFileFirstOnThread(benchmark::State& state) {
  std::string error;
  gvk_json::write_file(problem(), kPath);
  gvk::Problem p;
  for (auto _ : state) {
    gvk_json::release_read_buffers();
    if (!gvk_json::read_file(kPath, p, error)) state.SkipWithError(error.c_str());
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * text().size()));
  std::remove(kPath.c_str());
}

BENCHMARK(BM_WriteDocument)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadDocument)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadFileFirstOnThread)->Unit(benchmark::kMillisecond);

}  // namespace
