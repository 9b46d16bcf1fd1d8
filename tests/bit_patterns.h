// Doubles as their bit patterns, so that comparisons tell -0.0 from 0.0 and find a
// NaN equal to itself. Test and fuzz code only.
#ifndef GRAVOK_TESTS_BIT_PATTERNS_H
#define GRAVOK_TESTS_BIT_PATTERNS_H

#include <cstdint>
#include <cstring>
#include <vector>

inline std::vector<std::uint64_t> bit_patterns(const std::vector<double>& values) {
  static_assert(sizeof(double) == sizeof(std::uint64_t), "doubles are 64 bits");
  std::vector<std::uint64_t> out(values.size());
  if (!values.empty())
    std::memcpy(out.data(), values.data(), values.size() * sizeof(double));
  return out;
}

#endif  // GRAVOK_TESTS_BIT_PATTERNS_H
