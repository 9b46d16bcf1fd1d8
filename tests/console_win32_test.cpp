// The console logger on Windows, where a host's output goes to a console or to a
// file. On a console (the program runs on a pseudo-terminal, where Wine gives it one)
// the tests make screen buffers of their own the standard output and error, and read
// back the cells the logger wrote with their colours. Redirected, a child host program
// runs with its standard streams in files, and the tests read the files.
#include <gravok/log.h>

#include <gtest/gtest.h>

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using gvk::Log;

constexpr WORD kBefore = 0x5F;  // the colour in force before a line: white on purple
constexpr SHORT kWidth = 160, kHeight = 500;

// A screen buffer of its own as the standard output or error while it lives; the
// handle the process had is put back after.
class ScreenBuffer {
 public:
  explicit ScreenBuffer(DWORD which) : m_which(which), m_saved(GetStdHandle(which)) {
    m_buffer = CreateConsoleScreenBuffer(GENERIC_READ | GENERIC_WRITE,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                         CONSOLE_TEXTMODE_BUFFER, nullptr);
    if (m_buffer == INVALID_HANDLE_VALUE) return;
    SetConsoleScreenBufferSize(m_buffer, COORD{kWidth, kHeight});
    SetConsoleTextAttribute(m_buffer, kBefore);
    SetStdHandle(which, m_buffer);
  }
  ~ScreenBuffer() {
    SetStdHandle(m_which, m_saved);
    if (ok()) CloseHandle(m_buffer);
  }
  ScreenBuffer(const ScreenBuffer&) = delete;
  ScreenBuffer& operator=(const ScreenBuffer&) = delete;

  bool ok() const { return m_buffer != INVALID_HANDLE_VALUE; }

  // The units of row `y` without the blanks that fill it, and their attributes.
  std::wstring row(SHORT y, std::vector<WORD>* attributes = nullptr) const {
    std::wstring cells(kWidth, L' ');
    DWORD read = 0;
    ReadConsoleOutputCharacterW(m_buffer, &cells[0], kWidth, COORD{0, y}, &read);
    cells.resize(cells.find_last_not_of(L' ') + 1);
    if (attributes) {
      attributes->assign(cells.size(), 0);
      if (!cells.empty()) {
        ReadConsoleOutputAttribute(m_buffer, attributes->data(),
                                   static_cast<DWORD>(cells.size()), COORD{0, y}, &read);
      }
    }
    return cells;
  }

  CONSOLE_SCREEN_BUFFER_INFO info() const {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    GetConsoleScreenBufferInfo(m_buffer, &info);
    return info;
  }

 private:
  DWORD m_which;
  HANDLE m_saved;
  HANDLE m_buffer;
};

// The timestamp of a console line: 22 units, "[YYYY-MM-DD hh:mm:ss] ".
const std::wregex kStamp(LR"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\] )");

// Both buffers exist and the standard handles name them: the process has a console.
class OnConsole : public testing::Test {
 protected:
  void SetUp() override {
    DWORD mode = 0;
    ASSERT_TRUE(out.ok() && err.ok()) << "no console: run this on a terminal";
    ASSERT_TRUE(GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode));
  }
  ScreenBuffer out{STD_OUTPUT_HANDLE};
  ScreenBuffer err{STD_ERROR_HANDLE};
};

// One line per accepted entry, each written whole in its level's colour on standard
// output below warn and standard error from warn up, and the colour in force before
// it in force again after it. Every unit of the line reaches the console as it is:
// surrogates, lone or paired, and a 0 unit too (the count is the line's units).
TEST_F(OnConsole, EachLineInItsLevelsColourOnItsStreamThenTheColourBefore) {
  struct Case {
    int level;
    WORD attribute;
  };
  const Case cases[] = {{-1, 0}, {0, 7},  {1, 2},  {2, 11}, {3, 10},
                        {4, 4},  {5, 12}, {6, 12}, {9, 0}};
  const unsigned long long id = Log::RegisterConsoleLogger(static_cast<Log::Level>(-1));
  for (const Case& c : cases) {
    Log::Add(static_cast<Log::Level>(c.level), L"level " + std::to_wstring(c.level),
             nullptr, 0, nullptr);
  }
  const std::wstring pair = {L'p', L' ', 0xD83D, 0xDE00, L' ', 0xDC00};
  Log::Add(Log::info, pair, nullptr, 0, nullptr);
  Log::Add(Log::error, std::wstring(L"cut\0off", 7), nullptr, 0, nullptr);
  Log::UnregisterCallback(id);

  SHORT out_row = 0, err_row = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.level);
    const ScreenBuffer& buffer = c.level < Log::warn ? out : err;
    std::vector<WORD> attributes;
    const std::wstring line =
        buffer.row(c.level < Log::warn ? out_row++ : err_row++, &attributes);
    ASSERT_EQ(line.size(), 22 + 6 + std::to_wstring(c.level).size());
    EXPECT_TRUE(std::regex_match(line.substr(0, 22), kStamp));
    EXPECT_EQ(line.substr(22), L"level " + std::to_wstring(c.level));
    EXPECT_EQ(std::count(attributes.begin(), attributes.end(), c.attribute),
              static_cast<std::ptrdiff_t>(line.size()));
  }
  EXPECT_EQ(out.row(out_row++).substr(22), pair);
  EXPECT_EQ(err.row(err_row++).substr(22), std::wstring(L"cut\0off", 7));
  for (const ScreenBuffer* buffer : {&out, &err}) {
    const CONSOLE_SCREEN_BUFFER_INFO info = buffer->info();
    EXPECT_EQ(info.wAttributes, kBefore);
    EXPECT_EQ(info.dwCursorPosition.X, 0);
    EXPECT_EQ(info.dwCursorPosition.Y, buffer == &out ? out_row : err_row);
  }
}

