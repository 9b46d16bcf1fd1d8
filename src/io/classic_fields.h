// Reading numeric fields from a line of text exactly as the standard formatted
// stream extraction does in the classic locale, without a stream. Internal to the
// library.
#ifndef GRAVOK_SRC_IO_CLASSIC_FIELDS_H
#define GRAVOK_SRC_IO_CLASSIC_FIELDS_H

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

// A decimal int: optional sign, digits; false when out of range.
bool read_int32(Cursor& cursor, int& value);

// A decimal unsigned long long: optional sign (a "-" negates modulo 2^64), digits;
// false when the magnitude exceeds the type.
bool read_uint64(Cursor& cursor, unsigned long long& value);

// A real: optional sign, digits with at most one ".", then, only after at least one
// digit, an exponent "e" or "E" with optional sign. False without a mantissa digit,
// with an exponent without digits, or when the value overflows; values too small
// for a double read as a zero of the sign given.
bool read_double(Cursor& cursor, double& value);

}  // namespace classic_fields
}  // namespace gvk

#endif  // GRAVOK_SRC_IO_CLASSIC_FIELDS_H
