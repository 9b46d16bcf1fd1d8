#include <gravok/plugin.h>
#include <gravok/providers.h>

#include "loaded_modules.h"
#include "module_loader.h"
#include "registrations.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <system_error>
#include <utility>
#include <vector>

namespace gvk {
namespace {

using detail::EntryPoint;

// A module that a PluginModule holds: its handle and the file the system loaded it
// from (empty when the system cannot say).
struct HeldModule {
  void* module;
  std::string file;
};

// The modules that PluginModule objects hold, so that one module is loaded through
// one object only.
std::vector<HeldModule>& held_modules() {
  static std::vector<HeldModule> modules;
  return modules;
}

bool is_held(void* module) {
  const std::vector<HeldModule>& held = held_modules();
  return std::any_of(held.begin(), held.end(),
                     [&](const HeldModule& h) { return h.module == module; });
}

}  // namespace

namespace detail {

std::string loaded_module_file(const std::string& path) {
  for (const HeldModule& held : held_modules()) {
    std::error_code code;
    if (!held.file.empty() &&
        std::filesystem::equivalent(std::filesystem::u8path(path),
                                    std::filesystem::u8path(held.file), code))
      return held.file;
  }
  return {};
}

}  // namespace detail

struct PluginModule::State {
  std::string path;
  void* module = nullptr;
  EntryPoint unregister = nullptr;  // null until both entry points are found
  // The serial numbers of the registrations made while the module was being loaded:
  // from opening it to the return of its register entry point. Until that return
  // `end` stays open, so that unloading on any way out of load() removes them all.
  unsigned long long first = 0;
  unsigned long long end = std::numeric_limits<unsigned long long>::max();
  int provider_count = 0;
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
  state->first = detail::next_registration_serial();
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
  held_modules().push_back(HeldModule{s.module, detail::module_file(s.module)});

  const EntryPoint add =
      detail::find_entry_point(s.module, "gravok_plugin_register", message);
  const EntryPoint remove =
      add ? detail::find_entry_point(s.module, "gravok_plugin_unregister", message)
          : nullptr;
  if (!remove) {
    loaded->unload();
    error = "cannot load " + named + ": not a plug-in module (" + message + ")";
    return nullptr;
  }
  s.unregister = remove;
  const int result = add();
  s.end = detail::next_registration_serial();
  s.provider_count = detail::count_registrations(s.first, s.end);
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
  const int removed = detail::remove_registrations(state->first, state->end);
  std::vector<HeldModule>& held = held_modules();
  held.erase(
      std::remove_if(held.begin(), held.end(),
                     [&](const HeldModule& h) { return h.module == state->module; }),
      held.end());
  detail::close_module(state->module);
  return removed;
}

bool PluginModule::is_loaded() const { return m_state != nullptr; }

std::string PluginModule::path() const { return m_state ? m_state->path : std::string(); }

int PluginModule::provider_count() const { return m_state ? m_state->provider_count : 0; }

std::vector<std::string> PluginModule::source_provider_names() const {
  if (!m_state) return {};
  return detail::registration_names(m_state->first, m_state->end, false);
}

std::vector<std::string> PluginModule::store_provider_names() const {
  if (!m_state) return {};
  return detail::registration_names(m_state->first, m_state->end, true);
}

}  // namespace gvk
