#include "landxml_document.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <unordered_map>

namespace gvk_landxml {
namespace {

// ---------------------------------------------------------------------------------
// Units. LandXML names each unit in full ("USSurveyFoot", "squareMeter",
// "cubicYard"). Each name below is the length unit of gravok/units.h with that type id
// (0 millimeter ... 7 survey foot), raised to the power: an area or volume unit is the
// square or cube of a length unit, as a Unit<2> or Unit<3> of the library is. The
// source reports it as gvk::Known<N> of that id, with the library's exact factors.
// LandXML's units that are no power of one of those lengths (inch, squareInch, acre,
// hectare, cubicInch, liter, hectareMeter, acreFeet, US_gallon, IMP_gallon) have no
// id: they are reported as the unknown unit, with a warning, never as a neighbour
// with a wrong factor. The first name of a type and power is the one the store
// writes.
struct UnitName {
  const char* name;
  std::int32_t type;
  int power;
};
constexpr UnitName kUnitNames[] = {
    {"millimeter", 0, 1},
    {"centimeter", 1, 1},
    {"meter", 2, 1},
    {"kilometer", 3, 1},
    {"foot", 4, 1},
    {"yard", 5, 1},
    {"mile", 6, 1},
    {"USSurveyFoot", 7, 1},
    {"squareMillimeter", 0, 2},
    {"squareCentimeter", 1, 2},
    {"squareMeter", 2, 2},
    {"squareKilometer", 3, 2},
    {"squareFoot", 4, 2},
    {"squareYard", 5, 2},
    {"squareMiles", 6, 2},
    {"squareUSSurveyFoot", 7, 2},
    {"cubicMillimeter", 0, 3},
    {"cubicCentimeter", 1, 3},
    {"cubicMeter", 2, 3},
    {"cubicKilometer", 3, 3},
    {"cubicFeet", 4, 3},
    {"cubicFoot", 4, 3},
    {"cubicYard", 5, 3},
    {"cubicMiles", 6, 3},
    {"cubicUSSurveyFoot", 7, 3},
};

bool equal_ignoring_case(const char* a, const char* b) {
  for (; *a && *b; ++a, ++b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; };
    if (lower(*a) != lower(*b)) return false;
  }
  return *a == *b;
}

// The type id that the LandXML unit name `name` gives at `power`, or -1.
std::int32_t unit_type(const char* name, int power) {
  for (const UnitName& unit : kUnitNames) {
    if (unit.power == power && equal_ignoring_case(unit.name, name)) return unit.type;
  }
  return -1;
}

// ---------------------------------------------------------------------------------
// Reading.

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Text of the file as a message quotes it: the first 64 bytes (not cutting a UTF-8
// sequence) and "..." when there is more, so that a name or a list of megabytes makes
// a message of one short line.
std::string excerpt(const char* text) {
  constexpr std::size_t kMost = 64;
  const std::size_t size = std::strlen(text);
  if (size <= kMost) return text;
  std::size_t cut = kMost;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return std::string(text, cut) + "...";
}

// The element's name without a namespace prefix.
const char* local_name(const pugi::xml_node& node) {
  const char* name = node.name();
  const char* colon = std::strrchr(name, ':');
  return colon ? colon + 1 : name;
}

bool is(const pugi::xml_node& node, const char* name) {
  return node.type() == pugi::node_element && std::strcmp(local_name(node), name) == 0;
}

pugi::xml_node child(const pugi::xml_node& node, const char* name) {
  for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
    if (is(c, name)) return c;
  }
  return {};
}

std::size_t children_named(const pugi::xml_node& node, const char* name) {
  std::size_t count = 0;
  for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
    count += is(c, name);
  return count;
}

// Reads the numbers of a white-space separated list (line breaks included), appending
// them to `out`. False at the first item that is not a finite number.
bool read_numbers(const char* text, std::vector<double>& out) {
  const char* end = text + std::strlen(text);
  for (const char* p = text;;) {
    while (p != end && is_space(*p)) ++p;
    if (p == end) return true;
    if (*p == '+') ++p;
    double value = 0;
    const auto [next, ec] = std::from_chars(p, end, value);
    if (ec != std::errc() || !std::isfinite(value) || (next != end && !is_space(*next))) {
      return false;
    }
    out.push_back(value);
    p = next;
  }
}

// Reads up to `capacity` integers of a white-space separated list into `out` and
// returns how many the text holds: capacity + 1 as soon as it holds more, -1 when an
// item before that is not an integer.
int read_integers(const char* text, long long* out, int capacity) {
  const char* end = text + std::strlen(text);
  int count = 0;
  for (const char* p = text;;) {
    while (p != end && is_space(*p)) ++p;
    if (p == end) return count;
    long long value = 0;
    const auto [next, ec] = std::from_chars(p, end, value);
    if (ec != std::errc() || (next != end && !is_space(*next))) return -1;
    if (count == capacity) return capacity + 1;
    out[count++] = value;
    p = next;
  }
}

// Point ids to positions in <Pnts>. Ids that fill a range densely (the usual case:
// 1 to n, perhaps with gaps) are looked up in a table; any others in a hash map.
class PointIndex {
 public:
  // Indexes `ids`; false with the position of the first repeated id in `repeated`.
  bool build(const std::vector<long long>& ids, std::size_t& repeated) {
    if (ids.empty()) return true;
    const auto [lo, hi] = std::minmax_element(ids.begin(), ids.end());
    m_min = *lo;
    const unsigned long long span =
        static_cast<unsigned long long>(*hi) - static_cast<unsigned long long>(*lo);
    m_dense = span < 4 * static_cast<unsigned long long>(ids.size()) + 1024;
    if (m_dense) m_table.assign(static_cast<std::size_t>(span) + 1, kNone);
    for (std::size_t i = 0; i < ids.size(); ++i) {
      if (!insert(ids[i], i)) {
        repeated = i;
        return false;
      }
    }
    return true;
  }

