// Loads a shared module at run time and looks up its C functions, as a host loads its
// plug-ins: dlopen on POSIX systems, LoadLibrary on Windows. This is the tests' only
// platform code.
#ifndef GRAVOK_TESTS_SHARED_MODULE_H
#define GRAVOK_TESTS_SHARED_MODULE_H

#include <string>

namespace gvk_test {

class SharedModule {
 public:
  // A C function without arguments that returns an int.
  using Function = int (*)();

  // Opens the module at `path`; is_open() tells whether that worked.
  explicit SharedModule(const std::string& path);
  // Closes the module. Objects and providers made by its code must be gone by then.
  ~SharedModule();
  SharedModule(const SharedModule&) = delete;
  SharedModule& operator=(const SharedModule&) = delete;

  bool is_open() const { return m_handle != nullptr; }
  // The platform's message for the last failure to open, or "".
  const std::string& error() const { return m_error; }
  // The exported C function `name`, or nullptr when the module lacks it.
  Function function(const char* name) const;

 private:
  void* m_handle = nullptr;
  std::string m_error;
};

}  // namespace gvk_test

#endif  // GRAVOK_TESTS_SHARED_MODULE_H
