// Fuzz target for the JSON problem reader: any bytes either read as a document or give
// a message, and a document that reads is written, read and written again to the same
// bytes (nothing the reader accepts is lost by the writer).
#include "json_document.h"

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
  gvk::Problem problem;
  std::string error;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (!gvk_json::read_document(text, problem, error)) {
    check(!error.empty());
    return 0;
  }
  std::string first, second;
  gvk_json::write_document(problem, first);
  check(gvk_json::read_document(first, problem, error));
  gvk_json::write_document(problem, second);
  check(first == second);
  return 0;
}
