// UTF-8 / UTF-16 conversion and lower-casing. Both converters collect their output in
// a small buffer on the stack and append it to the result a chunk at a time, and both
// take runs of ASCII eight bytes (or eight units) at a time; everything else goes one
// step at a time by the rules in text.h.
#include <gravok/text.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <locale>

namespace gvk {
namespace {

constexpr std::uint64_t kLowBits = 0x0101010101010101ULL;
constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;
constexpr std::size_t kWord = 8;
// Output gathered on the stack before it is appended to the result.
constexpr std::size_t kChunk = 2048;

// True when the eight bytes at `bytes` all lie in 0x01-0x7F. A zero byte borrows in
// the subtraction and so sets its own high bit; a byte from 0x80 up has it already.
bool is_ascii_word(const unsigned char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return ((word | (word - kLowBits)) & kHighBits) == 0;
}

// True when the eight elements at `units` all lie in 0x01-0x7F: 0 turns into all
// ones when one is subtracted, and anything from 0x80 up keeps a bit above 0x7F.
bool is_ascii_units(const wchar_t* units) {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < kWord; ++i) {
    const auto unit = static_cast<std::uint32_t>(units[i]);
    bits |= unit | (unit - 1u);
  }
  return bits < 0x80u;
}

// Widens the leading whole words of ASCII among the first `count` bytes into `out`;
// returns how many bytes it took, a multiple of eight.
std::size_t widen_ascii_words(const unsigned char* bytes, std::size_t count,
                              wchar_t* out) {
  std::size_t done = 0;
  while (count - done >= kWord && is_ascii_word(bytes + done)) {
    for (std::size_t i = 0; i < kWord; ++i) {
      out[done + i] = static_cast<wchar_t>(bytes[done + i]);
    }
    done += kWord;
  }
  return done;
}

// Narrows the leading whole groups of eight ASCII units among the first `count`
// units into `out`; returns how many units it took, a multiple of eight.
std::size_t narrow_ascii_units(const wchar_t* units, std::size_t count, char* out) {
  std::size_t done = 0;
  while (count - done >= kWord && is_ascii_units(units + done)) {
    for (std::size_t i = 0; i < kWord; ++i) {
      out[done + i] = static_cast<char>(units[done + i]);
    }
    done += kWord;
  }
  return done;
}

// The byte at `at`, or 0 when `at` lies past the end: a sequence cut off by the end
// of the input is completed with zero bytes, never by reading further.
unsigned byte_at(const unsigned char* bytes, std::size_t size, std::size_t at) {
  return at < size ? bytes[at] : 0u;
}

// Decodes the step that begins with the byte at `pos` (0x80 or above) into `unit`;
// returns the number of bytes the step spans, which may reach past the end.
std::size_t decode_sequence(const unsigned char* bytes, std::size_t size, std::size_t pos,
                            wchar_t& unit) {
  const unsigned lead = bytes[pos];
  const unsigned first = byte_at(bytes, size, pos + 1) & 0x3Fu;
  if ((lead & 0xF0u) == 0xE0u) {
    const unsigned second = byte_at(bytes, size, pos + 2) & 0x3Fu;
    unit = static_cast<wchar_t>(((lead & 0x0Fu) << 12) | (first << 6) | second);
    return 3;
  }
  unit = static_cast<wchar_t>(((lead & 0x1Fu) << 6) | first);
  return 2;
}

// Writes the UTF-8 bytes of the 16-bit unit `unit` (not 0) to `out`; returns their
// count, 1 to 3.
std::size_t encode_unit(std::uint32_t unit, char* out) {
  if (unit < 0x80u) {
    out[0] = static_cast<char>(unit);
    return 1;
  }
  if (unit < 0x800u) {
    out[0] = static_cast<char>(0xC0u | (unit >> 6));
    out[1] = static_cast<char>(0x80u | (unit & 0x3Fu));
    return 2;
  }
  out[0] = static_cast<char>(0xE0u | (unit >> 12));
  out[1] = static_cast<char>(0x80u | ((unit >> 6) & 0x3Fu));
  out[2] = static_cast<char>(0x80u | (unit & 0x3Fu));
  return 3;
}

// Writes the bytes of one wide element. An element wider than 16 bits (only where
// wchar_t has 32) travels as its surrogate pair; one beyond Unicode as U+FFFD.
// Returns the count, 1 to 6.
std::size_t encode_element(std::uint32_t value, char* out) {
  if (value <= 0xFFFFu) return encode_unit(value, out);
  if (value > 0x10FFFFu) return encode_unit(0xFFFDu, out);
  const std::uint32_t offset = value - 0x10000u;
  const std::size_t high = encode_unit(0xD800u | (offset >> 10), out);
  return high + encode_unit(0xDC00u | (offset & 0x3FFu), out + high);
}

}  // namespace

std::string to_lower_case(const std::string& text) {
  std::string result = text;
  if (result.empty()) return result;
  const auto& facet = std::use_facet<std::ctype<char>>(std::locale());
  facet.tolower(result.data(), result.data() + result.size());
  return result;
}

std::string to_utf8(const std::wstring& text) {
  std::string result;
  if (text.empty()) return result;
  result.reserve(text.size() * 6 + 1);
  const wchar_t* units = text.data();
  const std::size_t size = text.size();
  char chunk[kChunk];
  std::size_t used = 0;
  std::size_t pos = 0;
  while (pos < size) {
    if (kChunk - used < kWord) {
      result.append(chunk, used);
      used = 0;
    }
    const std::size_t run = narrow_ascii_units(
        units + pos, std::min(size - pos, kChunk - used), chunk + used);
    pos += run;
    used += run;
    if (run != 0) continue;
    const auto value = static_cast<std::uint32_t>(units[pos]);
    if (value == 0) break;
    used += encode_element(value, chunk + used);
    ++pos;
  }
  result.append(chunk, used);
  return result;
}

std::wstring from_utf8(const std::string& text) {
  std::wstring result;
  if (text.empty()) return result;
  result.reserve(text.size() + 1);
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const std::size_t size = text.size();
  wchar_t chunk[kChunk];
  std::size_t used = 0;
  std::size_t pos = 0;
  while (pos < size) {
    if (kChunk - used < kWord) {
      result.append(chunk, used);
      used = 0;
    }
    const std::size_t run =
        widen_ascii_words(bytes + pos, std::min(size - pos, kChunk - used), chunk + used);
    pos += run;
    used += run;
    if (run != 0) continue;
    const unsigned lead = bytes[pos];
    if (lead == 0) break;
    if (lead < 0x80u) {
      chunk[used++] = static_cast<wchar_t>(lead);
      ++pos;
    } else {
      pos += decode_sequence(bytes, size, pos, chunk[used++]);
    }
  }
  result.append(chunk, used);
  return result;
}

}  // namespace gvk
