// Line splitting over large blocks read from the file.
#include "line_reader.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <ios>
#include <system_error>

namespace gvk {
namespace {
constexpr std::size_t kBlock = std::size_t{1} << 16;
}  // namespace

LineReader::LineReader(const std::string& path) : m_file(path), m_buffer(kBlock) {
  m_exhausted = !m_file.is_open();
  if (m_exhausted) return;
  std::error_code ignored;
  const std::uintmax_t size = std::filesystem::file_size(path, ignored);
  if (size != static_cast<std::uintmax_t>(-1)) m_size = size;
}

unsigned long long LineReader::unread_bytes() const {
  const unsigned long long consumed = m_read - (m_end - m_begin);
  return m_size > consumed ? m_size - consumed : 0;
}

bool LineReader::next(classic_fields::Cursor& line) {
  for (;;) {
    const char* first = m_buffer.data() + m_begin;
    const void* feed = std::memchr(first, '\n', m_end - m_begin);
    if (feed != nullptr) {
      const char* stop = static_cast<const char*>(feed);
      line = classic_fields::Cursor{first, stop};
      m_begin += static_cast<std::size_t>(stop - first) + 1;
      return true;
    }
    if (!fill()) {
      if (m_begin == m_end) return false;
      line = classic_fields::Cursor{m_buffer.data() + m_begin, m_buffer.data() + m_end};
      m_begin = m_end;
      return true;
    }
  }
}

// Moves the unread rest to the front, makes room (a line longer than the buffer
// doubles it) and reads the next block. False when nothing more can be read.
bool LineReader::fill() {
  if (m_exhausted) return false;
  std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
  m_end -= m_begin;
  m_begin = 0;
  if (m_buffer.size() - m_end < kBlock) m_buffer.resize(m_buffer.size() * 2);
  m_file.read(m_buffer.data() + m_end,
              static_cast<std::streamsize>(m_buffer.size() - m_end));
  const std::size_t got = static_cast<std::size_t>(m_file.gcount());
  m_end += got;
  m_read += got;
  if (got == 0) m_exhausted = true;
  return got != 0;
}

}  // namespace gvk
