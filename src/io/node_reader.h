// The vertex section shared by .node and .poly files, and the checks of the vertex
// numbers that other sections name. Internal to the library.
#ifndef GRAVOK_SRC_IO_NODE_READER_H
#define GRAVOK_SRC_IO_NODE_READER_H

#include <gravok/triangle_files.h>

#include "triangle_lines.h"

#include <string>

namespace gvk {

// Reads the vertex header on the current line: the count, then dimension,
// attributes and markers (each optional) into `vertices`.
TriangleFileResult read_vertex_header(TriangleLines& lines, unsigned long long& count,
                                      TriangleVertices& vertices);

// Reads `count` vertex lines after the header on line `header_line`.
TriangleFileResult read_vertex_lines(TriangleLines& lines, unsigned long long count,
                                     unsigned long long header_line,
                                     TriangleVertices& vertices);

// Reads the line's next field as a vertex number of a file of `vertex_count`
// vertices numbered from `first_number`, giving its 0-based index; on failure
// `fault` says why, naming the `owner` ("triangle 5", "segment 2").
bool read_vertex_index(TriangleLines& lines, unsigned long long vertex_count,
                       unsigned long long first_number, const std::string& owner,
                       unsigned long long& index, TriangleFileResult& fault);

// "the header on line 2 announces 9 vertices, but the file ends after 4".
TriangleFileResult short_section(const TriangleLines& lines,
                                 unsigned long long header_line,
                                 unsigned long long announced, unsigned long long read,
                                 const char* what);

}  // namespace gvk

#endif  // GRAVOK_SRC_IO_NODE_READER_H
