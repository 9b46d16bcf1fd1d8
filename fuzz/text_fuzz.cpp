// Fuzz target for the text converters: any bytes decode as the plain byte loop
// decodes them, any wide text (also with elements beyond 16 bits where wchar_t has
// 32) encodes as the byte loop encodes it, and decoded text survives a round trip.
#include <gravok/text.h>

#include "../tests/text_reference.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

// The same bytes read as wide elements, so that encoding sees arbitrary values.
std::wstring as_wide(const std::uint8_t* data, std::size_t size) {
  std::wstring wide(size / sizeof(wchar_t), L'\0');
  if (!wide.empty()) std::memcpy(&wide[0], data, wide.size() * sizeof(wchar_t));
  return wide;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const std::wstring decoded = gvk::from_utf8(bytes);
  check(decoded == reference::from_utf8(bytes));

  // Decoded units are 16-bit values; up to the first 0 unit they travel unchanged.
  const std::wstring prefix = decoded.substr(0, decoded.find(L'\0'));
  check(gvk::from_utf8(gvk::to_utf8(prefix)) == prefix);

  const std::wstring wide = as_wide(data, size);
  check(gvk::to_utf8(wide) == reference::to_utf8(wide));

  const std::string lower = gvk::to_lower_case(bytes);
  check(lower.size() == bytes.size());
  return 0;
}
