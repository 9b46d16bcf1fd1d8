#include "json_syntax.h"

#include <cctype>
#include <charconv>
#include <cstring>
#include <system_error>

namespace gvk_json {
namespace {

// A recursive-descent check of RFC 8259 that stops at the first fault. Each function
// moves `m_at` past what it accepts and returns false at the faulty byte.
class SyntaxScan {
 public:
  SyntaxScan(std::string_view text, std::size_t max_depth)
      : m_text(text), m_max_depth(max_depth) {}

  // True when the whole text is one value; else m_at is the faulty byte.
  bool document() {
    skip_space();
    if (!value(1)) return false;
    skip_space();
    return m_at == m_text.size();
  }
  std::size_t at() const { return m_at; }

 private:
  bool more() const { return m_at < m_text.size(); }
  char peek() const { return more() ? m_text[m_at] : '\0'; }
  void skip_space() {
    while (more() && std::strchr(" \t\r\n", m_text[m_at]) && m_text[m_at]) ++m_at;
  }
  bool literal(std::string_view word) {
    for (char c : word) {
      if (peek() != c) return false;
      ++m_at;
    }
    return true;
  }
  bool value(std::size_t depth) {
    switch (peek()) {
      case '{':
      case '[': return depth <= m_max_depth && container(depth);
      case '"': return string();
      case 't': return literal("true");
      case 'f': return literal("false");
      case 'n': return literal("null");
      default: return number();
    }
  }
  bool container(std::size_t depth) {
    const char close = peek() == '{' ? '}' : ']';
    ++m_at;
    skip_space();
    if (peek() == close) return ++m_at, true;
    while (true) {
      if (close == '}') {
        if (!string()) return false;
        skip_space();
        if (peek() != ':') return false;
        ++m_at;
        skip_space();
      }
      if (!value(depth + 1)) return false;
      skip_space();
      if (peek() == close) return ++m_at, true;
      if (peek() != ',') return false;
      ++m_at;
      skip_space();
    }
  }
  bool string() {
    if (peek() != '"') return false;
    ++m_at;
    while (more()) {
      const unsigned char c = static_cast<unsigned char>(m_text[m_at]);
      if (c == '"') return ++m_at, true;
      if (c < 0x20) return false;
      ++m_at;
      if (c == '\\' && !escape()) return false;
    }
    return false;
  }
  bool escape() {
    if (!more()) return false;
    const char c = m_text[m_at++];
    if (c != 'u') return std::strchr("\"\\/bfnrt", c) && c;
    for (int i = 0; i < 4; ++i, ++m_at)
      if (!std::isxdigit(static_cast<unsigned char>(peek()))) return false;
    return true;
  }
  bool digits() {
    const std::size_t start = m_at;
    while (peek() >= '0' && peek() <= '9') ++m_at;
    return m_at > start;
  }
  bool number() {
    const std::size_t start = m_at;
    if (peek() == '-') ++m_at;
    if (peek() == '0') {
      ++m_at;
    } else if (!digits()) {
      return false;
    }
    bool fraction = false;
    if (peek() == '.') {
      ++m_at;
      if (!digits()) return false;
      fraction = true;
    }
    if (peek() == 'e' || peek() == 'E') {
      ++m_at;
      if (peek() == '+' || peek() == '-') ++m_at;
      if (!digits()) return false;
      fraction = true;
    }
    // The parser refuses integers beyond 64 bits (below -2^63, above 2^64 - 1) and
    // numbers beyond the range of a double.
    const char* first = m_text.data() + start;
    const char* last = m_text.data() + m_at;
    bool fits;
    if (fraction) {
      double parsed;
      fits = std::from_chars(first, last, parsed).ec == std::errc();
    } else if (*first == '-') {
      long long parsed;
      fits = std::from_chars(first, last, parsed).ec == std::errc();
    } else {
      unsigned long long parsed;
      fits = std::from_chars(first, last, parsed).ec == std::errc();
    }
    if (!fits) m_at = start;
    return fits;
  }

  std::string_view m_text;
  std::size_t m_max_depth;
  std::size_t m_at = 0;
};

}  // namespace

std::string syntax_error_place(std::string_view text, std::size_t max_depth) {
  SyntaxScan scan(text, max_depth);
  if (scan.document()) return std::string();
  std::size_t line = 1, column = 1;
  for (std::size_t i = 0; i < scan.at(); ++i) {
    if (text[i] == '\n') {
      ++line;
      column = 1;
    } else {
      ++column;
    }
  }
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

}  // namespace gvk_json
