/// @file
/// Logging: one process-wide facade through which hosts, their plug-ins and the
/// library's timing helper report what they do. A logging statement names a level, a
/// wide message of UTF-16 units and its source position; Log hands the entry to every
/// registered handler whose level the entry reaches, synchronously on the calling
/// thread. There is no log file and no queue. The library ships one handler, the
/// console logger; inside the library only LogTiming logs.
///
/// Thread rules. The handler list, the next handler id and the minimum level carry no
/// lock: register and unregister handlers before the threads that log start and after
/// they stop, never while Add runs, and never from inside a handler. While the list is
/// left alone, any number of threads may call Add, DoAdd and DoAddInline at once; each
/// handler is then called concurrently from those threads and protects its own state (the
/// console logger takes its own lock).
///
/// The cheap way to log is through the macros at the end of this header:
///
///     GRAVOK_LOG(gvk::Log::info) << L"loaded " << count << " elements from " << path;
///     GRAVOK_LOG_WARN << "caf\xC3\xA9";  // narrow text is taken as UTF-8
///
/// They test the level before anything is formatted, with Log::DoAddInline: a
/// statement whose level no handler wants costs one load and one integer comparison
/// in the caller's own code, no call into the library, and its operands are not
/// evaluated at all.
#ifndef GRAVOK_LOG_H
#define GRAVOK_LOG_H

#include <gravok/export.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

namespace gvk {

/// The minimum level that Log::DoAdd compares against: the lowest level any handler
/// was ever registered with, or Log::fatal (6) while none was. Only RegisterHandler
/// writes it, and only lowers it; hosts and plug-ins read it, through
/// Log::DoAddInline, and never write it. It is exported so that the test of a level
/// is inlined into the caller; each load is relaxed, since it changes only while no
/// thread logs.
extern GRAVOK_API std::atomic<std::int32_t> log_minimum_level;

/// The process-wide log: levels, handlers and the entry point of every logging statement.
class GRAVOK_API Log {
 public:
  /// Severity of an entry. Levels compare as signed integers; a value outside 0-6
  /// is accepted everywhere and sorts by its number.
  enum Level : std::int32_t {
    trace = 0,
    debug = 1,
    timing = 2,
    info = 3,
    warn = 4,
    error = 5,
    fatal = 6
  };

  /// One logged entry, as handlers receive it. `file` and `function` are borrowed from
  /// the logging statement (normally string literals) and are "" when none was given;
  /// a handler that keeps them past its call must copy the text.
  struct GRAVOK_API Entry {
    /// Severity of the entry.
    Level level = trace;
    std::wstring message;  ///< UTF-16 units, without timestamp or level name
    /// Source file of the logging statement; borrowed.
    const char* file = "";
    /// Source line of the logging statement.
    unsigned long long line = 0;
    /// Function of the logging statement; borrowed.
    const char* function = "";

    /// The default rendering of the entry: a copy of its message alone.
    std::wstring defaultFormat() const;
  };

  /// Adds `handler` at the end of the handler list, to be called for every entry of
  /// `level` or above, and returns its id. Ids count up from 0 and are never reused
  /// while the library is loaded. The minimum level (see DoAdd) is lowered to `level`
  /// when that is lower; nothing ever raises it again.
  /// An empty std::function is refused: it is not added and the minimum level stays
  /// as it was, but the call still uses up and returns an id, which names no handler
  /// (unregistering it does nothing). A handler may throw; see Add.
  static unsigned long long RegisterHandler(std::function<void(const Entry&)> handler,
                                            Level level);

  /// Removes the handler with `id`; the ones behind it keep their order. An unknown or
  /// already removed id does nothing. The minimum level is not recomputed.
  static void UnregisterCallback(unsigned long long id);

  /// Builds an entry from the arguments (the message is moved in, a null `file` or
  /// `function` becomes "") and calls, in registration order and on this thread, every
  /// handler registered when the call began whose level the entry's level reaches.
  /// Add does not test DoAdd itself. An exception thrown by a handler leaves Add at
  /// once: the handlers after it are not called and the exception reaches the caller.
  static void Add(Level level, std::wstring message, const char* file,
                  unsigned long long line, const char* function);

  /// True when `level` reaches the minimum level: the lowest level any handler was
  /// ever registered with, or fatal while none was. A single integer comparison; test
  /// it before formatting a message.
  static bool DoAdd(Level level);

  /// The same answer as DoAdd, computed in the caller's code from log_minimum_level
  /// without a call into the library: the test for a logging statement in a hot loop.
  /// It follows the same thread rules as DoAdd.
  static bool DoAddInline(Level level) {
    return level >= log_minimum_level.load(std::memory_order_relaxed);
  }

