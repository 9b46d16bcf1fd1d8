// UTF-8 / UTF-16 conversion and lower-casing. Both converters collect their output in
// a small buffer on the stack and append it to the result a chunk at a time. Runs of
// ASCII go eight bytes (or eight units) at a time, up to the exact place where the
// run ends; from there on, and for the last few bytes of the text, the steps go one
// at a time by the rules in text.h until eight ASCII bytes in a row have gone by.
// The driving loops of to_utf8 and from_utf8 look alike but stay written out apiece:
// folded into one template, to_utf8 lost a fifth of its ASCII speed with g++ 12.
#include <gravok/text.h>

#include <algorithm>
#include <array>
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

// The high bit of every byte of the eight at `bytes` that is 0 or from 0x80 up,
// that is, not ASCII text. A zero byte borrows in the subtraction and so sets its own
// high bit; a borrow can only flag bytes above the first flagged one, so the lowest
// flag is always exact.
std::uint64_t non_ascii_bytes(const unsigned char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return (word | (word - kLowBits)) & kHighBits;
}

// True where the first byte of a word in memory is its least significant one.
bool is_little_endian() {
  const std::uint16_t one = 1;
  unsigned char first = 0;
  std::memcpy(&first, &one, 1);
  return first == 1;
}

// The number of ASCII bytes (0x01-0x7F) at the start of the eight at `bytes`, given
// their non-zero `flags`: on little-endian machines the flags below the lowest one
// tell at once, elsewhere the bytes are counted.
std::size_t ascii_prefix(const unsigned char* bytes, std::uint64_t flags) {
  if (!is_little_endian()) {
    std::size_t count = 0;
    while (bytes[count] - 1u < 0x7Fu) ++count;
    return count;
  }
  const std::uint64_t lowest = flags & (~flags + 1);
  // Every byte below the flagged one, and that byte itself, keeps its lowest bit in
  // lowest - 1; adding those bits up in the top byte counts them.
  return static_cast<std::size_t>(((((lowest - 1) & kLowBits) * kLowBits) >> 56) - 1);
}

// True when `unit` lies in 0x01-0x7F: 0 turns into all ones when one is subtracted,
// and anything from 0x80 up keeps a bit above 0x7F.
bool is_ascii_unit(std::uint32_t unit) { return (unit | (unit - 1u)) < 0x80u; }

// The number of ASCII elements at the start of the eight at `units`, at least one of
// which is not ASCII. The elements are flagged without a branch; the lowest flag
// is then found in a table.
std::size_t ascii_unit_prefix(const wchar_t* units) {
  static constexpr auto kLowestBit = [] {
    std::array<unsigned char, 256> table{};
    for (unsigned flags = 1; flags < 256; ++flags) {
      unsigned char bit = 0;
      while (!(flags & (1u << bit))) ++bit;
      table[flags] = bit;
    }
    return table;
  }();
  unsigned flags = 0;
  for (std::size_t i = 0; i < kWord; ++i) {
    flags |= static_cast<unsigned>(!is_ascii_unit(static_cast<std::uint32_t>(units[i])))
             << i;
  }
  return kLowestBit[flags];
}

// True when the eight elements at `units` all lie in 0x01-0x7F.
bool is_ascii_units(const wchar_t* units) {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < kWord; ++i) {
    const auto unit = static_cast<std::uint32_t>(units[i]);
    bits |= unit | (unit - 1u);
  }
  return bits < 0x80u;
}

// Widens the ASCII text at the start of the first `count` bytes into `out`, a word
// at a time, up to the first byte that is not ASCII or the last whole word; returns
// the number of bytes taken. It may write up to seven units past that number, but
// never beyond `count`.
std::size_t widen_ascii(const unsigned char* bytes, std::size_t count, wchar_t* out) {
  std::size_t done = 0;
  while (count - done >= kWord) {
    const std::uint64_t flags = non_ascii_bytes(bytes + done);
    for (std::size_t i = 0; i < kWord; ++i) {
      out[done + i] = static_cast<wchar_t>(bytes[done + i]);
    }
    if (flags != 0) return done + ascii_prefix(bytes + done, flags);
    done += kWord;
  }
  return done;
}

// Narrows the ASCII units at the start of the first `count` units into `out`, eight
// at a time, up to the first unit that is not ASCII or the last whole group of
// eight; returns the number of units taken.
std::size_t narrow_ascii(const wchar_t* units, std::size_t count, char* out) {
  std::size_t done = 0;
  while (count - done >= kWord) {
    for (std::size_t i = 0; i < kWord; ++i) {
      out[done + i] = static_cast<char>(units[done + i]);
    }
    if (!is_ascii_units(units + done)) return done + ascii_unit_prefix(units + done);
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

// Decodes text that mixes ASCII with longer sequences one step at a time, so that
// short runs of ASCII between characters do not pay for a word test. Returns to the
// word path once kWord ASCII bytes in a row have gone by, and stops at a 0 byte
// (which ends the text), at the end of the input, or when `used` reaches `limit`.
void decode_mixed(const unsigned char* bytes, std::size_t size, std::size_t& pos,
                  wchar_t* out, std::size_t& used, std::size_t limit) {
  std::size_t ascii_streak = 0;
  while (pos < size && used < limit && ascii_streak < kWord) {
    const unsigned lead = bytes[pos];
    if (lead >= 0x80u) {
      pos += decode_sequence(bytes, size, pos, out[used++]);
      ascii_streak = 0;
    } else if (lead != 0) {
      out[used++] = static_cast<wchar_t>(lead);
      ++pos;
      ++ascii_streak;
    } else {
      return;
    }
  }
}

// Encodes text that mixes ASCII with other elements one element at a time, the
// counterpart of decode_mixed: back to the word path after kWord ASCII units in a
// row; stops at a 0 unit, at `size`, or when fewer than six bytes are left before
// `limit`.
void encode_mixed(const wchar_t* units, std::size_t size, std::size_t& pos, char* out,
                  std::size_t& used, std::size_t limit) {
  std::size_t ascii_streak = 0;
  while (pos < size && used + 6 <= limit && ascii_streak < kWord) {
    const auto value = static_cast<std::uint32_t>(units[pos]);
    if (value == 0) return;
    used += encode_element(value, out + used);
    ++pos;
    ascii_streak = value < 0x80u ? ascii_streak + 1 : 0;
  }
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
    if (kChunk - used < 2 * kWord) {
      result.append(chunk, used);
      used = 0;
    }
    const std::size_t run = narrow_ascii(
        units + pos, std::min(size - pos, kChunk - used - kWord), chunk + used);
    pos += run;
    used += run;
    if (pos == size || units[pos] == 0) break;
    encode_mixed(units, size, pos, chunk, used, kChunk - kWord);
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
    if (kChunk - used < 2 * kWord) {
      result.append(chunk, used);
      used = 0;
    }
    const std::size_t run = widen_ascii(
        bytes + pos, std::min(size - pos, kChunk - used - kWord), chunk + used);
    pos += run;
    used += run;
    if (pos == size || bytes[pos] == 0) break;
    decode_mixed(bytes, size, pos, chunk, used, kChunk - kWord);
  }
  result.append(chunk, used);
  return result;
}

}  // namespace gvk
