// Classic-locale field extraction. The rules follow what the standard stream
// extraction accepts character by character (the sign, leading zeros, one decimal
// point, an exponent only after a mantissa digit); reals are then converted with
// std::from_chars, which rounds correctly as strtod does.
#include "classic_fields.h"

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

// Consumes every digit; `overflow` records a magnitude above `limit`.
struct Magnitude {
  unsigned long long value = 0;
  bool any_digit = false;
  bool overflow = false;
};

Magnitude take_digits(Cursor& cursor, unsigned long long limit) {
  Magnitude m;
  for (; cursor.at != cursor.end && is_digit(*cursor.at); ++cursor.at) {
    m.any_digit = true;
    const unsigned digit = static_cast<unsigned>(*cursor.at - '0');
    if (m.overflow || m.value > (limit - digit) / 10) {
      m.overflow = true;
    } else {
      m.value = m.value * 10 + digit;
    }
  }
  return m;
}

// The span of a real after its sign, as the extraction accepts it.
struct RealText {
  const char* begin;
  const char* end;
  bool well_formed;
};

RealText take_real(Cursor& cursor) {
  RealText text{cursor.at, cursor.at, false};
  bool mantissa_digit = false;
  bool point = false;
  for (; cursor.at != cursor.end; ++cursor.at) {
    const char c = *cursor.at;
    if (is_digit(c)) {
      mantissa_digit = true;
    } else if (c == '.' && !point) {
      point = true;
    } else {
      break;
    }
  }
  text.well_formed = mantissa_digit;
  if (mantissa_digit && cursor.at != cursor.end &&
      (*cursor.at == 'e' || *cursor.at == 'E')) {
    ++cursor.at;
    take_sign(cursor);
    text.well_formed = take_digits(cursor, ~0ULL).any_digit;
  }
  text.end = cursor.at;
  return text;
}

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

bool read_int32(Cursor& cursor, int& value) {
  if (!skip_space(cursor)) return false;
  const bool negative = take_sign(cursor);
  const unsigned long long limit =
      negative ? 1ULL + std::numeric_limits<int>::max() : std::numeric_limits<int>::max();
  const Magnitude m = take_digits(cursor, limit);
  if (!m.any_digit || m.overflow) return false;
  value = negative ? static_cast<int>(-static_cast<long long>(m.value))
                   : static_cast<int>(m.value);
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

bool read_double(Cursor& cursor, double& value) {
  if (!skip_space(cursor)) return false;
  const bool negative = take_sign(cursor);
  const RealText text = take_real(cursor);
  if (!text.well_formed) return false;
  double magnitude = 0.0;
  const std::from_chars_result result = std::from_chars(text.begin, text.end, magnitude);
  if (result.ec == std::errc::result_out_of_range) {
    if (is_huge(text)) return false;
    magnitude = 0.0;
  } else if (result.ec != std::errc() || result.ptr != text.end) {
    return false;
  }
  value = negative ? -magnitude : magnitude;
  return true;
}

}  // namespace classic_fields
}  // namespace gvk