  bool find(long long id, std::size_t& index) const {
    if (!m_dense) {
      const auto found = m_map.find(id);
      if (found == m_map.end()) return false;
      index = found->second;
      return true;
    }
    const unsigned long long slot =
        static_cast<unsigned long long>(id) - static_cast<unsigned long long>(m_min);
    if (id < m_min || slot >= m_table.size() || m_table[slot] == kNone) return false;
    index = m_table[slot];
    return true;
  }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  bool insert(long long id, std::size_t index) {
    if (!m_dense) return m_map.emplace(id, index).second;
    std::size_t& slot = m_table[static_cast<std::size_t>(
        static_cast<unsigned long long>(id) - static_cast<unsigned long long>(m_min))];
    if (slot != kNone) return false;
    slot = index;
    return true;
  }

  long long m_min = 0;
  bool m_dense = true;
  std::vector<std::size_t> m_table;
  std::unordered_map<long long, std::size_t> m_map;
};

// What every reading step needs: the text (to turn offsets into line numbers), the
// name for messages, and where errors and warnings go.
struct Context {
  const char* text;
  std::size_t size;
  const std::string& where;
  std::string& error;
  std::vector<std::string>& warnings;
  // The line of byte `counted`: counting goes on from there when the next offset asked
  // for lies further on, so messages in document order (the warnings of a file of
  // many surfaces) count each byte once, not once per message.
  std::size_t counted = 0;
  long line = 1;

