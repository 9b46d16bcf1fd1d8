// UTF-8 / UTF-16 conversion on large texts, the library beside the plain byte loop
// (tests/text_reference.h) in the same run. Throughput counts the UTF-8 side in both
// directions. Arg: the size of the UTF-8 text in bytes.
#include <gravok/text.h>

#include "../tests/text_reference.h"

#include <benchmark/benchmark.h>

#include <map>
#include <string>

namespace {

constexpr long long kMiB = 1LL << 20;

// Printable ASCII letters, digits and blanks, no 0 byte.
std::string ascii_text(std::size_t size) {
  static const char kAlphabet[] =
      "abcdefghijklmnopqrstuvwxyz ABCDEFGHIJKLMNOPQRSTUVWXYZ 0123456789";
  std::string text(size, ' ');
  unsigned state = 12345;
  for (char& c : text) {
    state = state * 1103515245u + 12345u;
    c = kAlphabet[(state >> 16) % (sizeof kAlphabet - 1)];
  }
  return text;
}

// Words of grading notes in several scripts: ASCII with two- and three-byte
// sequences spread through it, about 30 % of the bytes outside ASCII.
std::string mixed_text(std::size_t size) {
  static const char* const kWords[] = {"grading ",
                                       "\xC3\xA9l\xC3\xA9vation ",
                                       "pente ",
                                       "\xE2\x89\xA5 ",
                                       "3,5 % ",
                                       "\xD1\x83\xD0\xBA\xD0\xBB\xD0\xBE\xD0\xBD ",
                                       "pad ",
                                       "\xE6\xB0\xB4\xE5\xB9\xB3 ",
                                       "Stra\xC3\x9F\x65 ",
                                       "drain-line ",
                                       "\xE2\x82\xAC ",
                                       "boundary "};
  std::string text;
  text.reserve(size + 32);
  unsigned state = 777;
  while (text.size() < size) {
    state = state * 1103515245u + 12345u;
    text += kWords[(state >> 16) % (sizeof kWords / sizeof kWords[0])];
  }
  while (text.size() > size) text.pop_back();
  while (!text.empty() && static_cast<unsigned char>(text.back()) >= 0x80)
    text.pop_back();
  return text;
}

const std::string& utf8_input(bool mixed, std::size_t size) {
  static std::map<std::pair<bool, std::size_t>, std::string> inputs;
  std::string& text = inputs[{mixed, size}];
  if (text.empty()) text = mixed ? mixed_text(size) : ascii_text(size);
  return text;
}

const std::wstring& wide_input(bool mixed, std::size_t size) {
  static std::map<std::pair<bool, std::size_t>, std::wstring> inputs;
  std::wstring& text = inputs[{mixed, size}];
  if (text.empty()) text = gvk::from_utf8(utf8_input(mixed, size));
  return text;
}

template <std::wstring (*Decode)(const std::string&)>
void decode(benchmark::State& state, bool mixed) {
  const std::string& text = utf8_input(mixed, static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    std::wstring wide = Decode(text);
    benchmark::DoNotOptimize(wide.data());
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations()) *
                          static_cast<long long>(text.size()));
}

template <std::string (*Encode)(const std::wstring&)>
void encode(benchmark::State& state, bool mixed) {
  const std::size_t size = static_cast<std::size_t>(state.range(0));
  const std::wstring& wide = wide_input(mixed, size);
  const std::size_t bytes = utf8_input(mixed, size).size();
  for (auto _ : state) {
    std::string narrow = Encode(wide);
    benchmark::DoNotOptimize(narrow.data());
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations()) *
                          static_cast<long long>(bytes));
}

void BM_FromUtf8_Ascii(benchmark::State& s) { decode<gvk::from_utf8>(s, false); }
void BM_FromUtf8_Ascii_ByteLoop(benchmark::State& s) {
  decode<reference::from_utf8>(s, false);
}
void BM_FromUtf8_Mixed(benchmark::State& s) { decode<gvk::from_utf8>(s, true); }
void BM_FromUtf8_Mixed_ByteLoop(benchmark::State& s) {
  decode<reference::from_utf8>(s, true);
}
void BM_ToUtf8_Ascii(benchmark::State& s) { encode<gvk::to_utf8>(s, false); }
void BM_ToUtf8_Ascii_ByteLoop(benchmark::State& s) {
  encode<reference::to_utf8>(s, false);
}
void BM_ToUtf8_Mixed(benchmark::State& s) { encode<gvk::to_utf8>(s, true); }
void BM_ToUtf8_Mixed_ByteLoop(benchmark::State& s) {
  encode<reference::to_utf8>(s, true);
}

// The floor under any converter that returns a new string: a result of the same
// size, allocated and filled (wide as from_utf8 makes it, narrow as to_utf8 does).
void BM_FreshWideResult(benchmark::State& state) {
  const std::size_t size = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    std::wstring wide(size, L'a');
    benchmark::DoNotOptimize(wide.data());
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations()) *
                          static_cast<long long>(size));
}

void BM_FreshNarrowResult(benchmark::State& state) {
  const std::size_t size = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    std::string narrow(size, 'a');
    benchmark::DoNotOptimize(narrow.data());
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations()) *
                          static_cast<long long>(size));
}

#define GRAVOK_TEXT_BENCHMARK(name) \
  BENCHMARK(name)->Arg(kMiB)->Arg(100 * kMiB)->Unit(benchmark::kMillisecond)

GRAVOK_TEXT_BENCHMARK(BM_FromUtf8_Ascii);
GRAVOK_TEXT_BENCHMARK(BM_FromUtf8_Ascii_ByteLoop);
GRAVOK_TEXT_BENCHMARK(BM_ToUtf8_Ascii);
GRAVOK_TEXT_BENCHMARK(BM_ToUtf8_Ascii_ByteLoop);
GRAVOK_TEXT_BENCHMARK(BM_FromUtf8_Mixed);
GRAVOK_TEXT_BENCHMARK(BM_FromUtf8_Mixed_ByteLoop);
GRAVOK_TEXT_BENCHMARK(BM_ToUtf8_Mixed);
GRAVOK_TEXT_BENCHMARK(BM_ToUtf8_Mixed_ByteLoop);
GRAVOK_TEXT_BENCHMARK(BM_FreshWideResult);
GRAVOK_TEXT_BENCHMARK(BM_FreshNarrowResult);

}  // namespace
