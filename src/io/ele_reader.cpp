// read_ele_file, and read_node_ele_files on top of the .node and .ele readers.
#include <gravok/triangle_files.h>

#include "node_reader.h"
#include "triangle_lines.h"

#include <string>
#include <utility>

namespace gvk {
namespace {

TriangleFileResult read_ele_header(TriangleLines& lines, unsigned long long& count,
                                   TriangleElements& elements) {
  unsigned long long nodes = 3;
  unsigned long long attributes = 0;
  if (!lines.count(count)) {
    return lines.fault("the header does not start with a triangle count");
  }
  if ((lines.has_field() && !lines.count(nodes)) ||
      (lines.has_field() && !lines.count(attributes))) {
    return lines.fault(
        "the header is not \"count nodes_per_triangle attributes\" in integers");
  }
  if (nodes != 3 && nodes != 6) {
    return lines.fault("a triangle has " + std::to_string(nodes) +
                       " nodes; only 3 and 6 are read");
  }
  elements.nodes_per_triangle = static_cast<unsigned>(nodes);
  elements.attribute_count = static_cast<std::size_t>(attributes);
  if (elements.attribute_count != attributes) {
    return lines.fault("the attribute count " + std::to_string(attributes) +
                       " is too large");
  }
  return TriangleFileResult{};
}

// One triangle line: number, nodes (the corners kept), attributes.
TriangleFileResult read_triangle(TriangleLines& lines, unsigned long long vertex_count,
                                 unsigned long long first_number,
                                 TriangleElements& elements) {
  long long number = 0;
  if (!lines.integer(number)) {
    return lines.fault("the triangle number is missing or does not parse");
  }
  const std::string name = "triangle " + std::to_string(number);
  Triangle corners{};
  TriangleFileResult fault;
  for (unsigned n = 0; n < elements.nodes_per_triangle; ++n) {
    unsigned long long index = 0;
    if (!read_vertex_index(lines, vertex_count, first_number, name, index, fault)) {
      return fault;
    }
    if (n < 3) corners[n] = index;
  }
  elements.triangles.push_back(corners);
  for (std::size_t a = 0; a < elements.attribute_count; ++a) {
    double value = 0.0;
    if (!lines.real(value)) {
      return lines.fault(name + ": attribute " + std::to_string(a + 1) + " of " +
                         std::to_string(elements.attribute_count) +
                         " is missing or does not parse");
    }
    elements.attributes.push_back(value);
  }
  return TriangleFileResult{};
}

}  // namespace

TriangleFileResult read_ele_file(const std::string& path, unsigned long long vertex_count,
                                 unsigned long long first_number,
                                 TriangleElements& elements) {
  elements = TriangleElements{};
  TriangleLines lines(path);
  if (!lines.opened()) return lines.file_fault("cannot open the file");
  if (!lines.next()) return lines.file_fault("the file holds no header line");
  TriangleElements read;
  unsigned long long count = 0;
  TriangleFileResult result = read_ele_header(lines, count, read);
  const unsigned long long header_line = lines.line();
  for (unsigned long long k = 0; result && k < count; ++k) {
    if (!lines.next()) return short_section(lines, header_line, count, k, "triangles");
    result = read_triangle(lines, vertex_count, first_number, read);
  }
  if (result) elements = std::move(read);
  return result;
}

TriangleFileResult read_node_ele_files(const std::string& node_path,
                                       const std::string& ele_path,
                                       std::vector<double>& x, std::vector<double>& y,
                                       std::vector<double>& z,
                                       std::vector<Triangle>& triangles) {
  x.clear();
  y.clear();
  z.clear();
  triangles.clear();
  TriangleVertices vertices;
  TriangleFileResult result = read_node_file(node_path, vertices);
  if (!result) return result;
  TriangleElements elements;
  result = read_ele_file(ele_path, vertices.x.size(), vertices.first_number, elements);
  if (!result) return result;
  const std::size_t count = vertices.x.size();
  if (vertices.dimension == 3) {
    z = std::move(vertices.z);
  } else if (vertices.attribute_count > 0) {
    z.reserve(count);  // one per vertex read
    for (std::size_t i = 0; i < count; ++i) {
      z.push_back(vertices.attributes[i * vertices.attribute_count]);
    }
  } else {
    z.assign(count, 0.0);
  }
  x = std::move(vertices.x);
  y = std::move(vertices.y);
  triangles = std::move(elements.triangles);
  return result;
}

}  // namespace gvk
