#include <gravok/providers.h>

#include "recording_store.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
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
// every location, "fails" accepts and creates nothing, "throws" throws from canHandle;
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
    if (has("throws")) throw std::runtime_error("unreachable server");
    return !has("declines");
  }
  std::string description() const override { return m_name; }

 protected:
  std::unique_ptr<Recorder> make(const std::string& call,
                                 const std::string& location) const {
    probe.calls.push_back(m_name + "." + call + "(" + location + ")");
    if (has("fails")) return nullptr;
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
