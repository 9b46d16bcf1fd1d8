// Reading numeric fields from a line of text exactly as the standard formatted
// stream extraction does in the classic locale, without a stream. Internal to the
// library; the readers of the hot path are inline so that a line parses without a
// call per field.
#ifndef GRAVOK_SRC_IO_CLASSIC_FIELDS_H
#define GRAVOK_SRC_IO_CLASSIC_FIELDS_H

#include <charconv>
#include <system_error>

namespace gvk {
namespace classic_fields {

// The unread rest of a line.
struct Cursor {
  const char* at;
  const char* end;
};

// Each reader skips leading white space (space, tab, line feed, vertical tab, form
// feed, carriage return), reads one field and moves the cursor past the characters
// that the extraction consumes, stopping at the first that cannot continue the
// field. It returns false when the field does not parse; the cursor is then
// unspecified, as a failed stream reads nothing more either.

inline bool is_space(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

inline bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Skips white space; false when nothing is left, where a stream would fail.
inline bool skip_space(Cursor& cursor) {
  while (cursor.at != cursor.end && is_space(*cursor.at)) ++cursor.at;
  return cursor.at != cursor.end;
}

// Consumes an optional "+" or "-"; true for "-".
inline bool take_sign(Cursor& cursor) {
  if (cursor.at == cursor.end) return false;
  const char c = *cursor.at;
  if (c != '+' && c != '-') return false;
  ++cursor.at;
  return c == '-';
}

// A decimal int: optional sign, digits; false when out of range. Leading zeros
// never overflow; a twelfth significant digit always does.
inline bool read_int32(Cursor& cursor, int& value) {
  if (!skip_space(cursor)) return false;
  const bool negative = take_sign(cursor);
  const char* p = cursor.at;
  while (p != cursor.end && *p == '0') ++p;
  const char* const significant = p;
  unsigned long long magnitude = 0;
  for (; p != cursor.end && is_digit(*p); ++p) {
    if (p - significant == 11) return false;
    magnitude = magnitude * 10 + static_cast<unsigned>(*p - '0');
  }
  if (p == cursor.at || magnitude > (negative ? 2147483648ULL : 2147483647ULL))
    return false;
  cursor.at = p;
  value = negative ? static_cast<int>(-static_cast<long long>(magnitude))
                   : static_cast<int>(magnitude);
  return true;
}

// A decimal unsigned long long: optional sign (a "-" negates modulo 2^64), digits;
// false when the magnitude exceeds the type.
bool read_uint64(Cursor& cursor, unsigned long long& value);

// For the digits, point and exponent of a real that from_chars finds out of range:
// whether it is huge (an overflow) rather than tiny (an underflow to zero).
bool is_huge(const char* begin, const char* end);

// A real: optional sign, digits with at most one ".", then, only after at least one
// digit, an exponent "e" or "E" with optional sign. False without a mantissa digit,
// with an exponent without digits, or when the value overflows; values too small
// for a double read as a zero of the sign given. from_chars accepts the same text
// once the sign is taken off and the text starts with a digit or a point (which
// rules out "inf" and "nan"), except that an "e" without exponent digits is where
// from_chars stops while the extraction takes it in and fails.
inline bool read_double(Cursor& cursor, double& value) {
  if (!skip_space(cursor)) return false;
  const bool negative = take_sign(cursor);
  if (cursor.at == cursor.end || !(is_digit(*cursor.at) || *cursor.at == '.')) {
    return false;
  }
  double magnitude = 0.0;
  const std::from_chars_result result = std::from_chars(cursor.at, cursor.end, magnitude);
  if (result.ec == std::errc::invalid_argument) return false;
  const char* const begin = cursor.at;
  cursor.at = result.ptr;
  if (cursor.at != cursor.end && (*cursor.at == 'e' || *cursor.at == 'E')) return false;
  if (result.ec == std::errc::result_out_of_range) {
    if (is_huge(begin, result.ptr)) return false;
    magnitude = 0.0;
  }
  value = negative ? -magnitude : magnitude;
  return true;
}

}  // namespace classic_fields
}  // namespace gvk

#endif  // GRAVOK_SRC_IO_CLASSIC_FIELDS_H
