#include <gravok/plugin.h>
#include <gravok/providers.h>

#include "module_loader.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <utility>
#include <vector>

namespace gvk {
namespace {

using detail::EntryPoint;

// The registrations of one registry in name order, each with the provider it holds.
using Entries = std::vector<std::pair<std::string, const DataSourceProvider*>>;

struct Registrations {
  Entries sources;
  Entries stores;
};

Entries zip(std::vector<std::string> names, const DataSourceProvider* const* providers) {
  Entries entries(names.size());
  for (std::size_t i = 0; i < names.size(); ++i)
    entries[i] = {std::move(names[i]), providers[i]};
  return entries;
}

// Both registries as they stand. dataSourceProviders() lists the store providers
// first, then the source providers, each registry in name order.
Registrations registrations() {
  const std::vector<const DataStoreProvider*> stores = dataStoreProviders();
  const std::vector<const DataSourceProvider*> all = dataSourceProviders();
  const std::vector<const DataSourceProvider*> store_bases(stores.begin(), stores.end());
  std::vector<std::string> source_names = dataSourceProviderNames();
  assert(all.size() == stores.size() + source_names.size());
  return {zip(std::move(source_names), all.data() + stores.size()),
          zip(dataStoreProviderNames(), store_bases.data())};
}

// True when `entries` hold `entry`'s name registered to `entry`'s very provider.
bool holds(const Entries& entries, const Entries::value_type& entry) {
  const auto at =
      std::lower_bound(entries.begin(), entries.end(), entry,
                       [](const auto& a, const auto& b) { return a.first < b.first; });
  return at != entries.end() && at->first == entry.first && at->second == entry.second;
}

// The entries of `after` that `before` does not hold: new names, and names that now
// hold another provider.
Entries appeared(const Entries& before, const Entries& after) {
  Entries added;
  for (const auto& entry : after)
    if (!holds(before, entry)) added.push_back(entry);
  return added;
}

Registrations appeared(const Registrations& before) {
  const Registrations after = registrations();
  return {appeared(before.sources, after.sources), appeared(before.stores, after.stores)};
}

// Unregisters each of `added` that is still registered to the same provider; returns
// how many it removed.
int remove_leftovers(Registrations& added) {
  const Registrations now = registrations();
  int removed = 0;
  for (auto& entry : added.sources)
    if (holds(now.sources, entry))
      removed += unregisterDataSourceProvider(std::move(entry.first)) ? 1 : 0;
  for (auto& entry : added.stores)
    if (holds(now.stores, entry))
      removed += unregisterDataStoreProvider(std::move(entry.first)) ? 1 : 0;
  return removed;
}

// The handles of the modules that PluginModule objects hold, so that one module is
// loaded through one object only.
std::vector<void*>& held_modules() {
  static std::vector<void*> modules;
  return modules;
}

bool is_held(void* module) {
  const std::vector<void*>& held = held_modules();
  return std::find(held.begin(), held.end(), module) != held.end();
}

}  // namespace

struct PluginModule::State {
  std::string path;
  void* module = nullptr;
  EntryPoint unregister = nullptr;  // null until both entry points are found
  Registrations added;              // registrations that appeared while loading
};

PluginModule::PluginModule(State* state) : m_state(state) {}

PluginModule::PluginModule(PluginModule&& other) noexcept
    : m_state(std::exchange(other.m_state, nullptr)) {}

PluginModule& PluginModule::operator=(PluginModule&& other) noexcept {
  if (this != &other) {
    unload();
    m_state = std::exchange(other.m_state, nullptr);
  }
  return *this;
}

PluginModule::~PluginModule() { unload(); }

std::unique_ptr<PluginModule> PluginModule::load(const std::string& path,
                                                 std::string& error) {
  const std::string named = "the plug-in module '" + path + "'";
  // An empty path would open the host program itself, and a NUL byte would cut the
  // path short.
  if (path.empty() || path.find('\0') != std::string::npos) {
    error = "cannot load " + named + ": the path is empty or holds a NUL byte";
    return nullptr;
  }
  std::unique_ptr<PluginModule> loaded(new PluginModule(nullptr));
  auto state = std::make_unique<State>();
  state->path = path;
  const Registrations before = registrations();
  std::string message;
  state->module = detail::open_module(path, message);
  if (!state->module) {
    error = "cannot load " + named + ": " + message;
    return nullptr;
  }
  if (is_held(state->module)) {
    detail::close_module(state->module);
    error = "cannot load " + named + ": it is loaded already";
    return nullptr;
  }
  loaded->m_state = state.release();  // from here on every exit unloads the module
  State& s = *loaded->m_state;
  held_modules().push_back(s.module);

  const EntryPoint add =
      detail::find_entry_point(s.module, "gravok_plugin_register", message);
  const EntryPoint remove =
      add ? detail::find_entry_point(s.module, "gravok_plugin_unregister", message)
          : nullptr;
  if (!remove) {
    s.added = appeared(before);
    loaded->unload();
    error = "cannot load " + named + ": not a plug-in module (" + message + ")";
    return nullptr;
  }
  s.unregister = remove;
  int result = 0;
  try {
    result = add();
  } catch (...) {
    s.added = appeared(before);  // so that unloading during the unwinding removes them
    throw;
  }
  s.added = appeared(before);
  if (result < 0) {
    loaded->unload();
    error = "cannot load " + named + ": gravok_plugin_register failed, returning " +
            std::to_string(result);
    return nullptr;
  }
  return loaded;
}

int PluginModule::unload() noexcept {
  if (!m_state) return 0;
  const std::unique_ptr<State> state(std::exchange(m_state, nullptr));
  if (state->unregister) state->unregister();
  const int removed = remove_leftovers(state->added);
  std::vector<void*>& held = held_modules();
  held.erase(std::remove(held.begin(), held.end(), state->module), held.end());
  detail::close_module(state->module);
  return removed;
}

bool PluginModule::is_loaded() const { return m_state != nullptr; }

std::string PluginModule::path() const { return m_state ? m_state->path : std::string(); }

int PluginModule::provider_count() const {
  return m_state ? static_cast<int>(m_state->added.sources.size() +
                                    m_state->added.stores.size())
                 : 0;
}

}  // namespace gvk
