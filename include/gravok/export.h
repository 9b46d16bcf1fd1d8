/// @file
/// GRAVOK_API marks the declarations that the gravok-data shared library exports.
/// The library is built with hidden visibility, so anything not marked stays private
/// to it. On Windows the same macro imports the declarations into host code.
#ifndef GRAVOK_EXPORT_H
#define GRAVOK_EXPORT_H

/// @def GRAVOK_API
/// Exports a declaration from the library; on Windows, hosts import it through the same
/// macro.
#if defined(_WIN32)
#if defined(GRAVOK_BUILDING_LIBRARY)
#define GRAVOK_API __declspec(dllexport)
#else
#define GRAVOK_API __declspec(dllimport)
#endif
#else
#define GRAVOK_API __attribute__((visibility("default")))
#endif

#endif  // GRAVOK_EXPORT_H
