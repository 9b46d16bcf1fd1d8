// The cost of logging statements: one whose level no handler wants, tested inline
// (as the macros do) or by the exported call, and the dispatch of Add to one handler
// that does nothing.
#include <gravok/log.h>

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

using gvk::Log;

// One do-nothing handler at info, registered once for the whole program: debug
// statements are then disabled and info statements reach it.
void ensure_handler() {
  static const unsigned long long id = Log::RegisterHandler(
      [](const Log::Entry& entry) { benchmark::DoNotOptimize(&entry); }, Log::info);
  benchmark::DoNotOptimize(id);
}

void BM_DisabledStatementThroughMacro(benchmark::State& state) {
  ensure_handler();
  int value = 42;
  for (auto _ : state) {
    GRAVOK_LOG_DEBUG << L"value " << value << " caf\xC3\xA9";
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_DisabledStatementThroughMacro);

void BM_DoAdd(benchmark::State& state) {
  ensure_handler();
  for (auto _ : state) benchmark::DoNotOptimize(Log::DoAdd(Log::debug));
}
BENCHMARK(BM_DoAdd);

void BM_DoAddInline(benchmark::State& state) {
  ensure_handler();
  for (auto _ : state) benchmark::DoNotOptimize(Log::DoAddInline(Log::debug));
}
BENCHMARK(BM_DoAddInline);

// A hot loop that sums an array with a disabled statement in its body: tested inline
// as the macros do, tested by the exported call as the macros did before, or no
// statement at all (arg: elements). The statement logs the element, not the sum: an
// operand of an insertion is taken by reference, and the sum would then go through
// memory in every iteration whatever the test costs.
enum Statement { kNone, kInlineTest, kCalledTest };

template <class T, Statement kStatement>
T sum_with(const T* values, std::size_t count) {
  T sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    sum += values[i];
    if constexpr (kStatement == kInlineTest) {
      GRAVOK_LOG_DEBUG << L"adding " << values[i];
    } else if constexpr (kStatement == kCalledTest) {
      if (Log::DoAdd(Log::debug)) {
        gvk::LogStream(Log::debug, __FILE__, __LINE__, __func__).stream()
            << L"adding " << values[i];
      }
    }
  }
  return sum;
}

template <class T, Statement kStatement>
void BM_SumLoop(benchmark::State& state) {
  ensure_handler();
  const std::vector<T> values(static_cast<std::size_t>(state.range(0)), T(3));
  for (auto _ : state) {
    benchmark::DoNotOptimize(sum_with<T, kStatement>(values.data(), values.size()));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK_TEMPLATE(BM_SumLoop, double, kNone)->Arg(1000);
BENCHMARK_TEMPLATE(BM_SumLoop, double, kInlineTest)->Arg(1000);
BENCHMARK_TEMPLATE(BM_SumLoop, double, kCalledTest)->Arg(1000);
BENCHMARK_TEMPLATE(BM_SumLoop, long long, kNone)->Arg(1000);
BENCHMARK_TEMPLATE(BM_SumLoop, long long, kInlineTest)->Arg(1000);
BENCHMARK_TEMPLATE(BM_SumLoop, long long, kCalledTest)->Arg(1000);

// Add with one handler that does nothing; the message is built in each iteration
// (arg: its length in units; 3 and fewer fit the string's inline buffer here).
void BM_AddOneDoNothingHandler(benchmark::State& state) {
  ensure_handler();
  const std::wstring text(static_cast<std::size_t>(state.range(0)), L'm');
  for (auto _ : state) {
    Log::Add(Log::info, std::wstring(text), __FILE__, __LINE__, __func__);
  }
}
BENCHMARK(BM_AddOneDoNothingHandler)->Arg(3)->Arg(32);

// An enabled statement through the macro, formatting included.
void BM_EnabledStatementThroughMacro(benchmark::State& state) {
  ensure_handler();
  int value = 42;
  for (auto _ : state) {
    GRAVOK_LOG_INFO << L"value " << value << " caf\xC3\xA9";
  }
}
BENCHMARK(BM_EnabledStatementThroughMacro);

}  // namespace
