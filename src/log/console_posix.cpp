// The console on POSIX systems: each line is converted to UTF-8 and written to the
// narrow standard streams, which keeps it in order with the host's own output there
// (the wide streams depend on the locale and on the stdio stream's orientation and
// would lose lines). A stream that is a terminal gets the level's colour as ANSI
// codes; anything else gets the plain text and no escape code at all.
#include "platform.h"

#include <gravok/text.h>

#include <unistd.h>

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
  std::string line = to_utf8(text);
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
