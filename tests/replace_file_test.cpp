#include <gravok/replace_file.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

#if !defined(_WIN32)
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>
#include <csignal>
#endif

namespace {

namespace fs = std::filesystem;

std::string read_text(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void write_text(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// Every name below `dir`, so that a test sees a temporary file left behind anywhere.
std::set<std::string> names_below(const fs::path& dir) {
  std::set<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(dir))
    names.insert(fs::relative(entry.path(), dir).generic_string());
  return names;
}

std::function<void(std::FILE*)> writes(const std::string& text) {
  return [text](std::FILE* file) { std::fwrite(text.data(), 1, text.size(), file); };
}

// What a replace_file call ended with: "ok", or the exception's what() and code.
struct Outcome {
  std::string what = "ok";
  std::error_code code;
};

Outcome attempt(const std::string& path, const std::function<void(std::FILE*)>& write) {
  Outcome outcome;
  try {
    gvk::replace_file(path, write);
  } catch (const std::system_error& e) {
    outcome.what = e.what();
    outcome.code = e.code();
  } catch (const std::exception& e) {
    outcome.what = std::string("other: ") + e.what();
  }
  return outcome;
}

class ReplaceFile : public testing::Test {
 protected:
  void SetUp() override {
    m_dir = fs::temp_directory_path() /
            ("gravok-replace-" + std::to_string(reinterpret_cast<std::uintptr_t>(this)) +
             "-" + testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(m_dir);
    fs::create_directories(m_dir);
  }
  void TearDown() override {
    std::error_code ignored;
    fs::permissions(m_dir, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(m_dir, ignored);
  }
  fs::path m_dir;
};

TEST_F(ReplaceFile, WritesANewFileAndReplacesAnOldOneWhole) {
  const fs::path path = m_dir / "site.txt";
  EXPECT_EQ(attempt(path.string(), writes("first")).what, "ok");
  EXPECT_EQ(read_text(path), "first");
  EXPECT_EQ(attempt(path.string(), writes("2nd")).what, "ok");
  EXPECT_EQ(read_text(path), "2nd");  // shorter text: nothing of the old one remains
  EXPECT_EQ(names_below(m_dir), (std::set<std::string>{"site.txt"}));
}

#if !defined(_WIN32)
TEST_F(ReplaceFile, KeepsTheOldFilesPermissionsAndReplacesTheTargetOfALink) {
  const fs::path target = m_dir / "target.txt";
  const fs::path link = m_dir / "link.txt";
  write_text(target, "old");
  fs::permissions(target,
                  fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  fs::create_symlink("target.txt", link);
  EXPECT_EQ(attempt(link.string(), writes("new")).what, "ok");
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(read_text(target), "new");
  EXPECT_EQ(fs::status(target).permissions(),
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}
#endif

TEST_F(ReplaceFile, FailsWithTheSystemsReasonAndLeavesTheOldFileAndNoTemporary) {
  write_text(m_dir / "old.txt", "old");
  write_text(m_dir / "plain", "a file, not a folder");
  fs::create_directories(m_dir / "folder" / "inside");
  struct Case {
    std::string name;  // below m_dir
    std::function<void(std::FILE*)> write;
    std::string reason;  // what() after "cannot write PATH"; "" for an exception of write
    std::errc code;
  };
  const Case cases[] = {
      {"missing/out.txt", writes("x"), ": No such file or directory",
       std::errc::no_such_file_or_directory},
      {"plain/out.txt", writes("x"), ": Not a directory", std::errc::not_a_directory},
      // The rename fails: a folder cannot be replaced by a file.
      {"folder", writes("x"), ": Is a directory", std::errc::is_a_directory},
      {"old.txt",
       [](std::FILE* file) {
         std::fputs("half of it", file);
         throw std::runtime_error("the data ran out");
       },
       "", std::errc{}},
  };
  const std::set<std::string> before = names_below(m_dir);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string path = (m_dir / c.name).string();
    const Outcome outcome = attempt(path, c.write);
    if (c.reason.empty()) {
      EXPECT_EQ(outcome.what, "other: the data ran out");
    } else {
#if defined(_WIN32)
      // Windows words its reasons its own way and reports a failed rename by its own
      // code.
      EXPECT_EQ(outcome.what.rfind("cannot write " + path + ": ", 0), 0u) << outcome.what;
      EXPECT_TRUE(outcome.code) << outcome.what;
#else
      EXPECT_EQ(outcome.what, "cannot write " + path + c.reason);
      EXPECT_EQ(outcome.code, std::make_error_code(c.code));
#endif
    }
    EXPECT_EQ(names_below(m_dir), before);
    EXPECT_EQ(read_text(m_dir / "old.txt"), "old");
  }
}

#if !defined(_WIN32)
// Runs `body` in a child process that has given up root's privileges (as the user and
// group nobody, 65534) when the test runs as root, and prints its outcome on stderr.
void as_unprivileged_child(const std::function<std::string()>& body) {
  if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
    std::fprintf(stderr, "cannot drop privileges: %s", std::strerror(errno));
    std::_Exit(1);
  }
  std::fprintf(stderr, "%s", body().c_str());
  std::_Exit(0);
}

// A read-only folder and a read-only file, each as a user without the right to write
// them: as root the test drops privileges first, since root may write anything.
TEST_F(ReplaceFile, RefusesReadOnlyFoldersAndFilesWithPermissionDenied) {
  const fs::path folder = m_dir / "read-only";
  fs::create_directories(folder);
  write_text(folder / "old.txt", "old");
  fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec |
                              fs::perms::group_read | fs::perms::group_exec |
                              fs::perms::others_read | fs::perms::others_exec);
  const fs::path open_folder = m_dir / "open";
  fs::create_directories(open_folder);
  fs::permissions(open_folder, fs::perms::all);
  write_text(open_folder / "old.txt", "old");
  fs::permissions(open_folder / "old.txt",
                  fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
  fs::permissions(m_dir, fs::perms::others_exec | fs::perms::group_exec,
                  fs::perm_options::add);
  for (const fs::path& path :
       {folder / "old.txt", folder / "new.txt", open_folder / "old.txt"}) {
    SCOPED_TRACE(path.string());
    EXPECT_EXIT(
        as_unprivileged_child([&] { return attempt(path.string(), writes("new")).what; }),
        testing::ExitedWithCode(0),
        "^cannot write " + path.string() + ": Permission denied$");
  }
  EXPECT_EQ(read_text(folder / "old.txt"), "old");
  EXPECT_EQ(read_text(open_folder / "old.txt"), "old");
  EXPECT_EQ(
      names_below(m_dir),
      (std::set<std::string>{"open", "open/old.txt", "read-only", "read-only/old.txt"}));
}

// A full disk is a tmpfs of 16 KiB mounted for the test; mounting one takes root (or
// CAP_SYS_ADMIN), and the test says so and is skipped where it cannot mount.
TEST_F(ReplaceFile, ReportsAFullDiskAndKeepsTheOldFile) {
  const fs::path small = m_dir / "small";
  fs::create_directories(small);
  if (mount("tmpfs", small.c_str(), "tmpfs", 0, "size=16k") != 0) {
    GTEST_SKIP() << "cannot mount a tmpfs to fill here: " << std::strerror(errno);
  }
  struct Unmount {
    const fs::path& at;
    ~Unmount() { umount(at.c_str()); }
  } unmount{small};
  write_text(small / "old.txt", "old");
  const Outcome outcome =
      attempt((small / "old.txt").string(), writes(std::string(64 * 1024, 'x')));
  EXPECT_EQ(outcome.what,
            "cannot write " + (small / "old.txt").string() + ": No space left on device");
  EXPECT_EQ(outcome.code, std::errc::no_space_on_device);
  EXPECT_EQ(read_text(small / "old.txt"), "old");
  EXPECT_EQ(names_below(small), (std::set<std::string>{"old.txt"}));
}

// Writes 64 KiB to `path` under a limit of 4 KiB per file and prints the outcome.
void write_beyond_a_size_limit(const std::string& path) {
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{4096, 4096};
  setrlimit(RLIMIT_FSIZE, &limit);
  std::fprintf(stderr, "%s",
               attempt(path, writes(std::string(64 * 1024, 'x'))).what.c_str());
  std::_Exit(0);
}

// A limit on the size of files makes a write fail part of the way through, as a full
// disk does, without needing a disk to fill.
TEST_F(ReplaceFile, ReportsAWriteThatFailsPartOfTheWay) {
  const fs::path path = m_dir / "old.txt";
  write_text(path, "old");
  EXPECT_EXIT(write_beyond_a_size_limit(path.string()), testing::ExitedWithCode(0),
              "^cannot write " + path.string() + ": File too large$");
  EXPECT_EQ(read_text(path), "old");
  EXPECT_EQ(names_below(m_dir), (std::set<std::string>{"old.txt"}));
}
#endif

}  // namespace
