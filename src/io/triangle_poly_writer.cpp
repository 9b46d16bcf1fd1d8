// write_poly_file: a planar straight-line graph as a .poly file, checked first so
// that what is written reads back.
#include <gravok/triangle_files.h>

#include <charconv>
#include <cmath>
#include <fstream>
#include <string>
#include <utility>

namespace gvk {
namespace {

TriangleFileResult refuse(const std::string& path, const std::string& what) {
  TriangleFileResult result;
  result.ok = false;
  result.path = path;
  result.message = path + ": not written: " + what;
  return result;
}

bool all_finite(const std::vector<double>& values) {
  for (double v : values) {
    if (!std::isfinite(v)) return false;
  }
  return true;
}

// Whether `values` holds exactly `per` values for each of `count` items.
bool holds(const std::vector<double>& values, std::size_t count, std::size_t per) {
  if (per == 0) return values.empty();
  return values.size() % per == 0 && values.size() / per == count;
}

// The first inconsistency of `poly`, or an empty string.
std::string inconsistency(const TrianglePoly& poly) {
  const TriangleVertices& v = poly.vertices;
  const std::size_t n = v.x.size();
  if (n == 0) return "the graph has no vertices";
  if (v.dimension != 2 && v.dimension != 3) return "the dimension is neither 2 nor 3";
  if (v.first_number > 1) return "vertices must be numbered from 0 or 1";
  if (v.y.size() != n) return "y and x differ in length";
  if (v.z.size() != (v.dimension == 3 ? n : 0)) return "z does not fit the dimension";
  if (!holds(v.attributes, n, v.attribute_count)) {
    return "attributes does not hold attribute_count values per vertex";
  }
  if (v.markers.size() != (v.has_markers ? n : 0)) {
    return "markers does not hold one value per vertex";
  }
  if (!all_finite(v.x) || !all_finite(v.y) || !all_finite(v.z) ||
      !all_finite(v.attributes)) {
    return "a vertex value is infinite or NaN";
  }
  if (poly.segment_markers.size() !=
      (poly.has_segment_markers ? poly.segments.size() : 0)) {
    return "segment_markers does not hold one value per segment";
  }
  for (std::size_t s = 0; s < poly.segments.size(); ++s) {
    if (poly.segments[s][0] >= n || poly.segments[s][1] >= n) {
      return "segment " + std::to_string(s) + " names no vertex";
    }
  }
  for (const TriangleHole& h : poly.holes) {
    if (!std::isfinite(h.x) || !std::isfinite(h.y)) return "a hole is infinite or NaN";
  }
  for (const TriangleRegion& r : poly.regions) {
    if (!std::isfinite(r.x) || !std::isfinite(r.y) || !std::isfinite(r.attribute) ||
        !std::isfinite(r.max_area)) {
      return "a region value is infinite or NaN";
    }
  }
  return std::string();
}

// Appends numbers separated by spaces, a line at a time.
class Text {
 public:
  Text& number(unsigned long long v) { return put(v); }
  Text& integer(long long v) { return put(v); }
  Text& real(double v) { return put(v); }
  Text& end_line() {
    m_text.back() = '\n';  // the space after the last field
    return *this;
  }
  const std::string& str() const { return m_text; }

 private:
  template <typename T>
  Text& put(T v) {
    char buffer[32];
    const std::to_chars_result r = std::to_chars(buffer, buffer + sizeof buffer, v);
    m_text.append(buffer, r.ptr);
    m_text.push_back(' ');
    return *this;
  }
  std::string m_text;
};

void write_vertices(Text& text, const TriangleVertices& v) {
  const std::size_t n = v.x.size();
  text.number(n).number(static_cast<unsigned long long>(v.dimension));
  text.number(v.attribute_count).number(v.has_markers ? 1 : 0).end_line();
  for (std::size_t i = 0; i < n; ++i) {
    text.number(v.first_number + i).real(v.x[i]).real(v.y[i]);
    if (v.dimension == 3) text.real(v.z[i]);
    for (std::size_t a = 0; a < v.attribute_count; ++a) {
      text.real(v.attributes[i * v.attribute_count + a]);
    }
    if (v.has_markers) text.integer(v.markers[i]);
    text.end_line();
  }
}

void write_rest(Text& text, const TrianglePoly& poly) {
  const unsigned long long first = poly.vertices.first_number;
  text.number(poly.segments.size()).number(poly.has_segment_markers ? 1 : 0).end_line();
  for (std::size_t s = 0; s < poly.segments.size(); ++s) {
    text.number(first + s).number(first + poly.segments[s][0]);
    text.number(first + poly.segments[s][1]);
    if (poly.has_segment_markers) text.integer(poly.segment_markers[s]);
    text.end_line();
  }
  text.number(poly.holes.size()).end_line();
  for (std::size_t h = 0; h < poly.holes.size(); ++h) {
    text.number(first + h).real(poly.holes[h].x).real(poly.holes[h].y).end_line();
  }
  text.number(poly.regions.size()).end_line();
  for (std::size_t r = 0; r < poly.regions.size(); ++r) {
    const TriangleRegion& region = poly.regions[r];
    text.number(first + r).real(region.x).real(region.y);
    text.real(region.attribute).real(region.max_area).end_line();
  }
}

}  // namespace

TriangleFileResult write_poly_file(const std::string& path, const TrianglePoly& poly) {
  const std::string fault = inconsistency(poly);
  if (!fault.empty()) return refuse(path, fault);
  Text text;
  write_vertices(text, poly.vertices);
  write_rest(text, poly);
  std::ofstream out(path);
  if (!out.is_open()) return refuse(path, "cannot create the file");
  out.write(text.str().data(), static_cast<std::streamsize>(text.str().size()));
  out.close();
  if (!out) return refuse(path, "writing the file failed");
  return TriangleFileResult{};
}

}  // namespace gvk
