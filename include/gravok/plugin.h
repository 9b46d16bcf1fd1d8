/// @file
/// Plug-in modules: shared modules (.so, .dylib, .dll) that a host loads at run time and
/// that bring providers of sources and stores with them.
///
/// A module defines two entry points, with C linkage and exported:
///
///   GRAVOK_PLUGIN_EXPORT int gravok_plugin_register();   // registers its providers
///   GRAVOK_PLUGIN_EXPORT int gravok_plugin_unregister(); // unregisters them again
///
/// gravok_plugin_register registers the module's providers with the registries of
/// gravok/providers.h and returns how many it registered; a negative value says that it
/// failed. gravok_plugin_unregister unregisters every provider the module registered and
/// returns how many it removed. Neither throws.
///
/// A host loads a module through gvk::PluginModule, which calls the register entry point
/// on loading and the unregister entry point before it closes the module: a provider
/// left registered after its code is unmapped would crash the process at the next
/// lookup or at exit.
///
/// Nothing here takes a lock: load and unload modules under the same rules as registering
/// providers, before the threads that use the registries start and after they stop.
#ifndef GRAVOK_PLUGIN_H
#define GRAVOK_PLUGIN_H

#include <gravok/export.h>

#include <memory>
#include <string>

/// @def GRAVOK_PLUGIN_EXPORT
/// Marks a module's entry points: C linkage, exported from the module even when it is
/// built with hidden visibility.
#if defined(_WIN32)
#define GRAVOK_PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define GRAVOK_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

/// The entry points, declared here so that a module's definitions are checked against
/// them. The library defines neither; each module defines both.
GRAVOK_PLUGIN_EXPORT int gravok_plugin_register();
GRAVOK_PLUGIN_EXPORT int gravok_plugin_unregister();

namespace gvk {

/// One loaded plug-in module whose providers are registered. Destroying the object, or
/// calling unload(), unregisters them and closes the module. The object can be moved,
/// not copied; a moved-from object holds no module.
///
/// Sources and stores that the module's providers created run the module's code: the
/// host destroys them before it unloads the module. Likewise it unloads every module
/// before main returns, so that no module outlives the registries at exit.
class GRAVOK_API PluginModule {
 public:
  /// Opens the module at `path` (UTF-8; dlopen with RTLD_NOW | RTLD_LOCAL on POSIX
  /// systems, LoadLibraryW on Windows, each searching as it does for a path without a
  /// directory), looks up both entry points and calls gravok_plugin_register. Returns
  /// the loaded module, or an empty pointer and a message in `error` that names `path`
  /// and carries the system's own message where there is one, when
  ///  - `path` is empty or holds a NUL byte;
  ///  - the file cannot be opened or is not a module of this platform;
  ///  - either entry point is missing (register is then never called);
  ///  - the module is already loaded through another PluginModule, which stays as it is
  ///    (a module's providers are registered once, so it is loaded once);
  ///  - gravok_plugin_register returns a negative value.
  /// Whenever it fails after opening the module, it unloads the module again as
  /// unload() does (calling gravok_plugin_unregister only when register was called),
  /// so nothing of it stays registered. `error` is left alone on success. An exception
  /// thrown by the register entry point reaches the caller after the module has been
  /// unloaded the same way.
  static std::unique_ptr<PluginModule> load(const std::string& path, std::string& error);

  /// Takes over `other`'s module; `other` is left holding none.
  PluginModule(PluginModule&& other) noexcept;
  /// Unloads the module this object holds, then takes over `other`'s.
  PluginModule& operator=(PluginModule&& other) noexcept;
  PluginModule(const PluginModule&) = delete;
  PluginModule& operator=(const PluginModule&) = delete;

  /// Unloads the module as unload() does.
  ~PluginModule();

  /// Calls gravok_plugin_unregister, then unregisters every provider registration that
  /// was made while the module was being loaded (from opening it to the return of its
  /// register entry point) and is still in place, and closes the module. A module that
  /// forgets a provider thus never leaves it registered, while a name that has since
  /// been unregistered and registered anew is left alone, whatever provider it holds.
  /// Returns how many registrations that second step removed: 0 for a module that
  /// cleans up after itself, and 0 when the object holds no module (already unloaded,
  /// or moved from). Providers that a module registers at any other time are its own
  /// to unregister before it is unloaded.
  int unload() noexcept;

  /// True from a successful load() until unload().
  bool is_loaded() const;
  /// The path given to load(); empty once unloaded.
  std::string path() const;
  /// How many provider registrations (source and store registries together) appeared
  /// while the module was being loaded; 0 once unloaded. The count the register entry
  /// point returned is used only for its sign.
  int provider_count() const;

 private:
  struct State;
  explicit PluginModule(State* state);
  State* m_state;  ///< owned; null when no module is loaded
};

}  // namespace gvk

#endif  // GRAVOK_PLUGIN_H
