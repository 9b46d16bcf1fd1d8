// Reads a JSON problem document into a Problem (the rules of the format are at the top
// of json_writer.cpp and in docs/json-format.md). The mesh lists are read into their
// arrays as the text streams past (json_split.h) and the rest of the text is parsed
// whole; a document that does not read that way is read again whole, text and all,
// so that its message is the whole-document reader's. That reader parses the text
// first, so syntax errors and nesting deeper than kMaxDepth are found before anything
// is converted; then every member is checked for its type and range on the way into
// the records, and the first fault ends the reading with its JSON pointer. Sizes come
// from the parsed text only, so a list never reserves more than the text holds.
#include "json_document.h"
#include "json_split.h"
#include "json_syntax.h"

#include <simdjson.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <limits>
#include <memory>
#include <new>
#include <system_error>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace gvk_json {
namespace {

using gvk::ElementSet;
using gvk::Mesh;
using gvk::Problem;
using gvk::StoredUnit;

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::element_type;
using simdjson::dom::object;

// Asks the kernel for transparent huge pages under the whole 2 MiB pages of a large
// buffer that nothing has touched yet: one fault per 2 MiB instead of one per 4 KiB.
// Only a hint; where it is not available, or refused, the buffer works as it is.
void advise_huge_pages(void* start, std::size_t size) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  constexpr std::uintptr_t kHuge = std::uintptr_t{1} << 21;
  const auto begin = (reinterpret_cast<std::uintptr_t>(start) + kHuge - 1) & ~(kHuge - 1);
  const auto end = (reinterpret_cast<std::uintptr_t>(start) + size) & ~(kHuge - 1);
  if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
  (void)start;
  (void)size;
#endif
}

// Where a value sits in the document: a chain back to the root, turned into a JSON
// pointer only when a message needs it.
struct Place {
  const Place* parent;
  std::string_view key;
  std::size_t index;
  bool is_index;

  Place operator/(std::string_view member) const { return {this, member, 0, false}; }
  Place operator/(std::size_t i) const { return {this, {}, i, true}; }
};

const Place kRoot{nullptr, {}, 0, false};

std::string pointer(const Place& at) {
  std::vector<const Place*> chain;
  for (const Place* p = &at; p->parent; p = p->parent) chain.push_back(p);
  if (chain.empty()) return "the document";
  std::string text;
  for (auto p = chain.rbegin(); p != chain.rend(); ++p) {
    text += '/';
    if ((*p)->is_index) {
      text += std::to_string((*p)->index);
      continue;
    }
    for (char c : (*p)->key)
      text += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
  }
  return text;
}

// The value of each byte as a hex digit, 16 for every byte that is not one.
struct HexDigits {
  unsigned char value[256];
  constexpr HexDigits() : value() {
    for (int c = 0; c < 256; ++c) {
      value[c] = c >= '0' && c <= '9'   ? c - '0'
                 : c >= 'a' && c <= 'f' ? c - 'a' + 10
                 : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                        : 16;
    }
  }
};
constexpr HexDigits kHex;

// Decodes four bytes from the eight hex digits at `digits`; false when one of them is
// not a digit. All eight are looked at in one 64-bit word: a lane is a digit when it
// lies in '0'..'9', or in 'a'..'f' once the lower-case bit is set.
bool decode_hex4(const unsigned char* digits, unsigned char* out) {
  constexpr std::uint64_t kOnes = 0x0101010101010101ULL, kHigh = 0x80 * kOnes;
  std::uint64_t x = 0;
  for (int k = 0; k < 8; ++k) x |= std::uint64_t{digits[k]} << 8 * k;
  // The high bit of each lane of at_least(v, c): that lane of v is c or more, for
  // lanes below 0x80 (no carry crosses lanes then).
  const auto at_least = [](std::uint64_t v, unsigned c) {
    return (v + (0x80 - c) * kOnes) & kHigh;
  };
  const std::uint64_t lower = x | 0x20 * kOnes;
  const std::uint64_t decimal = at_least(x, '0') & ~at_least(x, '9' + 1);
  const std::uint64_t letter = at_least(lower, 'a') & ~at_least(lower, 'f' + 1);
  if ((x & kHigh) || (decimal | letter) != kHigh) return false;
  const std::uint64_t nibbles = (x & 0x0f * kOnes) + (letter >> 7) * 9;
  for (int k = 0; k < 4; ++k)
    out[k] = static_cast<unsigned char>((nibbles >> 16 * k & 0x0f) << 4 |
                                        (nibbles >> (16 * k + 8) & 0x0f));
  return true;
}

}  // namespace

