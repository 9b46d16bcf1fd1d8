#include <gravok/providers.h>

#include "recording_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using gvk_test::CallLog;
using gvk_test::Recorder;

// What the provider doubles saw: every call, in order, and how often each was
// destroyed.
struct Probe {
  std::vector<std::string> calls;
  std::map<std::string, int> destroyed;
  CallLog log;  // of the objects they create
} probe;

// A provider whose name says how it answers: one whose name holds "declines" refuses
// every location, "fails" accepts and creates nothing, "refuses" accepts, says why it
// cannot open the location and creates nothing ("throws late" then throws),
// "throws" (alone) throws from canHandle;
// any other accepts and creates a recorder whose role is its name. Its description is its
// name; `who` names it in probe.destroyed.
template <class Base>
class ProbeProvider : public Base {
 public:
  ProbeProvider(std::string name, std::string who)
      : m_name(std::move(name)), m_who(std::move(who)) {}
  ~ProbeProvider() override { ++probe.destroyed[m_who]; }

  bool canHandle(const std::string& location) const override {
    probe.calls.push_back(m_name + ".canHandle(" + location + ")");
    if (has("throws") && !has("late")) throw std::runtime_error("unreachable server");
    return !has("declines");
  }
  std::string description() const override { return m_name; }

 protected:
  std::unique_ptr<Recorder> make(const std::string& call,
                                 const std::string& location) const {
    probe.calls.push_back(m_name + "." + call + "(" + location + ")");
    if (has("fails")) return nullptr;
    if (has("refuses")) {
      gvk::reportRefusal(m_name + " refused [" + location + "]");
      if (has("throws late")) throw std::runtime_error("lost connection");
      return nullptr;
    }
    return std::make_unique<Recorder>(probe.log, m_name);
  }

 private:
  bool has(const char* word) const { return m_name.find(word) != std::string::npos; }

  std::string m_name;
  std::string m_who;
};

struct SourceProvider : ProbeProvider<gvk::DataSourceProvider> {
  using ProbeProvider::ProbeProvider;
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& at) const override {
    return make("createDataSource", at);
  }
};

struct StoreProvider : ProbeProvider<gvk::DataStoreProvider> {
  using ProbeProvider::ProbeProvider;
  std::unique_ptr<gvk::DataStore> createDataStore(const std::string& at) const override {
    return make("createDataStore", at);
  }
};

bool add_source(const std::string& name, const std::string& who = "") {
  return gvk::registerDataSourceProvider(
      name, std::make_unique<SourceProvider>(name, who.empty() ? name : who));
}

bool add_store(const std::string& name, const std::string& who = "") {
  return gvk::registerDataStoreProvider(
      name, std::make_unique<StoreProvider>(name, who.empty() ? name : who));
}

template <class Provider>
std::vector<std::string> names(const std::vector<const Provider*>& list) {
  std::vector<std::string> out;
  for (const Provider* provider : list) out.push_back(provider->description());
  return out;
}

// Empties both process-wide registries and the probe between tests and cases.
void reset() {
  for (const std::string& name : names(gvk::dataSourceProviders())) {
    gvk::unregisterDataSourceProvider(name);
    gvk::unregisterDataStoreProvider(name);
  }
  probe = Probe{};
}

class Registry : public testing::Test {
 protected:
  void TearDown() override { reset(); }
};

TEST_F(Registry, RefusesEmptyProvidersAndTakenNamesAndDestroysEachProviderOnce) {
  EXPECT_FALSE(gvk::registerDataSourceProvider("alpha", nullptr));
  EXPECT_FALSE(gvk::registerDataStoreProvider("alpha", nullptr));
  EXPECT_TRUE(add_source("alpha", "first"));    // the name stayed free
  EXPECT_FALSE(add_source("alpha", "second"));  // the first one stays
  EXPECT_TRUE(add_store("alpha", "store"));     // the registries are independent
  EXPECT_FALSE(add_store("alpha", "second store"));
  EXPECT_EQ(probe.destroyed,
            (std::map<std::string, int>{{"second", 1}, {"second store", 1}}));
  EXPECT_TRUE(gvk::unregisterDataSourceProvider("alpha"));
  EXPECT_FALSE(gvk::unregisterDataSourceProvider("alpha"));
  EXPECT_EQ(probe.destroyed["first"], 1);
  EXPECT_EQ(probe.destroyed["store"], 0);
  EXPECT_TRUE(gvk::unregisterDataStoreProvider("alpha"));
  EXPECT_FALSE(gvk::unregisterDataStoreProvider("alpha"));
  EXPECT_EQ(probe.destroyed["store"], 1);
}

