// Scoped timing and stream-style logging on top of the log core.
#include <gravok/log.h>
#include <gravok/text.h>

#include <chrono>
#include <ratio>
#include <utility>

namespace gvk {
namespace {

using Ticks = std::chrono::duration<long long, std::ratio<1, 10000000>>;

// The system wall clock in 100-nanosecond ticks.
long long now_in_ticks() {
  return std::chrono::duration_cast<Ticks>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

// Inserts UTF-8 text, up to its first 0 byte, as a wide string.
LogStream& insert_utf8(LogStream& stream, const std::string& text) {
  static_cast<std::wostream&>(stream) << from_utf8(text);
  return stream;
}

}  // namespace

LogTiming::LogTiming(std::wstring message, const char* file, int line,
                     const char* function)
    : message(std::move(message)),
      file(file),
      line(line),
      function(function),
      start(now_in_ticks()) {}

LogTiming::LogTiming(const std::string& message, const char* file, int line,
                     const char* function)
    : LogTiming(from_utf8(message), file, line, function) {}

LogTiming::LogTiming(const char* message, const char* file, int line,
                     const char* function)
    : LogTiming(message == nullptr ? std::wstring() : from_utf8(message), file, line,
                function) {}

LogTiming::LogTiming(const LogTiming& other) = default;

LogTiming::~LogTiming() {
  if (!Log::DoAddInline(Log::timing)) return;
  const long long elapsed_ms = (now_in_ticks() - start) / 10000;
  Log::Add(Log::timing, message + std::to_wstring(elapsed_ms) + L" ms", file, line,
           function);
}

LogTiming& LogTiming::operator<<(const std::wstring& text) {
  message += text;
  return *this;
}

LogTiming& LogTiming::operator<<(const std::string& text) {
  message += from_utf8(text);
  return *this;
}

LogTiming& LogTiming::operator<<(const char* text) {
  if (text != nullptr) message += from_utf8(text);
  return *this;
}

LogStream::LogStream(Log::Level level, const char* file, unsigned long long line,
                     const char* function)
    : level(level), file(file), line(line), function(function) {}

LogStream::~LogStream() { Log::Add(level, str(), file, line, function); }

LogStream& operator<<(LogStream& stream, const char* text) {
  if (text == nullptr) {
    stream.setstate(std::ios_base::badbit);
    return stream;
  }
  return insert_utf8(stream, std::string(text));
}

LogStream& operator<<(LogStream& stream, const std::string& text) {
  return insert_utf8(stream, text);
}

}  // namespace gvk
