// Writes a Problem as a JSON document. The format's rules, written once:
// - a finite double is its shortest decimal text that reads back to the same bits,
//   with ".0" added when that text would read as an integer ("-0.0", "3.0");
// - a non-finite double is a string: "inf", "-inf", "nan" (the quiet NaN
//   0x7ff8000000000000) or "nan:0x" and the sixteen hex digits of any other NaN;
// - an opaque block is a string of two lower-case hex digits per byte, in memory order;
// - a string is a JSON string when it is UTF-8, else {"bytes": "<hex>"}.
#include "json_document.h"

#include <gravok/replace_file.h>

#include <gravok/element_types.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace gvk_json {
namespace {

using gvk::ElementSet;
using gvk::Mesh;
using gvk::Problem;
using gvk::StoredUnit;

constexpr std::size_t kSpillBytes = std::size_t{1} << 20;

// The text being written: a string, and when a file is being written, the file it is
// passed on to a block at a time, so that a site's document is never held whole.
struct Text : std::string {
  std::FILE* file = nullptr;

  // Passes what is written so far on to the file, once it is a block's worth.
  void spill() {
    if (!file || size() < kSpillBytes) return;
    std::fwrite(data(), 1, size(), file);
    clear();
  }
};

char* put_hex(char* p, const unsigned char* bytes, std::size_t count) {
  static const char kDigits[] = "0123456789abcdef";
  for (std::size_t i = 0; i < count; ++i) {
    *p++ = kDigits[bytes[i] >> 4];
    *p++ = kDigits[bytes[i] & 15];
  }
  return p;
}

void put_hex(Text& out, const unsigned char* bytes, std::size_t count) {
  const std::size_t at = out.size();
  out.resize(at + 2 * count);
  put_hex(&out[at], bytes, count);
}

template <class Integer>
void put_integer(Text& out, Integer value) {
  char text[24];
  out.append(text, std::to_chars(text, text + sizeof text, value).ptr);
}

// Longest text of one double: a NaN with its bits, or 24 characters and ".0".
constexpr std::size_t kMaxDoubleText = 26;
// Longest text of one triangle: three 20-digit indices, two commas, brackets, comma.
constexpr std::size_t kMaxTriangleText = 3 * 20 + 5;

char* put_non_finite(char* p, double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  const char* text = value > 0 ? "\"inf\"" : value < 0 ? "\"-inf\"" : "\"nan\"";
  if (std::isnan(value) && bits != 0x7ff8000000000000ULL) {
    static const char kDigits[] = "0123456789abcdef";
    std::memcpy(p, "\"nan:0x", 7);
    p += 7;
    for (int shift = 60; shift >= 0; shift -= 4) *p++ = kDigits[bits >> shift & 15];
    *p++ = '"';
    return p;
  }
  const std::size_t length = std::strlen(text);
  std::memcpy(p, text, length);
  return p + length;
}

// Writes `value` at `p`, which has room for kMaxDoubleText characters; returns the end.
char* put_double(char* p, double value) {
  if (!std::isfinite(value)) return put_non_finite(p, value);
  char* end = std::to_chars(p, p + kMaxDoubleText, value).ptr;
  for (const char* q = p; q != end; ++q)
    if (*q == '.' || *q == 'e') return end;
  *end++ = '.';
  *end++ = '0';
  return end;
}

void put_double(Text& out, double value) {
  char text[kMaxDoubleText];
  out.append(text, put_double(text, value));
}

// Length of the well-formed UTF-8 sequence at `p` (before `end`), or 0.
std::size_t utf8_sequence(const unsigned char* p, const unsigned char* end) {
  if (*p < 0x80) return 1;
  std::size_t length = *p >= 0xF0 ? 4 : *p >= 0xE0 ? 3 : 2;
  if (*p < 0xC2 || *p > 0xF4 || static_cast<std::size_t>(end - p) < length) return 0;
  for (std::size_t i = 1; i < length; ++i)
    if ((p[i] & 0xC0) != 0x80) return 0;
  if (*p == 0xE0 && p[1] < 0xA0) return 0;  // overlong
  if (*p == 0xED && p[1] > 0x9F) return 0;  // surrogate
  if (*p == 0xF0 && p[1] < 0x90) return 0;  // overlong
  if (*p == 0xF4 && p[1] > 0x8F) return 0;  // beyond U+10FFFF
  return length;
}

bool is_utf8(const std::string& text) {
  const auto* p = reinterpret_cast<const unsigned char*>(text.data());
  const auto* end = p + text.size();
  while (p != end) {
    const std::size_t length = utf8_sequence(p, end);
    if (length == 0) return false;
    p += length;
  }
  return true;
}

void put_string(Text& out, const std::string& text) {
  if (!is_utf8(text)) {
    out += "{\"bytes\": \"";
    put_hex(out, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    out += "\"}";
    return;
  }
  out += '"';
  for (char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      out += escape;
    } else {
      out += c;
    }
  }
  out += '"';
}

// Large lists are written straight into the string, a chunk of items at a time: room
// for the longest text of every item of the chunk (`max_text` characters, and a comma)
// first, cut to what `put_item(p, i)` wrote, then spilled.
template <class PutItem>
void put_items(Text& out, std::size_t count, std::size_t max_text, PutItem put_item) {
  constexpr std::size_t kChunkItems = 8192;
  for (std::size_t first = 0; first < count; first += kChunkItems) {
    const std::size_t last = std::min(count, first + kChunkItems);
    const std::size_t at = out.size();
    out.resize(at + (last - first) * (max_text + 1));
    char* p = &out[at];
    for (std::size_t i = first; i < last; ++i) {
      if (i) *p++ = ',';
      p = put_item(p, i);
    }
    out.resize(static_cast<std::size_t>(p - out.data()));
    out.spill();
  }
}

void put_doubles(Text& out, const std::vector<double>& values) {
  out += '[';
  put_items(out, values.size(), kMaxDoubleText,
            [&](char* p, std::size_t i) { return put_double(p, values[i]); });
  out += ']';
}

template <class Integer>
void put_integers(Text& out, const std::vector<Integer>& values) {
  out += '[';
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i) out += ',';
    put_integer(out, values[i]);
  }
  out += ']';
}

