// Reads a problem document's mesh lists straight into their arrays while the text
// streams past, and keeps the rest of the text for the whole-document parser: a site of
// millions of triangles is then never held as text, nor as a parsed tree, beside its
// arrays.
//
// The split takes only the plain form the writer gives each list: the coordinates
// numbers or the plain strings "inf", "-inf", "nan" and "nan:0x<16 hex digits>", the
// triangles lists of three unsigned integers, the records strings of 80 hex digits.
// Anything else (an escape in a list's string, a number the whole-document parser might
// read otherwise, a text that is not JSON) makes it give up, and the caller reads the
// document whole, so that what a document reads as and every message about it are the
// same either way.
#ifndef GRAVOK_JSON_SPLIT_H
#define GRAVOK_JSON_SPLIT_H

#include <gravok/problem.h>
#include <gravok/records.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace gvk_json {

// The text of a document, whole in memory or read from a file a block at a time.
class TextInput {
 public:
  explicit TextInput(std::string_view text)
      : m_at(text.data()), m_end(text.data() + text.size()) {}
  // Reads `file` from where it stands; the caller keeps it open and closes it.
  explicit TextInput(std::FILE* file);

  // The next byte, or -1 at the end of the text (or when the file cannot be read).
  int peek() {
    if (m_at == m_end && !refill()) return -1;
    return static_cast<unsigned char>(*m_at);
  }
  // Moves past the byte peek() gave.
  void next() { ++m_at; }
  // True when reading the file failed (not at its end).
  bool failed() const;

  // Makes the next `count` bytes (at most a block) lie together from cursor() on,
  // unless the text ends sooner, and returns how many bytes lie there.
  std::size_t ensure(std::size_t count);
  const char* cursor() const { return m_at; }
  const char* limit() const { return m_end; }
  // Moves to `at`, a place from cursor() to limit().
  void advance(const char* at) { m_at = at; }

 private:
  bool refill();

  const char* m_at;
  const char* m_end;
  std::FILE* m_file = nullptr;
  std::unique_ptr<char[]> m_block;
};

// The five lists of one mesh, as the split read them; `taken` has bit k set for the
// k-th of x, y, z, triangles, triangle_info when the split read that list (a list it
// left in the rest, or that the document lacks, is not taken).
struct MeshLists {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> triangle_info;
  unsigned taken = 0;
};

struct SplitDocument {
  // The document with each list it took replaced by [].
  std::string rest;
  // The lists of /mesh, and of /all_surfaces/N/mesh with their N.
  MeshLists mesh;
  std::vector<std::pair<std::size_t, MeshLists>> surfaces;
};

// Splits the text `in` gives into `out`; false when the text is not in the form the
// split takes (see above), `out` then unspecified. Nesting deeper than `max_depth` is
// given up on, and a list's item is never longer than its text, so memory stays
// within a fixed multiple of the text.
bool split_document(TextInput& in, std::size_t max_depth, SplitDocument& out);

// Reads `text` as read_document does but whole, never split: for the tests that hold
// the two ways against each other.
bool read_document_whole(std::string_view text, gvk::Problem& problem,
                         std::string& error);

// Shared with the whole-document reader: the values of the plain strings a coordinate
// may be, and hex digits decoded into `count` bytes (false on any other text).
bool non_finite(std::string_view text, double& out);
bool decode_hex(std::string_view text, unsigned char* out, std::size_t count);

}  // namespace gvk_json

#endif  // GRAVOK_JSON_SPLIT_H
