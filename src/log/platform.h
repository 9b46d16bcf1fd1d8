// The platform layer of the log: the UTC calendar and the console. One source file per
// platform implements it (console_posix.cpp, console_win32.cpp); CMake picks one.
#ifndef GRAVOK_SRC_LOG_PLATFORM_H
#define GRAVOK_SRC_LOG_PLATFORM_H

#include <gravok/log.h>

#include <ctime>
#include <mutex>
#include <string>

namespace gvk::detail {

// Breaks `time` down as UTC into `parts`; false when the platform cannot, and
// `parts` is then unspecified.
bool break_down_utc(std::time_t time, std::tm& parts);

// Writes `text` (timestamp and message, without the line feed) and a line feed as one
// console line for an entry of `level`: standard output below warn, standard error
// from warn up, coloured when that stream is a console. The line is finished before
// console_lock() is taken around the write itself.
void write_console_line(Log::Level level, const std::wstring& text);

// The one console lock of the process, held around every console write.
std::mutex& console_lock();

// The console character attribute of `level`: foreground blue 0x1, green 0x2,
// red 0x4, intensity 0x8; 0 for values outside the levels.
unsigned short console_attribute(Log::Level level);

}  // namespace gvk::detail

#endif  // GRAVOK_SRC_LOG_PLATFORM_H
