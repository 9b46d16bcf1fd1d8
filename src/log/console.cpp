// The console logger: the handler that prints each entry as one time-stamped line,
// and the parts of it that every platform shares.
#include <gravok/log.h>
#include <gravok/text.h>

#include "platform.h"

namespace gvk {
namespace detail {

std::mutex& console_lock() {
  static std::mutex lock;
  return lock;
}

unsigned short console_attribute(Log::Level level) {
  static const unsigned short kAttributes[] = {7, 2, 11, 10, 4, 12, 12};
  if (level < Log::trace || level > Log::fatal) return 0;
  return kAttributes[level];
}

}  // namespace detail

namespace {

// The line is built, timestamp included, before the console lock is taken.
void print_entry(const Log::Entry& entry) {
  std::wstring text = from_utf8(timestamp());
  text += entry.message;
  detail::write_console_line(entry.level, text);
}

}  // namespace

unsigned long long Log::RegisterConsoleLogger(Level level) {
  return RegisterHandler(print_entry, level);
}

}  // namespace gvk