  long line_at(std::ptrdiff_t offset) {
    if (offset < 0) return 0;
    const std::size_t end = std::min(static_cast<std::size_t>(offset), size);
    if (end < counted) {
      counted = 0;
      line = 1;
    }
    line += static_cast<long>(std::count(text + counted, text + end, '\n'));
    counted = end;
    return line;
  }
  std::string at(const pugi::xml_node& node) {
    return where + ":" + std::to_string(line_at(node.offset_debug())) + ": ";
  }
  bool fail(const pugi::xml_node& node, const std::string& message) {
    error = at(node) + message;
    return false;
  }
  void warn(const pugi::xml_node& node, const std::string& message) {
    warnings.push_back(at(node) + message);
  }
};

std::string point_tag(const pugi::xml_node& p) {
  return "<P id=\"" + excerpt(p.attribute("id").value()) + "\">";
}

// Reads the <P> entries of <Pnts> into the surface and their ids into `ids`.
bool read_points(Context& context, const pugi::xml_node& pnts, Surface& surface,
                 std::vector<long long>& ids) {
  // Sized by the elements the parser found, never by a count the file states.
  const std::size_t count = children_named(pnts, "P");
  for (auto* v : {&surface.x, &surface.y, &surface.z}) v->reserve(count);
  ids.reserve(count);
  std::vector<double> numbers;
  for (pugi::xml_node p = pnts.first_child(); p; p = p.next_sibling()) {
    if (!is(p, "P")) continue;
    long long id = 0;
    if (read_integers(p.attribute("id").value(), &id, 1) != 1) {
      return context.fail(p, point_tag(p) + ": the id is not an integer");
    }
    numbers.clear();
    if (!read_numbers(p.child_value(), numbers)) {
      return context.fail(p, point_tag(p) + ": expected \"northing easting elevation\"" +
                                 ", found text that is not a finite number");
    }
    if (numbers.size() == 2) {
      return context.fail(p, point_tag(p) + ": missing elevation (expected " +
                                 "\"northing easting elevation\")");
    }
    if (numbers.size() != 3) {
      return context.fail(p, point_tag(p) + ": expected 3 numbers " +
                                 "\"northing easting elevation\", found " +
                                 std::to_string(numbers.size()));
    }
    ids.push_back(id);
    surface.y.push_back(numbers[0]);  // northing first
    surface.x.push_back(numbers[1]);
    surface.z.push_back(numbers[2]);
  }
  return true;
}

bool read_faces(Context& context, const pugi::xml_node& faces, const PointIndex& index,
                Surface& surface) {
  surface.triangles.reserve(children_named(faces, "F"));
  for (pugi::xml_node f = faces.first_child(); f; f = f.next_sibling()) {
    if (!is(f, "F")) continue;
    if (std::strcmp(f.attribute("i").value(), "1") == 0) {
      ++surface.invisible_faces;  // invisible: not part of the surface
      continue;
    }
    long long ids[3];
    const int count = read_integers(f.child_value(), ids, 3);
    if (count != 3) {
      return context.fail(
          f, "<F>: expected 3 point ids, found \"" + excerpt(f.child_value()) + "\"");
    }
    gvk::Triangle triangle{};
    for (int k = 0; k < 3; ++k) {
      std::size_t position = 0;
      if (!index.find(ids[k], position)) {
        return context.fail(f, "<F> names point " + std::to_string(ids[k]) +
                                   ", which <Pnts> does not hold");
      }
      triangle[k] = position;
    }
    surface.triangles.push_back(triangle);
  }
  return true;
}

bool read_definition(Context& context, const pugi::xml_node& definition,
                     Surface& surface) {
  const pugi::xml_node pnts = child(definition, "Pnts");
  const pugi::xml_node faces = child(definition, "Faces");
  if (faces && child(faces, "F") && !pnts) {
    return context.fail(faces, "<Faces> without <Pnts>: the faces name no points");
  }
  std::vector<long long> ids;
  if (pnts && !read_points(context, pnts, surface, ids)) return false;
  PointIndex index;
  std::size_t repeated = 0;
  if (!index.build(ids, repeated)) {
    pugi::xml_node p = pnts.first_child();
    for (std::size_t i = 0; p && i < repeated; p = p.next_sibling()) i += is(p, "P");
    while (p && !is(p, "P")) p = p.next_sibling();
    return context.fail(p, point_tag(p) + ": duplicate point id");
  }
  return !faces || read_faces(context, faces, index, surface);
}

// A <PntList2D> or <PntList3D> child of `node`: its numbers and how many make a point
// (0 when the node has neither).
bool read_point_list(Context& context, const pugi::xml_node& node,
                     std::vector<double>& numbers, int& dimension) {
  pugi::xml_node list = child(node, "PntList3D");
  dimension = list ? 3 : 0;
  if (!list && (list = child(node, "PntList2D"))) dimension = 2;
  if (!list) return true;
  if (!read_numbers(list.child_value(), numbers) || numbers.size() % dimension != 0) {
    return context.fail(list, "<" + excerpt(list.name()) + ">: expected a list of " +
                                  std::to_string(dimension) +
                                  " numbers per point (northing easting" +
                                  (dimension == 3 ? " elevation)" : ")"));
  }
  return true;
}

bool read_break_line(Context& context, const pugi::xml_node& line, Surface& surface) {
  std::vector<double> n;
  int dimension = 0;
  if (!read_point_list(context, line, n, dimension)) return false;
  if (dimension != 3 || n.size() < 6) {
    context.warn(line, dimension == 2 ? "<Breakline> without elevations: left out"
                                      : "<Breakline> of fewer than two points: left out");
    return true;
  }
  for (std::size_t i = 3; i + 2 < n.size(); i += 3) {
    surface.break_lines.push_back(
        {n[i - 2], n[i - 3], n[i - 1], n[i + 1], n[i], n[i + 2]});
  }
  return true;
}

bool read_boundary(Context& context, const pugi::xml_node& boundary, Surface& surface) {
  if (!equal_ignoring_case(boundary.attribute("bndType").value(), "outer")) return true;
  std::vector<double> n;
  int dimension = 0;
  if (!read_point_list(context, boundary, n, dimension)) return false;
  if (dimension == 0) return true;
  std::vector<double> xs, ys;
  for (std::size_t i = 0; i + 1 < n.size(); i += dimension) {
    ys.push_back(n[i]);
    xs.push_back(n[i + 1]);
  }
  surface.boundary_xs.push_back(std::move(xs));
  surface.boundary_ys.push_back(std::move(ys));
  return true;
}

bool read_source_data(Context& context, const pugi::xml_node& source, Surface& surface) {
  for (pugi::xml_node list = source.first_child(); list; list = list.next_sibling()) {
    for (pugi::xml_node item = list.first_child(); item; item = item.next_sibling()) {
      if (is(list, "Breaklines") && is(item, "Breakline") &&
          !read_break_line(context, item, surface)) {
        return false;
      }
      if (is(list, "Boundaries") && is(item, "Boundary") &&
          !read_boundary(context, item, surface)) {
        return false;
      }
    }
  }
  return true;
}

bool read_surface(Context& context, const pugi::xml_node& node, Document& document) {
  const pugi::xml_node definition = child(node, "Definition");
  const char* type = definition.attribute("surfType").value();
  if (!definition || (*type && !equal_ignoring_case(type, "TIN"))) {
    context.warn(node, "<Surface name=\"" + excerpt(node.attribute("name").value()) +
                           "\"> has no TIN <Definition>: left out");
    return true;
  }
  Surface surface;
  surface.name = node.attribute("name").value();
  surface.desc = node.attribute("desc").value();
  if (!read_definition(context, definition, surface)) return false;
  if (const pugi::xml_node source = child(node, "SourceData")) {
    if (!read_source_data(context, source, surface)) return false;
  }
  document.surfaces.push_back(std::move(surface));
  return true;
}

void read_coordinate_system(const pugi::xml_node& node, Document& document) {
  gvk::CoordinateSystem& c = document.coordinate_system;
  c.name = node.attribute("name").value();
  c.description = node.attribute("desc").value();
  c.epsg_code = node.attribute("epsgCode").value();
  c.wkt = node.attribute("ogcWktCode").value();
  c.horizontal_name = node.attribute("horizontalCoordinateSystemName").value();
  c.horizontal_datum = node.attribute("horizontalDatum").value();
  c.vertical_datum = node.attribute("verticalDatum").value();
}

void read_units(Context& context, const pugi::xml_node& units, Units& out) {
  pugi::xml_node system = child(units, "Metric");
  if (!system) system = child(units, "Imperial");
  if (!system) return;
  const struct {
    const char* attribute;
    int power;
    std::int32_t& type;
  } fields[] = {{"linearUnit", 1, out.linear},
                {"areaUnit", 2, out.area},
                {"volumeUnit", 3, out.volume}};
  for (const auto& field : fields) {
    const char* name = system.attribute(field.attribute).value();
    const std::int32_t type = unit_type(name, field.power);
    field.type = type < 0 ? gvk::kUnknownUnitType : type;
    if (type < 0 && *name) {
      context.warn(system, std::string(field.attribute) + " \"" + excerpt(name) +
                               "\" is not a known unit: reported as unknown");
    }
  }
}

}  // namespace

