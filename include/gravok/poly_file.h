/// @file
/// Triangle-format files: vertices and a closed boundary read from a `.poly` file,
/// and a mesh written as a `.1.node` and `.1.ele` pair. Numbers are read and written
/// in the classic "C" form whatever global locale the host has installed ("." as the
/// decimal point, no digit grouping). Neither operation keeps shared state: calls on
/// different files may run at once; two calls must not write the same stem at once,
/// and nothing else may touch the output containers during a call.
#ifndef GRAVOK_POLY_FILE_H
#define GRAVOK_POLY_FILE_H

#include <gravok/export.h>
#include <gravok/records.h>

#include <string>
#include <vector>

namespace gvk {

/// What PolyFile::read found. `status` is ok when the file was read; otherwise it
/// names the fault, `line` is the 1-based line it lies on (0 when it concerns the
/// whole file) and `message` says it in words, starting with the path ("site.poly:3:
/// vertex line does not parse ..."). `message` is empty when the status is ok.
struct PolyReadResult {
  /// The fault PolyFile::read found, or ok.
  enum Status {
    ok = 0,
    cannot_open = 1,       ///< the file cannot be opened
    empty = 2,             ///< the file holds no line at all (or cannot be read)
    bad_vertex_count = 3,  ///< the first line does not start with a vertex count
    bad_vertex_line = 4,   ///< a vertex line does not parse into its five fields
  };
  /// ok, or the fault.
  Status status = ok;
  /// 1-based line of the fault; 0 when it concerns the whole file or none.
  unsigned long long line = 0;
  /// The fault in words, starting with the path; empty when ok.
  std::string message;
  /// True when the file was read.
  explicit operator bool() const noexcept { return status == ok; }
};

/// Triangle .poly input and .node/.ele output of an indexed mesh.
class GRAVOK_API PolyFile {
 public:
  /// Reads the file at `path`, line by line, each line's fields as the standard
  /// stream extraction of the classic locale reads them: leading white space
  /// (including tab and carriage return) skipped, "+5" and "-5" signed, ".5" and "5."
  /// real, text after the fields ignored. An integer that does not fit its width, a
  /// real that overflows, and "inf", "nan" or "1e" do not parse; "0x10" reads as 0
  /// and an integer field reading "5.5" takes 5 and leaves ".5" to the next field.
  ///
  /// Layout: a header whose first field is the vertex count N (unsigned 64-bit; a
  /// leading "-" wraps as unsigned arithmetic does), then N vertex lines "number x y z
  /// marker" (32-bit integers and reals), then a header with the segment count S, then
  /// S segment lines "number a b marker" (32-bit integers); anything after is not
  /// read. x, y and z receive the vertex lines' coordinates in file order (vertex
  /// numbers are not checked against positions); triangles is left empty; boundary
  /// receives the walk around the closed chain of segments through the smallest
  /// vertex number that any stored segment names: that number first, then, along the
  /// earliest stored segment that names it, each vertex once (the first is not
  /// repeated at the end). Vertex numbers pass into the boundary as the file writes
  /// them, negative ones widened with their sign. All four outputs are emptied first.
  ///
  /// Outcomes of bad input:
  /// - the file cannot be opened or read, it is empty, the vertex count does not
  ///   parse, or a vertex line that exists does not parse into its five fields: the
  ///   process ends with std::exit(1), without a message; the call never returns
  ///   (read below reports these faults instead);
  /// - fewer vertex lines than N: those present are kept, the boundary is empty (no
  ///   time or memory is spent on lines that are not there, whatever N says);
  /// - a missing or unparsable segment header: the boundary is empty;
  /// - a missing or unparsable segment line: skipped (it still counts towards S);
  /// - no stored segment: the boundary is empty;
  /// - an open chain (a vertex whose only stored segments lead back, or a dangling
  ///   end): the walk stops there, and the boundary keeps the vertices gathered up to
  ///   the last one it could leave, without the vertex where it got stuck;
  /// - segments off the walked chain (holes, islands) leave no trace.
  /// Returns true whenever it returns.
  static bool from_file(const std::string& path, std::vector<double>& x,
                        std::vector<double>& y, std::vector<double>& z,
                        std::vector<Triangle>& triangles,
                        std::vector<unsigned long long>& boundary);

  /// Reads `path` exactly as from_file does and gives exactly its outputs, but where
  /// from_file ends the process it returns instead, with the fault named: cannot_open
  /// (line 0; also a directory on Windows), empty (line 0; also a directory on POSIX
  /// systems, which open it), bad_vertex_count (line 1) or bad_vertex_line (the line
  /// of the first vertex line that does not parse, counting the header as line 1). All
  /// five outputs are then empty. Every other outcome of from_file (short sections,
  /// unparsable segment lines, open chains) is a result with status ok and the outputs
  /// from_file gives. Safe on any file a user supplies: the process never ends and
  /// nothing is allocated for lines that are not there. For Triangle's own layouts with
  /// comments, attributes and holes, see gravok/triangle_files.h.
  static PolyReadResult read(const std::string& path, std::vector<double>& x,
                             std::vector<double>& y, std::vector<double>& z,
                             std::vector<Triangle>& triangles,
                             std::vector<unsigned long long>& boundary);

  /// Writes stem + ".1.node" and stem + ".1.ele", where the stem is `basename` without
  /// everything from its last "." on (the whole of it when there is none; the search
  /// runs over directory parts too). Both files are created or replaced, in text mode.
  /// The vertex file is the line "N 2 1 1", then per vertex "i x y z 0" with the
  /// coordinates in fixed notation with 12 decimals ("-" for negative values, "inf"
  /// and "nan" as the C library prints them); the triangle file is "T 3 0", then per
  /// triangle "j a b c 0". Every line is flushed as soon as it ends; the vertex file is
  /// complete and closed before the triangle file is opened. The vertex count is
  /// x.size(); y and z must be at least as long. Nothing is reported: a file that
  /// cannot be created stays unwritten and the other one is still written, and a
  /// failed write leaves the file as far as it got.
  static void to_files(const std::string& basename, const std::vector<double>& x,
                       const std::vector<double>& y, const std::vector<double>& z,
                       const std::vector<Triangle>& triangles);
};

}  // namespace gvk

#endif  // GRAVOK_POLY_FILE_H
