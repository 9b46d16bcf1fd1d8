// The platform layer of plug-in modules: opening a shared module, finding a C function
// in it and closing it, the files behind a module and behind the library itself, and
// whether a file may be changed by other users. One source file per platform implements
// it (module_posix.cpp, module_win32.cpp); CMake picks one.
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

// The file that the open module `module` was loaded from, as the system names it
// (UTF-8); empty when the system cannot say.
std::string module_file(void* module);

// The file of this library as the system loaded it (UTF-8); empty when the system
// cannot say.
std::string library_file();

// Whether `file_name` ends in the suffix of the platform's module files: ".so"
// (".dylib" too on macOS), ".dll" in any case on Windows.
bool has_module_suffix(const std::string& file_name);

// Why `path`, an absolute path (UTF-8), may be changed by a user other than root and
// the effective user of this process; empty when nobody else can. `path` itself must
// be owned by one of the two and writable by nobody else; each folder above it must be
// owned by one of the two and writable by nobody else unless its sticky bit is set
// (so that others may add entries but not remove or rename ours). `what` names the
// path in the message ("module", "folder"). Empty on systems without POSIX modes.
std::string untrusted_reason(const std::string& path, const char* what);

}  // namespace gvk::detail

#endif  // GRAVOK_SRC_REGISTRY_MODULE_LOADER_H
