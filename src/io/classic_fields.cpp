// The rarely used parts of classic-locale field extraction: the vertex and segment
// counts, and the sorting of out-of-range reals into overflow and underflow.
#include "classic_fields.h"

#include <cstdint>
#include <cstring>
#include <limits>

namespace gvk {
namespace classic_fields {
namespace {

// Consumes every digit; `overflow` records a magnitude above `limit`. Leading zeros
// are skipped first; up to 19 significant digits cannot overflow 64 bits, so only a
// 20th needs a check and a 21st always overflows.
struct Magnitude {
  unsigned long long value = 0;
  bool any_digit = false;
  bool overflow = false;
};

Magnitude take_digits(Cursor& cursor, unsigned long long limit) {
  Magnitude m;
  const char* p = cursor.at;
  while (p != cursor.end && *p == '0') ++p;
  const char* significant = p;
  unsigned long long value = 0;
  for (; p != cursor.end && is_digit(*p) && p - significant < 19; ++p) {
    value = value * 10 + static_cast<unsigned>(*p - '0');
  }
  if (p != cursor.end && is_digit(*p)) {
    const unsigned digit = static_cast<unsigned>(*p - '0');
    if (value > (~0ULL - digit) / 10) {
      m.overflow = true;
    } else {
      value = value * 10 + digit;
    }
    for (++p; p != cursor.end && is_digit(*p); ++p) m.overflow = true;
  }
  m.any_digit = p != cursor.at;
  m.overflow = m.overflow || value > limit;
  m.value = value;
  cursor.at = p;
  return m;
}

// An unsigned 128-bit integer, as much of one as the comparison below needs.
struct Wide {
  std::uint64_t high;
  std::uint64_t low;
};

Wide multiply(std::uint64_t a, std::uint64_t b) {
#if defined(__SIZEOF_INT128__)
  __extension__ typedef unsigned __int128 Product;
  const Product p = static_cast<Product>(a) * b;
  return Wide{static_cast<std::uint64_t>(p >> 64), static_cast<std::uint64_t>(p)};
#else
  const std::uint64_t a0 = a & 0xFFFFFFFFu, a1 = a >> 32;
  const std::uint64_t b0 = b & 0xFFFFFFFFu, b1 = b >> 32;
  const std::uint64_t p00 = a0 * b0, p01 = a0 * b1, p10 = a1 * b0, p11 = a1 * b1;
  const std::uint64_t middle = (p00 >> 32) + (p01 & 0xFFFFFFFFu) + (p10 & 0xFFFFFFFFu);
  return Wide{p11 + (p01 >> 32) + (p10 >> 32) + (middle >> 32),
              (middle << 32) | (p00 & 0xFFFFFFFFu)};
#endif
}

Wide minus(Wide a, Wide b) {
  return Wide{a.high - b.high - (a.low < b.low ? 1 : 0), a.low - b.low};
}

// Shifts by 0 to 127 places; bits shifted out are lost.
Wide shifted_left(Wide v, int places) {
  if (places == 0) return v;
  if (places >= 64) return Wide{v.low << (places - 64), 0};
  return Wide{(v.high << places) | (v.low >> (64 - places)), v.low << places};
}

int compare(Wide a, Wide b) {
  if (a.high != b.high) return a.high < b.high ? -1 : 1;
  if (a.low != b.low) return a.low < b.low ? -1 : 1;
  return 0;
}

constexpr std::uint64_t kPowersOfTen[] = {1ULL,
                                          10ULL,
                                          100ULL,
                                          1000ULL,
                                          10000ULL,
                                          100000ULL,
                                          1000000ULL,
                                          10000000ULL,
                                          100000000ULL,
                                          1000000000ULL,
                                          10000000000ULL,
                                          100000000000ULL,
                                          1000000000000ULL,
                                          10000000000000ULL,
                                          100000000000000ULL,
                                          1000000000000000ULL,
                                          10000000000000000ULL,
                                          100000000000000000ULL,
                                          1000000000000000000ULL,
                                          10000000000000000000ULL};

std::uint64_t bits_of(double v) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &v, sizeof bits);
  return bits;
}

double double_of(std::uint64_t bits) {
  double v = 0.0;
  std::memcpy(&v, &bits, sizeof v);
  return v;
}

// Where w / 10^d lies against the midpoints around the positive normal double with
// the given bits: `above` and `below` are the signs of the value minus the midpoint
// to the next double up and to the next one down. With a = m * 2^e (m of 53 bits)
// the midpoint above is (2m + 1) * 2^(e-1), and both sides are scaled to integers.
// For the operands nearest_double passes (w below 10^19, d at most 19, a within a
// few units of w / 10^d) every product stays below 2^127.
struct Sides {
  int above;
  int below;
};

Sides compare_with_midpoints(std::uint64_t w, int d, std::uint64_t bits) {
  const int e = static_cast<int>(bits >> 52) - 1075;
  const std::uint64_t fraction = bits & ((std::uint64_t{1} << 52) - 1);
  const std::uint64_t m = fraction | (std::uint64_t{1} << 52);
  Wide value{0, w};
  Wide high = multiply(kPowersOfTen[d], 2 * m + 1);
  Wide step{0, 2 * kPowersOfTen[d]};  // down to (2m - 1) * 2^(e-1), scaled alike
  if (e >= 1) {
    high = shifted_left(high, e - 1);
    step = shifted_left(step, e - 1);
  } else {
    value = shifted_left(value, 1 - e);
  }
  Sides sides{compare(value, high), compare(value, minus(high, step))};
  // At a power of two the double below lies half as far: its own midpoint above.
  if (fraction == 0) sides.below = compare_with_midpoints(w, d, bits - 1).above;
  return sides;
}

}  // namespace

