// Plug-in modules on Windows: LoadLibraryW, GetProcAddress and FreeLibrary, with the
// system's messages from FormatMessageW.
#include "module_loader.h"

#include <gravok/text.h>

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <cctype>
#include <cstring>

namespace gvk::detail {
namespace {

// The system's text for error `code`, in UTF-8 without its trailing line break, and
// the code itself.
std::string system_message(DWORD code) {
  wchar_t* text = nullptr;
  const DWORD length =
      FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                         FORMAT_MESSAGE_IGNORE_INSERTS,
                     nullptr, code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  std::wstring message(text ? text : L"", text ? length : 0);
  LocalFree(text);
  while (!message.empty() &&
         (message.back() == L'\r' || message.back() == L'\n' || message.back() == L' '))
    message.pop_back();
  const std::string number = "error " + std::to_string(code);
  return message.empty() ? number : to_utf8(message) + " (" + number + ")";
}

// A byte of the library, whose address tells the system which DLL the library is.
const char g_library_marker = 0;

// The file of the loaded module `module`, growing the buffer until the name fits.
std::string file_of(HMODULE module) {
  std::wstring name(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
    if (length == 0) return {};
    if (length < name.size()) {
      name.resize(length);
      return to_utf8(name);
    }
    if (name.size() >= 32768) return {};  // the longest path Windows has
    name.resize(name.size() * 2);
  }
}

}  // namespace

void* open_module(const std::string& path, std::string& message) {
  // No message box about a missing or damaged file may stop the host: the failure
  // comes back as a result.
  DWORD previous_mode = 0;
  SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &previous_mode);
  HMODULE module = LoadLibraryW(from_utf8(path).c_str());
  const DWORD code = GetLastError();
  SetThreadErrorMode(previous_mode, nullptr);
  if (!module) message = system_message(code);
  return module;
}

EntryPoint find_entry_point(void* module, const char* name, std::string& message) {
  const FARPROC address = GetProcAddress(static_cast<HMODULE>(module), name);
  if (!address) {
    message = system_message(GetLastError());
    return nullptr;
  }
  // Both are function pointers of the same size; copying the bytes states the
  // conversion without a cast between unrelated function types.
  EntryPoint function = nullptr;
  static_assert(sizeof function == sizeof address, "function pointers differ in size");
  std::memcpy(&function, &address, sizeof function);
  return function;
}

void close_module(void* module) { FreeLibrary(static_cast<HMODULE>(module)); }

std::string module_file(void* module) { return file_of(static_cast<HMODULE>(module)); }

std::string library_file() {
  HMODULE library = nullptr;
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                              GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                          reinterpret_cast<LPCWSTR>(&g_library_marker), &library))
    return {};
  return file_of(library);
}

bool has_module_suffix(const std::string& file_name) {
  static const char kSuffix[] = ".dll";
  const std::size_t n = sizeof kSuffix - 1;
  if (file_name.size() <= n) return false;
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned char c =
        static_cast<unsigned char>(file_name[file_name.size() - n + i]);
    if (std::tolower(c) != kSuffix[i]) return false;
  }
  return true;
}

// Windows guards files with access-control lists rather than owners and modes; the
// administrator of the machine keeps the plug-in folders of an installation safe.
std::string untrusted_reason(const std::string&, const char*) { return {}; }

}  // namespace gvk::detail
