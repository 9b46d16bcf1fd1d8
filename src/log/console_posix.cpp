// The console on POSIX systems: each line is converted to UTF-8 as a terminal shows
// text (a character outside the Basic Multilingual Plane as its one four-byte
// character, as the Windows console shows it) and written to the narrow standard
// streams, which keeps it in order with the host's own output there (the wide streams
// depend on the locale and on the stdio stream's orientation and would lose lines). A
// stream that is a terminal gets the level's colour as ANSI codes; anything else gets
// the plain text and no escape code at all.
#include "platform.h"

#include <unistd.h>

#include <cstdint>
#include <iostream>
#include <string>

namespace gvk::detail {
namespace {

// The ANSI foreground code of a console attribute word: red, green and blue bits
// choose one of the eight colours, the intensity bit its bright form. A word with no
// bit set keeps the terminal's own foreground rather than black.
int ansi_foreground(unsigned short attribute) {
  if (attribute == 0) return 39;
  const int colour = ((attribute & 0x4) ? 1 : 0) | ((attribute & 0x2) ? 2 : 0) |
                     ((attribute & 0x1) ? 4 : 0);
  return ((attribute & 0x8) ? 90 : 30) + colour;
}

void append_utf8(std::string& bytes, std::uint32_t code) {
  if (code < 0x80) {
    bytes += static_cast<char>(code);
  } else if (code < 0x800) {
    bytes += static_cast<char>(0xC0 | (code >> 6));
    bytes += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    bytes += static_cast<char>(0xE0 | (code >> 12));
    bytes += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    bytes += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    bytes += static_cast<char>(0xF0 | (code >> 18));
    bytes += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    bytes += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    bytes += static_cast<char>(0x80 | (code & 0x3F));
  }
}

// `text` as UTF-8 the way a terminal shows it, so that the line looks as it does on
// the Windows console: a well-formed surrogate pair, or an element above 0xFFFF where
// wchar_t is 32 bits, becomes its one four-byte character; a lone surrogate and an
// element above 0x10FFFF become U+FFFD. Every other unit is encoded as to_utf8
// encodes it, and as there a 0 unit ends the text.
std::string terminal_utf8(const std::wstring& text) {
  std::string bytes;
  bytes.reserve(text.size() * 3 + 1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto code = static_cast<std::uint32_t>(text[i]);
    if (code == 0) break;
    const auto next = i + 1 < text.size() ? static_cast<std::uint32_t>(text[i + 1]) : 0;
    if (code >= 0xD800 && code <= 0xDBFF && next >= 0xDC00 && next <= 0xDFFF) {
      append_utf8(bytes, 0x10000 + ((code - 0xD800) << 10) + (next - 0xDC00));
      ++i;
    } else if ((code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF) {
      append_utf8(bytes, 0xFFFD);
    } else {
      append_utf8(bytes, code);
    }
  }
  return bytes;
}

// `body` in the colour of `level`, reset before the line feed.
std::string coloured_line(const std::string& body, Log::Level level) {
  return "\x1b[" + std::to_string(ansi_foreground(console_attribute(level))) + "m" +
         body + "\x1b[0m\n";
}

}  // namespace

bool break_down_utc(std::time_t time, std::tm& parts) {
  return gmtime_r(&time, &parts) != nullptr;
}

void write_console_line(Log::Level level, const std::wstring& text) {
  const bool to_error = level >= Log::warn;
  std::string line = terminal_utf8(text);
  if (isatty(to_error ? STDERR_FILENO : STDOUT_FILENO)) {
    line = coloured_line(line, level);
  } else {
    line += '\n';
  }
  std::ostream& stream = to_error ? std::cerr : std::cout;
  const std::lock_guard<std::mutex> hold(console_lock());
  stream.write(line.data(), static_cast<std::streamsize>(line.size()));
  if (!stream) stream.clear();
}

}  // namespace gvk::detail