  /// The name of `level` ("trace", "debug", "timing", "info", "warn", "error",
  /// "fatal"), or "unknown" for any other value. The string is static.
  static const wchar_t* LevelString(Level level);

  /// Registers the console logger at `level` through RegisterHandler and returns its
  /// id. It prints every entry it accepts as one line: timestamp(), the message and a
  /// line feed, nothing else. Levels below warn go to standard output, warn and above
  /// to standard error. Each call adds one more console logger, so registering it
  /// twice prints every accepted entry twice.
  ///
  /// On POSIX systems the line is converted with to_utf8 (so a message ends at its
  /// first 0 unit) and written to std::cout or std::cerr, which keeps it in order
  /// with the host's own output on those streams.
  /// When that stream's descriptor is a terminal, the line is coloured by level with
  /// ANSI codes (trace light grey, debug green, timing bright cyan, info bright green,
  /// warn red, error and fatal bright red; other values the terminal's own colour)
  /// and the colour is reset before the line feed; when it is not a terminal no
  /// escape code of any kind is written. On Windows a console window gets the line
  /// through WriteConsoleW in the level's colour, the previous colour restored after
  /// it; redirected output goes to std::wcout or std::wcerr.
  /// One process-wide lock is held around each line's write, so lines from several
  /// threads never mix; the line, its timestamp included, is built before the lock is
  /// taken, so lines may appear slightly out of timestamp order. A failed write is
  /// not reported: the line is lost and the stream is set back to the good state.
  ///
  /// The logger shows only entries of `level` and above: registered at info it shows
  /// no LogTiming lines (timing is level 2, below info) and no debug or trace lines.
  /// To see timings, register it at Log::timing, or register a second handler there.
  static unsigned long long RegisterConsoleLogger(Level level);
};

/// The current time in UTC (never local time) as "[YYYY-MM-DD hh:mm:ss] ": 22
/// characters ending in a closing bracket and a blank.
GRAVOK_API std::string timestamp();

/// Measures a scope. Construct it at the start of the scope; when it is destroyed it
/// logs `message`, immediately followed by the elapsed whole milliseconds and " ms",
/// at the timing level with the file, line and function given. The message supplies
/// its own separator ("load took " gives "load took 12 ms"). The time comes from the
/// system wall clock, so it is negative if the clock was set back meanwhile.
/// Whether to log is decided at destruction: a handler registered while the scope runs
/// still gets the timing, and when no handler wants timings the destructor costs one
/// comparison. A copy keeps the start time, so original and copy each log, both
/// measured from the same start. Handlers called from the destructor must not throw.
///
/// Timings are logged at the timing level (2), below info (3): a console logger or any
/// handler registered at info or above never receives them, and nothing says so.
/// Register a handler at Log::timing (or lower) to see them, for instance
/// Log::RegisterConsoleLogger(Log::timing).
///
/// The message is wide text or narrow UTF-8 text, as with GRAVOK_LOG: the narrow
/// overloads decode the bytes up to the first 0 byte with from_utf8, and a null
/// pointer counts as empty text.
struct GRAVOK_API LogTiming {
  /// Stores the fields, then reads the clock.
  LogTiming(std::wstring message, const char* file, int line, const char* function);
  /// Stores the fields with `message` decoded from UTF-8, then reads the clock.
  LogTiming(const std::string& message, const char* file, int line, const char* function);
  /// Stores the fields with `message` decoded from UTF-8 (null: empty), then reads the
  /// clock.
  LogTiming(const char* message, const char* file, int line, const char* function);
  /// Copies the fields and the start time: original and copy each log.
  LogTiming(const LogTiming& other);
  ~LogTiming();

  /// Appends `text` to the message.
  LogTiming& operator<<(const std::wstring& text);
  /// Appends `text`, decoded from UTF-8, to the message.
  LogTiming& operator<<(const std::string& text);
  /// Appends `text`, decoded from UTF-8, to the message; a null pointer appends nothing.
  LogTiming& operator<<(const char* text);

  /// The text logged before the elapsed milliseconds.
  std::wstring message;
  const char* file;  ///< borrowed
  /// Source line given at construction.
  std::int32_t line;
  const char* function;  ///< borrowed
  long long start;       ///< construction time, 100-nanosecond ticks of the wall clock
};

struct LogStream;

/// Inserts narrow UTF-8 text into a log stream: the bytes up to the first 0 byte are
/// decoded with from_utf8 and inserted as a wide string, with the stream's width, fill
/// and state applied as for any formatted insertion. A null pointer inserts nothing
/// and sets badbit, as the standard streams do.
GRAVOK_API LogStream& operator<<(LogStream& stream, const char* text);
/// Inserts a std::string as UTF-8, as the character-pointer overload does.
GRAVOK_API LogStream& operator<<(LogStream& stream, const std::string& text);

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4275)  // a standard stream as base of an exported class
#endif

