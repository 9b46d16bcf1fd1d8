// Fuzz target for the JSON problem reader: any bytes either read as a document or give
// a message, exactly as the whole-document reader reads them or says (the reader
// splits the mesh lists off as the text streams past, and must not differ by that),
// and a document that reads is written, read and written again to the same bytes
// (nothing the reader accepts is lost by the writer).
#include "json_document.h"
#include "json_split.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  gvk::Problem problem, whole;
  std::string error, whole_error;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const bool read = gvk_json::read_document(text, problem, error);
  check(read == gvk_json::read_document_whole(text, whole, whole_error));
  if (!read) {
    check(!error.empty() && error == whole_error);
    return 0;
  }
  std::string first, second;
  gvk_json::write_document(problem, first);
  gvk_json::write_document(whole, second);
  check(first == second);
  check(gvk_json::read_document(first, problem, error));
  gvk_json::write_document(problem, second);
  check(first == second);
  return 0;
}