// A list of lists, one inner list per line at `indent`.
template <class Put, class T>
void put_lists(Text& out, const std::vector<std::vector<T>>& lists, const char* indent,
               Put put) {
  if (lists.empty()) return void(out += "[]");
  out += '[';
  for (std::size_t i = 0; i < lists.size(); ++i) {
    out += i ? ",\n" : "\n";
    out += indent;
    put(out, lists[i]);
    out.spill();
  }
  out += '\n';
  out.append(indent, std::strlen(indent) - 2);
  out += ']';
}

// Opaque records (objectives, triangle information) as one hex string each.
template <class Record>
void put_block_list(Text& out, const std::vector<Record>& records) {
  out += '[';
  put_items(out, records.size(), 2 * sizeof(Record::data) + 2,
            [&](char* p, std::size_t i) {
              *p++ = '"';
              p = put_hex(p, records[i].data, sizeof records[i].data);
              *p++ = '"';
              return p;
            });
  out += ']';
}

void put_unit(Text& out, const char* role, const StoredUnit& unit) {
  out += "    \"";
  out += role;
  out += "\": {\"type\": ";
  put_integer(out, unit.type);
  out += ", \"qualifier\": ";
  put_integer(out, unit.qualifier);
  out += ", \"name\": ";
  put_string(out, unit.name);
  out += ", \"abbreviation\": ";
  put_string(out, unit.abbreviation);
  out += ", \"conversions\": ";
  put_doubles(out, unit.conversions);
  out += '}';
}