/// A wide string stream that becomes one log entry: it carries a level and a source
/// position, collects the text inserted into it, and hands that text to Log::Add when
/// it is destroyed. It is what the GRAVOK_LOG macros write into; a LogStream made by
/// hand logs whatever it holds when it goes out of scope, whether or not DoAdd
/// wanted it. Wide text, numbers and manipulators insert as into any std::wostream;
/// narrow strings (character pointers and arrays, std::string, std::string_view)
/// insert as UTF-8 up to their first 0 byte, also in the middle of a chain. `file` and
/// `function` are borrowed and must outlive the stream. Handlers called from the
/// destructor must not throw.
struct GRAVOK_API LogStream : std::wostringstream {
  /// Starts an empty entry of `level` at the given source position.
  LogStream(Log::Level level, const char* file, unsigned long long line,
            const char* function);
  ~LogStream() override;

  /// Inserts `value` and returns this stream, so that every insertion of a chain
  /// still sees a LogStream and narrow text keeps decoding as UTF-8.
  template <class T>
  LogStream& operator<<(const T& value) {
    if constexpr (std::is_convertible_v<const T&, const char*> ||
                  std::is_same_v<T, std::string>) {
      ::gvk::operator<<(*this, value);
    } else if constexpr (std::is_same_v<T, std::string_view>) {
      ::gvk::operator<<(*this, std::string(value));
    } else {
      static_cast<std::wostream&>(*this) << value;
    }
    return *this;
  }

  /// This stream as an lvalue: the macros insert into a temporary through it, so
  /// that the standard insertion for rvalue streams does not compete.
  LogStream& stream() { return *this; }

  /// Applies a stream manipulator such as std::endl.
  LogStream& operator<<(std::wostream& (*manipulator)(std::wostream&)) {
    manipulator(*this);
    return *this;
  }

  /// Level of the entry.
  Log::Level level;
  /// Source file; borrowed.
  const char* file;
  /// Source line.
  unsigned long long line;
  /// Function; borrowed.
  const char* function;
};

#if defined(_MSC_VER)
#pragma warning(pop)
#endif

}  // namespace gvk

/// Logs at `level` (an expression of type gvk::Log::Level, evaluated once) when
/// Log::DoAddInline(level) is true; otherwise nothing after the macro is evaluated.
/// Follow it with insertions: GRAVOK_LOG(gvk::Log::info) << L"text " << value; the entry
/// carries this file, line and function. The macro is one statement and is safe as
/// the body of an if without braces.
#define GRAVOK_LOG(level)                                  \
  if (const ::gvk::Log::Level gravok_log_level_ = (level); \
      !::gvk::Log::DoAddInline(gravok_log_level_)) {       \
  } else                                                   \
    ::gvk::LogStream(gravok_log_level_, __FILE__, __LINE__, __func__).stream()

/// GRAVOK_LOG at the trace level.
#define GRAVOK_LOG_TRACE GRAVOK_LOG(::gvk::Log::trace)
/// GRAVOK_LOG at the debug level.
#define GRAVOK_LOG_DEBUG GRAVOK_LOG(::gvk::Log::debug)
/// GRAVOK_LOG at the info level.
#define GRAVOK_LOG_INFO GRAVOK_LOG(::gvk::Log::info)
/// GRAVOK_LOG at the warn level.
#define GRAVOK_LOG_WARN GRAVOK_LOG(::gvk::Log::warn)
/// GRAVOK_LOG at the error level.
#define GRAVOK_LOG_ERROR GRAVOK_LOG(::gvk::Log::error)
/// GRAVOK_LOG at the fatal level.
#define GRAVOK_LOG_FATAL GRAVOK_LOG(::gvk::Log::fatal)

/// Times the rest of the enclosing scope: declares a LogTiming with `message` (wide
/// text, or narrow text taken as UTF-8) and this file, line and function:
/// GRAVOK_LOG_TIMING(L"solve took "); or GRAVOK_LOG_TIMING("solve took ");. The line
/// appears only where a handler is registered at Log::timing or lower; a console
/// logger registered at info shows none.
#define GRAVOK_LOG_TIMING(message)                                                     \
  ::gvk::LogTiming GRAVOK_LOG_JOIN_(gravok_log_timing_, __LINE__)((message), __FILE__, \
                                                                  __LINE__, __func__)
#define GRAVOK_LOG_JOIN_(a, b) GRAVOK_LOG_JOIN2_(a, b)
#define GRAVOK_LOG_JOIN2_(a, b) a##b

#endif  // GRAVOK_LOG_H
