// The rarely used parts of classic-locale field extraction: the vertex and segment
// counts, and the sorting of out-of-range reals into overflow and underflow.
#include "classic_fields.h"

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

}  // namespace

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
