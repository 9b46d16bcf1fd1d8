// PolyFile::to_files: a mesh as Triangle's .node and .ele files. Each line is
// formatted with std::to_chars into a small buffer (the classic form whatever the
// global locale) and handed to the file in one write, then flushed.
#include <gravok/poly_file.h>

#include <charconv>
#include <cstddef>
#include <fstream>
#include <string>

namespace gvk {
namespace {

// Room for one line: five integers and three doubles in fixed notation, whose
// longest form ("-" and 309 digits, ".", 12 decimals) is 323 characters.
constexpr std::size_t kLineRoom = 5 * 24 + 3 * 330 + 16;

class LineBuilder {
 public:
  LineBuilder& number(unsigned long long v) {
    m_at = std::to_chars(m_at, m_end, v).ptr;
    return *this;
  }
  LineBuilder& fixed12(double v) {
    m_at = std::to_chars(m_at, m_end, v, std::chars_format::fixed, 12).ptr;
    return *this;
  }
  LineBuilder& text(const char* s) {
    while (*s != '\0') *m_at++ = *s++;
    return *this;
  }
  // Writes the line with its line feed, flushes it, and starts the next.
  void write_to(std::ofstream& out) {
    *m_at++ = '\n';
    out.write(m_buffer, m_at - m_buffer);
    out.flush();
    m_at = m_buffer;
  }

 private:
  char m_buffer[kLineRoom];
  char* m_at = m_buffer;
  char* const m_end = m_buffer + kLineRoom;
};

std::string stem_of(const std::string& basename) {
  const std::string::size_type dot = basename.rfind('.');
  return dot == std::string::npos ? basename : basename.substr(0, dot);
}

void write_vertices(const std::string& name, const std::vector<double>& x,
                    const std::vector<double>& y, const std::vector<double>& z) {
  std::ofstream out(name);
  if (!out.is_open()) return;
  LineBuilder line;
  line.number(x.size()).text(" 2 1 1").write_to(out);
  for (std::size_t i = 0; i < x.size(); ++i) {
    line.number(i).text(" ").fixed12(x[i]).text(" ").fixed12(y[i]).text(" ");
    line.fixed12(z[i]).text(" 0").write_to(out);
  }
}

void write_triangles(const std::string& name, const std::vector<Triangle>& triangles) {
  std::ofstream out(name);
  if (!out.is_open()) return;
  LineBuilder line;
  line.number(triangles.size()).text(" 3 0").write_to(out);
  for (std::size_t j = 0; j < triangles.size(); ++j) {
    const Triangle& t = triangles[j];
    line.number(j).text(" ").number(t[0]).text(" ").number(t[1]).text(" ");
    line.number(t[2]).text(" 0").write_to(out);
  }
}

}  // namespace

void PolyFile::to_files(const std::string& basename, const std::vector<double>& x,
                        const std::vector<double>& y, const std::vector<double>& z,
                        const std::vector<Triangle>& triangles) {
  const std::string stem = stem_of(basename);
  write_vertices(stem + ".1.node", x, y, z);
  write_triangles(stem + ".1.ele", triangles);
}

}  // namespace gvk
