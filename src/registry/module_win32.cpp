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

}  // namespace gvk::detail
