// Plain byte-at-a-time converters, written straight from the conversion rules in
// gravok/text.h. The tests compare the library against them, and the benchmarks run
// them beside the library as the baseline.
#ifndef GRAVOK_TESTS_TEXT_REFERENCE_H
#define GRAVOK_TESTS_TEXT_REFERENCE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace reference {

inline std::size_t encode_unit(std::uint32_t u, char* out) {
  if (u < 0x80) {
    out[0] = static_cast<char>(u);
    return 1;
  }
  if (u < 0x800) {
    out[0] = static_cast<char>(0xC0 | (u >> 6));
    out[1] = static_cast<char>(0x80 | (u & 0x3F));
    return 2;
  }
  out[0] = static_cast<char>(0xE0 | (u >> 12));
  out[1] = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
  out[2] = static_cast<char>(0x80 | (u & 0x3F));
  return 3;
}

inline std::string to_utf8(const std::wstring& in) {
  if (in.empty()) return {};
  std::string out(in.size() * 6 + 1, '\0');
  std::size_t n = 0;
  for (wchar_t w : in) {
    const auto v = static_cast<std::uint32_t>(w);
    if (v == 0) break;
    if (v <= 0xFFFF) {
      n += encode_unit(v, &out[n]);
    } else if (v > 0x10FFFF) {
      n += encode_unit(0xFFFD, &out[n]);
    } else {
      n += encode_unit(0xD800 | ((v - 0x10000) >> 10), &out[n]);
      n += encode_unit(0xDC00 | ((v - 0x10000) & 0x3FF), &out[n]);
    }
  }
  out.resize(n);
  return out;
}

inline std::wstring from_utf8(const std::string& in) {
  if (in.empty()) return {};
  std::wstring out(in.size() + 1, L'\0');
  std::size_t n = 0;
  std::size_t i = 0;
  const std::size_t size = in.size();
  auto at = [&](std::size_t k) -> unsigned {
    return k < size ? static_cast<unsigned char>(in[k]) : 0u;
  };
  while (i < size) {
    const unsigned b = at(i);
    if (b == 0) break;
    if (b < 0x80) {
      out[n++] = static_cast<wchar_t>(b);
      i += 1;
    } else if ((b & 0xF0) == 0xE0) {
      out[n++] = static_cast<wchar_t>(((b & 0x0F) << 12) | ((at(i + 1) & 0x3F) << 6) |
                                      (at(i + 2) & 0x3F));
      i += 3;
    } else {
      out[n++] = static_cast<wchar_t>(((b & 0x1F) << 6) | (at(i + 1) & 0x3F));
      i += 2;
    }
  }
  out.resize(n);
  return out;
}

}  // namespace reference

#endif  // GRAVOK_TESTS_TEXT_REFERENCE_H
