// The console on Windows: a console window gets the line as UTF-16 through
// WriteConsoleW in the level's colour, the previous colour restored after it; output
// redirected to a file or pipe goes through the standard wide streams.
#include "platform.h"

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <iostream>
#include <string>

namespace gvk::detail {
namespace {

// Writes `line` on the console `handle` in the level's colour when the current
// attributes can be read, else in whatever colour the console has.
void write_to_console(HANDLE handle, Log::Level level, const std::wstring& line) {
  const DWORD count = static_cast<DWORD>(line.size());
  DWORD written = 0;
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (!GetConsoleScreenBufferInfo(handle, &info)) {
    WriteConsoleW(handle, line.data(), count, &written, nullptr);
    return;
  }
  SetConsoleTextAttribute(handle, console_attribute(level));
  WriteConsoleW(handle, line.data(), count, &written, nullptr);
  SetConsoleTextAttribute(handle, info.wAttributes);
}

// Inserts `line` into a redirected wide stream; a failed stream is set back to the
// good state so that later lines are attempted again.
void write_to_stream(std::wostream& stream, const std::wstring& line) {
  stream << line;
  if (!stream) stream.clear();
}

}  // namespace

bool break_down_utc(std::time_t time, std::tm& parts) {
  return gmtime_s(&parts, &time) == 0;
}

void write_console_line(Log::Level level, const std::wstring& text) {
  const bool to_error = level >= Log::warn;
  const std::wstring line = text + L'\n';
  const std::lock_guard<std::mutex> hold(console_lock());
  const HANDLE handle = GetStdHandle(to_error ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  if (handle != nullptr && handle != INVALID_HANDLE_VALUE &&
      GetConsoleMode(handle, &mode)) {
    write_to_console(handle, level, line);
  } else {
    write_to_stream(to_error ? std::wcerr : std::wcout, line);
  }
}

}  // namespace gvk::detail
