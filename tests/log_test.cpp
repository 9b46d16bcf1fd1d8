#include <gravok/log.h>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
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

// Prints each failed expectation of a child process on its standard error, where
// the parent's report shows it, and ends the child: status 0 when none failed.
[[noreturn]] void exit_with(const testing::TestPartResultArray& results) {
  int failed = 0;
  for (int i = 0; i < results.size(); ++i) {
    const testing::TestPartResult& result = results.GetTestPartResult(i);
    if (!result.failed()) continue;
    ++failed;
    std::fprintf(stderr, "%s:%d: %s\n", result.file_name() ? result.file_name() : "?",
                 result.line_number(), result.message());
  }
  std::exit(failed == 0 ? 0 : 1);
}

// Handlers, the next id and the minimum level are process-wide and the level never
// rises, so every case that registers a handler runs in a fresh child process: the
// child runs `body`, collecting its expectations, and exits 0 only when all held.
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
        exit_with(results);
      },
      testing::ExitedWithCode(0), "");
}

// One entry as a handler saw it, with the borrowed strings copied.
struct Seen {
  std::string handler;
  Log::Level level;
  std::wstring message;
  std::string file;
  unsigned long long line;
  std::string function;
};

std::vector<Seen>& seen() {
  static std::vector<Seen> entries;
  return entries;
}

// A handler that records every entry it gets under `name`.
std::function<void(const Log::Entry&)> recorder(std::string name) {
  return [name](const Log::Entry& e) {
    seen().push_back({name, e.level, e.message, e.file, e.line, e.function});
  };
}

std::vector<std::string> handlers_called() {
  std::vector<std::string> names;
  for (const Seen& s : seen()) names.push_back(s.handler);
  return names;
}

using Names = std::vector<std::string>;

TEST(Log, WithoutHandlersOnlyFatalAndAbovePass) {
  expect_in_child([] {
    for (int level = -1; level <= 7; ++level) {
      EXPECT_EQ(Log::DoAdd(static_cast<Log::Level>(level)), level >= Log::fatal) << level;
    }
    Log::Add(Log::fatal, L"nobody listens", nullptr, 0, nullptr);
  });
}

TEST(Log, HandlerGetsOnlyEntriesReachingItsLevel) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::info);
    EXPECT_FALSE(Log::DoAdd(Log::debug));
    EXPECT_TRUE(Log::DoAdd(Log::info));
    EXPECT_TRUE(Log::DoAdd(Log::warn));
    Log::Add(Log::debug, L"quiet", "f", 1, "g");
    EXPECT_TRUE(seen().empty());
    Log::Add(Log::info, L"loud", "f", 2, "g");
    Log::Add(static_cast<Log::Level>(9), L"beyond fatal", "f", 3, "g");
    ASSERT_EQ(seen().size(), 2u);
    EXPECT_EQ(seen()[0].message, L"loud");
    EXPECT_EQ(seen()[1].level, 9);
  });
}

TEST(Log, MinimumLevelNeverRises) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("warn"), Log::warn);
    EXPECT_FALSE(Log::DoAdd(Log::trace));
    const unsigned long long low = Log::RegisterHandler(recorder("trace"), Log::trace);
    EXPECT_TRUE(Log::DoAdd(Log::trace));
    Log::UnregisterCallback(low);
    EXPECT_TRUE(Log::DoAdd(Log::trace));
    Log::Add(Log::trace, L"only the level test passes", nullptr, 0, nullptr);
    EXPECT_TRUE(seen().empty());
  });
}

TEST(Log, IdsCountUpAndAreNeverReused) {
  expect_in_child([] {
    EXPECT_EQ(Log::RegisterHandler(recorder("A"), Log::info), 0u);
    EXPECT_EQ(Log::RegisterHandler(recorder("B"), Log::info), 1u);
    Log::UnregisterCallback(0);
    EXPECT_EQ(Log::RegisterHandler(recorder("C"), Log::info), 2u);
    EXPECT_EQ(Log::RegisterConsoleLogger(Log::fatal), 3u);
  });
}

TEST(Log, HandlersRunInRegistrationOrder) {
  expect_in_child([] {
    const unsigned long long a = Log::RegisterHandler(recorder("A"), Log::debug);
    Log::RegisterHandler(recorder("B"), Log::info);
    Log::RegisterHandler(recorder("C"), Log::debug);
    Log::Add(Log::info, L"1", nullptr, 0, nullptr);
    Log::Add(Log::debug, L"2", nullptr, 0, nullptr);
    EXPECT_EQ(handlers_called(), (Names{"A", "B", "C", "A", "C"}));
    seen().clear();
    Log::UnregisterCallback(a);
    Log::Add(Log::info, L"3", nullptr, 0, nullptr);
    EXPECT_EQ(handlers_called(), (Names{"B", "C"}));
  });
}

