// Plug-in discovery as a host meets it: folders of modules copied next to broken ones,
// the same module under a second name, and folders that other users could change.
#include <gravok/plugin.h>
#include <gravok/providers.h>

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <grp.h>
#include <pwd.h>
#include <unistd.h>
#endif

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using gvk::PluginLoadResult;
using Names = std::vector<std::string>;

#if defined(_WIN32)
const char* const kSuffix = ".dll";
#else
const char* const kSuffix = ".so";
#endif

// A fresh folder under the system's temporary folder, removed again at the end, with
// the modes of a folder that only its owner writes.
class TempFolder {
 public:
  TempFolder() {
    std::random_device random;
    m_path = fs::temp_directory_path() / ("gravok-plugins-" + std::to_string(random()));
    fs::create_directories(m_path);
    fs::permissions(m_path, fs::perms::owner_all | fs::perms::group_read |
                                fs::perms::group_exec | fs::perms::others_read |
                                fs::perms::others_exec);
  }
  ~TempFolder() {
    std::error_code ignored;
    fs::permissions(m_path, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(m_path, ignored);
  }
  const fs::path& path() const { return m_path; }
  std::string string() const { return m_path.u8string(); }
  // Copies the module `from` into this folder as `name`, writable by its owner alone.
  fs::path add(const char* from, const std::string& name) const {
    const fs::path to = m_path / name;
    fs::copy_file(from, to);
    fs::permissions(to, fs::perms::owner_read | fs::perms::owner_write |
                            fs::perms::owner_exec | fs::perms::group_read |
                            fs::perms::others_read);
    return to;
  }

 private:
  fs::path m_path;
};

Names paths_of(const std::vector<gvk::PluginLoadMessage>& messages) {
  Names paths;
  for (const gvk::PluginLoadMessage& m : messages) paths.push_back(m.path);
  return paths;
}

Names module_paths(const PluginLoadResult& result) {
  Names paths;
  for (const auto& module : result.modules) paths.push_back(module->path());
  return paths;
}

TEST(PluginFolder, LoadsEveryModuleInNameOrderAndReportsTheBrokenOneWithoutStopping) {
  const TempFolder folder;
  const fs::path site = folder.add(GRAVOK_SITE_PLUGIN, std::string("b-site") + kSuffix);
  const fs::path broken = folder.add(GRAVOK_BARE_MODULE, std::string("a-bare") + kSuffix);
  const fs::path faulty =
      folder.add(GRAVOK_FORGETFUL_MODULE, std::string("c-faulty") + kSuffix);
  folder.add(GRAVOK_SITE_PLUGIN, std::string(".hidden") + kSuffix);
  folder.add(GRAVOK_SITE_PLUGIN, "notes.txt");
  fs::create_directory(folder.path() / (std::string("d-folder") + kSuffix));

  PluginLoadResult result;
  EXPECT_EQ(gvk::loadPluginFolder(folder.string(), result), 2);
  EXPECT_EQ(module_paths(result), (Names{site.u8string(), faulty.u8string()}));
  ASSERT_EQ(paths_of(result.failures), Names{broken.u8string()});
  EXPECT_NE(result.failures[0].message.find("not a plug-in module"), std::string::npos)
      << result.failures[0].message;
  EXPECT_TRUE(result.skipped.empty());

  // Each module names the providers it brought.
  EXPECT_EQ(result.modules[0]->source_provider_names(),
            Names{"site-plugin survey sites"});
  EXPECT_EQ(result.modules[0]->store_provider_names(), Names{"site-plugin projects"});
  EXPECT_EQ(result.modules[1]->source_provider_names(), Names{"faulty source"});
  EXPECT_EQ(result.modules[1]->store_provider_names(), Names{"faulty store"});

  // A second pass loads nothing twice; the broken module is reported again.
  PluginLoadResult again;
  EXPECT_EQ(gvk::loadPluginFolder(folder.string(), again), 0);
  EXPECT_TRUE(again.modules.empty());
  EXPECT_EQ(paths_of(again.skipped), (Names{site.u8string(), faulty.u8string()}));
  EXPECT_EQ(paths_of(again.failures), Names{broken.u8string()});

  result = PluginLoadResult();
  EXPECT_EQ(gvk::dataSourceProviderNames(), Names{});
  EXPECT_EQ(gvk::dataStoreProviderNames(), Names{});
}

TEST(PluginFolder, SkipsAModuleLoadedAlreadyUnderAnyOfItsNames) {
  const TempFolder folder;
  const fs::path site = folder.add(GRAVOK_SITE_PLUGIN, std::string("site") + kSuffix);
  PluginLoadResult result;
  ASSERT_TRUE(gvk::loadPluginFile(site.u8string(), result));

  std::vector<fs::path> other_names{site};
#if !defined(_WIN32)
  fs::create_symlink(site, folder.path() / (std::string("link") + kSuffix));
  fs::create_hard_link(site, folder.path() / (std::string("hard") + kSuffix));
  other_names.push_back(folder.path() / (std::string("link") + kSuffix));
  other_names.push_back(folder.path() / (std::string("hard") + kSuffix));
  other_names.push_back(folder.path() / "." / (std::string("site") + kSuffix));
#endif
  for (const fs::path& name : other_names) {
    SCOPED_TRACE(name.u8string());
    PluginLoadResult twice;
    EXPECT_FALSE(gvk::loadPluginFile(name.u8string(), twice));
    ASSERT_EQ(twice.skipped.size(), 1u);
    EXPECT_NE(twice.skipped[0].message.find("loaded already"), std::string::npos);
    EXPECT_TRUE(twice.failures.empty());
    EXPECT_TRUE(twice.modules.empty());
  }
  EXPECT_EQ(result.modules.size(), 1u);
  EXPECT_EQ(result.modules[0]->provider_count(), 2);
}

TEST(PluginFolder, RefusesWhatCannotBeAFolderOfModules) {
  struct Case {
    std::string folder;
    std::string says;
  };
  const TempFolder folder;
  const Case cases[] = {
      {"plugins", "not an absolute path"},
      {"", "not an absolute path"},
      {(folder.path() / "missing").u8string(), "cannot read the plug-in folder"},
      {folder.add(GRAVOK_SITE_PLUGIN, "file").u8string(),
       "cannot read the plug-in folder"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.folder);
    PluginLoadResult result;
    EXPECT_EQ(gvk::loadPluginFolder(c.folder, result), 0);
    ASSERT_EQ(paths_of(result.failures), Names{c.folder});
    EXPECT_NE(result.failures[0].message.find(c.says), std::string::npos)
        << result.failures[0].message;
  }
  PluginLoadResult result;
  EXPECT_FALSE(gvk::loadPluginFile("", result));
  EXPECT_EQ(paths_of(result.failures), Names{""});
}

#if !defined(_WIN32)
// Hands `path` to a group that other users may belong to (not this user's own private
// group); false when this user may not.
bool give_to_shared_group(const fs::path& path) {
  const gid_t nogroup = 65534;
  if (chown(path.c_str(), static_cast<uid_t>(-1), nogroup) == 0) return true;
  gid_t groups[64];
  const int count = getgroups(64, groups);
  for (int i = 0; i < count; ++i) {
    if (groups[i] != getegid() &&
        chown(path.c_str(), static_cast<uid_t>(-1), groups[i]) == 0)
      return true;
  }
  return false;
}

// Whether this user's primary group is a group of its own: named after the user,
// with no other member.
bool has_private_group() {
  const passwd* user = getpwuid(geteuid());
  const group* own = getgrgid(getegid());
  if (!user || !own || std::string(own->gr_name) != user->pw_name) return false;
  for (char** member = own->gr_mem; *member; ++member)
    if (std::string(*member) != user->pw_name) return false;
  return true;
}

TEST(PluginFolder, RefusesModulesAndFoldersThatOtherUsersMayChange) {
  using fs::perms;
  struct Case {
    const char* what;
    fs::path change;  // relative to the outer folder
    perms mode;       // given to `change`
    const char* says;
  };
  const Case cases[] = {
      {"folder writable by all", "plugins", perms::all, "may be written by every user"},
      {"folder writable by its group", "plugins", perms::owner_all | perms::group_all,
       "may be written by the members of its group"},
      {"module writable by all", "plugins/m.so", perms::owner_all | perms::others_write,
       "may be written by every user"},
      {"folder above writable by all", ".", perms::all, "may be written by every user"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const TempFolder outer;
    const fs::path plugins = outer.path() / "plugins";
    fs::create_directory(plugins);
    fs::permissions(plugins, perms::owner_all);
    fs::copy_file(GRAVOK_SITE_PLUGIN, plugins / "m.so");
    fs::permissions(plugins / "m.so", perms::owner_all);
    fs::permissions(outer.path() / c.change, c.mode);
    if ((c.mode & perms::others_write) == perms::none &&
        !give_to_shared_group(outer.path() / c.change)) {
      continue;  // no group but this user's own to hand it to
    }

    PluginLoadResult from_folder, from_file;
    EXPECT_EQ(gvk::loadPluginFolder(plugins.u8string(), from_folder), 0);
    EXPECT_FALSE(gvk::loadPluginFile((plugins / "m.so").u8string(), from_file));
    for (const PluginLoadResult* result : {&from_folder, &from_file}) {
      ASSERT_EQ(result->failures.size(), 1u);
      EXPECT_NE(result->failures[0].message.find(c.says), std::string::npos)
          << result->failures[0].message;
    }
    EXPECT_EQ(gvk::dataSourceProviderNames(), Names{});
  }

  // Writing by a user's private group is writing by the user alone.
  if (has_private_group()) {
    const TempFolder own;
    fs::permissions(own.path(), perms::owner_all | perms::group_all);
    fs::copy_file(GRAVOK_SITE_PLUGIN, own.path() / "m.so");
    fs::permissions(own.path() / "m.so", perms::owner_all | perms::group_write);
    PluginLoadResult result;
    EXPECT_EQ(gvk::loadPluginFolder(own.string(), result), 1);
    EXPECT_TRUE(result.failures.empty()) << result.failures[0].message;
  }

  // A folder above with the sticky bit, as /tmp has it, lets others add entries but
  // not replace ours: the module loads.
  const TempFolder outer;
  fs::permissions(outer.path(), perms::all | perms::sticky_bit);
  fs::copy_file(GRAVOK_SITE_PLUGIN, outer.path() / "m.so");
  fs::permissions(outer.path() / "m.so", perms::owner_all);
  PluginLoadResult sticky;
  EXPECT_TRUE(gvk::loadPluginFile((outer.path() / "m.so").u8string(), sticky));
  // But a folder to search must not be open to all, sticky or not.
  PluginLoadResult open_folder;
  EXPECT_EQ(gvk::loadPluginFolder(outer.string(), open_folder), 0);
  EXPECT_EQ(paths_of(open_folder.failures), Names{outer.string()});
}

TEST(PluginFolder, RefusesAModuleOfAnotherUser) {
  const TempFolder folder;
  const fs::path module = folder.add(GRAVOK_SITE_PLUGIN, "m.so");
  const uid_t nobody = 65534;
  if (geteuid() == nobody || chown(module.c_str(), nobody, static_cast<gid_t>(-1)) != 0)
    GTEST_SKIP() << "handing a file to another user takes root's rights";
  PluginLoadResult result;
  EXPECT_FALSE(gvk::loadPluginFile(module.u8string(), result));
  ASSERT_EQ(result.failures.size(), 1u);
  EXPECT_NE(result.failures[0].message.find("belongs to user 65534"), std::string::npos)
      << result.failures[0].message;
}
#endif

}  // namespace
