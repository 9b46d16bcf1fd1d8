// Finds where a text stops being JSON, for messages about documents the parser
// refused: the parser says what is wrong but not where.
#ifndef GRAVOK_JSON_SYNTAX_H
#define GRAVOK_JSON_SYNTAX_H

#include <cstddef>
#include <string>
#include <string_view>

namespace gvk_json {

// "line L, column C" of the first byte at which `text` stops being one JSON value
// nested at most `max_depth` deep (the end of the text for a truncated one), with
// numbers that do not fit a double and integers that fit neither a signed nor an
// unsigned 64-bit integer counted as faults, as the parser counts them; empty when
// no such byte is
// found (for instance when the fault is malformed UTF-8). Lines and columns count
// from 1, columns in bytes.
std::string syntax_error_place(std::string_view text, std::size_t max_depth);

}  // namespace gvk_json

#endif  // GRAVOK_JSON_SYNTAX_H