TEST(Log, EntryCarriesWhatWasAdded) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::trace);
    Log::Add(Log::error, L"caf\u00e9", "src/x.cpp", 1ULL << 40, "run");
    Log::Add(Log::warn, L"", nullptr, 7, nullptr);
    ASSERT_EQ(seen().size(), 2u);
    EXPECT_EQ(seen()[0].level, Log::error);
    EXPECT_EQ(seen()[0].message, L"caf\u00e9");
    EXPECT_EQ(seen()[0].file, "src/x.cpp");
    EXPECT_EQ(seen()[0].line, 1ULL << 40);
    EXPECT_EQ(seen()[0].function, "run");
    EXPECT_EQ(seen()[1].file, "");
    EXPECT_EQ(seen()[1].function, "");
    EXPECT_EQ(seen()[1].line, 7u);
  });
}

TEST(Log, UnregisteringUnknownOrRemovedIdChangesNothing) {
  expect_in_child([] {
    const unsigned long long a = Log::RegisterHandler(recorder("A"), Log::info);
    Log::RegisterHandler(recorder("B"), Log::info);
    Log::UnregisterCallback(12345);
    Log::UnregisterCallback(a);
    Log::UnregisterCallback(a);
    Log::Add(Log::info, L"x", nullptr, 0, nullptr);
    EXPECT_EQ(handlers_called(), (Names{"B"}));
  });
}

TEST(Log, EmptyHandlerIsRefusedButUsesAnId) {
  expect_in_child([] {
    EXPECT_EQ(Log::RegisterHandler(nullptr, Log::trace), 0u);
    EXPECT_FALSE(Log::DoAdd(Log::trace));
    EXPECT_NO_THROW(
        Log::Add(Log::fatal, L"no empty function is called", nullptr, 0, nullptr));
    EXPECT_EQ(Log::RegisterHandler(recorder("A"), Log::info), 1u);
    Log::UnregisterCallback(0);
    Log::Add(Log::info, L"x", nullptr, 0, nullptr);
    EXPECT_EQ(handlers_called(), (Names{"A"}));
  });
}

TEST(Log, ThrowingHandlerStopsTheDispatchOfThatEntry) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::info);
    Log::RegisterHandler([](const Log::Entry&) { throw std::runtime_error("host"); },
                         Log::info);
    Log::RegisterHandler(recorder("C"), Log::info);
    EXPECT_THROW(Log::Add(Log::info, L"x", nullptr, 0, nullptr), std::runtime_error);
    EXPECT_EQ(handlers_called(), (Names{"A"}));
  });
}

TEST(Log, LevelStringNamesEveryLevelAndOnlyThose) {
  struct Case {
    int level;
    std::wstring name;
  };
  const Case cases[] = {{0, L"trace"},        {1, L"debug"},   {2, L"timing"},
                        {3, L"info"},         {4, L"warn"},    {5, L"error"},
                        {6, L"fatal"},        {7, L"unknown"}, {-1, L"unknown"},
                        {1 << 30, L"unknown"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.level);
    EXPECT_EQ(Log::LevelString(static_cast<Log::Level>(c.level)), c.name);
  }
}

TEST(LogEntry, DefaultFormatIsTheMessageAlone) {
  Log::Entry entry;
  EXPECT_EQ(entry.defaultFormat(), L"");
  entry.level = Log::error;
  entry.message = L"disk full";
  entry.file = "a.cpp";
  entry.line = 3;
  EXPECT_EQ(entry.defaultFormat(), L"disk full");
  const Log::Entry copy = entry;
  EXPECT_EQ(copy.defaultFormat(), L"disk full");
}

TEST(Timestamp, HasTheFixedShape) {
  const std::string stamp = gvk::timestamp();
  EXPECT_EQ(stamp.size(), 22u);
  EXPECT_TRUE(std::regex_match(
      stamp, std::regex(R"(\[\d{4}-\d\d-\d\d (([01]\d)|(2[0-3])):[0-5]\d:[0-6]\d\] )")))
      << stamp;
}

// `when` as the timestamp should show it.
std::string formatted(std::time_t when) {
  char text[32];
  std::strftime(text, sizeof text, "[%Y-%m-%d %H:%M:%S] ", std::gmtime(&when));
  return text;
}