bool decode_hex(std::string_view text, unsigned char* out, std::size_t count) {
  if (text.size() != 2 * count) return false;
  const auto* digits = reinterpret_cast<const unsigned char*>(text.data());
  std::size_t i = 0;
  for (; i + 4 <= count; i += 4)
    if (!decode_hex4(digits + 2 * i, out + i)) return false;
  unsigned invalid = 0;
  for (; i < count; ++i) {
    const unsigned high = kHex.value[digits[2 * i]], low = kHex.value[digits[2 * i + 1]];
    invalid |= high | low;
    out[i] = static_cast<unsigned char>(high << 4 | low);
  }
  return invalid < 16;
}

bool non_finite(std::string_view text, double& out) {
  if (text == "inf" || text == "-inf") {
    out = text[0] == '-' ? -HUGE_VAL : HUGE_VAL;
    return true;
  }
  std::uint64_t bits = 0x7ff8000000000000ULL;
  if (text != "nan") {
    unsigned char bytes[8];
    if (text.substr(0, 6) != "nan:0x" || !decode_hex(text.substr(6), bytes, 8))
      return false;
    bits = 0;
    for (unsigned char b : bytes) bits = bits << 8 | b;
  }
  std::memcpy(&out, &bits, sizeof out);
  return std::isnan(out);
}

namespace {

// Empties `out` and reserves `count` elements, `count` being a parsed array's own
// size, so never more than the text holds; a large new block gets huge pages.
template <class T>
void reserve(std::vector<T>& out, std::size_t count) {
  out.clear();
  if (out.capacity() >= count) return;
  std::vector<T>().swap(out);
  out.reserve(count);
  advise_huge_pages(out.data(), count * sizeof(T));
}

class DocumentReader {
 public:
  explicit DocumentReader(std::string& error) : m_error(error) {}

  bool document(element root, Problem& p);

 private:
  bool fail(const Place& at, const std::string& what) {
    m_error = pointer(at) + ": " + what;
    return false;
  }

  bool get(element e, const Place& at, object& out) {
    return e.get_object().get(out) == simdjson::SUCCESS || fail(at, "expected an object");
  }
  bool get(element e, const Place& at, array& out) {
    return e.get_array().get(out) == simdjson::SUCCESS || fail(at, "expected an array");
  }
  bool get(element e, const Place& at, bool& out) {
    return e.get_bool().get(out) == simdjson::SUCCESS ||
           fail(at, "expected true or false");
  }
  bool get(element e, const Place& at, double& out) {
    std::string_view text;
    if (e.get_string().get(text) == simdjson::SUCCESS)
      return non_finite(text, out) || fail(at,
                                           "expected a number or \"inf\", \"-inf\", "
                                           "\"nan\", \"nan:0x<16 hex digits>\"");
    return e.get_double().get(out) == simdjson::SUCCESS || fail(at, "expected a number");
  }
  template <class Integer>
  bool get_integer(element e, const Place& at, Integer& out);
  bool get(element e, const Place& at, std::int32_t& out) {
    return get_integer(e, at, out);
  }
  bool get(element e, const Place& at, long long& out) { return get_integer(e, at, out); }
  bool get(element e, const Place& at, unsigned long long& out) {
    return get_integer(e, at, out);
  }
  bool get(element e, const Place& at, std::string& out);
  bool get_hex(element e, const Place& at, unsigned char* out, std::size_t count);

  // Fails on a member that `known` lacks and on a member given twice.
  bool only(object o, const Place& at, std::initializer_list<std::string_view> known);
  bool required(object o, const Place& at, std::string_view key, element& out) {
    return o.at_key(key).get(out) == simdjson::SUCCESS ||
           fail(at, "missing member \"" + std::string(key) + "\"");
  }
  bool optional(object o, std::string_view key, element& out) {
    return o.at_key(key).get(out) == simdjson::SUCCESS;
  }
  // Reads member `key` into `out` when present; absent leaves `out` as it is.
  template <class T>
  bool optional_member(object o, const Place& at, std::string_view key, T& out) {
    element e;
    return !optional(o, key, e) || get(e, at / key, out);
  }
  template <class T>
  bool required_member(object o, const Place& at, std::string_view key, T& out) {
    element e;
    return required(o, at, key, e) && get(e, at / key, out);
  }

