// Plug-in modules on POSIX systems: dlopen, dlsym and dlclose.
#include "module_loader.h"

#include <dlfcn.h>

#include <cstring>

namespace gvk::detail {
namespace {

// The message of the last failed dl* call of this thread, taken once.
std::string last_error() {
  const char* text = dlerror();
  return text ? text : "unknown error";
}

}  // namespace

void* open_module(const std::string& path, std::string& message) {
  // RTLD_NOW resolves every symbol here, so a module with a missing dependency fails
  // to load instead of failing later inside a call; RTLD_LOCAL keeps the symbols of
  // one module from resolving those of another.
  void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!module) message = last_error();
  return module;
}

EntryPoint find_entry_point(void* module, const char* name, std::string& message) {
  dlerror();  // forget an earlier error, so that the one reported is this lookup's
  void* address = dlsym(module, name);
  if (!address) {
    message = last_error();
    return nullptr;
  }
  // An object pointer becomes a function pointer only by copying its bytes; POSIX
  // guarantees that the two have the same representation.
  EntryPoint function = nullptr;
  static_assert(sizeof function == sizeof address, "function and object pointers differ");
  std::memcpy(&function, &address, sizeof function);
  return function;
}

void close_module(void* module) { dlclose(module); }

}  // namespace gvk::detail