TEST_F(Registry, ListsStoreProvidersFirstThenSourceProvidersEachInByteOrder) {
  // Names are taken exactly: case and spaces count, and "" is a name.
  for (const char* name : {"site", "Site", "SITE", "", " site", "site ", "shared"}) {
    EXPECT_TRUE(add_source(name)) << name;
  }
  EXPECT_TRUE(add_store("zeta"));
  EXPECT_TRUE(add_store("shared"));  // a name in both registries is listed twice
  const std::vector<const gvk::DataSourceProvider*> list = gvk::dataSourceProviders();
  EXPECT_EQ(names(list), (std::vector<std::string>{"shared", "zeta", "", " site", "SITE",
                                                   "Site", "shared", "site", "site "}));
  EXPECT_EQ(names(gvk::dataStoreProviders()),
            (std::vector<std::string>{"shared", "zeta"}));
  // The name lists hold each registry alone, in the listing's order.
  EXPECT_EQ(gvk::dataStoreProviderNames(), (std::vector<std::string>{"shared", "zeta"}));
  EXPECT_EQ(
      gvk::dataSourceProviderNames(),
      (std::vector<std::string>{"", " site", "SITE", "Site", "shared", "site", "site "}));
  for (std::size_t i = 0; i < list.size(); ++i) {
    EXPECT_EQ(list[i]->supportsSurface(), i < 2) << "default by provider kind";
  }
}

