// Reading and writing a LandXML surface of about 10^6 faces (a 708 x 708 grid of
// points in state-plane coordinates, two faces per cell). The read is measured beside
// the bare XML parse of the same bytes with handlers that do nothing, which is the
// floor any reader built on the parser stands on; the write is measured in MB/s of text.
#include "landxml_document.h"
#include "landxml_source.h"
#include "landxml_store.h"

#include <benchmark/benchmark.h>
#include <expat.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr int kSide = 708;  // 2 * 707 * 707 = 999698 faces

gvk_landxml::Document grid() {
  gvk_landxml::Document document;
  document.units.linear = document.units.area = document.units.volume = 2;
  document.surfaces.resize(1);
  gvk_landxml::Surface& s = document.surfaces[0];
  s.name = "Existing ground";
  for (int r = 0; r < kSide; ++r) {
    for (int c = 0; c < kSide; ++c) {
      s.x.push_back(2000000.0 + c * 1.25 + 0.001 * (r % 7));
      s.y.push_back(500000.0 + r * 1.25 + 0.001 * (c % 5));
      s.z.push_back(100.0 + 0.013 * ((r * 31 + c * 17) % 997));
    }
  }
  for (unsigned long long r = 0; r + 1 < kSide; ++r) {
    for (unsigned long long c = 0; c + 1 < kSide; ++c) {
      const unsigned long long a = r * kSide + c;
      s.triangles.push_back({a, a + 1, a + kSide});
      s.triangles.push_back({a + 1, a + kSide + 1, a + kSide});
    }
  }
  return document;
}

const std::string& grid_path() {
  static const std::string path = [] {
    const std::string p = "landxml_bench_grid.xml";
    gvk_landxml::save_document(p, grid(), "bench");
    return p;
  }();
  return path;
}

std::vector<char> file_bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<char>(std::istreambuf_iterator<char>(in), {});
}

void BM_BareParse(benchmark::State& state) {
  const std::vector<char> bytes = file_bytes(grid_path());
  for (auto _ : state) {
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetElementHandler(
        parser, [](void*, const XML_Char*, const XML_Char**) {},
        [](void*, const XML_Char*) {});
    XML_SetCharacterDataHandler(parser, [](void*, const XML_Char*, int) {});
    benchmark::DoNotOptimize(
        XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), XML_TRUE));
    XML_ParserFree(parser);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<long long>(bytes.size()));
}

// The whole read as a host sees it: file to memory, parse, surface, origin, mesh.
void BM_ReadSurface(benchmark::State& state) {
  const long long size = static_cast<long long>(file_bytes(grid_path()).size());
  for (auto _ : state) {
    gvk_landxml::LandXmlSource source(grid_path());
    if (!source.load()) state.SkipWithError(source.error().c_str());
    std::vector<double> x, y, z;
    std::vector<gvk::Triangle> triangles;
    std::vector<gravok_triangle_info> info;
    source.get_eg_data(x, y, z, triangles, info);
    benchmark::DoNotOptimize(triangles.data());
  }
  state.SetBytesProcessed(state.iterations() * size);
}

void BM_WriteSurface(benchmark::State& state) {
  const gvk_landxml::Document document = grid();
  long long bytes = 0;
  for (auto _ : state) {
    gvk_landxml::save_document("landxml_bench_out.xml", document, "bench");
    state.PauseTiming();
    std::ifstream in("landxml_bench_out.xml", std::ios::binary | std::ios::ate);
    bytes += static_cast<long long>(in.tellg());
    state.ResumeTiming();
  }
  state.SetBytesProcessed(bytes);
  std::remove("landxml_bench_out.xml");
}

BENCHMARK(BM_BareParse)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ReadSurface)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_WriteSurface)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
