#include <gravok/element_types.h>

#include <benchmark/benchmark.h>

#include <string>

namespace {

void BM_HashGradingElementUid(benchmark::State& state) {
  const std::string guid = "{6F1C2A9E-0B7D-4C35-9A2E-1D4B5F6A7C8D}";
  for (auto _ : state) {
    benchmark::DoNotOptimize(gvk::hashGradingElementUid(guid));
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * guid.size()));
}
BENCHMARK(BM_HashGradingElementUid);

void BM_GetConstraintType(benchmark::State& state) {
  const std::string name = "Site 4 - GenericZone";
  GradingElementType type = LowPoint;
  TriZoneType zone = Generic;
  for (auto _ : state) {
    benchmark::DoNotOptimize(gvk::get_constraint_type(name, type, zone));
  }
}
BENCHMARK(BM_GetConstraintType);

}  // namespace
