// The cost of logging statements: one whose level no handler wants, and the
// dispatch of Add to one handler that does nothing.
#include <gravok/log.h>

#include <benchmark/benchmark.h>

#include <string>

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
