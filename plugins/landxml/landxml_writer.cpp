// Writing a Document as LandXML 1.2 text. A surface of 10^6 faces is some 70 MB of
// text, so the text goes through one buffer of fixed size that is handed to the file
// (or the string) whenever it fills: no number or line becomes a string of its own,
// and the whole document is never held in memory.
#include "landxml_document.h"

#include <gravok/replace_file.h>

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace gvk_landxml {
namespace {

// The two digits of 0 to 99, "00" to "99".
struct DigitPairs {
  char text[200];
  constexpr DigitPairs() : text() {
    for (int i = 0; i < 100; ++i) {
      text[2 * i] = static_cast<char>('0' + i / 10);
      text[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
  }
};
constexpr DigitPairs kDigitPairs;

constexpr unsigned long long kTens[] = {1ull,
                                        10ull,
                                        100ull,
                                        1000ull,
                                        10000ull,
                                        100000ull,
                                        1000000ull,
                                        10000000ull,
                                        100000000ull,
                                        1000000000ull,
                                        10000000000ull,
                                        100000000000ull,
                                        1000000000000ull,
                                        10000000000000ull,
                                        100000000000000ull,
                                        1000000000000000ull,
                                        10000000000000000ull,
                                        100000000000000000ull,
                                        1000000000000000000ull,
                                        10000000000000000000ull};

int digit_count(unsigned long long n) {
  int count = 1;
  while (count < 20 && n >= kTens[count]) ++count;
  return count;
}

// Writes the last `count` decimal digits of `n` at `at`, zeros in front where `n` has
// fewer; returns the end. Two digits a step, straight into place: a surface's text
// is mostly digits.
char* put_digits(char* at, unsigned long long n, int count) {
  char* const end = at + count;
  char* p = end;
  for (; p - at >= 2; n /= 100) {
    const char* pair = kDigitPairs.text + 2 * (n % 100);
    *--p = pair[1];
    *--p = pair[0];
  }
  if (p > at) *--p = static_cast<char>('0' + n % 10);
  return end;
}

char* put(char* at, unsigned long long value) {
  return put_digits(at, value, digit_count(value));
}

// Writes `n` divided by 10^decimals, with exactly `decimals` digits after the point
// ("0.05" for n 5 and 2 decimals); returns the end. `decimals` is 0 to 19.
char* put_scaled_integer(char* at, unsigned long long n, int decimals) {
  if (decimals == 0) return put(at, n);
  at = put(at, n / kTens[decimals]);
  *at++ = '.';
  return put_digits(at, n % kTens[decimals], decimals);
}

// Text handed to a sink (a file, or a string) in chunks of kChunk bytes.
class Output {
 public:
  explicit Output(std::FILE* file) : m_buffer(kChunk), m_file(file) {}
  explicit Output(std::string& text) : m_buffer(kChunk), m_text(&text) {}

  // Room for `n` more bytes (n at most kChunk) at the returned position; advance()
  // then says how far was written.
  char* room(std::size_t n) {
    assert(n <= kChunk);
    if (static_cast<std::size_t>(m_buffer.data() + kChunk - m_end) < n) flush();
    return m_end;
  }
  void advance(char* end) { m_end = end; }

  template <std::size_t N>
  void text(const char (&literal)[N]) {
    text(literal, N - 1);
  }
  void text(const char* data, std::size_t size) {
    while (size > 0) {
      const std::size_t part = std::min(size, kChunk);
      advance(std::copy(data, data + part, room(part)));
      data += part;
      size -= part;
    }
  }

  // Hands the buffer to the sink. False once a write to the file has failed.
  bool flush() {
    const std::size_t size = static_cast<std::size_t>(m_end - m_buffer.data());
    if (m_text) m_text->append(m_buffer.data(), size);
    if (m_file && size > 0 && std::fwrite(m_buffer.data(), 1, size, m_file) != size) {
      m_failed = true;
    }
    m_end = m_buffer.data();
    return !m_failed;
  }

  static constexpr std::size_t kChunk = 256 * 1024;

 private:
  std::vector<char> m_buffer;
  char* m_end = m_buffer.data();
  std::FILE* m_file = nullptr;
  std::string* m_text = nullptr;
  bool m_failed = false;
};

template <std::size_t N>
char* put(char* at, const char (&literal)[N]) {
  return std::copy(literal, literal + N - 1, at);
}

// "northing easting": y before x.
char* put_plan(char* at, double x, double y) {
  at = write_decimal(at, y);
  *at++ = ' ';
  return write_decimal(at, x);
}

// "northing easting elevation".
char* put_point_3d(char* at, double x, double y, double z) {
  at = put_plan(at, x, y);
  *at++ = ' ';
  return write_decimal(at, z);
}

// Room for a line of three numbers and its tags.
constexpr std::size_t kLineRoom = 4 * kMaxDecimal;

// An attribute value. A tab or line break goes out as a character reference: an XML
// reader turns one written as it is into a blank (attribute-value normalisation).
void put_escaped(Output& out, const std::string& text) {
  for (const char c : text) {
    char* at = out.room(8);
    switch (c) {
      case '&': at = put(at, "&amp;"); break;
      case '<': at = put(at, "&lt;"); break;
      case '>': at = put(at, "&gt;"); break;
      case '"': at = put(at, "&quot;"); break;
      case '\t': at = put(at, "&#9;"); break;
      case '\n': at = put(at, "&#10;"); break;
      case '\r': at = put(at, "&#13;"); break;
      default: *at++ = c;
    }
    out.advance(at);
  }
}

void put_attribute(Output& out, const char* name, const std::string& value) {
  out.text(" ");
  out.text(name, std::strlen(name));
  out.text("=\"");
  put_escaped(out, value);
  out.text("\"");
}

void write_units(Output& out, const Units& units) {
  if (landxml_unit_name(units.linear, 1).empty()) return;  // unknown, or an angle
  const bool metric = units.linear <= 3;
  const auto name_or_linear = [&](std::int32_t type, int power) {
    const std::string name = landxml_unit_name(type, power);
    return name.empty() ? landxml_unit_name(units.linear, power) : name;
  };
  if (metric) {
    out.text("  <Units>\n    <Metric");
  } else {
    out.text("  <Units>\n    <Imperial");
  }
  put_attribute(out, "areaUnit", name_or_linear(units.area, 2));
  put_attribute(out, "linearUnit", landxml_unit_name(units.linear, 1));
  put_attribute(out, "volumeUnit", name_or_linear(units.volume, 3));
  put_attribute(out, "temperatureUnit", metric ? "celsius" : "fahrenheit");
  put_attribute(out, "pressureUnit", metric ? "milliBars" : "inchHG");
  out.text("/>\n  </Units>\n");
}

void write_points(Output& out, const std::vector<Feature>& points) {
  if (points.empty()) return;
  out.text("  <CgPoints>\n");
  for (const Feature& point : points) {
    out.text("    <CgPoint");
    put_attribute(out, "name", point.name);
    if (!point.desc.empty()) put_attribute(out, "desc", point.desc);
    char* at = put(out.room(kLineRoom), ">");
    if (!point.xs.empty() && !point.ys.empty()) {
      at = put_plan(at, point.xs[0], point.ys[0]);
    }
    out.advance(put(at, "</CgPoint>\n"));
  }
  out.text("  </CgPoints>\n");
}

void write_line(Output& out, double x1, double y1, double x2, double y2) {
  char* at = put(out.room(kLineRoom), "        <Line><Start>");
  at = put(put_plan(at, x1, y1), "</Start><End>");
  out.advance(put(put_plan(at, x2, y2), "</End></Line>\n"));
}

void write_features(Output& out, const std::vector<Feature>& features) {
  if (features.empty()) return;
  out.text("  <PlanFeatures name=\"Grading elements\">\n");
  for (const Feature& feature : features) {
    out.text("    <PlanFeature");
    put_attribute(out, "name", feature.name);
    if (!feature.desc.empty()) put_attribute(out, "desc", feature.desc);
    out.text(">\n      <CoordGeom>\n");
    const std::size_t n = std::min(feature.xs.size(), feature.ys.size());
    for (std::size_t i = 1; i < n; ++i) {
      write_line(out, feature.xs[i - 1], feature.ys[i - 1], feature.xs[i], feature.ys[i]);
    }
    const bool joined =
        n > 0 && feature.xs[n - 1] == feature.xs[0] && feature.ys[n - 1] == feature.ys[0];
    if (feature.closed && n > 2 && !joined) {
      write_line(out, feature.xs[n - 1], feature.ys[n - 1], feature.xs[0], feature.ys[0]);
    }
    out.text("      </CoordGeom>\n    </PlanFeature>\n");
  }
  out.text("  </PlanFeatures>\n");
}

// Segments that continue one another (the end of one is the start of the next) are
// written as one <Breakline>, so a polyline read from a file goes back as it came.
// LandXML has no notation for a coordinate that is not finite: a segment with one is
// left out, and the break line goes on after it as a new one.
void write_break_lines(Output& out, const std::vector<gravok_line_3d>& all) {
  std::vector<gravok_line_3d> lines;
  for (const gravok_line_3d& l : all) {
    if (std::isfinite(l.x1) && std::isfinite(l.y1) && std::isfinite(l.z1) &&
        std::isfinite(l.x2) && std::isfinite(l.y2) && std::isfinite(l.z2)) {
      lines.push_back(l);
    }
  }
  if (lines.empty()) return;
  out.text("      <SourceData>\n        <Breaklines>\n");
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const gravok_line_3d& l = lines[i];
    const bool continues = i > 0 && lines[i - 1].x2 == l.x1 && lines[i - 1].y2 == l.y1 &&
                           lines[i - 1].z2 == l.z1;
    char* at = out.room(2 * kLineRoom);
    if (!continues) {
      if (i > 0) at = put(at, "</PntList3D></Breakline>\n");
      at = put(at, "          <Breakline brkType=\"standard\"><PntList3D>");
      at = put_point_3d(at, l.x1, l.y1, l.z1);
    }
    *at++ = ' ';
    out.advance(put_point_3d(at, l.x2, l.y2, l.z2));
  }
  out.text("</PntList3D></Breakline>\n        </Breaklines>\n      </SourceData>\n");
}

// <CoordinateSystem> with the attributes that are known; nothing when none is.
void write_coordinate_system(Output& out, const gvk::CoordinateSystem& c) {
  const std::pair<const char*, const std::string*> attributes[] = {
      {"name", &c.name},
      {"desc", &c.description},
      {"epsgCode", &c.epsg_code},
      {"ogcWktCode", &c.wkt},
      {"horizontalDatum", &c.horizontal_datum},
      {"verticalDatum", &c.vertical_datum},
      {"horizontalCoordinateSystemName", &c.horizontal_name}};
  bool any = false;
  for (const auto& [name, value] : attributes) any = any || !value->empty();
  if (!any) return;
  out.text("  <CoordinateSystem");
  for (const auto& [name, value] : attributes) {
    if (!value->empty()) put_attribute(out, name, *value);
  }
  out.text("/>\n");
}

void write_surface(Output& out, const Surface& surface) {
  out.text("    <Surface");
  put_attribute(out, "name", surface.name);
  if (!surface.desc.empty()) put_attribute(out, "desc", surface.desc);
  out.text(">\n");
  write_break_lines(out, surface.break_lines);
  out.text("      <Definition surfType=\"TIN\">\n        <Pnts>\n");
  for (std::size_t i = 0; i < surface.x.size(); ++i) {
    char* at = put(out.room(kLineRoom), "          <P id=\"");
    at = put(put(at, static_cast<unsigned long long>(i + 1)), "\">");  // ids from 1
    at = put_point_3d(at, surface.x[i], surface.y[i], surface.z[i]);
    out.advance(put(at, "</P>\n"));
  }
  out.text("        </Pnts>\n        <Faces>\n");
  for (const gvk::Triangle& t : surface.triangles) {
    assert(t[0] < surface.x.size() && t[1] < surface.x.size() && t[2] < surface.x.size());
    char* at = put(out.room(128), "          <F>");
    at = put(put(at, t[0] + 1), " ");
    at = put(put(at, t[1] + 1), " ");
    out.advance(put(put(at, t[2] + 1), "</F>\n"));
  }
  out.text("        </Faces>\n      </Definition>\n    </Surface>\n");
}

std::string utc_now(const char* format) {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
#if defined(_WIN32)
  gmtime_s(&utc, &now);
#else
  gmtime_r(&now, &utc);
#endif
  char buffer[32];
  return std::string(buffer, std::strftime(buffer, sizeof buffer, format, &utc));
}

void write(Output& out, const Document& document, const std::string& application) {
  out.text("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
  out.text(
      "<LandXML xmlns=\"http://www.landxml.org/schema/LandXML-1.2\" version=\"1.2\"");
  put_attribute(out, "date", utc_now("%Y-%m-%d"));
  put_attribute(out, "time", utc_now("%H:%M:%S"));
  out.text(">\n");
  write_units(out, document.units);
  write_coordinate_system(out, document.coordinate_system);
  out.text("  <Application");
  if (document.application_name.empty()) {
    put_attribute(out, "name", application);
  } else {
    put_attribute(out, "name", document.application_name);
    if (!document.application_version.empty())
      put_attribute(out, "version", document.application_version);
  }
  if (!document.application.empty()) put_attribute(out, "desc", document.application);
  out.text("/>\n");
  write_points(out, document.points);
  write_features(out, document.features);
  const auto empty = [](const Surface& s) { return s.x.empty() && s.triangles.empty(); };
  if (!std::all_of(document.surfaces.begin(), document.surfaces.end(), empty)) {
    out.text("  <Surfaces>\n");
    for (const Surface& surface : document.surfaces) {
      if (!empty(surface)) write_surface(out, surface);
    }
    out.text("  </Surfaces>\n");
  }
  out.text("</LandXML>\n");
}

}  // namespace

// A value is written as the integer n = value * 10^k for the smallest k whose n
// divided by 10^k gives the value back: n and 10^k are exact doubles, so that quotient
// is the correctly rounded value of the decimal text, which is what a reader's
// from_chars or strtod gives. Below 2^50 the rounding of value * 10^k is off by less
// than a quarter, so n is the one integer at that k that can read back, and one
// double holds less than 10^-k, so no other text of k decimals reads back to it: the
// text is the shortest, and the one std::to_chars gives. Anything else (more digits
// than that, NaN, infinities) goes through std::to_chars itself.
char* write_decimal(char* at, double value) {
  constexpr double kPow10[] = {1e0, 1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,
                               1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17};
  constexpr double kLimit = 1125899906842624.0;  // 2^50
  const bool negative = std::signbit(value);
  const double magnitude = std::fabs(value);
  for (int k = 0; k < 18; ++k) {
    const double scaled = magnitude * kPow10[k];
    if (!(scaled < kLimit)) break;
    const auto n = static_cast<unsigned long long>(scaled + 0.5);
    if (static_cast<double>(n) / kPow10[k] == magnitude) {
      if (negative) *at++ = '-';
      return put_scaled_integer(at, n, k);
    }
  }
  return std::to_chars(at, at + kMaxDecimal, value, std::chars_format::fixed).ptr;
}

std::string write_document(const Document& document, const std::string& application) {
  std::string text;
  Output out(text);
  write(out, document, application);
  out.flush();
  return text;
}

void save_document(const std::string& path, const Document& document,
                   const std::string& application) {
  const std::string fault = first_unwritable(document, application);
  if (!fault.empty()) throw std::invalid_argument("cannot write " + path + ": " + fault);
  gvk::replace_file(path, [&](std::FILE* file) {
    Output out(file);
    write(out, document, application);
    out.flush();
  });
}

}  // namespace gvk_landxml
