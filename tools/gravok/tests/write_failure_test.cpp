// Every store of the project, made to fail the ways the system makes a write fail: a
// missing folder, a read-only folder (as a user without root's rights), a full disk (a
// small tmpfs) and a rename that fails (the file's place is taken by a folder that
// holds a file). Each failure reaches the caller as std::system_error with the
// system's code and the what() "cannot write PATH: REASON"; the files that were there
// stay byte for byte and no temporary file is left.
#include "demo_site.h"
#include "project_stores.h"

#include <gravok/gravok.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#if !defined(_WIN32)
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// Every name below `dir` with its bytes ("folder" for a folder); none when `dir` does
// not exist.
using Contents = std::map<std::string, std::string>;
Contents contents_of(const fs::path& dir) {
  Contents contents;
  if (!fs::exists(dir)) return contents;
  for (const auto& entry : fs::recursive_directory_iterator(dir)) {
    std::ifstream in(entry.path(), std::ios::binary);
    contents[fs::relative(entry.path(), dir).generic_string()] =
        entry.is_directory() ? "folder"
                             : std::string(std::istreambuf_iterator<char>(in), {});
  }
  return contents;
}

gvk::Problem small_problem() {
  gvk::Problem p;
  p.mesh.x = {0, 10, 10, 0};
  p.mesh.y = {0, 0, 10, 10};
  p.mesh.z = {1, 2, 3, 4};
  p.mesh.triangles = {{0, 1, 2}, {0, 2, 3}};
  return p;
}

// Copies `problem` into a new store at `location`: "ok", the reasons the store was not
// created, or what the copy threw with its error code's value.
std::string copy_into(const gvk::Problem& problem, const std::string& location) {
  gvk::ProblemSource source(problem);
  std::vector<std::string> reasons;
  std::unique_ptr<gvk::DataStore> store = gvk::createDataStore(location, reasons);
  if (!store) return "not created: " + (reasons.empty() ? "" : reasons[0]);
  try {
    store->copyAllFrom(source);
  } catch (const std::system_error& e) {
    return std::string(e.what()) + " (errno " + std::to_string(e.code().value()) + ")";
  } catch (const std::exception& e) {
    return std::string("other: ") + e.what();
  }
  return "ok";
}

// Runs copy_into in this child process as the user nobody (when it runs as root, who
// may write anything) and prints its outcome.
void copy_as_nobody(const gvk::Problem& problem, const std::string& location) {
  if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
    std::fprintf(stderr, "cannot drop privileges: %s", std::strerror(errno));
    std::_Exit(1);
  }
  std::fprintf(stderr, "%s", copy_into(problem, location).c_str());
  std::_Exit(0);
}

// `text` as a regular expression that matches it alone.
std::string literally(const std::string& text) {
  std::string pattern;
  for (const char c : text) {
    if (std::strchr("\\^$.|?*+()[]{}", c)) pattern += '\\';
    pattern += c;
  }
  return "^" + pattern + "$";
}

// Leaves about one page free on the file system of `folder`.
void fill(const fs::path& folder) {
  struct statvfs room {};
  ASSERT_EQ(statvfs(folder.c_str(), &room), 0);
  const unsigned long long free_bytes =
      static_cast<unsigned long long>(room.f_bavail) * room.f_frsize;
  ASSERT_GT(free_bytes, 4096u);
  std::ofstream(folder / "filler", std::ios::binary)
      << std::string(free_bytes - 4096, 'x');
}

class WriteFailure : public ProjectStores {
 protected:
  void SetUp() override {
    m_dir = fs::path(testing::TempDir()) /
            ("gravok_write_failure_" + std::to_string(getpid()));
    fs::remove_all(m_dir);
    fs::create_directories(m_dir);
    fs::permissions(m_dir, fs::perms::all);  // the user nobody passes through
  }
  void TearDown() override {
    if (m_mounted) umount((m_dir / "full").c_str());
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(m_dir, ignored))
      fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(m_dir, ignored);
  }

  // A tmpfs of 64 KiB at m_dir/full, or false when mounting one is not allowed here.
  bool mount_small_disk(std::string& why_not) {
    fs::create_directories(m_dir / "full");
    m_mounted = mount("tmpfs", (m_dir / "full").c_str(), "tmpfs", 0, "size=64k") == 0;
    if (!m_mounted) why_not = std::strerror(errno);
    return m_mounted;
  }

  fs::path m_dir;
  bool m_mounted = false;
};

// The files of a store at `path`: the pair of a .node store, the file itself otherwise.
std::vector<fs::path> files_of(const fs::path& path) {
  if (path.extension() != ".node") return {path};
  return {path, fs::path(path).replace_extension(".ele")};
}

