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
/// Discovery: installedPluginFolder() names the folder that the modules installed with
/// the library occupy, found from the library's own file; loadPluginFolder loads every
/// module of a folder and loadPluginFile one module, both into a PluginLoadResult that
/// keeps the loaded modules and a message for each module they passed over. They skip
/// a module that is loaded already and refuse one that users other than root and the
/// host's own could change, since a module runs with the host's rights. The library
/// reads no environment variable: which folders to search is the host's choice (the
/// gravok tool searches the installed folder, then those of GRAVOK_PLUGIN_PATH).
///
/// Nothing here takes a lock: load and unload modules under the same rules as registering
/// providers, before the threads that use the registries start and after they stop.
#ifndef GRAVOK_PLUGIN_H
#define GRAVOK_PLUGIN_H

#include <gravok/export.h>

#include <memory>
#include <string>
#include <vector>

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

  /// The names, in ascending order, of the source-provider registrations that appeared
  /// while the module was being loaded and are still in place; empty once unloaded.
  std::vector<std::string> source_provider_names() const;
  /// The same for the store-provider registry.
  std::vector<std::string> store_provider_names() const;

 private:
  struct State;
  explicit PluginModule(State* state);
  State* m_state;  ///< owned; null when no module is loaded
};

/// A module, or a folder of modules, that loadPluginFolder or loadPluginFile passed
/// over, and why.
struct PluginLoadMessage {
  std::string path;     ///< the module or folder, as it was named or found
  std::string message;  ///< one line naming the path and the reason
};

/// What loadPluginFolder and loadPluginFile gather: the modules they loaded, in the
/// order they loaded them, and one message for each module or folder they did not load.
/// Destroying it unloads the modules (see PluginModule for what must be gone first);
/// a host may also move single modules out of it.
struct PluginLoadResult {
  std::vector<std::unique_ptr<PluginModule>> modules;  ///< loaded, in load order
  std::vector<PluginLoadMessage> failures;             ///< refused, unreadable or broken
  std::vector<PluginLoadMessage> skipped;  ///< loaded already, so not loaded again
};

/// The folder that the plug-in modules installed with this library occupy:
/// `<libdir>/gravok/plugins` of the prefix the library itself was loaded from (on
/// Windows, where the DLL sits in `<prefix>/bin`, the same folder of that prefix). It
/// is found from the library's own file at run time, so an installed tree that has
/// been moved whole still finds its plug-ins; a library that is not installed (a build
/// tree) names a folder beside it that usually does not exist. Absolute and without
/// symbolic links; empty when the system cannot say where the library was loaded from.
GRAVOK_API std::string installedPluginFolder();

/// Loads every plug-in module of `folder` (UTF-8) into `result`, in ascending byte
/// order of the file names: the regular files whose names end in the platform's module
/// suffix (".so"; ".dylib" or ".so" on macOS; ".dll" on Windows) and do not begin with
/// a dot. Sub-folders are not searched. Each module is loaded as loadPluginFile loads
/// it: a module that fails, is refused or is loaded already does not stop the others.
/// One entry in result.failures, and nothing loaded, when `folder`
///  - is not an absolute path (a folder relative to the current directory is never
///    read, since that directory is seldom chosen for its contents);
///  - cannot be read as a folder (missing, not a folder, no permission), with the
///    system's message;
///  - or any folder above it may be changed by a user other than root and the
///    current user (see loadPluginFile).
/// Returns how many modules it loaded.
GRAVOK_API int loadPluginFolder(const std::string& folder, PluginLoadResult& result);

/// Loads the plug-in module `path` (UTF-8; a relative path is taken relative to the
/// current directory, never searched for along the system's library paths) into
/// `result` and returns true when it did. A module that is loaded already, through
/// any PluginModule of the process (the same file, under any of its names), is not
/// loaded again: it lands in result.skipped, and the result is false. Otherwise a
/// module that cannot be loaded lands in result.failures with PluginModule::load's
/// message, and so does one that is refused before anything of it runs: on POSIX
/// systems a module whose file, after symbolic links are followed, is not a regular
/// file, is owned by a user other than root and the effective user of the process,
/// or may be written by its group or by everyone, or whose folder or any folder above
/// it is owned by such a user or may be written by its group or everyone without the
/// sticky bit (as /tmp has). A module runs with all the rights of the host, so only
/// files that nobody but root and the user running the host can change are loaded.
/// On Windows the ownership and permissions are not examined.
GRAVOK_API bool loadPluginFile(const std::string& path, PluginLoadResult& result);

}  // namespace gvk

#endif  // GRAVOK_PLUGIN_H
