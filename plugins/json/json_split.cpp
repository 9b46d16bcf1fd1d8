#include "json_split.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <system_error>

namespace gvk_json {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 20;

// Where a value sits, as far as the split cares: the document itself, the root's
// "mesh" or "all_surfaces", one item of "all_surfaces", a mesh, or anywhere else.
enum class Context { kRoot, kSurfaces, kSurface, kMesh, kOther };

bool is_space(int c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
bool is_digit(int c) { return c >= '0' && c <= '9'; }

// The powers of ten that a double holds exactly.
constexpr double kExactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                        1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// A JSON number's text read as a double, when the whole-document parser is sure to read
// it as the same double: not for negative zero written as an integer, integers beyond
// 64 bits (which that parser refuses) and values beyond a double's range. The grammar
// is checked and the digits gathered in one pass. A mantissa below 2^53 taken at a
// power of ten from 10^-22 to 10^22 is one multiplication or division of two exact
// doubles, which rounds as the correctly rounded reading of the text does; any other
// value is read with std::from_chars.
bool parse_number(std::string_view t, double& out) {
  std::size_t i = 0;
  const bool negative = i < t.size() && t[i] == '-';
  if (negative) ++i;
  std::uint64_t mantissa = 0;
  int significant = 0;   // digits gathered into `mantissa`, leading zeros left out
  int scale = 0;         // the power of ten `mantissa` is to be taken at
  bool gathered = true;  // every digit is in `mantissa`
  const auto digits = [&](bool fraction) {
    const std::size_t start = i;
    for (; i < t.size() && is_digit(t[i]); ++i) {
      if (significant == 19) {
        gathered = false;
        continue;
      }
      mantissa = mantissa * 10 + static_cast<unsigned>(t[i] - '0');
      if (mantissa != 0) ++significant;
      if (fraction) --scale;
    }
    return i > start;
  };
  if (i < t.size() && t[i] == '0') {
    ++i;
  } else if (!digits(false)) {
    return false;
  }
  bool integral = true;
  if (i < t.size() && t[i] == '.') {
    ++i;
    if (!digits(true)) return false;
    integral = false;
  }
  if (i < t.size() && (t[i] == 'e' || t[i] == 'E')) {
    ++i;
    const bool down = i < t.size() && t[i] == '-';
    if (i < t.size() && (t[i] == '+' || t[i] == '-')) ++i;
    const std::size_t start = i;
    int exponent = 0;
    for (; i < t.size() && is_digit(t[i]); ++i)
      if (exponent < 10000) exponent = exponent * 10 + (t[i] - '0');
    if (i == start) return false;
    scale += down ? -exponent : exponent;
    integral = false;
  }
  if (i != t.size()) return false;
  const char* first = t.data();
  const char* last = first + t.size();
  if (integral) {
    if (t == "-0") return false;
    std::int64_t as_signed;
    std::uint64_t as_unsigned;
    const bool fits = negative
                          ? std::from_chars(first, last, as_signed).ec == std::errc()
                          : std::from_chars(first, last, as_unsigned).ec == std::errc();
    if (!fits) return false;
  }
  if (gathered && mantissa < (std::uint64_t{1} << 53) && scale >= -22 && scale <= 22) {
    const double value = static_cast<double>(mantissa);
    const double exact =
        scale < 0 ? value / kExactPowersOfTen[-scale] : value * kExactPowersOfTen[scale];
    out = negative ? -exact : exact;
    return true;
  }
  const auto [end, ec] = std::from_chars(first, last, out);
  return ec == std::errc() && end == last;
}

class Splitter {
 public:
  Splitter(TextInput& in, std::size_t max_depth, SplitDocument& out)
      : m_in(in), m_max_depth(max_depth), m_out(out) {}

  bool document() {
    space();
    if (!value(1, Context::kRoot, nullptr, 0)) return false;
    space();
    return m_in.peek() == -1;
  }

 private:
  void space() {
    while (is_space(m_in.peek())) m_in.next();
  }
  // Copies the byte peek() gave into the rest and moves past it.
  void copy(int c) {
    m_out.rest.push_back(static_cast<char>(c));
    m_in.next();
  }

  bool value(std::size_t depth, Context context, MeshLists* lists, std::size_t index) {
    const int c = m_in.peek();
    if (c == '{') return object(depth, context, lists, index);
    if (c == '[') return array(depth, context);
    if (c == '"') return string(nullptr);
    // A literal or a number: its bytes up to the next delimiter, for the
    // whole-document parser to judge.
    bool any = false;
    for (int b = c; b != -1 && !is_space(b) && b != ',' && b != ']' && b != '}' &&
                    b != ':' && b != '"' && b != '[' && b != '{';
         b = m_in.peek()) {
      copy(b);
      any = true;
    }
    return any;
  }

  // Copies a string; when `key` is given, it receives the string's bytes, or stays
  // empty when they hold an escape or are too long to be a name the split knows.
  bool string(std::string* key) {
    copy('"');
    bool plain = true;
    while (true) {
      if (!key) {
        // A value's bytes up to the next quote or backslash go in one piece.
        const char* from = m_in.cursor();
        const char* at = from;
        while (at != m_in.limit() && *at != '"' && *at != '\\') ++at;
        m_out.rest.append(from, static_cast<std::size_t>(at - from));
        m_in.advance(at);
      }
      const int c = m_in.peek();
      if (c == -1) return false;
      copy(c);
      if (c == '"') break;
      if (c == '\\') {
        plain = false;
        const int escaped = m_in.peek();
        if (escaped == -1) return false;
        copy(escaped);
      } else if (key && plain && key->size() < 16) {
        key->push_back(static_cast<char>(c));
      } else {
        plain = false;
      }
    }
    if (key && !plain) key->clear();
    return true;
  }

  bool object(std::size_t depth, Context context, MeshLists* lists, std::size_t index) {
    if (depth > m_max_depth) return false;
    copy('{');
    space();
    if (m_in.peek() == '}') return copy('}'), true;
    std::string key;
    while (true) {
      key.clear();
      if (m_in.peek() != '"' || !string(&key)) return false;
      space();
      if (m_in.peek() != ':') return false;
      copy(':');
      space();
      bool read;
      if (context == Context::kRoot && key == "mesh") {
        read = value(depth + 1, Context::kMesh, &m_out.mesh, 0);
      } else if (context == Context::kRoot && key == "all_surfaces") {
        read = value(depth + 1, Context::kSurfaces, nullptr, 0);
      } else if (context == Context::kSurface && key == "mesh") {
        m_out.surfaces.emplace_back(index, MeshLists());
        read = value(depth + 1, Context::kMesh, &m_out.surfaces.back().second, 0);
      } else if (context == Context::kMesh && m_in.peek() == '[') {
        read = mesh_list(depth + 1, key, *lists);
      } else {
        read = value(depth + 1, Context::kOther, nullptr, 0);
      }
      bool closed = false;
      if (!read || !after_item('}', closed)) return false;
      if (closed) return true;
    }
  }

  bool array(std::size_t depth, Context context) {
    if (depth > m_max_depth) return false;
    copy('[');
    space();
    if (m_in.peek() == ']') return copy(']'), true;
    for (std::size_t i = 0;; ++i) {
      const Context item =
          context == Context::kSurfaces ? Context::kSurface : Context::kOther;
      bool closed = false;
      if (!value(depth + 1, item, nullptr, i) || !after_item(']', closed)) return false;
      if (closed) return true;
    }
  }

  // What follows an item of an object or array that ends in `close`: its end (then
  // `closed`) or a comma, copied; false on anything else.
  bool after_item(char close, bool& closed) {
    space();
    const int c = m_in.peek();
    closed = c == close;
    if (!closed && c != ',') return false;
    copy(c);
    space();
    return true;
  }

  // A mesh member whose value is an array: one of the five lists is read into `lists`
  // and left in the rest as [], any other member is copied.
  bool mesh_list(std::size_t depth, const std::string& key, MeshLists& lists) {
    bool read = false;
    unsigned taken = 0;
    if (key == "x") {
      taken = 1;
      read = list(lists.x, &Splitter::coordinate);
    } else if (key == "y") {
      taken = 2;
      read = list(lists.y, &Splitter::coordinate);
    } else if (key == "z") {
      taken = 4;
      read = list(lists.z, &Splitter::coordinate);
    } else if (key == "triangles") {
      taken = 8;
      read = list(lists.triangles, &Splitter::triangle);
    } else if (key == "triangle_info") {
      taken = 16;
      read = list(lists.triangle_info, &Splitter::record);
    } else {
      return value(depth, Context::kOther, nullptr, 0);
    }
    lists.taken |= taken;
    m_out.rest += "[]";
    return read;
  }

  // Reads a list's items with `item`, which reads one item from the bytes it is given
  // and returns the byte after it, or nullptr when the item is not in the form taken.
  // An item is looked at whole in the input's block; one longer than kItemBytes (with
  // its blanks) is given up on.
  template <class T>
  bool list(std::vector<T>& out, const char* (*item)(const char*, const char*, T&)) {
    out.clear();
    m_in.next();  // '['
    space();
    if (m_in.peek() == ']') return m_in.next(), true;
    while (true) {
      m_in.ensure(kItemBytes);
      out.emplace_back();
      const char* after = item(m_in.cursor(), m_in.limit(), out.back());
      if (!after) return false;
      m_in.advance(after);
      space();
      const int c = m_in.peek();
      if (c != ']' && c != ',') return false;
      m_in.next();
      if (c == ']') return true;
      space();
    }
  }

  static constexpr std::size_t kItemBytes = 4096;

  static const char* skip_space(const char* p, const char* end) {
    while (p != end && is_space(static_cast<unsigned char>(*p))) ++p;
    return p;
  }

  static const char* coordinate(const char* p, const char* end, double& out) {
    const char* start = p;
    if (p != end && *p == '"') {
      ++start;
      for (++p; p != end && *p != '"'; ++p) {
        const unsigned char c = static_cast<unsigned char>(*p);
        if (!((c >= 'a' && c <= 'z') || is_digit(c) || c == ':' || c == '-'))
          return nullptr;
      }
      if (p == end || !non_finite({start, static_cast<std::size_t>(p - start)}, out))
        return nullptr;
      return p + 1;
    }
    while (p != end && (is_digit(static_cast<unsigned char>(*p)) || *p == '-' ||
                        *p == '+' || *p == '.' || *p == 'e' || *p == 'E'))
      ++p;
    if (p == end || p == start ||
        !parse_number({start, static_cast<std::size_t>(p - start)}, out))
      return nullptr;
    return p;
  }

  static const char* triangle(const char* p, const char* end, gvk::Triangle& out) {
    if (p == end || *p != '[') return nullptr;
    ++p;
    for (std::size_t k = 0; k < 3; ++k) {
      p = skip_space(p, end);
      const char* start = p;
      while (p != end && is_digit(static_cast<unsigned char>(*p))) ++p;
      if (p == start || (p - start > 1 && *start == '0')) return nullptr;
      const auto [stop, ec] = std::from_chars(start, p, out[k]);
      if (ec != std::errc() || stop != p) return nullptr;
      p = skip_space(p, end);
      if (p == end || *p != (k == 2 ? ']' : ',')) return nullptr;
      ++p;
    }
    return p;
  }

  static const char* record(const char* p, const char* end, gravok_triangle_info& out) {
    constexpr std::size_t kDigits = 2 * sizeof out.data;
    if (end - p < static_cast<std::ptrdiff_t>(kDigits + 2) || p[0] != '"' ||
        p[kDigits + 1] != '"' || !decode_hex({p + 1, kDigits}, out.data, sizeof out.data))
      return nullptr;
    return p + kDigits + 2;
  }

  TextInput& m_in;
  std::size_t m_max_depth;
  SplitDocument& m_out;
};

}  // namespace

TextInput::TextInput(std::FILE* file)
    : m_at(nullptr), m_end(nullptr), m_file(file), m_block(new char[kBlockBytes]) {}

bool TextInput::refill() { return ensure(1) > 0; }

std::size_t TextInput::ensure(std::size_t count) {
  std::size_t held = static_cast<std::size_t>(m_end - m_at);
  if (held >= count || !m_file) return held;
  if (held) std::memmove(m_block.get(), m_at, held);
  held += std::fread(m_block.get() + held, 1, kBlockBytes - held, m_file);
  m_at = m_block.get();
  m_end = m_at + held;
  return held;
}

bool TextInput::failed() const { return m_file && std::ferror(m_file); }

bool split_document(TextInput& in, std::size_t max_depth, SplitDocument& out) {
  out = SplitDocument();
  return Splitter(in, max_depth, out).document() && !in.failed();
}

}  // namespace gvk_json
