// The data lines of a file in one of Triangle's layouts: comments cut off, lines
// without data skipped, fields separated by white space or commas and read in the
// classic form, and faults turned into results that name the file and the line.
// Internal to the library.
#ifndef GRAVOK_SRC_IO_TRIANGLE_LINES_H
#define GRAVOK_SRC_IO_TRIANGLE_LINES_H

#include <gravok/triangle_files.h>

#include "classic_fields.h"
#include "line_reader.h"

#include <string>

namespace gvk {

class TriangleLines {
 public:
  explicit TriangleLines(const std::string& path);

  bool opened() const { return m_reader.opened(); }
  const std::string& path() const { return m_path; }

  // Moves to the next line that holds a field once its comment is cut off; false
  // at the end of the file.
  bool next();

  // The 1-based number of the current line; 0 before the first.
  unsigned long long line() const { return m_line; }

  // Field readers on the current line. Each reads one field, which must end at a
  // separator or at the end of the line, and returns false (consuming nothing
  // useful) when there is none or it does not parse.
  bool count(unsigned long long& value);  // unsigned, no sign
  bool integer(long long& value);         // optional sign
  bool real(double& value);
  bool has_field();  // whether another field follows on the line

  // The fault on the current line: "path:line: what".
  TriangleFileResult fault(const std::string& what) const;
  // A fault on the given line.
  TriangleFileResult fault_at(unsigned long long line, const std::string& what) const;
  // A fault of the whole file: "path: what".
  TriangleFileResult file_fault(const std::string& what) const;

 private:
  bool skip_separators();
  bool field_ends() const;

  LineReader m_reader;
  std::string m_path;
  unsigned long long m_line = 0;
  classic_fields::Cursor m_rest{nullptr, nullptr};
};

}  // namespace gvk

#endif  // GRAVOK_SRC_IO_TRIANGLE_LINES_H
