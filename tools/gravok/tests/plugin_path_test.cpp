// GRAVOK_PLUGIN_PATH and GRAVOK_PLUGINS as the tool splits them: the system's list
// separator, empty entries (a doubled, leading or trailing separator) skipped.
#include "plugin_loading.h"

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

}  // namespace
