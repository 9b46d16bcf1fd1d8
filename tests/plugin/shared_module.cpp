#include "shared_module.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <cstring>

namespace gvk_test {

#if defined(_WIN32)

void* open_module(const std::string& path, std::string& error) {
  void* module = static_cast<void*>(LoadLibraryA(path.c_str()));
  if (!module) error = "LoadLibrary failed with error " + std::to_string(GetLastError());
  return module;
}

ModuleFunction module_function(void* module, const char* name) {
  // FARPROC is a pointer to a function of another type; it passes through the
  // generic function pointer type on its way to the one the module really exports.
  const FARPROC address = GetProcAddress(static_cast<HMODULE>(module), name);
  return reinterpret_cast<ModuleFunction>(reinterpret_cast<void (*)()>(address));
}

void close_module(void* module) { FreeLibrary(static_cast<HMODULE>(module)); }

#else

void* open_module(const std::string& path, std::string& error) {
  void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  const char* message = module ? nullptr : dlerror();
  if (!module) error = message ? message : "dlopen failed";
  return module;
}

ModuleFunction module_function(void* module, const char* name) {
  void* address = dlsym(module, name);
  // An object pointer becomes a function pointer only by copying its bytes; POSIX
  // guarantees the two have the same representation.
  ModuleFunction f = nullptr;
  static_assert(sizeof f == sizeof address, "function and object pointers differ");
  std::memcpy(&f, &address, sizeof f);
  return f;
}

void close_module(void* module) { dlclose(module); }

#endif

}  // namespace gvk_test
