// The console logger seen from outside: a child host program prints through it with
// its output redirected to files or on a pseudo-terminal, and the tests read what
// arrived.
#include <gravok/log.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

using Lines = std::vector<std::string>;

struct Output {
  int status = -1;  // the child's exit status, or -1 when it did not exit normally
  std::string out;  // what reached standard output (the terminal, on a pty)
  std::string err;  // what reached standard error
};

std::string temp_path(const std::string& name) {
  return testing::TempDir() + "gravok_console_" + std::to_string(getpid()) + "_" + name;
}

std::string read_and_remove(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  std::remove(path.c_str());
  return text.str();
}

// argv for the child program, pointing into `args`.
std::vector<char*> child_argv(std::vector<std::string>& args) {
  args.insert(args.begin(), GRAVOK_CONSOLE_CHILD);
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  return argv;
}

int exit_status(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs the child with standard output and standard error redirected to files.
Output run_redirected(std::vector<std::string> args) {
  const std::string out_path = temp_path("out");
  const std::string err_path = temp_path("err");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, out_path.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, err_path.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  std::vector<char*> argv = child_argv(args);
  pid_t pid = 0;
  const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  Output output;
  if (spawned != 0) return output;
  output.status = exit_status(pid);
  output.out = read_and_remove(out_path);
  output.err = read_and_remove(err_path);
  return output;
}

// Runs the child on a new pseudo-terminal; its standard error goes to a file when
// `error_to_file`, else to the terminal too. The terminal's line feeds come back as
// "\r\n" and are turned into "\n" again.
Output run_on_terminal(std::vector<std::string> args, bool error_to_file) {
  const std::string err_path = temp_path("pty_err");
  std::vector<char*> argv = child_argv(args);
  int terminal = -1;
  const pid_t pid = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (pid == 0) {
    if (error_to_file) {
      const int file = open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      dup2(file, 2);
      close(file);
    }
    execv(argv[0], argv.data());
    _exit(127);
  }
  Output output;
  if (pid < 0) return output;
  char buffer[4096];
  for (;;) {
    const ssize_t got = read(terminal, buffer, sizeof buffer);
    if (got > 0) {
      output.out.append(buffer, static_cast<std::size_t>(got));
    } else if (got < 0 && errno == EINTR) {
      continue;
    } else {
      break;  // EIO once the child has closed its side
    }
  }
  close(terminal);
  output.status = exit_status(pid);
  output.out = std::regex_replace(output.out, std::regex("\r\n"), "\n");
  if (error_to_file) output.err = read_and_remove(err_path);
  return output;
}

Lines split_lines(const std::string& text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

const char* const kStamp = R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\] )";

// The pattern of a plain console line: the timestamp, then `message`.
std::string stamped(const std::string& message) { return kStamp + message; }

// A terminal line: the colour, the timestamp and message, the reset.
std::string coloured(const std::string& code, const std::string& message) {
  return "\x1b\\[" + code + "m" + stamped(message) + "\x1b\\[0m";
}

// Checks that the lines of `text` match `patterns` one by one; a pattern "=text"
// stands for a line of exactly that text (the host's own output).
void expect_lines(const std::string& text, const Lines& patterns) {
  const Lines lines = split_lines(text);
  ASSERT_EQ(lines.size(), patterns.size()) << text;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    SCOPED_TRACE(i);
    if (patterns[i].rfind('=', 0) == 0) {
      EXPECT_EQ(lines[i], patterns[i].substr(1));
    } else {
      EXPECT_TRUE(std::regex_match(lines[i], std::regex(patterns[i]))) << lines[i];
    }
  }
  EXPECT_TRUE(text.empty() || text.back() == '\n');
}

const std::string kCafe =
    " caf\xC3\xA9 \xE2\x82\xAC";  // the UTF-8 of every message's tail

TEST(Console, RedirectedLinesArePlainUtf8SplitByLevel) {
  const Output output = run_redirected({"levels", "3"});
  ASSERT_EQ(output.status, 0) << output.err;
  expect_lines(output.out, {"=host before", stamped("info 3" + kCafe), stamped("cut"),
                            "=host after"});
  expect_lines(output.err, {stamped("warn 4" + kCafe), stamped("error 5" + kCafe),
                            stamped("fatal 6" + kCafe), stamped("unknown 9" + kCafe)});
  EXPECT_EQ(output.out.find('\x1b'), std::string::npos);
  EXPECT_EQ(output.err.find('\x1b'), std::string::npos);
}

