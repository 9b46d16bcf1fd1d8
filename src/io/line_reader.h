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

  // How many bytes of the file are not yet returned as lines, as far as the size
  // of the file when it was opened tells (0 where it has none, as a pipe has none).
  // A bound for reservations, never for loops.
  unsigned long long unread_bytes() const;

 private:
  bool fill();

  std::ifstream m_file;
  std::vector<char> m_buffer;
  std::size_t m_begin = 0;  // first unread character
  std::size_t m_end = 0;    // one past the last character read from the file
  bool m_exhausted = false;
  unsigned long long m_size = 0;  // of the file when opened, 0 when unknown
  unsigned long long m_read = 0;  // bytes read from the file so far
};

}  // namespace gvk

#endif  // GRAVOK_SRC_IO_LINE_READER_H
