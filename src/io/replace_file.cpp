#include <gravok/replace_file.h>

#include <gravok/text.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace gvk {
namespace {

[[noreturn]] void fail(int error, const std::string& path) {
  throw std::system_error(error, std::generic_category(), "cannot write " + path);
}

// The file a write to `path` replaces: the target of a symbolic link, else `path`.
std::string target_of(const std::string& path) {
  std::error_code code;
  const std::filesystem::path p = std::filesystem::u8path(path);
  if (!std::filesystem::is_symlink(p, code)) return path;
  const std::filesystem::path target = std::filesystem::weakly_canonical(p, code);
  return code ? path : target.u8string();
}

// A name in the folder of `target` that no other writer picks: the target's name with
// the process id, a counter and the clock, hidden on POSIX systems.
std::string temporary_name(const std::string& target, unsigned attempt) {
  static std::atomic<unsigned long long> counter{0};
  const std::filesystem::path p = std::filesystem::u8path(target);
  const auto ticks = static_cast<unsigned long long>(
      std::chrono::steady_clock::now().time_since_epoch().count());
#if defined(_WIN32)
  const unsigned long long pid = static_cast<unsigned long long>(_getpid());
#else
  const unsigned long long pid = static_cast<unsigned long long>(getpid());
#endif
  const std::string unique = std::to_string(pid) + "-" + std::to_string(counter++) + "-" +
                             std::to_string((ticks + attempt) % 1000000007ull);
  const std::string name = "." + p.filename().u8string() + "." + unique + ".tmp";
  return (p.parent_path() / std::filesystem::u8path(name)).u8string();
}

#if defined(_WIN32)

std::wstring wide(const std::string& path) { return from_utf8(path); }

// Opens a new file at `name` for writing; -1 with errno when it cannot.
int create_new(const std::string& name, const std::string&) {
  int fd = -1;
  _wsopen_s(&fd, wide(name).c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY,
            _SH_DENYWR, _S_IREAD | _S_IWRITE);
  return fd;
}

int check_writable(const std::string& target) {
  const DWORD attributes = GetFileAttributesW(wide(target).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return 0;  // a new file
  return (attributes & FILE_ATTRIBUTE_READONLY) ? EACCES : 0;
}

void remove_file(const std::string& name) { _wremove(wide(name).c_str()); }

void move_into_place(const std::string& temporary, const std::string& target,
                     const std::string& path) {
  if (MoveFileExW(wide(temporary).c_str(), wide(target).c_str(),
                  MOVEFILE_REPLACE_EXISTING)) {
    return;
  }
  const DWORD error = GetLastError();
  remove_file(temporary);
  throw std::system_error(static_cast<int>(error), std::system_category(),
                          "cannot write " + path);
}

#else

// Opens a new file at `name` for writing, with the permission bits of `target` when
// that exists; -1 with errno when it cannot.
int create_new(const std::string& name, const std::string& target) {
  const int fd = open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
  struct stat existing {};
  if (fd >= 0 && stat(target.c_str(), &existing) == 0) {
    fchmod(fd, existing.st_mode & 07777);
  }
  return fd;
}

// 0 when the process may write the target or it does not exist yet, else the reason.
int check_writable(const std::string& target) {
  if (access(target.c_str(), W_OK) == 0) return 0;
  return errno == ENOENT ? 0 : errno;
}

void remove_file(const std::string& name) { unlink(name.c_str()); }

void move_into_place(const std::string& temporary, const std::string& target,
                     const std::string& path) {
  if (std::rename(temporary.c_str(), target.c_str()) == 0) return;
  const int error = errno;
  remove_file(temporary);
  fail(error, path);
}

#endif

// Creates the temporary file and returns it open for writing, with its name.
std::FILE* create_temporary(const std::string& target, const std::string& path,
                            std::string& name) {
  for (unsigned attempt = 0;; ++attempt) {
    name = temporary_name(target, attempt);
    const int fd = create_new(name, target);
    if (fd < 0) {
      if (errno == EEXIST && attempt < 100) continue;
      fail(errno, path);
    }
#if defined(_WIN32)
    std::FILE* file = _fdopen(fd, "wb");
#else
    std::FILE* file = fdopen(fd, "wb");
#endif
    if (file) return file;
    const int error = errno;
#if defined(_WIN32)
    _close(fd);
#else
    close(fd);
#endif
    remove_file(name);
    fail(error, path);
  }
}

}  // namespace

void replace_file(const std::string& path, const std::function<void(std::FILE*)>& write) {
  const std::string target = target_of(path);
  if (const int error = check_writable(target)) fail(error, path);
  std::string temporary;
  std::FILE* file = create_temporary(target, path, temporary);
  errno = 0;
  try {
    write(file);
  } catch (...) {
    std::fclose(file);
    remove_file(temporary);
    throw;
  }
  // The first failure decides the reason: a write the stream already saw fail, then
  // the flush of what is still buffered, then the close.
  int error = 0;
  if (std::ferror(file)) error = errno ? errno : EIO;
  errno = 0;
  if (!error && std::fflush(file) != 0) error = errno ? errno : EIO;
  errno = 0;
  if (std::fclose(file) != 0 && !error) error = errno ? errno : EIO;
  if (error) {
    remove_file(temporary);
    fail(error, path);
  }
  move_into_place(temporary, target, path);
}

}  // namespace gvk