  template <class T>
  bool get(element e, const Place& at, std::vector<T>& out);
  // Opaque records (objectives, triangle information), one hex string each.
  template <class Record>
  bool get_blocks(element e, const Place& at, std::vector<Record>& out);
  bool get(element e, const Place& at, gvk::Triangle& out);
  bool get(element e, const Place& at, gravok_line_3d& out);
  bool get(element e, const Place& at, gravok_grading_element& out);
  bool get(element e, const Place& at, StoredUnit& out);
  bool get(element e, const Place& at, mesh_metric& out);

  bool header(object root);
  bool units(element e, const Place& at, Problem& p);
  bool settings(element e, const Place& at, Problem& p);
  bool surfaces(element e, const Place& at, Problem& p);
  bool mesh(element e, const Place& at, Mesh& mesh);
  bool elements(element e, const Place& at, Problem& p);
  bool element_set(element e, const Place& at, ElementSet& set);
  bool complex(element e, const Place& at, gvk::DataSource::ComplexElementData& c);
  bool guids(element e, const Place& at, Problem& p);
  bool all_surfaces(element e, const Place& at, std::vector<gvk::Surface>& out);
  bool description(element e, const Place& at, gvk::ProblemDescription& out);
  bool get(element e, const Place& at, gvk::CoordinateSystem& out);

