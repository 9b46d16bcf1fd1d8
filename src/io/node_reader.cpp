// read_node_file and the vertex section that .poly files share with .node files.
#include "node_reader.h"

#include <string>
#include <utility>

namespace gvk {
namespace {

// Reads an optional header field; absent, it keeps `value`.
bool optional_count(TriangleLines& lines, unsigned long long& value) {
  return !lines.has_field() || lines.count(value);
}

// Reads one vertex line after its number: coordinates, attributes, marker.
TriangleFileResult read_vertex_fields(TriangleLines& lines, const std::string& name,
                                      TriangleVertices& v) {
  double value = 0.0;
  const char* const axes[] = {"x", "y", "z"};
  std::vector<double>* const coordinates[] = {&v.x, &v.y, &v.z};
  for (int axis = 0; axis < v.dimension; ++axis) {
    if (!lines.real(value)) {
      return lines.fault(name + ": " + axes[axis] + " is missing or does not parse");
    }
    coordinates[axis]->push_back(value);
  }
  for (std::size_t a = 0; a < v.attribute_count; ++a) {
    if (!lines.real(value)) {
      return lines.fault(name + ": attribute " + std::to_string(a + 1) + " of " +
                         std::to_string(v.attribute_count) +
                         " is missing or does not parse");
    }
    v.attributes.push_back(value);
  }
  long long marker = 0;
  if (v.has_markers) {
    if (!lines.integer(marker)) {
      return lines.fault(name + ": the boundary marker is missing or does not parse");
    }
    v.markers.push_back(marker);
  }
  return TriangleFileResult{};
}

}  // namespace

TriangleFileResult read_vertex_header(TriangleLines& lines, unsigned long long& count,
                                      TriangleVertices& vertices) {
  unsigned long long dimension = 2;
  unsigned long long attributes = 0;
  unsigned long long markers = 0;
  if (!lines.count(count)) {
    return lines.fault("the vertex header does not start with a vertex count");
  }
  if (!optional_count(lines, dimension) || !optional_count(lines, attributes) ||
      !optional_count(lines, markers)) {
    return lines.fault(
        "the vertex header is not \"count dimension attributes markers\" in integers");
  }
  if (dimension != 2 && dimension != 3) {
    return lines.fault("the dimension is " + std::to_string(dimension) +
                       "; only 2 and 3 are read");
  }
  if (markers > 1) {
    return lines.fault("the boundary-marker flag is " + std::to_string(markers) +
                       "; it must be 0 or 1");
  }
  vertices.dimension = static_cast<int>(dimension);
  vertices.attribute_count = static_cast<std::size_t>(attributes);
  if (vertices.attribute_count != attributes) {
    return lines.fault("the attribute count " + std::to_string(attributes) +
                       " is too large");
  }
  vertices.has_markers = markers == 1;
  return TriangleFileResult{};
}

TriangleFileResult read_vertex_lines(TriangleLines& lines, unsigned long long count,
                                     unsigned long long header_line,
                                     TriangleVertices& vertices) {
  for (unsigned long long k = 0; k < count; ++k) {
    if (!lines.next()) return short_section(lines, header_line, count, k, "vertices");
    long long number = 0;
    if (!lines.integer(number)) {
      return lines.fault("the vertex number is missing or does not parse");
    }
    if (k == 0 && (number == 0 || number == 1)) {
      vertices.first_number = static_cast<unsigned long long>(number);
    }
    const unsigned long long expected = vertices.first_number + k;
    if (number < 0 || static_cast<unsigned long long>(number) != expected) {
      return lines.fault(
          "vertex number " + std::to_string(number) + " where " +
          (k == 0 ? std::string("0 or 1") : std::to_string(expected)) +
          " was expected (vertices are numbered consecutively from 0 or 1)");
    }
    TriangleFileResult result =
        read_vertex_fields(lines, "vertex " + std::to_string(number), vertices);
    if (!result) return result;
  }
  return TriangleFileResult{};
}

bool read_vertex_index(TriangleLines& lines, unsigned long long vertex_count,
                       unsigned long long first_number, const std::string& owner,
                       unsigned long long& index, TriangleFileResult& fault) {
  long long number = 0;
  if (!lines.integer(number)) {
    fault = lines.fault(owner + ": a vertex number is missing or does not parse");
    return false;
  }
  const unsigned long long n = static_cast<unsigned long long>(number);
  if (number < 0 || n < first_number || n - first_number >= vertex_count) {
    fault = lines.fault(owner + " names vertex " + std::to_string(number) +
                        ", but there are " + std::to_string(vertex_count) + " vertices" +
                        (first_number == 1 ? ", numbered from 1" : ""));
    return false;
  }
  index = n - first_number;
  return true;
}

TriangleFileResult short_section(const TriangleLines& lines,
                                 unsigned long long header_line,
                                 unsigned long long announced, unsigned long long read,
                                 const char* what) {
  return lines.fault_at(header_line, "the header announces " + std::to_string(announced) +
                                         " " + what + ", but the file ends after " +
                                         std::to_string(read));
}

TriangleFileResult read_node_file(const std::string& path, TriangleVertices& vertices) {
  vertices = TriangleVertices{};
  TriangleLines lines(path);
  if (!lines.opened()) return lines.file_fault("cannot open the file");
  if (!lines.next()) return lines.file_fault("the file holds no header line");
  TriangleVertices read;
  unsigned long long count = 0;
  TriangleFileResult result = read_vertex_header(lines, count, read);
  if (result) result = read_vertex_lines(lines, count, lines.line(), read);
  if (result) vertices = std::move(read);
  return result;
}

}  // namespace gvk
