/// @file
/// Text conversion between the library's two string forms: narrow std::string holding
/// UTF-8, used by the data interfaces, and wide std::wstring holding UTF-16 code
/// units, used by the log. Wide strings hold UTF-16 units on every platform; where
/// wchar_t is 32 bits, one element holds one 16-bit unit.
///
/// The converters use no locale and no platform service, keep no state, and may run on
/// any number of threads at once. They accept any input: malformed text converts by
/// the rules below and nothing is ever reported or rejected. Each takes its argument by
/// constant reference, returns a new string, and throws nothing but std::bad_alloc.
#ifndef GRAVOK_TEXT_H
#define GRAVOK_TEXT_H

#include <gravok/export.h>

#include <string>

namespace gvk {

/// Lower-cases `text` byte by byte with the std::ctype<char> facet of the global
/// locale in force at the call (a default-constructed std::locale). The result has
/// the input's length. Bytes of multi-byte UTF-8 sequences are treated one by one like
/// any other byte; under the classic locale only the letters A to Z change. Changing
/// the global locale while another thread lower-cases is the caller's concern.
GRAVOK_API std::string to_lower_case(const std::string& text);

/// Encodes UTF-16 units as UTF-8, each unit by itself: 0x01-0x7F as one byte,
/// 0x80-0x7FF as two, 0x800-0xFFFF as three. A surrogate (0xD800-0xDFFF) is encoded
/// like any other unit, so a character outside the Basic Multilingual Plane, stored as
/// a surrogate pair, becomes two three-byte sequences, never one four-byte sequence.
/// A unit equal to 0 ends the text: it and everything after it are dropped.
/// Where wchar_t is 32 bits, an element above 0xFFFF is first split into its UTF-16
/// surrogate pair and each surrogate is encoded as above; an element above 0x10FFFF
/// (negative values included) is encoded as U+FFFD (0xEF 0xBF 0xBD).
GRAVOK_API std::string to_utf8(const std::wstring& text);

/// Decodes UTF-8 bytes into UTF-16 units, one step at a time, by the byte b that
/// begins the step:
///   - 0 ends the text: it and everything after it are dropped;
///   - below 0x80: the unit b, one byte;
///   - 0xE0-0xEF: a three-byte sequence b c1 c2 gives
///     ((b & 0x0F) << 12) | ((c1 & 0x3F) << 6) | (c2 & 0x3F);
///   - any other byte from 0x80 up (two-byte leads, stray continuation bytes and
///     0xF0-0xFF alike): a two-byte sequence b c1 gives ((b & 0x1F) << 6) | (c1 & 0x3F).
/// Continuation bytes are not checked (their pattern is not tested and a 0 among them
/// does not end the text), overlong forms are accepted, and no replacement character
/// is produced. When a sequence is cut off by the end of the input, its missing bytes
/// count as 0; nothing past the end is ever read. A four-byte sequence of another
/// encoder therefore gives two units, not a surrogate pair.
/// Every wide string without a 0 unit survives to_utf8 followed by from_utf8 unchanged,
/// lone surrogates and surrogate pairs included.
GRAVOK_API std::wstring from_utf8(const std::string& text);

}  // namespace gvk

#endif  // GRAVOK_TEXT_H