bool parse_document(std::vector<char>& text, const std::string& where, Document& document,
                    std::string& error, std::vector<std::string>& warnings) {
  document = Document();
  Context context{text.data(), text.size(), where, error, warnings};
  pugi::xml_document xml;
  const pugi::xml_parse_result parsed = xml.load_buffer_inplace(
      text.data(), text.size(), pugi::parse_minimal | pugi::parse_escapes);
  if (!parsed) {
    error = where + ":" + std::to_string(context.line_at(parsed.offset)) +
            ": not well-formed XML: " + parsed.description();
    return false;
  }
  const pugi::xml_node root = xml.document_element();
  if (!is(root, "LandXML")) {
    return context.fail(
        root, "the root element is <" + excerpt(root.name()) + ">, expected <LandXML>");
  }
  // A file that does not state its units is read with the unknown unit, never a guess;
  // the warning comes first, as the root it is about does.
  bool has_units = false;
  for (pugi::xml_node node = root.first_child(); node && !has_units;
       node = node.next_sibling())
    has_units = is(node, "Units");
  if (!has_units) context.warn(root, "no <Units>: the units are unknown");
  for (pugi::xml_node node = root.first_child(); node; node = node.next_sibling()) {
    if (is(node, "Units")) read_units(context, node, document.units);
    if (is(node, "Application")) {
      document.application_name = node.attribute("name").value();
      document.application_version = node.attribute("version").value();
      document.application =
          document.application_name + " " + document.application_version;
    }
    if (is(node, "CoordinateSystem")) read_coordinate_system(node, document);
    if (!is(node, "Surfaces")) continue;
    for (pugi::xml_node s = node.first_child(); s; s = s.next_sibling()) {
      if (is(s, "Surface") && !read_surface(context, s, document)) return false;
    }
  }
  return true;
}

