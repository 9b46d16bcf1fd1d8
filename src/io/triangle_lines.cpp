// Data lines and fields of Triangle-layout files.
#include "triangle_lines.h"

#include <cstring>
#include <utility>

namespace gvk {
namespace {

using classic_fields::Cursor;

bool is_separator(char c) { return c == ',' || classic_fields::is_space(c); }

TriangleFileResult make_fault(const std::string& path, unsigned long long line,
                              std::string message) {
  TriangleFileResult result;
  result.ok = false;
  result.path = path;
  result.line = line;
  result.message = std::move(message);
  return result;
}

}  // namespace

TriangleLines::TriangleLines(const std::string& path) : m_reader(path), m_path(path) {}

bool TriangleLines::next() {
  Cursor line{};
  while (m_reader.next(line)) {
    ++m_line;
    const void* hash =
        std::memchr(line.at, '#', static_cast<std::size_t>(line.end - line.at));
    if (hash != nullptr) line.end = static_cast<const char*>(hash);
    m_rest = line;
    if (skip_separators()) return true;
  }
  m_rest = Cursor{nullptr, nullptr};
  return false;
}

bool TriangleLines::skip_separators() {
  while (m_rest.at != m_rest.end && is_separator(*m_rest.at)) ++m_rest.at;
  return m_rest.at != m_rest.end;
}

bool TriangleLines::field_ends() const {
  return m_rest.at == m_rest.end || is_separator(*m_rest.at);
}

bool TriangleLines::has_field() { return skip_separators(); }

bool TriangleLines::count(unsigned long long& value) {
  if (!skip_separators() || !classic_fields::is_digit(*m_rest.at)) return false;
  return classic_fields::read_uint64(m_rest, value) && field_ends();
}

bool TriangleLines::integer(long long& value) {
  if (!skip_separators()) return false;
  const bool negative = *m_rest.at == '-';
  if (negative || *m_rest.at == '+') ++m_rest.at;
  if (m_rest.at == m_rest.end || !classic_fields::is_digit(*m_rest.at)) return false;
  unsigned long long magnitude = 0;
  if (!classic_fields::read_uint64(m_rest, magnitude) || !field_ends()) return false;
  const unsigned long long limit = negative ? 1ULL << 63 : (1ULL << 63) - 1;
  if (magnitude > limit) return false;
  value = negative ? -static_cast<long long>(magnitude - 1) - 1
                   : static_cast<long long>(magnitude);
  return true;
}

bool TriangleLines::real(double& value) {
  return skip_separators() && classic_fields::read_double(m_rest, value) && field_ends();
}

TriangleFileResult TriangleLines::fault(const std::string& what) const {
  return fault_at(m_line, what);
}

TriangleFileResult TriangleLines::fault_at(unsigned long long line,
                                           const std::string& what) const {
  return make_fault(m_path, line, m_path + ":" + std::to_string(line) + ": " + what);
}

TriangleFileResult TriangleLines::file_fault(const std::string& what) const {
  return make_fault(m_path, 0, m_path + ": " + what);
}

}  // namespace gvk