// Makes `zone`, in the TZ variable's notation, this process's local time zone.
void set_local_zone(const char* zone) {
#if defined(_WIN32)
  _putenv_s("TZ", zone);
  _tzset();
#else
  setenv("TZ", zone, 1);
  tzset();
#endif
}

TEST(Timestamp, ShowsUtcWhateverTheLocalZone) {
  expect_in_child([] {
    set_local_zone("XYZ-5:30");  // five and a half hours east of Greenwich
    const std::time_t before = std::time(nullptr);
    const std::string stamp = gvk::timestamp();
    const std::time_t after = std::time(nullptr);
    EXPECT_TRUE(stamp == formatted(before) || stamp == formatted(after)) << stamp;
    char local[32];
    std::strftime(local, sizeof local, "[%Y-%m-%d %H:%M:%S] ", std::localtime(&before));
    EXPECT_NE(std::string(local), formatted(before));
  });
}

// The number in a timing message "<text><n> ms", or -1 when it has another shape.
long long timing_value(const std::wstring& message, const std::wstring& text) {
  std::wsmatch match;
  if (!std::regex_match(message, match, std::wregex(text + L"(-?\\d+) ms"))) return -1;
  return std::stoll(match[1].str());
}

TEST(LogTiming, LogsMessageThenElapsedMillisecondsAtTimingLevel) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::timing);
    { gvk::LogTiming timing(L"load took ", "load.cpp", 42, "load"); }
    ASSERT_EQ(seen().size(), 1u);
    EXPECT_EQ(seen()[0].level, Log::timing);
    const long long ms = timing_value(seen()[0].message, L"load took ");
    EXPECT_GE(ms, 0) << testing::PrintToString(seen()[0].message);
    EXPECT_LT(ms, 1000);
    EXPECT_EQ(seen()[0].file, "load.cpp");
    EXPECT_EQ(seen()[0].line, 42u);
    EXPECT_EQ(seen()[0].function, "load");
  });
}

TEST(LogTiming, CountsMillisecondsNotTicks) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::trace);
    {
      gvk::LogTiming timing(L"t=", nullptr, -3, nullptr);
      std::this_thread::sleep_for(std::chrono::milliseconds(40));
    }
    ASSERT_EQ(seen().size(), 1u);
    const long long ms = timing_value(seen()[0].message, L"t=");
    EXPECT_GE(ms, 40);
    EXPECT_LT(ms, 30000);  // a tenth-of-a-microsecond count would be 400000 and more
    EXPECT_EQ(seen()[0].line, static_cast<unsigned long long>(-3LL));
  });
}

TEST(LogTiming, AppendedTextFollowsTheMessageInOrder) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::timing);
    {
      gvk::LogTiming timing(L"mesh", "m.cpp", 1, "f");
      timing << L" of " << L"site 4: ";
    }
    ASSERT_EQ(seen().size(), 1u);
    EXPECT_GE(timing_value(seen()[0].message, L"mesh of site 4: "), 0)
        << testing::PrintToString(seen()[0].message);
  });
}

TEST(LogTiming, SilentWhenNoHandlerWantsTimings) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::info);
    { gvk::LogTiming timing(L"x ", "f", 1, "g"); }
    EXPECT_TRUE(seen().empty());
  });
}

TEST(LogTiming, DecidesAtDestructionSoALateHandlerStillGetsIt) {
  expect_in_child([] {
    {
      gvk::LogTiming timing(L"x ", "f", 1, "g");
      Log::RegisterHandler(recorder("late"), Log::timing);
    }
    EXPECT_EQ(handlers_called(), (Names{"late"}));
  });
}

TEST(LogTiming, CopyLogsTooFromTheSameStart) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::timing);
    {
      gvk::LogTiming original(L"a ", "f", 1, "g");
      gvk::LogTiming copy(original);
      EXPECT_EQ(copy.start, original.start);
      copy << L"b ";
    }
    ASSERT_EQ(seen().size(), 2u);
    EXPECT_GE(timing_value(seen()[0].message, L"a b "), 0);
    EXPECT_GE(timing_value(seen()[1].message, L"a "), 0);
  });
}

TEST(LogTiming, MacroTimesTheEnclosingScope) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::timing);
    int line = 0;
    {
      line = __LINE__ + 1;
      GRAVOK_LOG_TIMING(L"scope ");
    }
    ASSERT_EQ(seen().size(), 1u);
    EXPECT_GE(timing_value(seen()[0].message, L"scope "), 0);
    EXPECT_EQ(seen()[0].file, __FILE__);
    EXPECT_EQ(seen()[0].line, static_cast<unsigned long long>(line));
  });
}

