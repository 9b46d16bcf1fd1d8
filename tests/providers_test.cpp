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
using gvk_test::RecordingStore;

// What the provider doubles saw: every call, in order, and how often each provider
// was destroyed.
struct Probe {
  std::vector<std::string> calls;
  std::map<std::string, int> destroyed;
  CallLog store_log;
};

// Sources and stores answer the id of the provider that made them as host version.
class MadeSource : public gvk::DataSource {
 public:
  explicit MadeSource(std::string id) : m_id(std::move(id)) {}
  std::string get_hostcad_version() const override { return m_id; }

 private:
  std::string m_id;
};

class MadeStore : public RecordingStore {
 public:
  MadeStore(CallLog& log, std::string id) : RecordingStore(log), m_id(std::move(id)) {}
  std::string get_hostcad_version() const override { return m_id; }

 private:
  std::string m_id;
};

struct Behaviour {
  bool accepts = true;
  bool creates = true;
  bool throws = false;
};

template <class Base>
class ProbeProvider : public Base {
 public:
  ProbeProvider(Probe& probe, std::string id, Behaviour behaviour)
      : m_probe(probe), m_id(std::move(id)), m_behaviour(behaviour) {}
  ~ProbeProvider() override { ++m_probe.destroyed[m_id]; }

  bool canHandle(const std::string& location) const override {
    m_probe.calls.push_back(m_id + ".canHandle(" + location + ")");
    if (m_behaviour.throws) throw std::runtime_error("unreachable server");
    return m_behaviour.accepts;
  }
  std::string description() const override { return m_id; }

 protected:
  Probe& m_probe;
  std::string m_id;
  Behaviour m_behaviour;
};

class SourceProvider : public ProbeProvider<gvk::DataSourceProvider> {
 public:
  using ProbeProvider::ProbeProvider;
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override {
    m_probe.calls.push_back(m_id + ".createDataSource(" + location + ")");
    if (!m_behaviour.creates) return nullptr;
    return std::make_unique<MadeSource>(m_id);
  }
};

class StoreProvider : public ProbeProvider<gvk::DataStoreProvider> {
 public:
  using ProbeProvider::ProbeProvider;
  std::unique_ptr<gvk::DataStore> createDataStore(
      const std::string& location) const override {
    m_probe.calls.push_back(m_id + ".createDataStore(" + location + ")");
    if (!m_behaviour.creates) return nullptr;
    return std::make_unique<MadeStore>(m_probe.store_log, m_id);
  }
};

std::vector<std::string> descriptions(
    const std::vector<const gvk::DataSourceProvider*>& list) {
  std::vector<std::string> out;
  for (const gvk::DataSourceProvider* p : list) out.push_back(p->description());
  return out;
}

std::vector<std::string> descriptions(
    const std::vector<const gvk::DataStoreProvider*>& list) {
  return descriptions(
      std::vector<const gvk::DataSourceProvider*>(list.begin(), list.end()));
}

// Registers through the library and unregisters every name a test used afterwards,
// so the process-wide registries are empty between tests.
class Registry : public testing::Test {
 protected:
  bool add_source(const std::string& name, const std::string& id, Behaviour b = {}) {
    m_source_names.push_back(name);
    return gvk::registerDataSourceProvider(
        name, std::make_unique<SourceProvider>(probe, id, b));
  }
  bool add_store(const std::string& name, const std::string& id, Behaviour b = {}) {
    m_store_names.push_back(name);
    return gvk::registerDataStoreProvider(name,
                                          std::make_unique<StoreProvider>(probe, id, b));
  }
  void TearDown() override {
    for (const std::string& name : m_source_names)
      gvk::unregisterDataSourceProvider(name);
    for (const std::string& name : m_store_names) gvk::unregisterDataStoreProvider(name);
    EXPECT_TRUE(gvk::dataSourceProviders().empty());
  }

  Probe probe;

 private:
  std::vector<std::string> m_source_names, m_store_names;
};

TEST_F(Registry, RefusesATakenNameAndDestroysTheRejectedProvider) {
  EXPECT_TRUE(add_source("alpha", "first"));
  EXPECT_FALSE(add_source("alpha", "second"));
  EXPECT_EQ(probe.destroyed["second"], 1);
  EXPECT_EQ(probe.destroyed["first"], 0);
  EXPECT_EQ(descriptions(gvk::dataSourceProviders()), std::vector<std::string>{"first"});

  EXPECT_TRUE(add_store("alpha", "store-first"));
  EXPECT_FALSE(add_store("alpha", "store-second"));
  EXPECT_EQ(probe.destroyed["store-second"], 1);
  EXPECT_EQ(descriptions(gvk::dataStoreProviders()),
            std::vector<std::string>{"store-first"});
}

TEST_F(Registry, UnregisteringDestroysTheProviderExactlyOnce) {
  EXPECT_FALSE(gvk::unregisterDataSourceProvider("never"));
  EXPECT_FALSE(gvk::unregisterDataStoreProvider("never"));
  add_source("alpha", "source");
  add_store("alpha", "store");
  EXPECT_TRUE(gvk::unregisterDataSourceProvider("alpha"));
  EXPECT_FALSE(gvk::unregisterDataSourceProvider("alpha"));
  EXPECT_EQ(probe.destroyed["source"], 1);
  EXPECT_EQ(probe.destroyed["store"], 0);  // the store registry is independent
  EXPECT_TRUE(gvk::unregisterDataStoreProvider("alpha"));
  EXPECT_FALSE(gvk::unregisterDataStoreProvider("alpha"));
  EXPECT_EQ(probe.destroyed["store"], 1);
}

