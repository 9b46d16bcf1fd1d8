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

// How a provider double answers: whether it accepts every location, whether its
// creation returns an object, and whether canHandle throws.
struct Behaviour {
  bool accepts = true;
  bool creates = true;
  bool throws = false;
};

// What the provider doubles saw: every call, in order, and how often each was
// destroyed.
struct Probe {
  std::vector<std::string> calls;
  std::map<std::string, int> destroyed;
  CallLog log;  // of the objects they create
} probe;

// A provider whose description is the name it is registered under, and whose objects
// are recorders with that name as role. `who` names it in probe.destroyed.
template <class Base>
class ProbeProvider : public Base {
 public:
  ProbeProvider(std::string name, Behaviour behaviour, std::string who)
      : m_name(std::move(name)), m_behaviour(behaviour), m_who(std::move(who)) {}
  ~ProbeProvider() override { ++probe.destroyed[m_who]; }

  bool canHandle(const std::string& location) const override {
    probe.calls.push_back(m_name + ".canHandle(" + location + ")");
    if (m_behaviour.throws) throw std::runtime_error("unreachable server");
    return m_behaviour.accepts;
  }
  std::string description() const override { return m_name; }

 protected:
  std::unique_ptr<Recorder> make(const std::string& call,
                                 const std::string& location) const {
    probe.calls.push_back(m_name + "." + call + "(" + location + ")");
    if (!m_behaviour.creates) return nullptr;
    return std::make_unique<Recorder>(probe.log, m_name);
  }

 private:
  std::string m_name;
  Behaviour m_behaviour;
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

bool add_source(const std::string& name, Behaviour b = {}, const std::string& who = "") {
  return gvk::registerDataSourceProvider(
      name, std::make_unique<SourceProvider>(name, b, who.empty() ? name : who));
}

bool add_store(const std::string& name, Behaviour b = {}, const std::string& who = "") {
  return gvk::registerDataStoreProvider(
      name, std::make_unique<StoreProvider>(name, b, who.empty() ? name : who));
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

TEST_F(Registry, RefusesTakenNamesAndDestroysEachProviderExactlyOnce) {
  EXPECT_TRUE(add_source("alpha", {}, "first"));
  EXPECT_FALSE(add_source("alpha", {}, "second"));  // the first one stays
  EXPECT_TRUE(add_store("alpha", {}, "store"));     // the registries are independent
  EXPECT_FALSE(add_store("alpha", {}, "second store"));
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

TEST_F(Registry, RefusesAnEmptyProviderAndLeavesTheNameFree) {
  EXPECT_FALSE(gvk::registerDataSourceProvider("empty", nullptr));
  EXPECT_FALSE(gvk::registerDataStoreProvider("empty", nullptr));
  EXPECT_TRUE(gvk::dataSourceProviders().empty());
  EXPECT_TRUE(add_source("empty"));
  EXPECT_TRUE(add_store("empty"));
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
  for (std::size_t i = 0; i < list.size(); ++i) {
    EXPECT_EQ(list[i]->supportsSurface(), i < 2) << "default by provider kind";
  }
}

TEST_F(Registry, CreatesThroughTheFirstAcceptingProviderThatProducesAnObject) {
  struct Provider {
    bool store;
    const char* name;
    Behaviour behaviour;
  };
  struct Case {
    const char* what;
    std::vector<Provider> providers;
    bool wants_store;
    std::string made_by;  // "" for an empty pointer
    std::vector<std::string> calls;
  };
  const Behaviour declines{false, true, false}, fails{true, false, false};
  const Case cases[] = {
      {"no provider", {}, false, "", {}},
      {"no provider", {}, true, "", {}},
      {"none produces a source",
       {{true, "c", declines}, {false, "a", declines}, {false, "b", fails}},
       false,
       "",
       {"c.canHandle( Site.DB )", "a.canHandle( Site.DB )", "b.canHandle( Site.DB )",
        "b.createDataSource( Site.DB )"}},
      {"none produces a store",
       {{true, "c", declines}, {false, "a", {}}},
       true,
       "",
       {"c.canHandle( Site.DB )"}},
      {"falls through to the next accepting provider",
       {{false, "1", declines}, {false, "2", fails}, {false, "3", {}}, {false, "4", {}}},
       false,
       "3",
       {"1.canHandle( Site.DB )", "2.canHandle( Site.DB )",
        "2.createDataSource( Site.DB )", "3.canHandle( Site.DB )",
        "3.createDataSource( Site.DB )"}},
      {"stores come from store providers only",
       {{false, "a", {}}, {true, "b", fails}, {true, "c", {}}},
       true,
       "c",
       {"b.canHandle( Site.DB )", "b.createDataStore( Site.DB )",
        "c.canHandle( Site.DB )", "c.createDataStore( Site.DB )"}},
      {"a store provider serves a source request with a store",
       {{false, "a", {}}, {true, "z", {}}},
       false,
       "z",
       {"z.canHandle( Site.DB )", "z.createDataStore( Site.DB )"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    reset();
    for (const Provider& p : c.providers) {
      EXPECT_TRUE(p.store ? add_store(p.name, p.behaviour)
                          : add_source(p.name, p.behaviour));
    }
    const std::unique_ptr<gvk::DataSource> made =
        c.wants_store ? gvk::createDataStore(" Site.DB ")
                      : gvk::createDataSource(" Site.DB ");
    EXPECT_EQ(made ? dynamic_cast<Recorder&>(*made).role : "", c.made_by);
    EXPECT_EQ(probe.calls, c.calls);
  }
}

TEST_F(Registry, ProviderExceptionReachesTheCallerAndStopsTheSearch) {
  add_source("a", {true, true, true});
  add_source("b");
  EXPECT_THROW(gvk::createDataSource("x"), std::runtime_error);
  EXPECT_EQ(probe.calls, std::vector<std::string>{"a.canHandle(x)"});
}

// Writes the running count of destructions, so the last thing a process writes tells
// how many providers were destroyed.
class UnloadProbe : public gvk::DataStoreProvider {
 public:
  ~UnloadProbe() override { std::fprintf(stderr, "[destroyed %d]", ++s_count); }
  bool canHandle(const std::string&) const override { return false; }
  std::string description() const override { return "unload probe"; }
  std::unique_ptr<gvk::DataStore> createDataStore(const std::string&) const override {
    return nullptr;
  }

 private:
  static int s_count;
};
int UnloadProbe::s_count = 0;

void register_and_exit() {
  gvk::registerDataStoreProvider("store", std::make_unique<UnloadProbe>());
  gvk::registerDataSourceProvider("source", std::make_unique<UnloadProbe>());
  std::exit(0);
}

TEST(RegistryUnload, DestroysEveryProviderStillRegisteredOnce) {
  EXPECT_EXIT(register_and_exit(), testing::ExitedWithCode(0), "\\[destroyed 2\\]$");
}

}  // namespace
