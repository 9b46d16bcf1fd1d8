// GRAVOK_PLUGIN_PATH and GRAVOK_PLUGINS as the tool splits them: the system's list
// separator, empty entries (a doubled, leading or trailing separator) skipped; and
// the counts the built-in Triangle-files providers report, which the module's entry
// points return to a host.
#include "plugin_loading.h"
#include "triangle_providers.h"

#include <gravok/providers.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

#if defined(_WIN32)
constexpr char kSep = ';';
#else
constexpr char kSep = ':';
#endif

TEST(GravokToolPluginPath, SplitsAtTheSeparatorAndSkipsEmptyEntries) {
  const std::string s(1, kSep);
  struct Case {
    std::string list;
    std::vector<std::string> paths;
  };
  const Case cases[] = {
      {"", {}},
      {s, {}},
      {"a", {"a"}},
      {"a" + s + "bc", {"a", "bc"}},
      {s + "a" + s + s + "b" + s, {"a", "b"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.list);
    EXPECT_EQ(gravok_tool::split_path_list(c.list), c.paths);
  }
}

// Registering counts the providers this code has registered (three, and three again
// while they stand); unregistering counts what it removed: the three, then none.
TEST(GravokToolPluginPath, TriangleProvidersCountWhatTheyRegisterAndRemove) {
  EXPECT_EQ(gvk_triangle::register_providers(), 3);
  EXPECT_EQ(gvk_triangle::register_providers(), 3);
  EXPECT_EQ(gvk_triangle::unregister_providers(), 3);
  EXPECT_EQ(gvk_triangle::unregister_providers(), 0);
  EXPECT_TRUE(gvk::dataStoreProviderNames().empty());
}

}  // namespace