void put_units(Text& out, const Problem& problem) {
  out += "  \"units\": {\n";
  put_unit(out, "linear", problem.linear_unit);
  out += ",\n";
  put_unit(out, "area", problem.area_unit);
  out += ",\n";
  put_unit(out, "volume", problem.volume_unit);
  out += "\n  },\n";
}

void put_member(Text& out, const char* name) {
  out += "    \"";
  out += name;
  out += "\": ";
}

void put_settings(Text& out, const Problem& p) {
  out += "  \"settings\": {\n";
  put_member(out, "fix_boundary");
  out += p.fix_boundary ? "true" : "false";
  out += ",\n";
  put_member(out, "max_slope");
  put_double(out, p.max_slope);
  out += ",\n";
  put_member(out, "min_slope");
  put_double(out, p.min_slope);
  out += ",\n";
  put_member(out, "volume_constraint");
  put_integer(out, static_cast<std::int32_t>(p.volume_constraint));
  out += ",\n";
  put_member(out, "max_slopes");
  put_doubles(out, p.max_slopes);
  out += ",\n";
  put_member(out, "min_slopes");
  put_doubles(out, p.min_slopes);
  out += ",\n";
  put_member(out, "mesh_metric");
  out += "{\"kind\": ";
  put_integer(out, p.metric.kind);
  out += ", \"value\": ";
  put_double(out, p.metric.value);
  out += p.metric.flag_a ? ", \"flag_a\": true" : ", \"flag_a\": false";
  out += p.metric.flag_b ? ", \"flag_b\": true}" : ", \"flag_b\": false}";
  out += ",\n";
  put_member(out, "max_iteration_count");
  put_integer(out, p.max_iteration_count);
  out += ",\n";
  put_member(out, "epsilon");
  put_double(out, p.epsilon);
  out += "\n  },\n";
}

// Ids and names are parallel lists; a host may give more of one than of the other.
void put_surfaces(Text& out, const Problem& p) {
  out += "  \"surfaces\": {\"ids\": ";
  put_integers(out, p.surface_ids);
  out += ", \"names\": [";
  for (std::size_t i = 0; i < p.surface_names.size(); ++i) {
    if (i) out += ", ";
    put_string(out, p.surface_names[i]);
  }
  out += "]},\n";
}

void put_break_lines(Text& out, const std::vector<gravok_line_3d>& lines) {
  out += "  \"break_lines\": [";
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const gravok_line_3d& l = lines[i];
    out += i ? ",\n    " : "\n    ";
    put_doubles(out, {l.x1, l.y1, l.z1, l.x2, l.y2, l.z2});
  }
  out += lines.empty() ? "]" : "\n  ]";
}

void put_mesh(Text& out, const Mesh& mesh) {
  out += "  \"mesh\": {\n    \"x\": ";
  put_doubles(out, mesh.x);
  out += ",\n    \"y\": ";
  put_doubles(out, mesh.y);
  out += ",\n    \"z\": ";
  put_doubles(out, mesh.z);
  out += ",\n    \"triangles\": [";
  put_items(out, mesh.triangles.size(), kMaxTriangleText, [&](char* p, std::size_t i) {
    const gvk::Triangle& t = mesh.triangles[i];
    *p++ = '[';
    p = std::to_chars(p, p + 20, t[0]).ptr;
    *p++ = ',';
    p = std::to_chars(p, p + 20, t[1]).ptr;
    *p++ = ',';
    p = std::to_chars(p, p + 20, t[2]).ptr;
    *p++ = ']';
    return p;
  });
  out += "],\n    \"triangle_info\": ";
  put_block_list(out, mesh.triangle_info);
  out += "\n  }";
}

bool all_zero(const unsigned char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    if (bytes[i]) return false;
  return true;
}

void put_record(Text& out, const gravok_grading_element& e) {
  out += "{\"location\": [";
  for (int i = 0; i < 6; ++i) {
    if (i) out += ',';
    put_double(out, e.location[i]);
  }
  out += ']';
  if (!all_zero(e.attributes, sizeof e.attributes)) {
    out += ", \"attributes\": \"";
    put_hex(out, e.attributes, sizeof e.attributes);
    out += '"';
  }
  if (!all_zero(e.trailer, sizeof e.trailer)) {
    out += ", \"trailer\": \"";
    put_hex(out, e.trailer, sizeof e.trailer);
    out += '"';
  }
  out += '}';
}

