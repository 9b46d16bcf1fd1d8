// Plan-view plotting of a regular grid mesh: 2 * n * n triangles on a rolling surface,
// no elements, default options, written as PNG and as SVG into the temporary folder.
#include "plot.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>
#include <string>

namespace {

gvk::Problem grid(int n) {
  gvk::Problem p;
  for (int j = 0; j <= n; ++j) {
    for (int i = 0; i <= n; ++i) {
      p.mesh.x.push_back(i);
      p.mesh.y.push_back(j);
      p.mesh.z.push_back(40 * std::sin(i * 0.01) * std::cos(j * 0.013) + 0.02 * i);
    }
  }
  const unsigned long long row = n + 1;
  for (unsigned long long j = 0; j < static_cast<unsigned long long>(n); ++j) {
    for (unsigned long long i = 0; i < static_cast<unsigned long long>(n); ++i) {
      const unsigned long long a = j * row + i;
      p.mesh.triangles.push_back({a, a + 1, a + row + 1});
      p.mesh.triangles.push_back({a, a + row + 1, a + row});
    }
  }
  return p;
}

void plot(benchmark::State& state, const char* suffix) {
  const gvk::Problem problem = grid(static_cast<int>(state.range(0)));
  const std::string path =
      (std::filesystem::temp_directory_path() / (std::string("plot_bench") + suffix))
          .string();
  std::string error;
  for (auto _ : state) {
    if (!gravok_tool::plot_problem(problem, {}, path, error))
      state.SkipWithError(error.c_str());
  }
  state.counters["triangles"] = static_cast<double>(problem.mesh.triangles.size());
  std::filesystem::remove(path);
}

void BM_PlotPng(benchmark::State& state) { plot(state, ".png"); }
void BM_PlotSvg(benchmark::State& state) { plot(state, ".svg"); }

// n = 707 gives 999,698 triangles.
BENCHMARK(BM_PlotPng)->Arg(100)->Arg(707)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlotSvg)->Arg(100)->Arg(707)->Unit(benchmark::kMillisecond);

}  // namespace
