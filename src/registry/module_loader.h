// The platform layer of plug-in modules: opening a shared module, finding a C function
// in it and closing it. One source file per platform implements it (module_posix.cpp,
// module_win32.cpp); CMake picks one.
#ifndef GRAVOK_SRC_REGISTRY_MODULE_LOADER_H
#define GRAVOK_SRC_REGISTRY_MODULE_LOADER_H

#include <string>

namespace gvk::detail {

// A module's entry point: a C function without arguments that returns an int.
using EntryPoint = int (*)();

// Opens the module at `path` (UTF-8, without NUL bytes) and returns its handle, or
// nullptr with the system's message in `message`. Opening a module that is open
// already returns the same handle and counts one more reference to it.
void* open_module(const std::string& path, std::string& message);

// The exported C function `name` of the open module `module`, or nullptr with the
// system's message in `message` when the module lacks it.
EntryPoint find_entry_point(void* module, const char* name, std::string& message);

// Drops one reference to the open module `module`; the last one unmaps its code.
void close_module(void* module);

}  // namespace gvk::detail

#endif  // GRAVOK_SRC_REGISTRY_MODULE_LOADER_H