bool read_document(const std::string& path, Document& document, std::string& error,
                   std::vector<std::string>& warnings) {
  std::ifstream in(path, std::ios::binary);
  std::vector<char> text;
  if (in) {
    in.seekg(0, std::ios::end);
    const std::streamoff size = in.tellg();
    in.seekg(0, std::ios::beg);
    if (size >= 0) text.resize(static_cast<std::size_t>(size));
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
  }
  if (!in) {
    error = path + ": cannot be read";
    return false;
  }
  return parse_document(text, path, document, error, warnings);
}

std::string landxml_root_fault(const std::string& path) {
  std::error_code code;
  const std::filesystem::file_status status = std::filesystem::status(path, code);
  if (code) return path + ": " + code.message();
  if (std::filesystem::is_directory(status)) {
    return path + ": " + std::make_error_code(std::errc::is_a_directory).message();
  }
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return path + ": " + std::generic_category().message(errno);
  std::string head(64 * 1024, '\0');
  head.resize(std::fread(&head[0], 1, head.size(), file));
  std::fclose(file);
  const std::string not_landxml = path + ": not a LandXML document: ";
  if (head.compare(0, 2, "\xFF\xFE") == 0 || head.compare(0, 2, "\xFE\xFF") == 0 ||
      head.compare(0, 2, std::string("<\0", 2)) == 0 ||
      head.compare(0, 2, std::string("\0<", 2)) == 0) {
    return path +
           ": UTF-16 text; the LandXML reader reads UTF-8 (save the file as UTF-8)";
  }
  // Skip the declaration, comments and processing instructions up to the first tag.
  for (std::size_t at = head.find('<'); at != std::string::npos;
       at = head.find('<', at + 1)) {
    if (at + 1 >= head.size()) break;
    const char next = head[at + 1];
    if (next == '?' || next == '!') {
      const std::size_t close = head.find(next == '?' ? "?>" : ">", at);
      if (close == std::string::npos) break;
      at = close;
      continue;
    }
    std::size_t end = at + 1;
    while (end < head.size() && !is_space(head[end]) && head[end] != '>' &&
           head[end] != '/') {
      ++end;
    }
    std::string name = head.substr(at + 1, end - at - 1);
    const std::size_t colon = name.rfind(':');
    if (colon != std::string::npos) name.erase(0, colon + 1);
    if (name == "LandXML") return "";
    return not_landxml + "the first element is <" + excerpt(name.c_str()) + ">";
  }
  return not_landxml +
         (head.empty() ? "the file is empty" : "no element in its first 64 KiB");
}

bool has_landxml_root(const std::string& path) {
  return landxml_root_fault(path).empty();
}

std::string landxml_unit_name(std::int32_t type, int power) {
  for (const UnitName& unit : kUnitNames) {
    if (unit.type == type && unit.power == power) return unit.name;
  }
  return "";
}

}  // namespace gvk_landxml