constexpr const char* kListIndent = "          ";

void put_complex_list(Text& out, bool& first, const char* name,
                      const std::vector<std::vector<double>>& lists) {
  if (lists.empty()) return;
  out += first ? "\n        \"" : ",\n        \"";
  first = false;
  out += name;
  out += "\": ";
  put_lists(out, lists, kListIndent, put_doubles);
}

void put_complex(Text& out, const gvk::DataSource::ComplexElementData& c) {
  out += ",\n      \"complex\": {";
  bool first = true;
  put_complex_list(out, first, "double_lists_1", c.double_lists_1);
  put_complex_list(out, first, "double_lists_2", c.double_lists_2);
  put_complex_list(out, first, "double_lists_3", c.double_lists_3);
  put_complex_list(out, first, "double_lists_4", c.double_lists_4);
  put_complex_list(out, first, "double_lists_5", c.double_lists_5);
  put_complex_list(out, first, "double_lists_6", c.double_lists_6);
  put_complex_list(out, first, "double_lists_7", c.double_lists_7);
  put_complex_list(out, first, "double_lists_8", c.double_lists_8);
  put_complex_list(out, first, "double_lists_9", c.double_lists_9);
  put_complex_list(out, first, "double_lists_10", c.double_lists_10);
  put_complex_list(out, first, "double_lists_11", c.double_lists_11);
  if (!c.int_lists.empty()) {
    out += first ? "\n        \"int_lists\": " : ",\n        \"int_lists\": ";
    first = false;
    put_lists(out, c.int_lists, kListIndent, put_integers<std::int32_t>);
  }
  out += first ? "}" : "\n      }";
}

bool has_complex(const ElementSet& set) {
  ElementSet bare;
  bare.complex = set.complex;
  return !is_empty(bare);
}

void put_element_set(Text& out, GradingElementType kind, const ElementSet& set) {
  out += "    \"";
  std::string name = element_kind_name(kind);
  out += name;
  out += "\": {\n      \"records\": [";
  for (std::size_t i = 0; i < set.records.size(); ++i) {
    out += i ? ",\n        " : "\n        ";
    put_record(out, set.records[i]);
  }
  out += set.records.empty() ? "]" : "\n      ]";
  out += ",\n      \"xs\": ";
  put_lists(out, set.xs, "        ", put_doubles);
  out += ",\n      \"ys\": ";
  put_lists(out, set.ys, "        ", put_doubles);
  if (has_complex(set)) put_complex(out, set.complex);
  out += "\n    }";
}

void put_elements(Text& out, const Problem& p) {
  out += "  \"elements\": {";
  bool first = true;
  for (const auto& [kind, set] : p.elements) {
    if (is_empty(set)) continue;
    out += first ? "\n" : ",\n";
    first = false;
    put_element_set(out, kind, set);
  }
  out += first ? "},\n" : "\n  },\n";
}

// Every surface with its mesh and break lines, when the problem holds several.
void put_all_surfaces(Text& out, const std::vector<gvk::Surface>& surfaces) {
  out += ",\n  \"all_surfaces\": [";
  for (std::size_t i = 0; i < surfaces.size(); ++i) {
    const gvk::Surface& s = surfaces[i];
    out += i ? ",\n  {\"id\": " : "\n  {\"id\": ";
    put_integer(out, s.id);
    out += ", \"name\": ";
    put_string(out, s.name);
    out += ",\n";
    put_break_lines(out, s.break_lines);
    out += ",\n";
    put_mesh(out, s.mesh);
    out += '}';
  }
  out += "\n  ]";
}

