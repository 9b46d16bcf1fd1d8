// PolyFile::read and PolyFile::from_file: vertices and the closed boundary of a .poly
// file; from_file ends the process where read reports a fault.
#include <gravok/poly_file.h>

#include "boundary_walk.h"
#include "classic_fields.h"
#include "line_reader.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <utility>

namespace gvk {
namespace {

using classic_fields::Cursor;

struct Vertex {
  double x, y, z;
};

bool parse_vertex(Cursor line, Vertex& v) {
  int number = 0;
  int marker = 0;
  return classic_fields::read_int32(line, number) &&
         classic_fields::read_double(line, v.x) &&
         classic_fields::read_double(line, v.y) &&
         classic_fields::read_double(line, v.z) &&
         classic_fields::read_int32(line, marker);
}

bool parse_segment(Cursor line, int& a, int& b) {
  int number = 0;
  int marker = 0;
  return classic_fields::read_int32(line, number) &&
         classic_fields::read_int32(line, a) && classic_fields::read_int32(line, b) &&
         classic_fields::read_int32(line, marker);
}

// The count on the next line; false when the line is missing or does not parse.
bool read_count(LineReader& lines, unsigned long long& count) {
  Cursor line{};
  return lines.next(line) && classic_fields::read_uint64(line, count);
}

// Reads up to `count` vertex lines; missing lines at the end of the file are
// skipped without counting on, since no line can follow them. Returns the 0-based
// position of the first vertex line that does not parse, or `count` when all that
// are present parse.
unsigned long long read_vertices(LineReader& lines, unsigned long long count,
                                 std::vector<double>& x, std::vector<double>& y,
                                 std::vector<double>& z) {
  // The shortest vertex line, "0 0 0 0 0" and its line feed, takes ten bytes.
  const std::size_t room =
      static_cast<std::size_t>(std::min(count, lines.unread_bytes() / 10));
  for (std::vector<double>* v : {&x, &y, &z}) v->reserve(room);
  Cursor line{};
  for (unsigned long long k = 0; k < count && lines.next(line); ++k) {
    Vertex v{};
    if (!parse_vertex(line, v)) return k;
    x.push_back(v.x);
    y.push_back(v.y);
    z.push_back(v.z);
  }
  return count;
}

PolyReadResult fault(PolyReadResult::Status status, unsigned long long line,
                     std::string message) {
  PolyReadResult result;
  result.status = status;
  result.line = line;
  result.message = std::move(message);
  return result;
}

// Empties the outputs and names the fault.
PolyReadResult failed(const std::string& path, PolyReadResult::Status status,
                      unsigned long long line, std::vector<double>& x,
                      std::vector<double>& y, std::vector<double>& z) {
  x.clear();
  y.clear();
  z.clear();
  switch (status) {
    case PolyReadResult::cannot_open:
      return fault(status, 0, path + ": cannot open the file");
    case PolyReadResult::empty:
      return fault(status, 0, path + ": the file is empty or cannot be read");
    case PolyReadResult::bad_vertex_count:
      return fault(status, 1,
                   path + ":1: the first line does not start with a vertex count");
    default:
      return fault(status, line,
                   path + ":" + std::to_string(line) +
                       ": vertex line does not parse as \"number x y z marker\"");
  }
}

// Stores every segment line that parses among the next `count` lines.
void read_segments(LineReader& lines, unsigned long long count, SegmentTable& table) {
  // The shortest segment line, "0 0 0 0" and its line feed, takes eight bytes.
  table.reserve(static_cast<std::size_t>(std::min(count, lines.unread_bytes() / 8)));
  Cursor line{};
  for (unsigned long long k = 0; k < count && lines.next(line); ++k) {
    int a = 0;
    int b = 0;
    if (parse_segment(line, a, b)) table.add(a, b);
  }
}

}  // namespace

PolyReadResult PolyFile::read(const std::string& path, std::vector<double>& x,
                              std::vector<double>& y, std::vector<double>& z,
                              std::vector<Triangle>& triangles,
                              std::vector<unsigned long long>& boundary) {
  x.clear();
  y.clear();
  z.clear();
  triangles.clear();
  boundary.clear();
  LineReader lines(path);
  if (!lines.opened()) return failed(path, PolyReadResult::cannot_open, 0, x, y, z);
  Cursor first{};
  if (!lines.next(first)) return failed(path, PolyReadResult::empty, 0, x, y, z);
  unsigned long long count = 0;
  if (!classic_fields::read_uint64(first, count)) {
    return failed(path, PolyReadResult::bad_vertex_count, 1, x, y, z);
  }
  const unsigned long long bad = read_vertices(lines, count, x, y, z);
  if (bad != count)
    return failed(path, PolyReadResult::bad_vertex_line, bad + 2, x, y, z);
  if (!read_count(lines, count)) return PolyReadResult{};
  SegmentTable table;
  read_segments(lines, count, table);
  table.walk(boundary);
  return PolyReadResult{};
}

// Ends the process, silently, where read reports a fault, as callers of from_file
// expect.
bool PolyFile::from_file(const std::string& path, std::vector<double>& x,
                         std::vector<double>& y, std::vector<double>& z,
                         std::vector<Triangle>& triangles,
                         std::vector<unsigned long long>& boundary) {
  if (!read(path, x, y, z, triangles, boundary)) std::exit(1);
  return true;
}

}  // namespace gvk
