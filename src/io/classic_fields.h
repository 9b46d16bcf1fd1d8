// Reading numeric fields from a line of text exactly as the standard formatted
// stream extraction does in the classic locale, without a stream. Internal to the
// library; the readers of the hot path are inline so that a line parses without a
// call per field.
#ifndef GRAVOK_SRC_IO_CLASSIC_FIELDS_H
#define GRAVOK_SRC_IO_CLASSIC_FIELDS_H

#include <cfloat>
#include <charconv>
#include <cstdint>
#include <cstring>
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

inline bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

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

// Eight bytes as one little-endian word.
inline std::uint64_t load_eight(const char* p) {
  unsigned char b[8];
  std::memcpy(b, p, 8);
  std::uint64_t v = 0;
  for (int k = 7; k >= 0; --k) v = (v << 8) | b[k];
  return v;
}

// How many of the bytes of a word from load_eight, from its first, are decimal
// digits. Each byte is flagged on its own; a carry out of a byte that is not a digit
// can only disturb the flags of the bytes after it, which do not count.
inline int leading_digits(std::uint64_t v) {
  const std::uint64_t x = v ^ 0x3030303030303030u;  // digits become 0 to 9
  const std::uint64_t flags = ((x + 0x7676767676767676u) | x) & 0x8080808080808080u;
  if (flags == 0) return 8;
#if defined(__GNUC__)
  return __builtin_ctzll(flags) / 8;
#else
  int n = 0;
  while ((flags >> (8 * n + 7) & 1) == 0) ++n;
  return n;
#endif
}

// The value of eight decimal digits, the first one the most significant.
inline std::uint64_t eight_digit_value(std::uint64_t v) {
  v -= 0x3030303030303030u;
  v = (v * 10) + (v >> 8);
  return (((v & 0x000000FF000000FFu) * (100 + (1000000ULL << 32))) +
          (((v >> 16) & 0x000000FF000000FFu) * (1 + (10000ULL << 32)))) >>
         32;
}

// The value of the first `n` (1 to 7) digits of a word from load_eight: the bytes
// after them are dropped and zero digits shifted in ahead of them.
inline std::uint64_t leading_digit_value(std::uint64_t v, int n) {
  const int drop = 8 * (8 - n);
  return eight_digit_value((v << drop) | (0x3030303030303030u >> (64 - drop)));
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
  const int run = cursor.end - p >= 8 ? leading_digits(load_eight(p)) : 8;
  if (run < 8) {  // all the digits in one word: at most seven, which always fit
    if (run > 0) magnitude = leading_digit_value(load_eight(p), run);
    p += run;
  } else {
    for (; p != cursor.end && is_digit(*p); ++p) {
      if (p - significant == 11) return false;
      magnitude = magnitude * 10 + static_cast<unsigned>(*p - '0');
    }
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

// The nearest double to w / 10^d, for w of at least 2^53 and below 10^19 and d at
// most 19; false only if the search for it does not settle, which it always does.
bool nearest_double(unsigned long long w, int d, double& value);

// Appends the digits at p to w (which wraps past 64 bits; the caller counts the
// digits and gives up beyond 19) and returns the position after them.
inline const char* take_decimal_digits(const char* p, const char* end, std::uint64_t& w,
                                       int& digits) {
  static constexpr std::uint64_t kScale[] = {1,      10,      100,      1000,     10000,
                                             100000, 1000000, 10000000, 100000000};
  while (end - p >= 8) {
    const std::uint64_t word = load_eight(p);
    const int n = leading_digits(word);
    if (n == 0) return p;
    w = w * kScale[n] + (n == 8 ? eight_digit_value(word) : leading_digit_value(word, n));
    digits += n;
    p += n;
    if (n < 8) return p;
  }
  for (; p != end && is_digit(*p); ++p, ++digits)
    w = w * 10 + static_cast<unsigned>(*p - '0');
  return p;
}

// The magnitude of a real written as plain digits with at most one "." and no
// exponent, with at most 19 digits of which at most 19 after the point: the nearest
// double (what the extraction gives), and the cursor moved past it. False, with the
// cursor where it was, for any other text, which read_double's general path then
// decides. Below 2^53 the digits and the power of ten are both exact doubles, so one
// division rounds once, correctly.
inline bool read_plain_magnitude(Cursor& cursor, double& magnitude) {
#if FLT_EVAL_METHOD == 0
  static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,
                                       1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13,
                                       1e14, 1e15, 1e16, 1e17, 1e18, 1e19};
  std::uint64_t w = 0;
  int digits = 0;
  const char* p = take_decimal_digits(cursor.at, cursor.end, w, digits);
  const int whole = digits;
  if (p != cursor.end && *p == '.') p = take_decimal_digits(p + 1, cursor.end, w, digits);
  if (digits == 0 || digits > 19) return false;
  if (p != cursor.end && (*p == 'e' || *p == 'E')) return false;
  const int fraction = digits - whole;
  if (w < (std::uint64_t{1} << 53)) {
    magnitude = static_cast<double>(w) / kPowers[fraction];
  } else if (!nearest_double(w, fraction, magnitude)) {
    return false;
  }
  cursor.at = p;
  return true;
#else
  (void)cursor;
  (void)magnitude;
  return false;  // intermediate precision would round twice
#endif
}

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
  if (read_plain_magnitude(cursor, magnitude)) {
    value = negative ? -magnitude : magnitude;
    return true;
  }
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