TEST_F(Registry, CreatesThroughTheFirstAcceptingProviderThatProducesAnObject) {
  struct Case {
    std::vector<std::string> stores, sources;
    bool wants_store;
    std::string made_by;  // "" for an empty pointer, or "exception"
    std::vector<std::string> calls;
  };
  const Case cases[] = {
      {{}, {}, false, "", {}},
      {{}, {}, true, "", {}},
      {{"c declines"},
       {"a declines", "b fails"},
       false,
       "",
       {"c declines.canHandle( X )", "a declines.canHandle( X )",
        "b fails.canHandle( X )", "b fails.createDataSource( X )"}},
      {{"c declines"}, {"a"}, true, "", {"c declines.canHandle( X )"}},
      {{},
       {"1 declines", "2 fails", "3", "4"},
       false,
       "3",
       {"1 declines.canHandle( X )", "2 fails.canHandle( X )",
        "2 fails.createDataSource( X )", "3.canHandle( X )", "3.createDataSource( X )"}},
      {{"b fails", "c"},
       {"a"},
       true,
       "c",
       {"b fails.canHandle( X )", "b fails.createDataStore( X )", "c.canHandle( X )",
        "c.createDataStore( X )"}},
      // A store provider serves a source request with a store.
      {{"z"}, {"a"}, false, "z", {"z.canHandle( X )", "z.createDataStore( X )"}},
      {{}, {"a throws", "b"}, false, "exception", {"a throws.canHandle( X )"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    reset();
    for (const std::string& name : c.stores) EXPECT_TRUE(add_store(name));
    for (const std::string& name : c.sources) EXPECT_TRUE(add_source(name));
    std::string made_by;
    try {
      const std::unique_ptr<gvk::DataSource> made =
          c.wants_store ? gvk::createDataStore(" X ") : gvk::createDataSource(" X ");
      if (made) made_by = dynamic_cast<Recorder&>(*made).role;
    } catch (const std::runtime_error&) {
      made_by = "exception";
    }
    EXPECT_EQ(made_by, c.made_by);
    EXPECT_EQ(probe.calls, c.calls);
  }
}

TEST_F(Registry, GathersTheReasonsOfTheProvidersThatRefusedInTheOrderAsked) {
  struct Case {
    std::vector<std::string> stores, sources;
    bool wants_store;
    std::string made_by;  // "" for an empty pointer, or "exception"
    std::vector<std::string> reasons;
  };
  const Case cases[] = {
      {{}, {}, false, "", {}},
      {{}, {"a declines", "b fails"}, false, "", {}},  // nothing said: nothing known
      {{"s refuses"},
       {"a refuses", "b declines", "c refuses"},
       false,
       "",
       {"s refuses refused [ X ]", "a refuses refused [ X ]", "c refuses refused [ X ]"}},
      // The same reason from a store provider and a source provider is kept once.
      {{"a refuses"}, {"a refuses"}, false, "", {"a refuses refused [ X ]"}},
      // A provider asked before the one that opens the location still said why.
      {{}, {"a refuses", "b", "c refuses"}, false, "b", {"a refuses refused [ X ]"}},
      {{"a refuses", "b refuses"},
       {"c refuses"},
       true,
       "",
       {"a refuses refused [ X ]", "b refuses refused [ X ]"}},
      {{},
       {"a refuses", "b refuses throws late", "c"},
       false,
       "exception",
       {"a refuses refused [ X ]", "b refuses throws late refused [ X ]"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    reset();
    for (const std::string& name : c.stores) EXPECT_TRUE(add_store(name));
    for (const std::string& name : c.sources) EXPECT_TRUE(add_source(name));
    std::vector<std::string> reasons = {"left over from an earlier call"};
    std::string made_by;
    try {
      const std::unique_ptr<gvk::DataSource> made =
          c.wants_store ? gvk::createDataStore(" X ", reasons)
                        : gvk::createDataSource(" X ", reasons);
      if (made) made_by = dynamic_cast<Recorder&>(*made).role;
    } catch (const std::runtime_error&) {
      made_by = "exception";
    }
    EXPECT_EQ(made_by, c.made_by);
    EXPECT_EQ(reasons, c.reasons);
  }
}

// A provider that, asked for a source, first opens another location itself (as a
// provider of a project file that names its mesh file would), then refuses.
struct NestingProvider : SourceProvider {
  NestingProvider(bool inner_collects)
      : SourceProvider("a nests", ""), m_inner(inner_collects) {}
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override {
    if (location == "inner") return nullptr;
    std::vector<std::string> inner;
    if (m_inner) {
      gvk::createDataSource("inner", inner);
    } else {
      gvk::createDataSource("inner");
    }
    probe.calls.insert(probe.calls.end(), inner.begin(), inner.end());
    std::thread other([] { gvk::reportRefusal("said on another thread"); });
    other.join();
    gvk::reportRefusal("outer refused");
    return nullptr;
  }
  bool m_inner;
};

TEST_F(Registry, ReasonsReachOnlyTheInnermostCollectingCallOfTheirThread) {
  for (const bool inner_collects : {false, true}) {
    SCOPED_TRACE(inner_collects ? "inner call collects" : "inner call discards");
    reset();
    gvk::registerDataSourceProvider("a nests",
                                    std::make_unique<NestingProvider>(inner_collects));
    EXPECT_TRUE(add_source("b refuses"));
    std::vector<std::string> reasons;
    EXPECT_FALSE(gvk::createDataSource("outer", reasons));
    EXPECT_EQ(reasons,
              (std::vector<std::string>{"outer refused", "b refuses refused [outer]"}));
    // What the inner call heard, recorded by the nesting provider.
    const std::vector<std::string> inner_heard = {"b refuses refused [inner]"};
    EXPECT_EQ(std::count(probe.calls.begin(), probe.calls.end(), inner_heard[0]),
              inner_collects ? 1 : 0);
  }
  // Outside any collecting call a reason goes nowhere, and the next call starts afresh.
  gvk::reportRefusal("nobody listens");
  EXPECT_FALSE(gvk::createDataSource("again"));
  std::vector<std::string> reasons;
  EXPECT_FALSE(gvk::createDataStore("again", reasons));
  EXPECT_TRUE(reasons.empty());
}

// Writes the running count of destructions, so the last thing a process writes tells
// how many providers were destroyed.
struct UnloadProbe : StoreProvider {
  UnloadProbe() : StoreProvider("unload probe", "") {}
  ~UnloadProbe() override { std::fprintf(stderr, "[destroyed %d]", ++count); }
  static inline int count = 0;
};

void register_and_exit() {
  gvk::registerDataStoreProvider("store", std::make_unique<UnloadProbe>());
  gvk::registerDataSourceProvider("source", std::make_unique<UnloadProbe>());
  std::exit(0);
}

TEST(RegistryUnload, DestroysEveryProviderStillRegisteredOnce) {
  EXPECT_EXIT(register_and_exit(), testing::ExitedWithCode(0), "\\[destroyed 2\\]$");
}

}  // namespace
