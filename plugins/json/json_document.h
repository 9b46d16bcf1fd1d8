// The JSON problem document: one gvk::Problem written as one JSON text, and read back.
// docs/json-format.md describes the format; this is its reader and writer, shared by
// the JSON plug-in and the gravok tool. Every double reads back to the same bits
// (signed zeros, infinities and NaN payloads included), opaque record blocks travel as
// hexadecimal text, and strings that are not UTF-8 travel as their bytes in hex.
// The functions may run on several threads at once, each on its own problem. The
// readers keep their parse buffers per thread between reads (see release_read_buffers).
#ifndef GRAVOK_JSON_DOCUMENT_H
#define GRAVOK_JSON_DOCUMENT_H

#include <gravok/problem.h>
#include <gravok/records.h>

#include <string>
#include <string_view>

namespace gvk_json {

// The value of the document's "format" member, and the newest version this code
// reads and writes. The reader accepts versions 1 to kFormatVersion; the writer writes
// version 1 unless the problem holds what version 2 added (several surfaces, a
// description), so that a document of one surface stays readable by version 1's
// readers.
inline constexpr std::string_view kFormatName = "gravok-problem";
inline constexpr long long kFormatVersion = 2;

// Deepest nesting of arrays and objects the reader accepts; a problem needs six.
inline constexpr std::size_t kMaxDepth = 32;

// The name of a kind in the document: "LowPoint", ..., "Pathway" for the named kinds,
// the decimal value ("8", "-1", "1000") for every other one.
std::string element_kind_name(GradingElementType kind);

// The kind that element_kind_name gives `name` for; false for any other text.
bool element_kind_from_name(std::string_view name, GradingElementType& kind);

// Writes `problem` as a document into `out`, replacing its content. The same problem
// always gives the same bytes. Kinds whose element set holds nothing are left out.
void write_document(const gvk::Problem& problem, std::string& out);

// Writes the document of `problem` to `path` through a temporary file beside it that
// then replaces `path` (gvk::replace_file), so a failed write never leaves a
// half-written document under the name, nor a temporary file. A failure throws
// std::system_error "cannot write PATH" with the system's reason ("cannot write
// site.json: No space left on device"); `path` is then unchanged. A JSON document holds
// every value a problem can hold (NaN and infinities as strings, text that is not
// UTF-8 as bytes), so nothing is refused for its content. The document is passed on
// to the file a megabyte at a time, never held whole; the file holds the bytes
// write_document gives.
void write_file(const gvk::Problem& problem, const std::string& path);

// Reads a document into `problem`. On success returns true and `problem` holds
// exactly what the document says, with DataSource's defaults for the sections it
// leaves out. Text that is not JSON, nesting deeper than kMaxDepth, a number outside
// its member's range, a member of the wrong type, a missing required member, an
// unknown member or a version newer than kFormatVersion returns false with one line
// in `error` naming the place as a JSON pointer ("/mesh/triangles/7/2: expected an
// unsigned integer"); `problem` is then unspecified but valid.
bool read_document(std::string_view text, gvk::Problem& problem, std::string& error);

// Reads the document in the file at `path` as read_document does. A file that cannot
// be read returns false with a message naming the file and the reason; every message
// starts with the path.
bool read_file(const std::string& path, gvk::Problem& problem, std::string& error);

// Frees the buffers that read_document and read_file keep on the calling thread
// between reads: the parser's and a copy of the text it parsed, together about fifteen
// times the largest such text of up to 64 MiB the thread has read. The text parsed is
// the document without its mesh lists, which are read straight into their arrays as
// the text streams past, so a site's text is not held at all; a document that does not
// read is parsed whole, lists and all, to name its fault. The buffers are freed at the
// thread's end anyway; the next read on the thread allocates them again. A larger
// text's buffers are not kept: its copy goes as soon as it is parsed and the parser's
// buffers once the problem is filled.
void release_read_buffers();

}  // namespace gvk_json

#endif  // GRAVOK_JSON_DOCUMENT_H