TEST(Console, LevelsBelowWarnGoToStandardOutput) {
  const Output output = run_redirected({"levels", "-1"});
  ASSERT_EQ(output.status, 0) << output.err;
  expect_lines(output.out,
               {"=host before", stamped("unknown -1" + kCafe), stamped("trace 0" + kCafe),
                stamped("debug 1" + kCafe), stamped("timing 2" + kCafe),
                stamped("info 3" + kCafe), stamped("cut"), "=host after"});
  expect_lines(output.err, {stamped("warn 4" + kCafe), stamped("error 5" + kCafe),
                            stamped("fatal 6" + kCafe), stamped("unknown 9" + kCafe)});
}

TEST(Console, EachRegistrationPrintsItsOwnCopy) {
  const Output output = run_redirected({"twice"});
  ASSERT_EQ(output.status, 0) << output.err;
  expect_lines(output.out, {stamped("a"), stamped("a"), stamped("b")});
  EXPECT_EQ(output.err, "");
}

TEST(Console, TerminalGetsColourBeforeAndResetAfterEachLine) {
  const Output output = run_on_terminal({"levels", "-1"}, true);
  ASSERT_EQ(output.status, 0) << output.err;
  expect_lines(output.out,
               {"=host before", coloured("39", "unknown -1" + kCafe),
                coloured("37", "trace 0" + kCafe), coloured("32", "debug 1" + kCafe),
                coloured("96", "timing 2" + kCafe), coloured("92", "info 3" + kCafe),
                coloured("92", "cut"), "=host after"});
  // Standard error is a file here: plain lines, whatever standard output is.
  expect_lines(output.err, {stamped("warn 4" + kCafe), stamped("error 5" + kCafe),
                            stamped("fatal 6" + kCafe), stamped("unknown 9" + kCafe)});
  EXPECT_EQ(output.err.find('\x1b'), std::string::npos);
}

TEST(Console, TerminalColoursStandardErrorToo) {
  const Output output = run_on_terminal({"levels", "4"}, false);
  ASSERT_EQ(output.status, 0);
  expect_lines(output.out,
               {"=host before", coloured("31", "warn 4" + kCafe),
                coloured("91", "error 5" + kCafe), coloured("91", "fatal 6" + kCafe),
                coloured("39", "unknown 9" + kCafe), "=host after"});
}

// The thread and line number of a line "<timestamp>thread T line N xxx...", with 40
// x at the end; false when the line is not one whole such line.
bool parse_thread_line(const std::string& line, int& thread, int& number) {
  if (line.size() < 22 || line[0] != '[' || line.compare(20, 2, "] ") != 0) return false;
  int used = 0;
  if (std::sscanf(line.c_str() + 22, "thread %d line %d %n", &thread, &number, &used) !=
          2 ||
      used == 0) {
    return false;
  }
  return line.compare(22 + static_cast<std::size_t>(used), std::string::npos,
                      std::string(40, 'x')) == 0;
}

// Checks that every line of `text` is one whole line from a thread of `parity`, and
// collects the line numbers of each thread in `seen`.
void check_thread_lines(const std::string& text, int parity,
                        std::map<int, std::set<int>>& seen) {
  std::size_t bad = 0;
  for (const std::string& line : split_lines(text)) {
    int thread = -1;
    int number = -1;
    if (!parse_thread_line(line, thread, number) || thread % 2 != parity) {
      if (++bad <= 3) ADD_FAILURE() << "not a whole line: " << line;
      continue;
    }
    seen[thread].insert(number);
  }
  EXPECT_EQ(bad, 0u);
}

TEST(Console, ConcurrentLinesStayWhole) {
  const Output output = run_redirected({"threads"});
  ASSERT_EQ(output.status, 0) << output.err.substr(0, 4000);
  std::map<int, std::set<int>> seen;
  check_thread_lines(output.out, 0, seen);
  check_thread_lines(output.err, 1, seen);
  ASSERT_EQ(seen.size(), 8u);
  for (const auto& [thread, lines] : seen) {
    EXPECT_EQ(lines.size(), 10000u) << "thread " << thread;
  }
}

}  // namespace
