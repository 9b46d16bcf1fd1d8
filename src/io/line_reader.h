// Reading a text file one line at a time, as std::getline on a text-mode file
// stream splits it, without a string per line. Internal to the library.
#ifndef GRAVOK_SRC_IO_LINE_READER_H
#define GRAVOK_SRC_IO_LINE_READER_H

#include "classic_fields.h"

#include <cstddef>
#include <fstream>
#include <string>
#include <vector>

namespace gvk {

class LineReader {
 public:
  // Opens `path` for reading in text mode; a file that cannot be opened has no lines.
  explicit LineReader(const std::string& path);

  // The next line, without its line feed. A last line without a line feed still
  // counts; the empty rest after a final line feed does not. False at the end of
  // the file or when reading fails, and from then on.
  bool next(classic_fields::Cursor& line);

  // Whether the file could be opened.
  bool opened() const { return m_file.is_open(); }

 private:
  bool fill();

  std::ifstream m_file;
  std::vector<char> m_buffer;
  std::size_t m_begin = 0;  // first unread character
  std::size_t m_end = 0;    // one past the last character read from the file
  bool m_exhausted = false;
};

}  // namespace gvk

#endif  // GRAVOK_SRC_IO_LINE_READER_H