  std::string& m_error;
};

template <class Integer>
bool DocumentReader::get_integer(element e, const Place& at, Integer& out) {
  using Limits = std::numeric_limits<Integer>;
  std::int64_t signed_value;
  std::uint64_t unsigned_value;
  bool in_range = false;
  if (e.get_int64().get(signed_value) == simdjson::SUCCESS) {
    in_range = signed_value < 0
                   ? Limits::is_signed &&
                         signed_value >= static_cast<std::int64_t>(Limits::min())
                   : static_cast<std::uint64_t>(signed_value) <=
                         static_cast<std::uint64_t>(Limits::max());
    out = static_cast<Integer>(signed_value);
  } else if (e.get_uint64().get(unsigned_value) == simdjson::SUCCESS) {
    in_range = unsigned_value <= static_cast<std::uint64_t>(Limits::max());
    out = static_cast<Integer>(unsigned_value);
  }
  return in_range ||
         fail(at, "expected an integer from " + std::to_string(Limits::min()) + " to " +
                      std::to_string(Limits::max()));
}

bool DocumentReader::get(element e, const Place& at, std::string& out) {
  std::string_view text;
  if (e.get_string().get(text) == simdjson::SUCCESS) {
    out.assign(text.data(), text.size());
    return true;
  }
  object o;
  element bytes;
  if (e.get_object().get(o) != simdjson::SUCCESS || !optional(o, "bytes", bytes) ||
      o.size() != 1 || bytes.get_string().get(text) != simdjson::SUCCESS ||
      text.size() % 2)
    return fail(at, "expected a string or {\"bytes\": \"<hex>\"}");
  out.resize(text.size() / 2);
  if (!decode_hex(text, reinterpret_cast<unsigned char*>(&out[0]), out.size()))
    return fail(at / "bytes", "expected hexadecimal digits");
  return true;
}

bool DocumentReader::get_hex(element e, const Place& at, unsigned char* out,
                             std::size_t count) {
  std::string_view text;
  if (e.get_string().get(text) != simdjson::SUCCESS || !decode_hex(text, out, count))
    return fail(at, "expected a string of " + std::to_string(2 * count) + " hex digits");
  return true;
}

bool DocumentReader::only(object o, const Place& at,
                          std::initializer_list<std::string_view> known) {
  std::size_t i = 0;
  for (auto field : o) {
    bool listed = false;
    for (std::string_view k : known) listed |= field.key == k;
    if (!listed) return fail(at / field.key, "unknown member");
    std::size_t j = 0;
    for (auto earlier : o) {
      if (j++ == i) break;
      if (earlier.key == field.key) return fail(at / field.key, "member given twice");
    }
    ++i;
  }
  return true;
}

template <class T>
bool DocumentReader::get(element e, const Place& at, std::vector<T>& out) {
  array a;
  if (!get(e, at, a)) return false;
  reserve(out, a.size());
  std::size_t i = 0;
  for (element item : a) {
    out.emplace_back();
    if (!get(item, at / i++, out.back())) return false;
  }
  return true;
}

template <class Record>
bool DocumentReader::get_blocks(element e, const Place& at, std::vector<Record>& out) {
  array a;
  if (!get(e, at, a)) return false;
  reserve(out, a.size());
  std::size_t i = 0;
  for (element item : a) {
    out.emplace_back();
    if (!get_hex(item, at / i++, out.back().data, sizeof out.back().data)) return false;
  }
  return true;
}

bool DocumentReader::get(element e, const Place& at, gvk::Triangle& out) {
  array a;
  if (!get(e, at, a)) return false;
  std::size_t i = 0;
  for (element item : a) {
    if (i == 3) return fail(at, "expected three vertex indices");
    if (!get(item, at / i, out[i])) return false;
    ++i;
  }
  return i == 3 || fail(at, "expected three vertex indices");
}

bool DocumentReader::get(element e, const Place& at, gravok_line_3d& out) {
  array a;
  if (!get(e, at, a)) return false;
  double* const fields[] = {&out.x1, &out.y1, &out.z1, &out.x2, &out.y2, &out.z2};
  std::size_t i = 0;
  for (element item : a) {
    if (i == 6) return fail(at, "expected six numbers x1, y1, z1, x2, y2, z2");
    if (!get(item, at / i, *fields[i])) return false;
    ++i;
  }
  return i == 6 || fail(at, "expected six numbers x1, y1, z1, x2, y2, z2");
}

bool DocumentReader::get(element e, const Place& at, gravok_grading_element& out) {
  object o;
  if (!get(e, at, o) || !only(o, at, {"location", "attributes", "trailer"})) return false;
  out = gravok_grading_element{};
  element location, block;
  array a;
  if (!required(o, at, "location", location) || !get(location, at / "location", a))
    return false;
  std::size_t i = 0;
  for (element item : a) {
    if (i == 6) return fail(at / "location", "expected six numbers");
    if (!get(item, at / "location" / i, out.location[i])) return false;
    ++i;
  }
  if (i != 6) return fail(at / "location", "expected six numbers");
  if (optional(o, "attributes", block) &&
      !get_hex(block, at / "attributes", out.attributes, sizeof out.attributes))
    return false;
  return !optional(o, "trailer", block) ||
         get_hex(block, at / "trailer", out.trailer, sizeof out.trailer);
}

bool DocumentReader::get(element e, const Place& at, StoredUnit& out) {
  object o;
  return get(e, at, o) &&
         only(o, at, {"type", "qualifier", "name", "abbreviation", "conversions"}) &&
         required_member(o, at, "type", out.type) &&
         required_member(o, at, "qualifier", out.qualifier) &&
         required_member(o, at, "name", out.name) &&
         required_member(o, at, "abbreviation", out.abbreviation) &&
         required_member(o, at, "conversions", out.conversions);
}

bool DocumentReader::get(element e, const Place& at, mesh_metric& out) {
  object o;
  return get(e, at, o) && only(o, at, {"kind", "value", "flag_a", "flag_b"}) &&
         required_member(o, at, "kind", out.kind) &&
         required_member(o, at, "value", out.value) &&
         required_member(o, at, "flag_a", out.flag_a) &&
         required_member(o, at, "flag_b", out.flag_b);
}

bool DocumentReader::header(object root) {
  std::string format;
  long long version = 0;
  if (!required_member(root, kRoot, "format", format)) return false;
  if (format != kFormatName)
    return fail(kRoot / "format", "expected \"" + std::string(kFormatName) + "\"");
  if (!required_member(root, kRoot, "version", version)) return false;
  if (version < 1 || version > kFormatVersion)
    return fail(kRoot / "version", "version " + std::to_string(version) +
                                       " is not one this reader knows (1 to " +
                                       std::to_string(kFormatVersion) + ")");
  return true;
}

bool DocumentReader::units(element e, const Place& at, Problem& p) {
  object o;
  return get(e, at, o) && only(o, at, {"linear", "area", "volume"}) &&
         optional_member(o, at, "linear", p.linear_unit) &&
         optional_member(o, at, "area", p.area_unit) &&
         optional_member(o, at, "volume", p.volume_unit);
}

bool DocumentReader::settings(element e, const Place& at, Problem& p) {
  object o;
  std::int32_t constraint = p.volume_constraint;
  const bool read =
      get(e, at, o) &&
      only(o, at,
           {"fix_boundary", "max_slope", "min_slope", "volume_constraint", "max_slopes",
            "min_slopes", "mesh_metric", "max_iteration_count", "epsilon"}) &&
      optional_member(o, at, "fix_boundary", p.fix_boundary) &&
      optional_member(o, at, "max_slope", p.max_slope) &&
      optional_member(o, at, "min_slope", p.min_slope) &&
      optional_member(o, at, "volume_constraint", constraint) &&
      optional_member(o, at, "max_slopes", p.max_slopes) &&
      optional_member(o, at, "min_slopes", p.min_slopes) &&
      optional_member(o, at, "mesh_metric", p.metric) &&
      optional_member(o, at, "max_iteration_count", p.max_iteration_count) &&
      optional_member(o, at, "epsilon", p.epsilon);
  p.volume_constraint = static_cast<VolumeConstraint>(constraint);
  return read;
}

bool DocumentReader::surfaces(element e, const Place& at, Problem& p) {
  object o;
  return get(e, at, o) && only(o, at, {"ids", "names"}) &&
         optional_member(o, at, "ids", p.surface_ids) &&
         optional_member(o, at, "names", p.surface_names);
}

bool DocumentReader::mesh(element e, const Place& at, Mesh& mesh) {
  object o;
  element info;
  return get(e, at, o) && only(o, at, {"x", "y", "z", "triangles", "triangle_info"}) &&
         optional_member(o, at, "x", mesh.x) && optional_member(o, at, "y", mesh.y) &&
         optional_member(o, at, "z", mesh.z) &&
         optional_member(o, at, "triangles", mesh.triangles) &&
         (!optional(o, "triangle_info", info) ||
          get_blocks(info, at / "triangle_info", mesh.triangle_info));
}

bool DocumentReader::complex(element e, const Place& at,
                             gvk::DataSource::ComplexElementData& c) {
  object o;
  return get(e, at, o) &&
         only(o, at,
              {"double_lists_1", "double_lists_2", "double_lists_3", "double_lists_4",
               "double_lists_5", "double_lists_6", "double_lists_7", "double_lists_8",
               "double_lists_9", "double_lists_10", "double_lists_11", "int_lists"}) &&
         optional_member(o, at, "double_lists_1", c.double_lists_1) &&
         optional_member(o, at, "double_lists_2", c.double_lists_2) &&
         optional_member(o, at, "double_lists_3", c.double_lists_3) &&
         optional_member(o, at, "double_lists_4", c.double_lists_4) &&
         optional_member(o, at, "double_lists_5", c.double_lists_5) &&
         optional_member(o, at, "double_lists_6", c.double_lists_6) &&
         optional_member(o, at, "double_lists_7", c.double_lists_7) &&
         optional_member(o, at, "double_lists_8", c.double_lists_8) &&
         optional_member(o, at, "double_lists_9", c.double_lists_9) &&
         optional_member(o, at, "double_lists_10", c.double_lists_10) &&
         optional_member(o, at, "double_lists_11", c.double_lists_11) &&
         optional_member(o, at, "int_lists", c.int_lists);
}

bool DocumentReader::element_set(element e, const Place& at, ElementSet& set) {
  object o;
  element c;
  return get(e, at, o) && only(o, at, {"records", "xs", "ys", "complex"}) &&
         required_member(o, at, "records", set.records) &&
         optional_member(o, at, "xs", set.xs) && optional_member(o, at, "ys", set.ys) &&
         (!optional(o, "complex", c) || complex(c, at / "complex", set.complex));
}

bool DocumentReader::elements(element e, const Place& at, Problem& p) {
  object o;
  if (!get(e, at, o)) return false;
  for (auto field : o) {
    GradingElementType kind;
    if (!element_kind_from_name(field.key, kind))
      return fail(
          at / field.key,
          "not a kind: expected a kind name such as \"DrainLine\" or a kind number");
    if (p.elements.count(kind)) return fail(at / field.key, "kind given twice");
    if (!element_set(field.value, at / field.key, p.elements[kind])) return false;
  }
  return true;
}

bool DocumentReader::guids(element e, const Place& at, Problem& p) {
  object o;
  array entries;
  element map;
  if (!get(e, at, o) || !only(o, at, {"valid", "map"}) ||
      !optional_member(o, at, "valid", p.guids_valid))
    return false;
  if (!optional(o, "map", map)) return true;
  if (!get(map, at / "map", entries)) return false;
  const Place map_place =
      at / "map";  // the chain refers to it, so it must outlive `place`
  std::size_t i = 0;
  for (element entry : entries) {
    const Place place = map_place / i++;
    object pair;
    long long uid = 0;
    std::string guid;
    if (!get(entry, place, pair) || !only(pair, place, {"uid", "guid"}) ||
        !required_member(pair, place, "uid", uid) ||
        !required_member(pair, place, "guid", guid))
      return false;
    if (!p.guids.emplace(uid, std::move(guid)).second)
      return fail(place / "uid", "uid given twice");
  }
  return true;
}

bool DocumentReader::all_surfaces(element e, const Place& at,
                                  std::vector<gvk::Surface>& out) {
  array list;
  if (!get(e, at, list)) return false;
  std::size_t i = 0;
  for (element item : list) {
    const Place place = at / i++;
    object o;
    gvk::Surface s;
    element m;
    if (!get(item, place, o) || !only(o, place, {"id", "name", "break_lines", "mesh"}) ||
        !required_member(o, place, "id", s.id) ||
        !optional_member(o, place, "name", s.name) ||
        !optional_member(o, place, "break_lines", s.break_lines) ||
        (optional(o, "mesh", m) && !mesh(m, place / "mesh", s.mesh)))
      return false;
    for (const gvk::Surface& earlier : out) {
      if (earlier.id == s.id) return fail(place / "id", "surface id given twice");
    }
    out.push_back(std::move(s));
  }
  return true;
}

bool DocumentReader::get(element e, const Place& at, gvk::CoordinateSystem& out) {
  object o;
  return get(e, at, o) &&
         only(o, at,
              {"epsg_code", "wkt", "name", "description", "horizontal_name",
               "horizontal_datum", "vertical_datum"}) &&
         optional_member(o, at, "epsg_code", out.epsg_code) &&
         optional_member(o, at, "wkt", out.wkt) &&
         optional_member(o, at, "name", out.name) &&
         optional_member(o, at, "description", out.description) &&
         optional_member(o, at, "horizontal_name", out.horizontal_name) &&
         optional_member(o, at, "horizontal_datum", out.horizontal_datum) &&
         optional_member(o, at, "vertical_datum", out.vertical_datum);
}

bool DocumentReader::description(element e, const Place& at,
                                 gvk::ProblemDescription& out) {
  object o;
  object application;
  element a;
  element list;
  array entries;
  if (!get(e, at, o) || !only(o, at, {"coordinate_system", "application", "surfaces"}) ||
      !optional_member(o, at, "coordinate_system", out.coordinate_system))
    return false;
  if (optional(o, "application", a) &&
      !(get(a, at / "application", application) &&
        only(application, at / "application", {"name", "version"}) &&
        optional_member(application, at / "application", "name", out.application_name) &&
        optional_member(application, at / "application", "version",
                        out.application_version)))
    return false;
  if (!optional(o, "surfaces", list)) return true;
  const Place surfaces = at / "surfaces";
  if (!get(list, surfaces, entries)) return false;
  std::size_t i = 0;
  for (element entry : entries) {
    const Place place = surfaces / i++;
    object pair;
    unsigned long long id = 0;
    std::string text;
    if (!get(entry, place, pair) || !only(pair, place, {"id", "description"}) ||
        !required_member(pair, place, "id", id) ||
        !required_member(pair, place, "description", text))
      return false;
    if (!out.surface_descriptions.emplace(id, std::move(text)).second)
      return fail(place / "id", "surface id given twice");
  }
  return true;
}

bool DocumentReader::document(element root_element, Problem& p) {
  object root;
  element e;
  if (!get(root_element, kRoot, root) ||
      !only(root, kRoot,
            {"format", "version", "hostcad_version", "origin", "units", "settings",
             "surfaces", "objectives", "break_lines", "mesh", "elements", "guids",
             "description", "all_surfaces"}) ||
      !header(root) ||
      !optional_member(root, kRoot, "hostcad_version", p.hostcad_version))
    return false;
  if (optional(root, "origin", e)) {
    std::vector<double> origin;
    if (!get(e, kRoot / "origin", origin)) return false;
    if (origin.size() != 3)
      return fail(kRoot / "origin", "expected three numbers x, y, z");
    p.xorig = origin[0];
    p.yorig = origin[1];
    p.zorig = origin[2];
  }
  return (!optional(root, "units", e) || units(e, kRoot / "units", p)) &&
         (!optional(root, "settings", e) || settings(e, kRoot / "settings", p)) &&
         (!optional(root, "surfaces", e) || surfaces(e, kRoot / "surfaces", p)) &&
         (!optional(root, "objectives", e) ||
          get_blocks(e, kRoot / "objectives", p.objectives)) &&
         optional_member(root, kRoot, "break_lines", p.break_lines) &&
         (!optional(root, "mesh", e) || mesh(e, kRoot / "mesh", p.mesh)) &&
         (!optional(root, "elements", e) || elements(e, kRoot / "elements", p)) &&
         (!optional(root, "guids", e) || guids(e, kRoot / "guids", p)) &&
         (!optional(root, "description", e) ||
          description(e, kRoot / "description", p.description)) &&
         (!optional(root, "all_surfaces", e) ||
          all_surfaces(e, kRoot / "all_surfaces", p.surfaces));
}

// What a thread keeps between reads: the parser with its tape, string buffer and index
// of structural characters, and the padded buffer the text is read into. A fresh
// buffer costs a page fault per 4 KiB page touched (about 100,000 for a 133 MB
// document, more time than the parse itself), so they are kept and reused for
// documents up to kKeptDocumentBytes; the memory stays with the thread until
// release_read_buffers() or the thread's end.
struct ReadBuffers {
  simdjson::dom::parser parser;
  std::unique_ptr<char[]> text;
  std::size_t capacity = 0;  // bytes of `text` before its padding

