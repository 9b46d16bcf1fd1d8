// A host program for the console tests. They run it with its standard streams
// redirected or on a pseudo-terminal, and read what it printed.
//   console_child levels <min>  console logger at <min>; one entry per level -1..6, 9
//   console_child twice         two console loggers, then one of them removed
//   console_child threads       8 threads log 10000 lines each, at info or warn
//   console_child surrogates    lines with surrogate pairs, lone and reversed ones
#include <gravok/log.h>

#include <cwchar>
#include <initializer_list>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

namespace {

using gvk::Log;

void log_every_level(int minimum) {
  std::cout << "host before\n";
  Log::RegisterConsoleLogger(static_cast<Log::Level>(minimum));
  for (int level : {-1, 0, 1, 2, 3, 4, 5, 6, 9}) {
    const auto typed = static_cast<Log::Level>(level);
    Log::Add(typed,
             std::wstring(Log::LevelString(typed)) + L" " + std::to_wstring(level) +
                 L" caf\u00e9 \u20ac",
             __FILE__, __LINE__, __func__);
  }
  Log::Add(Log::info, std::wstring(L"cut\0off", 7), nullptr, 0, nullptr);
  std::cout << "host after\n";
}

void log_twice() {
  const unsigned long long first = Log::RegisterConsoleLogger(Log::info);
  Log::RegisterConsoleLogger(Log::info);
  Log::Add(Log::info, L"a", nullptr, 0, nullptr);
  Log::UnregisterCallback(first);
  Log::Add(Log::info, L"b", nullptr, 0, nullptr);
}

void log_from_threads() {
  Log::RegisterConsoleLogger(Log::trace);
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([t] {
      const Log::Level level = t % 2 ? Log::warn : Log::info;
      for (int n = 0; n < 10000; ++n) {
        Log::Add(level,
                 L"thread " + std::to_wstring(t) + L" line " + std::to_wstring(n) + L" " +
                     std::wstring(40, L'x'),
                 nullptr, 0, nullptr);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// `units` as a wide string, one element per value.
std::wstring units(std::initializer_list<unsigned long> values) {
  std::wstring text;
  for (unsigned long value : values) text += static_cast<wchar_t>(value);
  return text;
}

void log_surrogates() {
  Log::RegisterConsoleLogger(Log::info);
  Log::Add(Log::info, L"pair " + units({0xD83D, 0xDE00}) + L" end", nullptr, 0, nullptr);
  Log::Add(Log::info, L"edges " + units({0xD800, 0xDC00, 0x20, 0xDBFF, 0xDFFF}), nullptr,
           0, nullptr);
  Log::Add(Log::info,
           L"lone " + units({0xD83D}) + L" a " + units({0xDE00, 0xD83D}) + L" " +
               units({0xDBFF}),
           nullptr, 0, nullptr);
#if WCHAR_MAX > 0xFFFF
  Log::Add(Log::info, L"wide " + units({0x1F600, 0x20, 0x110000}), nullptr, 0, nullptr);
#endif
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "levels" && argc > 2) {
    log_every_level(std::stoi(argv[2]));
  } else if (mode == "twice") {
    log_twice();
  } else if (mode == "threads") {
    log_from_threads();
  } else if (mode == "surrogates") {
    log_surrogates();
  } else {
    std::cerr << "usage: console_child levels <min> | twice | threads | surrogates\n";
    return 2;
  }
  return 0;
}