// Starts from the quotient in doubles, which is within two units of the nearest
// double, and moves up or down while the value lies beyond a midpoint; at a midpoint
// the even neighbour wins, as the extraction's rounding to nearest does.
bool nearest_double(unsigned long long w, int d, double& value) {
  static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,
                                       1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13,
                                       1e14, 1e15, 1e16, 1e17, 1e18, 1e19};
  std::uint64_t q = bits_of(static_cast<double>(w) / kPowers[d]);
  for (int step = 0; step < 4; ++step) {
    const Sides sides = compare_with_midpoints(w, d, q);
    if (sides.above > 0 || (sides.above == 0 && (q & 1) != 0)) {
      ++q;
      continue;
    }
    if (sides.below < 0 || (sides.below == 0 && (q & 1) != 0)) {
      --q;
      continue;
    }
    value = double_of(q);
    return true;
  }
  return false;
}

bool read_uint64(Cursor& cursor, unsigned long long& value) {
  if (!skip_space(cursor)) return false;
  const bool negative = take_sign(cursor);
  const Magnitude m = take_digits(cursor, std::numeric_limits<unsigned long long>::max());
  if (!m.any_digit || m.overflow) return false;
  value = negative ? 0ULL - m.value : m.value;
  return true;
}

// The decimal position of the first significant digit plus the exponent: positive
// for a huge value. Out-of-range values lie beyond 10^308 or below 10^-324, so
// the sign alone decides.
bool is_huge(const char* begin, const char* end) {
  long long position = 0;  // power of ten of the first significant digit
  bool found = false;
  bool after_point = false;
  const char* p = begin;
  for (; p != end && *p != 'e' && *p != 'E'; ++p) {
    if (*p == '.') {
      after_point = true;
    } else if (!found && *p != '0') {
      found = true;
      position = after_point ? position - 1 : 0;
    } else if (!found && after_point) {
      --position;
    } else if (found && !after_point) {
      ++position;
    }
  }
  if (p == end) return position > 0;
  Cursor exponent{p + 1, end};
  const bool negative = take_sign(exponent);
  const Magnitude m = take_digits(exponent, 1ULL << 40);
  const long long e = m.overflow ? (1LL << 40) : static_cast<long long>(m.value);
  return position + (negative ? -e : e) > 0;
}

}  // namespace classic_fields
}  // namespace gvk