// Writes `"name": text` after `separator` when the text is not empty.
void put_text_member(Text& out, const char*& separator, const char* name,
                     const std::string& text) {
  if (text.empty()) return;
  out += separator;
  separator = ", ";
  out += '"';
  out += name;
  out += "\": ";
  put_string(out, text);
}

// The parts of the description that are known; empty text is left out.
void put_description(Text& out, const gvk::ProblemDescription& d) {
  const gvk::CoordinateSystem& c = d.coordinate_system;
  out += ",\n  \"description\": {\n    \"coordinate_system\": {";
  const char* separator = "";
  put_text_member(out, separator, "epsg_code", c.epsg_code);
  put_text_member(out, separator, "wkt", c.wkt);
  put_text_member(out, separator, "name", c.name);
  put_text_member(out, separator, "description", c.description);
  put_text_member(out, separator, "horizontal_name", c.horizontal_name);
  put_text_member(out, separator, "horizontal_datum", c.horizontal_datum);
  put_text_member(out, separator, "vertical_datum", c.vertical_datum);
  out += "},\n    \"application\": {";
  separator = "";
  put_text_member(out, separator, "name", d.application_name);
  put_text_member(out, separator, "version", d.application_version);
  out += "},\n    \"surfaces\": [";
  separator = "";
  for (const auto& [id, text] : d.surface_descriptions) {
    out += separator;
    separator = ", ";
    out += "{\"id\": ";
    put_integer(out, id);
    out += ", \"description\": ";
    put_string(out, text);
    out += '}';
  }
  out += "]\n  }";
}

void put_guids(Text& out, const Problem& p) {
  out += "  \"guids\": {\"valid\": ";
  out += p.guids_valid ? "true" : "false";
  out += ", \"map\": [";
  bool first = true;
  for (const auto& [uid, guid] : p.guids) {
    out += first ? "\n    {\"uid\": " : ",\n    {\"uid\": ";
    first = false;
    put_integer(out, uid);
    out += ", \"guid\": ";
    put_string(out, guid);
    out += '}';
  }
  out += first ? "]}" : "\n  ]}";
}

// The members of version 2; a problem without them is written as version 1.
bool needs_version_2(const Problem& p) {
  return !p.surfaces.empty() || !is_empty(p.description);
}

void write(const Problem& p, Text& out) {
  out += "{\n  \"format\": \"";
  out += kFormatName;
  out += "\",\n  \"version\": ";
  put_integer(out, needs_version_2(p) ? kFormatVersion : 1LL);
  out += ",\n  \"hostcad_version\": ";
  put_string(out, p.hostcad_version);
  out += ",\n  \"origin\": ";
  put_doubles(out, {p.xorig, p.yorig, p.zorig});
  out += ",\n";
  put_units(out, p);
  put_settings(out, p);
  put_surfaces(out, p);
  out += "  \"objectives\": ";
  put_block_list(out, p.objectives);
  out += ",\n";
  put_break_lines(out, p.break_lines);
  out += ",\n";
  put_mesh(out, p.mesh);
  out += ",\n";
  put_elements(out, p);
  put_guids(out, p);
  if (!is_empty(p.description)) put_description(out, p.description);
  if (!p.surfaces.empty()) put_all_surfaces(out, p.surfaces);
  out += "\n}\n";
}

}  // namespace

void write_document(const Problem& p, std::string& out) {
  Text text;
  text.swap(out);
  text.clear();
  // About what a mesh takes, so that a large document grows once or twice.
  text.reserve(4096 + 24 * (p.mesh.x.size() * 3 + p.mesh.triangles.size() * 4) +
               84 * p.mesh.triangle_info.size());
  write(p, text);
  text.swap(out);
}

void write_file(const Problem& problem, const std::string& path) {
  gvk::replace_file(path, [&](std::FILE* file) {
    Text text;
    text.file = file;
    text.reserve(2 * kSpillBytes);
    write(problem, text);
    std::fwrite(text.data(), 1, text.size(), file);
  });
}

}  // namespace gvk_json