TEST(LogStream, NarrowTextIsDecodedAsUtf8) {
  struct Case {
    std::string in;
    std::wstring out;
  };
  const Case cases[] = {
      {"\xC3\xA9", L"\u00e9"},
      {"", L""},
      {"caf\xC3\xA9 \xE2\x82\xAC", L"caf\u00e9 \u20ac"},
      {std::string("ab\0cd", 5), L"ab"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.in));
    gvk::LogStream by_string(Log::info, nullptr, 0, nullptr);
    by_string << c.in;
    EXPECT_EQ(by_string.str(), c.out);
    gvk::LogStream by_pointer(Log::info, nullptr, 0, nullptr);
    by_pointer << c.in.c_str();
    EXPECT_EQ(by_pointer.str(), c.out);
  }
}

TEST(LogStream, NarrowInsertionHonoursWidthAndState) {
  gvk::LogStream padded(Log::info, nullptr, 0, nullptr);
  padded << std::setw(4) << std::string() << "|" << std::setw(3) << std::left
         << "\xC3\xA9"
         << "|";
  EXPECT_EQ(padded.str(), L"    |\u00e9  |");
  gvk::LogStream failed(Log::info, nullptr, 0, nullptr);
  failed.setstate(std::ios_base::failbit);
  failed << "lost";
  EXPECT_EQ(failed.str(), L"");
}

TEST(LogStream, NullNarrowPointerSetsBadbitAndInsertsNothing) {
  gvk::LogStream stream(Log::info, nullptr, 0, nullptr);
  const char* none = nullptr;
  stream << "a" << none << "b";
  EXPECT_TRUE(stream.bad());
  EXPECT_EQ(stream.str(), L"a");
}

TEST(LogStream, NarrowTextDecodesAnywhereInAChain) {
  gvk::LogStream stream(Log::info, nullptr, 0, nullptr);
  char name[] = "caf\xC3\xA9";
  stream << L"n=" << 5 << " " << name << std::string(" \xE2\x82\xAC") << L'!' << 2.5
         << std::string_view(" \xC3\xA9t\xC3\xA9", 4);
  EXPECT_EQ(stream.str(), L"n=5 caf\u00e9 \u20ac!2.5 \u00e9t");
}

TEST(LogStream, HandsItsTextToAddWhenDestroyed) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::trace);
    {
      gvk::LogStream stream(Log::warn, "w.cpp", 12, "work");
      stream << L"half " << "done";
      EXPECT_TRUE(seen().empty());
    }
    ASSERT_EQ(seen().size(), 1u);
    EXPECT_EQ(seen()[0].level, Log::warn);
    EXPECT_EQ(seen()[0].message, L"half done");
    EXPECT_EQ(seen()[0].file, "w.cpp");
    EXPECT_EQ(seen()[0].line, 12u);
    EXPECT_EQ(seen()[0].function, "work");
  });
}

TEST(LogMacros, DisabledStatementEvaluatesNothing) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::warn);
    int evaluated = 0;
    auto operand = [&evaluated] { return ++evaluated; };
    GRAVOK_LOG_INFO << L"never " << operand();
    GRAVOK_LOG(Log::trace) << operand();
    EXPECT_EQ(evaluated, 0);
    EXPECT_TRUE(seen().empty());
    GRAVOK_LOG_ERROR << L"count " << operand();
    EXPECT_EQ(evaluated, 1);
    ASSERT_EQ(seen().size(), 1u);
    EXPECT_EQ(seen()[0].message, L"count 1");
    EXPECT_EQ(seen()[0].level, Log::error);
  });
}

TEST(LogMacros, EntryCarriesTheStatementsPosition) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::trace);
    const int line = __LINE__ + 1;
    GRAVOK_LOG_DEBUG << "x";
    ASSERT_EQ(seen().size(), 1u);
    EXPECT_EQ(seen()[0].file, __FILE__);
    EXPECT_EQ(seen()[0].line, static_cast<unsigned long long>(line));
    EXPECT_EQ(seen()[0].function, __func__);
  });
}

TEST(LogMacros, LevelIsEvaluatedOnceAndStatementIsSafeUnbraced) {
  expect_in_child([] {
    Log::RegisterHandler(recorder("A"), Log::trace);
    int levels = 0;
    GRAVOK_LOG((++levels, Log::error)) << "once";
    EXPECT_EQ(levels, 1);
    bool other_branch = false;
    if (levels == 0)
      GRAVOK_LOG_FATAL << "not this";
    else
      other_branch = true;
    EXPECT_TRUE(other_branch);
    ASSERT_EQ(seen().size(), 1u);
    EXPECT_EQ(seen()[0].message, L"once");
  });
}

}  // namespace
