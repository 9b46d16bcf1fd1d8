#include "shared_module.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <cstring>

namespace gvk_test {

#if defined(_WIN32)

SharedModule::SharedModule(const std::string& path) {
  m_handle = static_cast<void*>(LoadLibraryA(path.c_str()));
  if (!m_handle)
    m_error = "LoadLibrary failed with error " + std::to_string(GetLastError());
}

SharedModule::~SharedModule() {
  if (m_handle) FreeLibrary(static_cast<HMODULE>(m_handle));
}

SharedModule::Function SharedModule::function(const char* name) const {
  if (!m_handle) return nullptr;
  return reinterpret_cast<Function>(GetProcAddress(static_cast<HMODULE>(m_handle), name));
}

#else

SharedModule::SharedModule(const std::string& path) {
  m_handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!m_handle) {
    const char* message = dlerror();
    m_error = message ? message : "dlopen failed";
  }
}

SharedModule::~SharedModule() {
  if (m_handle) dlclose(m_handle);
}

SharedModule::Function SharedModule::function(const char* name) const {
  if (!m_handle) return nullptr;
  void* address = dlsym(m_handle, name);
  // An object pointer becomes a function pointer only by copying its bytes; POSIX
  // guarantees the two have the same representation.
  Function f = nullptr;
  static_assert(sizeof f == sizeof address, "function and object pointers differ");
  std::memcpy(&f, &address, sizeof f);
  return f;
}

#endif

}  // namespace gvk_test