// Four threads log 100 lines each, the even ones at info and the odd ones at warn:
// every row of each buffer holds one whole line of its threads in its level's colour.
TEST_F(OnConsole, LinesFromSeveralThreadsStayWholeAndKeepTheirColour) {
  const unsigned long long id = Log::RegisterConsoleLogger(Log::trace);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int n = 0; n < 100; ++n) {
        Log::Add(t % 2 ? Log::warn : Log::info,
                 L"thread " + std::to_wstring(t) + L" line " + std::to_wstring(n) + L" " +
                     std::wstring(40, L'x'),
                 nullptr, 0, nullptr);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  Log::UnregisterCallback(id);

  for (int parity : {0, 1}) {
    SCOPED_TRACE(parity);
    const ScreenBuffer& buffer = parity == 0 ? out : err;
    const WORD attribute = parity == 0 ? 10 : 4;
    const std::wregex pattern(LR"(\[[-0-9: ]{19}\] thread (\d) line (\d+) x{40})");
    std::vector<std::wstring> seen;
    for (SHORT y = 0; y < 200; ++y) {
      std::vector<WORD> attributes;
      const std::wstring line = buffer.row(y, &attributes);
      std::wsmatch match;
      ASSERT_TRUE(std::regex_match(line, match, pattern)) << "row " << y;
      EXPECT_EQ((match[1].str()[0] - L'0') % 2, parity);
      EXPECT_EQ(std::count(attributes.begin(), attributes.end(), attribute),
                static_cast<std::ptrdiff_t>(line.size()));
      seen.push_back(line.substr(22));
    }
    EXPECT_TRUE(buffer.row(200).empty());
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::unique(seen.begin(), seen.end()), seen.end());
    EXPECT_EQ(buffer.info().wAttributes, kBefore);
  }
}

struct Output {
  DWORD status = 1;
  std::string out;
  std::string err;
};

std::string read_file(const std::wstring& path) {
  std::ostringstream text;
  text << std::ifstream(path.c_str(), std::ios::binary).rdbuf();
  DeleteFileW(path.c_str());
  return text.str();
}

// Runs the child host program with `arguments` and its standard output and error
// redirected to files of the temporary folder.
Output run_child(const std::wstring& arguments) {
  wchar_t folder[MAX_PATH + 1];
  GetTempPathW(MAX_PATH + 1, folder);
  const std::wstring out_path = std::wstring(folder) + L"gravok_console_out.txt";
  const std::wstring err_path = std::wstring(folder) + L"gravok_console_err.txt";
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  const auto create = [&](const std::wstring& path) {
    return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                       CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  };
  const HANDLE out = create(out_path), err = create(err_path);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = out;
  startup.hStdError = err;
  std::string child = GRAVOK_CONSOLE_CHILD;
  std::wstring command =
      L"\"" + std::wstring(child.begin(), child.end()) + L"\" " + arguments;
  PROCESS_INFORMATION process{};
  Output output;
  if (CreateProcessW(nullptr, &command[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                     &startup, &process)) {
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &output.status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  CloseHandle(out);
  CloseHandle(err);
  output.out = read_file(out_path);
  output.err = read_file(err_path);
  return output;
}

// `text` with every timestamp replaced by "[T] ".
std::string unstamped(const std::string& text) {
  return std::regex_replace(text, std::regex(R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\] )"),
                            "[T] ");
}

// With its output in files, the child's lines go through the wide standard streams
// by level, in text mode (CR LF) and without any colour code. The streams convert with
// the C locale: "\u00e9" has a byte there, "\u20ac" has none, so the stream fails at
// it and the rest of that line is lost; the stream is reset, and the next line is
// written whole, its 0 unit included. Each console logger registered prints its own
// copy.
TEST(Redirected, LinesReachTheFilesThroughTheWideStreamsByLevel) {
  using namespace std::string_literals;
  const Output levels = run_child(L"levels 3");
  ASSERT_EQ(levels.status, 0u) << levels.err;
  EXPECT_EQ(unstamped(levels.out),
            "host before\r\n[T] info 3 caf\xE9 [T] cut\0off\r\nhost after\r\n"s);
  EXPECT_EQ(unstamped(levels.err),
            "[T] warn 4 caf\xE9 [T] error 5 caf\xE9 [T] fatal 6 caf\xE9 "
            "[T] unknown 9 caf\xE9 ");
  const Output twice = run_child(L"twice");
  ASSERT_EQ(twice.status, 0u) << twice.err;
  EXPECT_EQ(unstamped(twice.out), "[T] a\r\n[T] a\r\n[T] b\r\n");
  EXPECT_EQ(twice.err, "");
}

}  // namespace
