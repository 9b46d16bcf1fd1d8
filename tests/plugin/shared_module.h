// Loads shared modules at run time and looks up their C functions, as a host loads its
// plug-ins: dlopen on POSIX systems, LoadLibrary on Windows. This is the tests' only
// platform code.
#ifndef GRAVOK_TESTS_SHARED_MODULE_H
#define GRAVOK_TESTS_SHARED_MODULE_H

#include <string>

namespace gvk_test {

// A C function without arguments that returns an int.
using ModuleFunction = int (*)();

// Opens the module at `path`: its handle, or nullptr with the platform's message in
// `error`.
void* open_module(const std::string& path, std::string& error);
// The exported C function `name` of an open module, or nullptr when it lacks it.
ModuleFunction module_function(void* module, const char* name);
// Closes an open module. Objects and providers made by its code must be gone by then.
void close_module(void* module);

}  // namespace gvk_test

#endif  // GRAVOK_TESTS_SHARED_MODULE_H
