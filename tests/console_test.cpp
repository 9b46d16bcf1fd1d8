// The console logger seen from outside: a child host program prints through it with
// its output redirected to files or on a pseudo-terminal, and the tests read what
// arrived.
#include <gravok/log.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

struct Output {
  int status = -1;  // the child's exit status, or -1 when it did not exit normally
  std::string out;  // what reached standard output (the terminal, on a pty)
  std::string err;  // what reached standard error (the terminal too, if it was one)
};

std::string read_and_remove(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  std::remove(path.c_str());
  return text.str();
}

// Runs the child program with `args`. Standard output goes to a new pseudo-terminal
// when `out_on_terminal`, else to a file; standard error goes to that terminal when
// `err_on_terminal`, else to a file. The terminal's line feeds come back as "\r\n"
// and are turned into "\n" again.
Output run_child(std::vector<std::string> args, bool out_on_terminal,
                 bool err_on_terminal) {
  const std::string prefix =
      testing::TempDir() + "gravok_console_" + std::to_string(getpid());
  const std::string out_path = prefix + "_out", err_path = prefix + "_err";
  args.insert(args.begin(), GRAVOK_CONSOLE_CHILD);
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  int terminal = -1;
  const pid_t pid =
      out_on_terminal ? forkpty(&terminal, nullptr, nullptr, nullptr) : fork();
  if (pid == 0) {
    auto redirect = [](int stream, const std::string& path) {
      const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      dup2(file, stream);
      close(file);
    };
    if (!out_on_terminal) redirect(1, out_path);
    if (!err_on_terminal) redirect(2, err_path);
    execv(argv[0], argv.data());
    _exit(127);
  }
  Output output;
  if (pid < 0) return output;
  char buffer[4096];
  while (terminal >= 0) {
    const ssize_t got = read(terminal, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;  // EIO once the child has closed its side
    output.out.append(buffer, static_cast<std::size_t>(got));
  }
  if (terminal >= 0) close(terminal);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  output.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  output.out = out_on_terminal ? std::regex_replace(output.out, std::regex("\r\n"), "\n")
                               : read_and_remove(out_path);
  if (!err_on_terminal) output.err = read_and_remove(err_path);
  return output;
}

Lines split_lines(const std::string& text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// Checks that the lines of `text` match `patterns` one by one, and that the text
// ends with a line feed.
void expect_lines(const std::string& text, const Lines& patterns) {
  const Lines lines = split_lines(text);
  ASSERT_EQ(lines.size(), patterns.size()) << text;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    EXPECT_TRUE(std::regex_match(lines[i], std::regex(patterns[i]))) << lines[i];
  }
  EXPECT_TRUE(text.empty() || text.back() == '\n');
}

// The pattern of a console line: the timestamp and `message`, wrapped in the ANSI
// colour `code` and the reset when `code` is not empty.
std::string stamped(const std::string& message, const std::string& code = "") {
  const std::string plain = R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\] )" + message;
  return code.empty() ? plain : "\x1b\\[" + code + "m" + plain + "\x1b\\[0m";
}

// What "console_child levels" prints at the levels from `first` to `last` of its
// list -1, 0, ..., 6, 9 (each message ending in the same non-ASCII text, as UTF-8),
// then its info entry that a 0 unit cuts to "cut" when the range holds info; each line
// in its level's colour when `coloured`.
Lines entries(int first, int last, bool coloured) {
  const char* const names[] = {"unknown -1", "trace 0", "debug 1", "timing 2", "info 3",
                               "warn 4",     "error 5", "fatal 6", "unknown 9"};
  const char* const codes[] = {"39", "37", "32", "96", "92", "31", "91", "91", "39"};
  Lines lines;
  for (int i = first; i <= last; ++i) {
    lines.push_back(stamped(names[i] + std::string(" caf\xC3\xA9 \xE2\x82\xAC"),
                            coloured ? codes[i] : ""));
  }
  if (first <= 4 && 4 <= last) lines.push_back(stamped("cut", coloured ? "92" : ""));
  return lines;
}

// `lines` between the host's own lines before and after them.
Lines host_around(Lines lines) {
  lines.insert(lines.begin(), "host before");
  lines.push_back("host after");
  return lines;
}

// Plain UTF-8 lines wherever a stream is not a terminal, the level's colour and a
// reset around each line where it is; levels below warn on standard output, the
// others on standard error; a message ends at its first 0 unit ("cut"); each console
// logger registered prints its own copy.
TEST(Console, ColoursOnlyTerminalLinesAndSplitsLevelsBetweenStreams) {
  struct Case {
    std::string name;
    Output output;
    Lines out;
    Lines err;
  };
  const Case cases[] = {
      {"redirected", run_child({"levels", "-1"}, false, false),
       host_around(entries(0, 4, false)), entries(5, 8, false)},
      {"output on a terminal", run_child({"levels", "-1"}, true, false),
       host_around(entries(0, 4, true)), entries(5, 8, false)},
      {"both on a terminal", run_child({"levels", "4"}, true, true),
       host_around(entries(5, 8, true)), Lines()},
      {"registered twice",
       run_child({"twice"}, false, false),
       {stamped("a"), stamped("a"), stamped("b")},
       Lines()},
      // A pair is its one four-byte character, as the Windows console shows it; a
      // surrogate without its partner is U+FFFD; so is an element beyond Unicode.
      {"surrogates",
       run_child({"surrogates"}, false, false),
       {stamped("pair \xF0\x9F\x98\x80 end"),
        // The first and the last pair: U+10000 and U+10FFFF.
        stamped("edges \xF0\x90\x80\x80 \xF4\x8F\xBF\xBF"),
        stamped("lone \xEF\xBF\xBD a \xEF\xBF\xBD\xEF\xBF\xBD \xEF\xBF\xBD"),
        stamped("wide \xF0\x9F\x98\x80 \xEF\xBF\xBD")},
       Lines()},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(c.output.status, 0) << c.output.err;
    expect_lines(c.output.out, c.out);
    expect_lines(c.output.err, c.err);
  }
}

// Eight threads log 10000 lines each, "thread T line N " and 40 x, the even threads
// at info and the odd ones at warn: each stream gets exactly its threads' lines, each
// whole and time-stamped.
TEST(Console, ConcurrentLinesStayWhole) {
  const Output output = run_child({"threads"}, false, false);
  ASSERT_EQ(output.status, 0) << output.err.substr(0, 4000);
  for (int parity : {0, 1}) {
    Lines expected;
    for (int t = parity; t < 8; t += 2) {
      for (int n = 0; n < 10000; ++n) {
        expected.push_back("thread " + std::to_string(t) + " line " + std::to_string(n) +
                           " " + std::string(40, 'x'));
      }
    }
    Lines lines = split_lines(parity == 0 ? output.out : output.err);
    for (std::string& line : lines) {
      const bool stamped =
          line.size() >= 22 && line[0] == '[' && line.compare(20, 2, "] ") == 0;
      line = stamped ? line.substr(22) : "no timestamp: " + line;
    }
    std::sort(expected.begin(), expected.end());
    std::sort(lines.begin(), lines.end());
    const auto differ =
        std::mismatch(lines.begin(), lines.end(), expected.begin(), expected.end());
    EXPECT_TRUE(differ.first == lines.end() && differ.second == expected.end())
        << "stream " << parity + 1 << " has " << lines.size()
        << " lines; first difference: "
        << (differ.first == lines.end() ? "(end)" : *differ.first);
  }
}

}  // namespace
