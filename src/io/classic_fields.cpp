// Classic-locale field extraction. The rules follow what the standard stream
// extraction accepts character by character (one sign, leading zeros, one decimal
// point, an exponent only after a mantissa digit); reals are converted with
// std::from_chars, which rounds correctly as strtod does.
#include "classic_fields.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace gvk {
namespace classic_fields {
namespace {

bool is_space(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Skips white space; false when nothing is left, where a stream would fail.
bool skip_space(Cursor& cursor) {
  while (cursor.at != cursor.end && is_space(*cursor.at)) ++cursor.at;
  return cursor.at != cursor.end;
}

// Consumes an optional "+" or "-"; true for "-".
bool take_sign(Cursor& cursor) {
  if (cursor.at == cursor.end) return false;
  const char c = *cursor.at;
  if (c != '+' && c != '-') return false;
  ++cursor.at;
  return c == '-';
}

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

// The span of a real after its sign.
struct RealText {
  const char* begin;
  const char* end;
};

// For a well-formed real that from_chars finds out of range: whether its magnitude
// is huge (overflow) rather than tiny (underflow), from the decimal position of its
// first significant digit.
bool is_huge(const RealText& text) {
  long long position = 0;  // power of ten of the first significant digit
  bool found = false;
  bool after_point = false;
  const char* p = text.begin;
  for (; p != text.end && *p != 'e' && *p != 'E'; ++p) {
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
  if (p == text.end) return position > 0;
  ++p;
  Cursor exponent{p, text.end};
  const bool negative = take_sign(exponent);
  const Magnitude m = take_digits(exponent, 1ULL << 40);
  const long long e = m.overflow ? (1LL << 40) : static_cast<long long>(m.value);
  return position + (negative ? -e : e) > 0;
}

}  // namespace

// The magnitude saturates just above the limit, so it never wraps however many
// digits follow.
bool read_int32(Cursor& cursor, int& value) {
  if (!skip_space(cursor)) return false;
  const bool negative = take_sign(cursor);
  const long long limit =
      negative ? 1LL + std::numeric_limits<int>::max() : std::numeric_limits<int>::max();
  const char* p = cursor.at;
  long long magnitude = 0;
  for (; p != cursor.end && is_digit(*p); ++p) {
    magnitude = std::min(magnitude * 10 + (*p - '0'), limit + 1);
  }
  if (p == cursor.at || magnitude > limit) return false;
  cursor.at = p;
  value = static_cast<int>(negative ? -magnitude : magnitude);
  return true;
}

bool read_uint64(Cursor& cursor, unsigned long long& value) {
  if (!skip_space(cursor)) return false;
  const bool negative = take_sign(cursor);
  const Magnitude m = take_digits(cursor, std::numeric_limits<unsigned long long>::max());
  if (!m.any_digit || m.overflow) return false;
  value = negative ? 0ULL - m.value : m.value;
  return true;
}

// from_chars accepts the same text as the extraction once the sign is taken off and
// the text starts with a digit or a point (which rules out "inf" and "nan"), except
// that an "e" without exponent digits is where from_chars stops while the
// extraction takes it in and fails.
bool read_double(Cursor& cursor, double& value) {
  if (!skip_space(cursor)) return false;
  const bool negative = take_sign(cursor);
  if (cursor.at == cursor.end || !(is_digit(*cursor.at) || *cursor.at == '.'))
    return false;
  double magnitude = 0.0;
  const std::from_chars_result result = std::from_chars(cursor.at, cursor.end, magnitude);
  if (result.ec == std::errc::invalid_argument) return false;
  const RealText text{cursor.at, result.ptr};
  cursor.at = result.ptr;
  if (cursor.at != cursor.end && (*cursor.at == 'e' || *cursor.at == 'E')) return false;
  if (result.ec == std::errc::result_out_of_range) {
    if (is_huge(text)) return false;
    magnitude = 0.0;
  }
  value = negative ? -magnitude : magnitude;
  return true;
}

}  // namespace classic_fields
}  // namespace gvk