TEST_F(Registry, TakesNamesExactlyAndListsThemInByteOrder) {
  for (const char* name : {"site", "Site", "SITE", "", " site", "site ", "si"}) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(add_source(name, std::string("[") + name + "]"));
  }
  EXPECT_EQ(descriptions(gvk::dataSourceProviders()),
            (std::vector<std::string>{"[]", "[ site]", "[SITE]", "[Site]", "[si]",
                                      "[site]", "[site ]"}));
}

TEST_F(Registry, ListsStoreProvidersBeforeSourceProviders) {
  add_source("alpha", "source alpha");
  add_store("zeta", "store zeta");
  add_source("omega", "source omega");
  add_store("beta", "store beta");
  EXPECT_EQ(descriptions(gvk::dataSourceProviders()),
            (std::vector<std::string>{"store beta", "store zeta", "source alpha",
                                      "source omega"}));
  EXPECT_EQ(descriptions(gvk::dataStoreProviders()),
            (std::vector<std::string>{"store beta", "store zeta"}));
}

TEST_F(Registry, SameNameInBothRegistriesIsListedTwice) {
  EXPECT_TRUE(add_source("shared", "source"));
  EXPECT_TRUE(add_store("shared", "store"));
  EXPECT_EQ(descriptions(gvk::dataSourceProviders()),
            (std::vector<std::string>{"store", "source"}));
}

TEST_F(Registry, RefusesAnEmptyProviderAndChangesNothing) {
  EXPECT_FALSE(gvk::registerDataSourceProvider("empty", nullptr));
  EXPECT_FALSE(gvk::registerDataStoreProvider("empty", nullptr));
  EXPECT_TRUE(gvk::dataSourceProviders().empty());
  EXPECT_EQ(gvk::createDataSource("anything"), nullptr);
  // The name stayed free.
  EXPECT_TRUE(add_source("empty", "source"));
  EXPECT_TRUE(add_store("empty", "store"));
}

TEST_F(Registry, SurfaceSupportDefaultsByProviderKind) {
  add_source("a", "source");
  add_store("b", "store");
  const std::vector<const gvk::DataSourceProvider*> list = gvk::dataSourceProviders();
  ASSERT_EQ(list.size(), 2u);
  EXPECT_TRUE(list[0]->supportsSurface());
  EXPECT_FALSE(list[1]->supportsSurface());
}

TEST_F(Registry, CreationIsEmptyWhenNoProviderProducesAnObject) {
  EXPECT_EQ(gvk::createDataSource("site.db"), nullptr);
  EXPECT_EQ(gvk::createDataStore("site.db"), nullptr);
  add_source("a", "a", {false, true, false});
  add_source("b", "b", {true, false, false});
  add_store("c", "c", {false, true, false});
  EXPECT_EQ(gvk::createDataSource("site.db"), nullptr);
  EXPECT_EQ(gvk::createDataStore("site.db"), nullptr);
  EXPECT_EQ(probe.calls,
            (std::vector<std::string>{
                "c.canHandle(site.db)", "a.canHandle(site.db)", "b.canHandle(site.db)",
                "b.createDataSource(site.db)", "c.canHandle(site.db)"}));
}

TEST_F(Registry, CreationFallsThroughToTheNextAcceptingProvider) {
  add_source("1-declines", "declines", {false, true, false});
  add_source("2-empty", "empty", {true, false, false});
  add_source("3-makes", "makes", {true, true, false});
  add_source("4-never-asked", "never", {true, true, false});
  const std::unique_ptr<gvk::DataSource> source = gvk::createDataSource(" Site.DB ");
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(source->get_hostcad_version(), "makes");
  EXPECT_EQ(probe.calls,
            (std::vector<std::string>{
                "declines.canHandle( Site.DB )", "empty.canHandle( Site.DB )",
                "empty.createDataSource( Site.DB )", "makes.canHandle( Site.DB )",
                "makes.createDataSource( Site.DB )"}));
}

TEST_F(Registry, StoreCreationAsksOnlyStoreProvidersAndFallsThrough) {
  add_source("a", "source", {true, true, false});
  add_store("b", "empty store", {true, false, false});
  add_store("c", "store", {true, true, false});
  const std::unique_ptr<gvk::DataStore> store = gvk::createDataStore("x");
  ASSERT_NE(store, nullptr);
  EXPECT_EQ(store->get_hostcad_version(), "store");
  EXPECT_EQ(probe.calls, (std::vector<std::string>{
                             "empty store.canHandle(x)", "empty store.createDataStore(x)",
                             "store.canHandle(x)", "store.createDataStore(x)"}));
}

TEST_F(Registry, StoreProviderServesSourceRequestsWithAStore) {
  add_source("a", "source", {true, true, false});
  add_store("z", "store", {true, true, false});
  std::unique_ptr<gvk::DataSource> source = gvk::createDataSource("x");
  ASSERT_NE(source, nullptr);
  EXPECT_NE(dynamic_cast<gvk::DataStore*>(source.get()), nullptr);
  EXPECT_EQ(source->get_hostcad_version(), "store");
  EXPECT_EQ(probe.calls,
            (std::vector<std::string>{"store.canHandle(x)", "store.createDataStore(x)"}));
}

TEST_F(Registry, ProviderExceptionReachesTheCallerAndStopsTheSearch) {
  add_source("a", "throws", {true, true, true});
  add_source("b", "would make", {true, true, false});
  EXPECT_THROW(gvk::createDataSource("x"), std::runtime_error);
  EXPECT_EQ(probe.calls, std::vector<std::string>{"throws.canHandle(x)"});
}

// Counts destructions across the whole process and writes the running count, so the
// last thing a process writes tells how many providers were destroyed.
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
