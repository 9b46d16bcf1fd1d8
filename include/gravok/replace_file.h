/// @file
/// Writing a file whole or not at all, and how a store says that it could not write.
///
/// A store that keeps a problem in a file (the JSON and LandXML plug-ins, and any store
/// a plug-in adds) reports a write that did not happen by throwing, from the operation
/// that writes (the closing endBulkOperation, or a setter called outside a bulk
/// bracket); the exception passes unchanged through copyFrom and copyAllFrom to the
/// host:
///
/// - the operating system refused (a missing folder, no permission, a full disk, a
///   rename that failed): std::system_error with the system's error code (errno in
///   std::generic_category(); on Windows, GetLastError() in std::system_category()
///   where a Win32 call failed) and the what-argument "cannot write PATH", so that
///   what() reads "cannot write PATH: No space left on device";
/// - the data is something the format cannot hold (a triangle index out of range, a
///   y or z array shorter than x, a coordinate that is NaN where the format has no
///   NaN, an empty mesh where the format needs one): std::invalid_argument whose
///   message starts "cannot write PATH: " and names the first offending vertex or
///   triangle. The store checks before it writes anything.
///
/// In both cases a file that was there before stays exactly as it was, and no
/// temporary file is left behind; replace_file below does this part of the work.
///
/// Nothing here keeps shared state beyond a counter for unique names: calls on
/// different paths may run on several threads at once.
#ifndef GRAVOK_REPLACE_FILE_H
#define GRAVOK_REPLACE_FILE_H

#include <gravok/export.h>

#include <cstdio>
#include <functional>
#include <string>

namespace gvk {

/// Writes the file at `path` (UTF-8) whole or not at all: `write` receives a stdio
/// stream, opened for binary writing, on a new temporary file in the same folder,
/// which then replaces `path` by a rename. Readers see the old file or the new one,
/// never a part. When `path` is a symbolic link, the file it points to is replaced and
/// the link stays. A file that already exists keeps its permission bits; a new one gets
/// those the process creates files with.
///
/// Failures throw std::system_error with the system's code and the what-argument
/// "cannot write PATH": the folder is missing or not a folder, the process may not
/// create files in it, the existing file is read-only for the process, a write runs
/// out of room (the error code of the first failed write or flush, or EIO when the
/// stream gives none), closing fails, or the rename fails (for instance because PATH
/// is a folder). An exception thrown by `write` passes through unchanged. In every one
/// of these cases the temporary file is removed and `path` is untouched. `write` must
/// not close the stream.
GRAVOK_API void replace_file(const std::string& path,
                             const std::function<void(std::FILE*)>& write);

}  // namespace gvk

#endif  // GRAVOK_REPLACE_FILE_H
