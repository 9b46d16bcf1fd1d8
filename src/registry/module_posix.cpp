// Plug-in modules on POSIX systems: dlopen, dlsym and dlclose; dladdr and dlinfo for
// the files behind the library and a module; stat for owners and modes.
#include "module_loader.h"

#include <dlfcn.h>
#if defined(__linux__)
#include <link.h>
#endif
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

namespace gvk::detail {
namespace {

// The message of the last failed dl* call of this thread, taken once.
std::string last_error() {
  const char* text = dlerror();
  return text ? text : "unknown error";
}

// A byte of the library, whose address tells dladdr which file the library is.
const char g_library_marker = 0;

std::string octal_mode(mode_t mode) {
  char text[8];
  std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode & 07777));
  return text;
}

// Calls `lookup` (a getpwuid_r or getgrgid_r) with a buffer that grows until the
// entry fits, up to 1 MiB; true when the entry was found.
template <class Lookup>
bool look_up(std::vector<char>& buffer, Lookup lookup) {
  buffer.resize(4096);
  for (;;) {
    const int error = lookup(buffer.data(), buffer.size());
    if (error != ERANGE) return error == 0;
    if (buffer.size() >= (1u << 20)) return false;
    buffer.resize(buffer.size() * 2);
  }
}

// Whether group `gid` is the private group of user `uid`, as systems that give each
// user a group of their own make it: the user's primary group, bearing the user's
// name, with no other member. Writing by such a group is writing by the user alone.
bool is_private_group(uid_t uid, gid_t gid) {
  std::vector<char> user_buffer, group_buffer;
  passwd user_entry{};
  passwd* user = nullptr;
  group group_entry{};
  group* found = nullptr;
  if (!look_up(user_buffer,
               [&](char* b, std::size_t n) {
                 return getpwuid_r(uid, &user_entry, b, n, &user);
               }) ||
      !user || user->pw_gid != gid)
    return false;
  if (!look_up(group_buffer,
               [&](char* b, std::size_t n) {
                 return getgrgid_r(gid, &group_entry, b, n, &found);
               }) ||
      !found || std::strcmp(found->gr_name, user->pw_name) != 0)
    return false;
  for (char** member = found->gr_mem; member && *member; ++member)
    if (std::strcmp(*member, user->pw_name) != 0) return false;
  return true;
}

// Why the file or folder `path` with status `status` may be changed by a user other
// than root and `me`; empty when it may not. A folder with the sticky bit may be
// writable by others when `sticky_allowed` (they can add entries, not replace ours).
std::string status_fault(const std::string& path, const struct stat& status, uid_t me,
                         bool sticky_allowed) {
  if (status.st_uid != 0 && status.st_uid != me)
    return "'" + path + "' belongs to user " + std::to_string(status.st_uid) +
           ", who is neither root nor the user running this program";
  mode_t writable = status.st_mode & (S_IWGRP | S_IWOTH);
  if ((writable & S_IWGRP) && is_private_group(status.st_uid, status.st_gid))
    writable &= ~S_IWGRP;
  if (!writable) return {};
  if (sticky_allowed && S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX)) return {};
  return "'" + path + "' may be written by " +
         ((writable & S_IWOTH) ? "every user" : "the members of its group") + " (mode " +
         octal_mode(status.st_mode) + ")";
}

// The fault of `path` or of a folder above it, following the path as written: each
// step is examined where it leads, so a symbolic link counts with its target and with
// the folder that holds the link.
std::string chain_fault(const std::filesystem::path& path, uid_t me) {
  std::filesystem::path step = path.root_path();
  std::vector<std::filesystem::path> steps{step};
  for (const std::filesystem::path& part : path.relative_path()) {
    step /= part;
    steps.push_back(step);
  }
  for (std::size_t i = 0; i < steps.size(); ++i) {
    struct stat status {};
    const std::string text = steps[i].string();
    if (stat(text.c_str(), &status) != 0)
      return "'" + text + "' cannot be examined (" + std::strerror(errno) + ")";
    const bool last = i + 1 == steps.size();
    const std::string fault = status_fault(text, status, me, !last);
    if (!fault.empty()) return fault;
  }
  return {};
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

std::string module_file(void* module) {
#if defined(__linux__)
  link_map* map = nullptr;
  if (dlinfo(module, RTLD_DI_LINKMAP, &map) == 0 && map && map->l_name)
    return map->l_name;
#else
  (void)module;
#endif
  return {};
}

std::string library_file() {
  Dl_info info{};
  if (!dladdr(&g_library_marker, &info) || !info.dli_fname) return {};
  return info.dli_fname;
}

bool has_module_suffix(const std::string& file_name) {
  const auto ends_with = [&](const char* suffix) {
    const std::size_t n = std::strlen(suffix);
    return file_name.size() > n &&
           file_name.compare(file_name.size() - n, n, suffix) == 0;
  };
#if defined(__APPLE__)
  return ends_with(".dylib") || ends_with(".so");
#else
  return ends_with(".so");
#endif
}

std::string untrusted_reason(const std::string& path, const char* what) {
  const uid_t me = geteuid();
  const std::filesystem::path written = std::filesystem::path(path).lexically_normal();
  std::string fault = chain_fault(written, me);
  if (fault.empty()) {
    std::error_code code;
    const std::filesystem::path real = std::filesystem::canonical(written, code);
    if (code)
      return std::string("the ") + what + " '" + path + "' cannot be resolved (" +
             code.message() + ")";
    if (real != written) fault = chain_fault(real, me);
  }
  if (fault.empty()) return {};
  return std::string("the ") + what + " '" + path + "' is refused: " + fault +
         "; a plug-in runs with the host's rights, so only files and folders that no "
         "one but root and this user can change are loaded";
}

}  // namespace gvk::detail
