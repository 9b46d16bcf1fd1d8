// PolyFile::from_file: vertices and the closed boundary of a .poly file.
#include <gravok/poly_file.h>

#include "boundary_walk.h"
#include "classic_fields.h"
#include "line_reader.h"

#include <cstdlib>

namespace gvk {
namespace {

using classic_fields::Cursor;

// A file that cannot be read ends the process, silently, as callers expect.
[[noreturn]] void end_process() { std::exit(1); }

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
// skipped without counting on, since no line can follow them.
void read_vertices(LineReader& lines, unsigned long long count, std::vector<double>& x,
                   std::vector<double>& y, std::vector<double>& z) {
  Cursor line{};
  for (unsigned long long k = 0; k < count && lines.next(line); ++k) {
    Vertex v{};
    if (!parse_vertex(line, v)) end_process();
    x.push_back(v.x);
    y.push_back(v.y);
    z.push_back(v.z);
  }
}

// Stores every segment line that parses among the next `count` lines.
void read_segments(LineReader& lines, unsigned long long count, SegmentTable& table) {
  Cursor line{};
  for (unsigned long long k = 0; k < count && lines.next(line); ++k) {
    int a = 0;
    int b = 0;
    if (parse_segment(line, a, b)) table.add(a, b);
  }
}

}  // namespace

bool PolyFile::from_file(const std::string& path, std::vector<double>& x,
                         std::vector<double>& y, std::vector<double>& z,
                         std::vector<Triangle>& triangles,
                         std::vector<unsigned long long>& boundary) {
  x.clear();
  y.clear();
  z.clear();
  triangles.clear();
  boundary.clear();
  LineReader lines(path);
  unsigned long long count = 0;
  if (!read_count(lines, count)) end_process();
  read_vertices(lines, count, x, y, z);
  if (!read_count(lines, count)) return true;
  SegmentTable table;
  read_segments(lines, count, table);
  table.walk(boundary);
  return true;
}

}  // namespace gvk