  // A buffer for `size` bytes and simdjson's padding after them (zeroed); nullptr when
  // memory runs out.
  char* text_buffer(std::size_t size) {
    if (!text || capacity < size) {
      text.reset();
      capacity = 0;
      text.reset(new (std::nothrow) char[size + simdjson::SIMDJSON_PADDING]);
      if (!text) return nullptr;
      advise_huge_pages(text.get(), size);
      capacity = size;
    }
    std::memset(text.get() + size, 0, simdjson::SIMDJSON_PADDING);
    return text.get();
  }

  void release_text() {
    text.reset();
    capacity = 0;
  }

  // Parses `size` bytes at `at`, followed by simdjson::SIMDJSON_PADDING readable
  // bytes, into `root`, growing the parser first when it is too small for them.
  simdjson::error_code parse_tree(const char* at, std::size_t size, element& root) {
    simdjson::error_code code = simdjson::SUCCESS;
    if (parser.capacity() < size || parser.max_depth() != kMaxDepth)
      code = parser.allocate(std::max(size, parser.capacity()), kMaxDepth);
    if (!code) code = parser.parse(at, size, false).get(root);
    return code;
  }
};

thread_local std::unique_ptr<ReadBuffers> t_buffers;

ReadBuffers& buffers() {
  if (!t_buffers) t_buffers = std::make_unique<ReadBuffers>();
  return *t_buffers;
}

// Documents above this size give their buffers back as soon as each is done with
// (the text after the parse, the parser's tape after the conversion): for a site of
// 10^6 triangles and more the copy of the text alone is larger than the problem's
// arrays, and keeping it for a next read would cost more memory than the page faults
// it saves cost time.
constexpr std::size_t kKeptDocumentBytes = std::size_t{64} << 20;

// Parses `size` bytes of the text in `b`, followed by simdjson::SIMDJSON_PADDING
// readable bytes.
bool parse(ReadBuffers& b, const char* text, std::size_t size, const std::string& name,
           Problem& problem, std::string& error) {
  element root;
  const simdjson::error_code code = b.parse_tree(text, size, root);
  const bool large = size > kKeptDocumentBytes;
  // The parsed document holds its own copies of the strings and numbers.
  if (!code && large) b.release_text();
  if (code) {
    std::string place = syntax_error_place({text, size}, kMaxDepth);
    if (!place.empty()) place += ": ";
    error =
        name + place + "not a readable JSON document: " + simdjson::error_message(code);
    if (code == simdjson::DEPTH_ERROR)
      error += " (at most " + std::to_string(kMaxDepth) + " levels)";
    return false;
  }
  problem = Problem();
  DocumentReader reader(error);
  const bool read = reader.document(root, problem);
  if (large) b.parser = simdjson::dom::parser();
  if (read) return true;
  error.insert(0, name);
  return false;
}

// Reads the file whole: the text into one buffer, parsed into a tree, then converted.
bool read_whole_file(const std::string& path, Problem& problem, std::string& error) {
  ReadBuffers& b = buffers();
  simdjson::error_code code = simdjson::IO_ERROR;
  char* padded = nullptr;
  std::size_t size = 0;
  // The system's reason when the file cannot be opened or read: a missing file, a
  // folder, no permission.
  int system_error = 0;
  std::error_code status;
  if (std::filesystem::is_directory(path, status)) system_error = EISDIR;
  std::FILE* file = system_error ? nullptr : std::fopen(path.c_str(), "rb");
  if (!file && !system_error) system_error = errno;
  if (file) {
    long end = -1;
    if (std::fseek(file, 0, SEEK_END) == 0) end = std::ftell(file);
    // LONG_MAX is what some systems answer for a directory.
    if (end >= 0 && end != LONG_MAX && std::fseek(file, 0, SEEK_SET) == 0) {
      size = static_cast<std::size_t>(end);
      padded = b.text_buffer(size);
      if (!padded)
        code = simdjson::MEMALLOC;
      else if (std::fread(padded, 1, size, file) == size)
        code = simdjson::SUCCESS;
    }
    if (code == simdjson::IO_ERROR) system_error = errno;
    std::fclose(file);
  }
  if (system_error) {
    error = path + ": " + std::generic_category().message(system_error);
    return false;
  }
  if (code) {
    error = path + ": cannot read the file (" + simdjson::error_message(code) + ")";
    return false;
  }
  return parse(b, padded, size, path + ": ", problem, error);
}

void take(Mesh& mesh, MeshLists& lists) {
  if (lists.taken & 1) mesh.x = std::move(lists.x);
  if (lists.taken & 2) mesh.y = std::move(lists.y);
  if (lists.taken & 4) mesh.z = std::move(lists.z);
  if (lists.taken & 8) mesh.triangles = std::move(lists.triangles);
  if (lists.taken & 16) mesh.triangle_info = std::move(lists.triangle_info);
}

// Reads the document `in` gives with its mesh lists split off as they stream past
// (json_split.h), then the rest of it as a whole; false when either gives up, the
// caller then reads the document whole for the message. Most documents read this way:
// the split takes every list the writer writes, and a site's text is never held.
bool read_split(TextInput& in, Problem& problem) {
  SplitDocument split;
  if (!split_document(in, kMaxDepth, split)) return false;
  ReadBuffers& b = buffers();
  const std::size_t size = split.rest.size();
  char* padded = b.text_buffer(size);
  if (!padded) return false;
  std::memcpy(padded, split.rest.data(), size);
  std::string().swap(split.rest);
  element root;
  const simdjson::error_code code = b.parse_tree(padded, size, root);
  const bool large = size > kKeptDocumentBytes;
  if (large) b.release_text();
  std::string ignored;
  problem = Problem();
  const bool read = !code && DocumentReader(ignored).document(root, problem);
  if (large) b.parser = simdjson::dom::parser();
  if (!read) return false;
  take(problem.mesh, split.mesh);
  for (auto& [index, lists] : split.surfaces) {
    if (index >= problem.surfaces.size()) return false;
    take(problem.surfaces[index].mesh, lists);
  }
  return true;
}

}  // namespace

bool read_document(std::string_view text, Problem& problem, std::string& error) {
  {
    TextInput in(text);
    if (read_split(in, problem)) return true;
  }
  return read_document_whole(text, problem, error);
}

bool read_document_whole(std::string_view text, Problem& problem, std::string& error) {
  ReadBuffers& b = buffers();
  char* padded = b.text_buffer(text.size());
  if (!padded) {
    error =
        "not enough memory for a document of " + std::to_string(text.size()) + " bytes";
    return false;
  }
  if (!text.empty()) std::memcpy(padded, text.data(), text.size());
  return parse(b, padded, text.size(), "", problem, error);
}

bool read_file(const std::string& path, Problem& problem, std::string& error) {
  std::error_code status;
  if (!std::filesystem::is_directory(path, status)) {
    if (std::FILE* file = std::fopen(path.c_str(), "rb")) {
      bool read;
      {
        TextInput in(file);
        read = read_split(in, problem);
      }
      std::fclose(file);
      if (read) return true;
    }
  }
  return read_whole_file(path, problem, error);
}

void release_read_buffers() { t_buffers.reset(); }

}  // namespace gvk_json