// A folder holding "site" + ext as the store wrote it, of a small problem.
void old_file(const fs::path& folder, const std::string& ext) {
  fs::create_directories(folder);
  EXPECT_EQ(copy_into(small_problem(), (folder / ("site" + ext)).string()), "ok");
}

const fs::perms kReadOnly = fs::perms::owner_read | fs::perms::owner_exec |
                            fs::perms::others_read | fs::perms::others_exec;

TEST_F(WriteFailure, EveryStoreFailsLoudlyAndKeepsTheOldFileWithNoTemporaryLeft) {
  std::string why_not;
  const bool full_disk = mount_small_disk(why_not);
  if (!full_disk)
    std::cout << "the full disk is not tested: cannot mount a tmpfs here: " << why_not
              << "\n";
  struct Case {
    std::string failure;  // also the folder's name
    std::function<void(const fs::path& folder, const std::string& ext)> prepare;
    bool as_nobody;      // run by a user without root's rights
    std::string reason;  // the system's, after "PATH: "
    int code;            // the error number; 0: the store refuses the location instead
  };
  const Case cases[] = {
      {"missing folder", [](const fs::path&, const std::string&) {}, false,
       "No such file or directory", ENOENT},
      {"read-only folder",
       [](const fs::path& folder, const std::string& ext) {
         old_file(folder, ext);
         fs::permissions(folder, kReadOnly);
       },
       true, "Permission denied", EACCES},
      // In a folder where everyone may create files but only a file's owner may
      // replace it (the sticky bit, as on /tmp), the rename over root's file fails.
      {"failing rename",
       [](const fs::path& folder, const std::string& ext) {
         old_file(folder, ext);
         for (const fs::path& file : files_of(folder / ("site" + ext)))
           fs::permissions(
               file, fs::perms::all & ~(fs::perms::owner_exec | fs::perms::group_exec |
                                        fs::perms::others_exec));
         fs::permissions(folder, fs::perms::all | fs::perms::sticky_bit);
       },
       true, "Operation not permitted", EPERM},
      {"full disk",
       [](const fs::path& folder, const std::string& ext) {
         for (const auto& entry : fs::directory_iterator(folder)) fs::remove_all(entry);
         old_file(folder, ext);
         fill(folder);
       },
       false, "No space left on device", ENOSPC},
      // A folder where the file should be is refused before anything is written (or,
      // by a store that does not look first, when its rename fails).
      {"folder in its place",
       [](const fs::path& folder, const std::string& ext) {
         fs::create_directories(folder / ("site" + ext) / "inside");
       },
       false, "Is a directory", 0},
  };
  // Large enough to overflow the full disk in every format.
  const gvk::Problem problem = gravok_tool::demo_site(30);
  for (const std::string& ext : store_extensions()) {
    for (const Case& c : cases) {
      SCOPED_TRACE(c.failure + ", " + ext);
      if (c.failure == "full disk" && !full_disk) continue;
      const fs::path folder =
          m_dir / (c.failure == "full disk" ? "full" : c.failure + ext);
      c.prepare(folder, ext);
      const std::string path = (folder / ("site" + ext)).string();
      const Contents before = contents_of(folder);
      const std::string expected = "cannot write " + path + ": " + c.reason + " (errno " +
                                   std::to_string(c.code) + ")";
      if (c.as_nobody) {
        EXPECT_EXIT(copy_as_nobody(problem, path), testing::ExitedWithCode(0),
                    literally(expected));
      } else if (c.code) {
        EXPECT_EQ(copy_into(problem, path), expected);
      } else {
        const std::string outcome = copy_into(problem, path);
        EXPECT_NE(outcome.find(path + ": " + c.reason), std::string::npos) << outcome;
      }
      EXPECT_EQ(contents_of(folder), before);
    }
  }
}

// A .node/.ele pair is two files: when the .ele cannot be replaced after the .node
// was, the old .node is put back, so that the pair never mixes two meshes.
TEST_F(WriteFailure, APairWhoseSecondFileCannotBeWrittenKeepsItsFirst) {
  const fs::path folder = m_dir / "pair";
  old_file(folder, ".node");
  fs::permissions(folder, fs::perms::all);
  fs::permissions(folder / "site.node",
                  fs::perms::all & ~(fs::perms::owner_exec | fs::perms::group_exec |
                                     fs::perms::others_exec));
  fs::permissions(folder / "site.ele", fs::perms::owner_read | fs::perms::others_read);
  const Contents before = contents_of(folder);
  EXPECT_EXIT(copy_as_nobody(gravok_tool::demo_site(4), (folder / "site.node").string()),
              testing::ExitedWithCode(0),
              literally("cannot write " + (folder / "site.ele").string() +
                        ": Permission denied (errno 13)"));
  EXPECT_EQ(contents_of(folder), before);
}

}  // namespace
#endif
