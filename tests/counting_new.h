// The memory a test program holds, counted: this header replaces the global operator
// new and delete (every form) with versions that keep one live total and its peak, so
// that a test can show that a reader holds memory in proportion to the bytes it was
// given. Include it in exactly one source file of a test program; replacement
// allocation functions cannot be inline.
//
// counted_malloc and counted_free count the same way for a library that takes its
// own allocation functions (the XML parser's, for instance).
#ifndef GRAVOK_TESTS_COUNTING_NEW_H
#define GRAVOK_TESTS_COUNTING_NEW_H

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <new>

namespace counting {

inline std::atomic<std::size_t> g_live{0};
inline std::atomic<std::size_t> g_peak{0};
constexpr std::size_t kHeader = 16;  // keeps the block's size; keeps the alignment

inline void* counted_malloc(std::size_t size) {
  void* block = std::malloc(size + kHeader);
  if (block == nullptr) return nullptr;
  *static_cast<std::size_t*>(block) = size;
  const std::size_t live = g_live += size;
  std::size_t peak = g_peak.load();
  while (live > peak && !g_peak.compare_exchange_weak(peak, live)) {
  }
  return static_cast<char*>(block) + kHeader;
}

inline void counted_free(void* p) {
  if (p == nullptr) return;
  void* block = static_cast<char*>(p) - kHeader;
  g_live -= *static_cast<std::size_t*>(block);
  std::free(block);
}

// The most memory held at once while `work` runs, beyond what was held before.
inline std::size_t peak_of(const std::function<void()>& work) {
  const std::size_t before = g_live.load();
  g_peak = before;
  work();
  return g_peak.load() - before;
}

}  // namespace counting

void* operator new(std::size_t size) {
  if (void* p = counting::counted_malloc(size)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { counting::counted_free(p); }
void operator delete(void* p, std::size_t) noexcept { counting::counted_free(p); }
// The other forms go through the two above: with a sanitizer, its runtime would serve
// them otherwise (parsers and the standard library use nothrow new in places), and
// our delete would free blocks it did not allocate.
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return counting::counted_malloc(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return counting::counted_malloc(size);
}
void operator delete[](void* p) noexcept { counting::counted_free(p); }
void operator delete[](void* p, std::size_t) noexcept { counting::counted_free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept {
  counting::counted_free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
  counting::counted_free(p);
}

#endif  // GRAVOK_TESTS_COUNTING_NEW_H
