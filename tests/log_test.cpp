#include <gravok/log.h>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iomanip>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using gvk::Log;
using Records = std::vector<std::wstring>;

// Handlers, the next id and the minimum level are process-wide and the level never
// rises, so every case that registers a handler runs in a fresh child process. The
// child runs `body` with its expectations collected, prints the failed ones on its
// standard error, where the parent's report shows them, and exits 0 only when none
// failed.
template <class Body>
void expect_in_child(Body body) {
  EXPECT_EXIT(
      {
        testing::TestPartResultArray results;
        {
          const testing::ScopedFakeTestPartResultReporter collect(
              testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &results);
          body();
        }
        int failed = 0;
        for (int i = 0; i < results.size(); ++i) {
          const testing::TestPartResult& r = results.GetTestPartResult(i);
          if (!r.failed()) continue;
          ++failed;
          std::fprintf(stderr, "%s:%d: %s\n", r.file_name() ? r.file_name() : "?",
                       r.line_number(), r.message());
        }
        std::exit(failed == 0 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

std::wstring widened(const char* text) {
  return text ? std::wstring(text, text + std::strlen(text)) : L"(null)";
}

// Every entry the recorders got, as "<handler> <level> <message> <file>:<line>
// <function>".
Records& seen() {
  static Records records;
  return records;
}

// A handler that records every entry it gets under the one-letter `name`.
std::function<void(const Log::Entry&)> recorder(wchar_t name) {
  return [name](const Log::Entry& e) {
    seen().push_back(std::wstring(1, name) + L" " + std::to_wstring(e.level) + L" " +
                     e.message + L" " + widened(e.file) + L":" + std::to_wstring(e.line) +
                     L" " + widened(e.function));
  };
}

// The names of the handlers that got the recorded entries, in order.
std::wstring handlers_called() {
  std::wstring names;
  for (const std::wstring& record : seen()) names += record[0];
  return names;
}

TEST(Log, HandlerGetsOnlyEntriesReachingItsLevelAndMinimumNeverRises) {
  expect_in_child([] {
    Log::RegisterHandler(recorder(L'W'), Log::warn);
    EXPECT_FALSE(Log::DoAdd(Log::info));
    EXPECT_TRUE(Log::DoAdd(Log::warn));
    const unsigned long long info = Log::RegisterHandler(recorder(L'I'), Log::info);
    EXPECT_FALSE(Log::DoAdd(Log::debug));
    EXPECT_TRUE(Log::DoAdd(Log::info));
    Log::Add(Log::debug, L"quiet", "f", 1, "g");
    Log::Add(Log::info, L"loud", "f", 2, "g");
    Log::Add(static_cast<Log::Level>(9), L"beyond", "f", 3, "g");
    EXPECT_EQ(seen(),
              (Records{L"I 3 loud f:2 g", L"W 9 beyond f:3 g", L"I 9 beyond f:3 g"}));
    Log::UnregisterCallback(info);
    EXPECT_TRUE(Log::DoAdd(Log::info));
  });
}

TEST(Log, EntryCarriesWhatWasAddedWithNullNamesAsEmpty) {
  expect_in_child([] {
    Log::RegisterHandler(recorder(L'A'), Log::trace);
    Log::Add(Log::error, L"caf\u00e9", "src/x.cpp", 1ULL << 40, "run");
    Log::Add(Log::warn, L"", nullptr, 7, nullptr);
    EXPECT_EQ(seen(),
              (Records{L"A 5 caf\u00e9 src/x.cpp:1099511627776 run", L"A 4  :7 "}));
  });
}

TEST(Log, HandlersRunInRegistrationOrderUntilUnregistered) {
  expect_in_child([] {
    const unsigned long long a = Log::RegisterHandler(recorder(L'A'), Log::debug);
    Log::RegisterHandler(recorder(L'B'), Log::info);
    Log::RegisterHandler(recorder(L'C'), Log::debug);
    Log::Add(Log::info, L"1", nullptr, 0, nullptr);
    Log::Add(Log::debug, L"2", nullptr, 0, nullptr);
    EXPECT_EQ(handlers_called(), L"ABCAC");
    seen().clear();
    Log::UnregisterCallback(12345);
    Log::UnregisterCallback(a);
    Log::UnregisterCallback(a);
    Log::Add(Log::info, L"3", nullptr, 0, nullptr);
    EXPECT_EQ(handlers_called(), L"BC");
  });
}

TEST(Log, MinimumStartsAtFatalAndIdsCountUpEvenForARefusedHandler) {
  expect_in_child([] {
    for (int level = -1; level <= 7; ++level) {
      EXPECT_EQ(Log::DoAdd(static_cast<Log::Level>(level)), level >= Log::fatal) << level;
    }
    EXPECT_EQ(Log::RegisterHandler(nullptr, Log::trace), 0u);
    EXPECT_FALSE(Log::DoAdd(Log::warn));
    EXPECT_NO_THROW(
        Log::Add(Log::fatal, L"no empty function is called", nullptr, 0, nullptr));
    EXPECT_EQ(Log::RegisterHandler(recorder(L'A'), Log::info), 1u);
    EXPECT_EQ(Log::RegisterHandler(recorder(L'B'), Log::info), 2u);
    Log::UnregisterCallback(0);  // names no handler
    Log::UnregisterCallback(1);
    EXPECT_EQ(Log::RegisterHandler(recorder(L'C'), Log::info), 3u);
    EXPECT_EQ(Log::RegisterConsoleLogger(Log::fatal), 4u);
    Log::Add(Log::info, L"x", nullptr, 0, nullptr);
    EXPECT_EQ(handlers_called(), L"BC");
  });
}

// The inline test reads the exported minimum level in the caller's code; after every
// step of a sequence of registrations and removals it must answer as DoAdd does for
// every level, the ones outside 0-6 included.
TEST(Log, InlineTestAgreesWithDoAddThroughRegistrationsAndRemovals) {
  expect_in_child([] {
    struct Step {
      char action;  // 'r' registers a recorder, 'n' an empty function, 'u' unregisters
      int value;    // the level registered at, or the id unregistered
      int minimum;  // the minimum level afterwards
    };
    const Step steps[] = {{' ', 0, Log::fatal}, {'n', -1, 6},         {'r', Log::warn, 4},
                          {'r', Log::error, 4}, {'r', Log::info, 3},  {'u', 3, 3},
                          {'u', 99, 3},         {'r', Log::trace, 0}, {'u', 4, 0},
                          {'r', 8, 0},          {'r', -3, -3},        {'u', 6, -3}};
    const int probes[] = {INT32_MIN, -4, -3, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, INT32_MAX};
    for (const Step& step : steps) {
      SCOPED_TRACE(std::string(1, step.action) + " " + std::to_string(step.value));
      const auto level = static_cast<Log::Level>(step.value);
      if (step.action == 'r') Log::RegisterHandler(recorder(L'A'), level);
      if (step.action == 'n') Log::RegisterHandler(nullptr, level);
      if (step.action == 'u') Log::UnregisterCallback(static_cast<unsigned>(step.value));
      EXPECT_EQ(gvk::log_minimum_level.load(), step.minimum);
      for (int probe : probes) {
        const auto probed = static_cast<Log::Level>(probe);
        EXPECT_EQ(Log::DoAddInline(probed), Log::DoAdd(probed)) << probe;
        EXPECT_EQ(Log::DoAdd(probed), probe >= step.minimum) << probe;
      }
    }
  });
}

TEST(Log, ThrowingHandlerStopsTheDispatchOfThatEntry) {
  expect_in_child([] {
    Log::RegisterHandler(recorder(L'A'), Log::info);
    Log::RegisterHandler([](const Log::Entry&) { throw std::runtime_error("host"); },
                         Log::info);
    Log::RegisterHandler(recorder(L'C'), Log::info);
    EXPECT_THROW(Log::Add(Log::info, L"x", nullptr, 0, nullptr), std::runtime_error);
    EXPECT_EQ(handlers_called(), L"A");
  });
}

TEST(Log, LevelStringNamesEveryLevelAndOnlyThose) {
  const wchar_t* const names[] = {L"trace", L"debug", L"timing", L"info",
                                  L"warn",  L"error", L"fatal"};
  for (int level : {-1, 0, 1, 2, 3, 4, 5, 6, 7, 1 << 30}) {
    SCOPED_TRACE(level);
    const std::wstring expected = level >= 0 && level <= 6 ? names[level] : L"unknown";
    EXPECT_EQ(Log::LevelString(static_cast<Log::Level>(level)), expected);
  }
}

TEST(LogEntry, DefaultFormatIsTheMessageAlone) {
  const Log::Entry entry{Log::error, L"disk full", "a.cpp", 3, "f"};
  EXPECT_EQ(entry.defaultFormat(), L"disk full");
  EXPECT_EQ(Log::Entry().defaultFormat(), L"");
}

// `when` as the timestamp shows it.
std::string formatted(std::time_t when) {
  char text[32];
  std::strftime(text, sizeof text, "[%Y-%m-%d %H:%M:%S] ", std::gmtime(&when));
  return text;
}

TEST(Timestamp, ShowsUtcWhateverTheLocalZone) {
  expect_in_child([] {
#if defined(_WIN32)
    _putenv_s("TZ", "XYZ-5:30");
    _tzset();
#else
    setenv("TZ", "XYZ-5:30", 1);  // five and a half hours east of Greenwich
    tzset();
#endif
    const std::time_t before = std::time(nullptr);
    const std::string stamp = gvk::timestamp();
    const std::time_t after = std::time(nullptr);
    EXPECT_TRUE(stamp == formatted(before) || stamp == formatted(after)) << stamp;
    char local[32];
    std::strftime(local, sizeof local, "[%Y-%m-%d %H:%M:%S] ", std::localtime(&before));
    EXPECT_NE(std::string(local), formatted(before));
  });
}

// The milliseconds in `record`, which must match `pattern` with "#" where the number
// stands; -1 when it does not match.
long long ms_in(const std::wstring& record, std::wstring pattern) {
  pattern.replace(pattern.find(L'#'), 1, LR"((-?\d+))");
  std::wsmatch match;
  if (!std::regex_match(record, match, std::wregex(pattern))) return -1;
  return std::stoll(match[1].str());
}

TEST(LogTiming, LogsMessageThenElapsedMillisecondsAtTimingLevel) {
  expect_in_child([] {
    Log::RegisterHandler(recorder(L'A'), Log::timing);
    { gvk::LogTiming timing(L"load took ", "load.cpp", 42, "load"); }
    {
      gvk::LogTiming timing(L"t=", nullptr, -3, nullptr);
      std::this_thread::sleep_for(std::chrono::milliseconds(40));
    }
    {
      gvk::LogTiming original(L"a ", "f", 1, "g");
      gvk::LogTiming copy(original);
      EXPECT_EQ(copy.start, original.start);
      copy << L"b " << L"c ";
    }
    const int line = __LINE__ + 1;
    { GRAVOK_LOG_TIMING(L"scope "); }
    ASSERT_EQ(seen().size(), 5u);
    SCOPED_TRACE(testing::PrintToString(seen()));
    EXPECT_GE(ms_in(seen()[0], L"A 2 load took # ms load.cpp:42 load"), 0);
    const long long slept = ms_in(seen()[1], L"A 2 t=# ms :18446744073709551613 ");
    EXPECT_GE(slept, 40);
    EXPECT_LT(slept, 30000);  // a count of 100-nanosecond ticks would be 400000 and more
    EXPECT_GE(ms_in(seen()[2], L"A 2 a b c # ms f:1 g"), 0);
    EXPECT_GE(ms_in(seen()[3], L"A 2 a # ms f:1 g"), 0);
    const std::wstring position = widened(__FILE__) + L":" + std::to_wstring(line);
    EXPECT_GE(ms_in(seen()[4], L"A 2 scope # ms " + position + L" .*"), 0);
  });
}

TEST(LogTiming, NarrowMessagesDecodeAsUtf8AsGravokLogDoes) {
  expect_in_child([] {
    Log::RegisterHandler(recorder(L'A'), Log::timing);
    { gvk::LogTiming timing(std::string("caf\xC3\xA9 "), "f", 1, "g"); }
    {
      gvk::LogTiming timing("\xE2\x82\xAC ", "f", 2, "g");
      timing << std::string("a\0b", 3) << "\xC3\xA9 " << static_cast<const char*>(nullptr)
             << L"w ";
    }
    { gvk::LogTiming timing(static_cast<const char*>(nullptr), "f", 3, "g"); }
    const int line = __LINE__ + 1;
    { GRAVOK_LOG_TIMING("\xC3\xA9t\xC3\xA9 "); }
    ASSERT_EQ(seen().size(), 4u);
    SCOPED_TRACE(testing::PrintToString(seen()));
    EXPECT_GE(ms_in(seen()[0], L"A 2 caf\u00e9 # ms f:1 g"), 0);
    EXPECT_GE(ms_in(seen()[1], L"A 2 \u20ac a\u00e9 w # ms f:2 g"), 0);
    EXPECT_GE(ms_in(seen()[2], L"A 2 # ms f:3 g"), 0);
    const std::wstring position = widened(__FILE__) + L":" + std::to_wstring(line);
    EXPECT_GE(ms_in(seen()[3], L"A 2 \u00e9t\u00e9 # ms " + position + L" .*"), 0);
  });
}

TEST(LogTiming, DecidesAtDestructionWhetherAnyHandlerWantsTimings) {
  expect_in_child([] {
    Log::RegisterHandler(recorder(L'I'), Log::info);
    { gvk::LogTiming timing(L"x ", "f", 1, "g"); }
    EXPECT_TRUE(seen().empty());
    {
      gvk::LogTiming timing(L"x ", "f", 1, "g");
      Log::RegisterHandler(recorder(L'L'), Log::timing);
    }
    EXPECT_EQ(handlers_called(), L"L");
  });
}

TEST(LogStream, NarrowTextDecodesAsUtf8UpToItsFirstZeroAnywhereInAChain) {
  gvk::LogStream stream(Log::info, nullptr, 0, nullptr);
  char name[] = "caf\xC3\xA9";
  stream << L"n=" << 5 << " " << name << std::string(" \xE2\x82\xAC") << L'!' << 2.5
         << std::string_view(" \xC3\xA9t\xC3\xA9", 4) << std::string(" ab\0cd", 6)
         << static_cast<const char*>("|");
  EXPECT_EQ(stream.str(), L"n=5 caf\u00e9 \u20ac!2.5 \u00e9t ab|");
}

TEST(LogStream, NarrowInsertionHonoursWidthAndStateAndNullSetsBadbit) {
  gvk::LogStream stream(Log::info, nullptr, 0, nullptr);
  stream << std::setw(4) << std::string() << "|" << std::setw(3) << std::left
         << "\xC3\xA9"
         << "|";
  const char* none = nullptr;
  stream << none << "lost";
  EXPECT_TRUE(stream.bad());
  EXPECT_EQ(stream.str(), L"    |\u00e9  |");
}

TEST(LogMacros, DisabledStatementEvaluatesNothingEnabledOneLogsOnce) {
  expect_in_child([] {
    Log::RegisterHandler(recorder(L'A'), Log::warn);
    int evaluated = 0;
    int levels = 0;
    auto operand = [&evaluated] { return ++evaluated; };
    GRAVOK_LOG_INFO << L"never " << operand();
    GRAVOK_LOG(Log::trace) << operand();
    EXPECT_EQ(evaluated, 0);
    const int line = __LINE__ + 1;
    GRAVOK_LOG((++levels, Log::error)) << L"count " << operand();
    EXPECT_EQ(levels, 1);
    if (levels == 0)
      GRAVOK_LOG_FATAL << "the macro is one statement";
    else
      ++levels;
    EXPECT_EQ(levels, 2);
    EXPECT_EQ(seen(), Records{L"A 5 count 1 " + widened(__FILE__) + L":" +
                              std::to_wstring(line) + L" " + widened(__func__)});
  });
}

}  // namespace
