// Fuzz target for the LandXML plug-in's reader: any bytes either parse or give a
// message; a surface that parses names only its own vertices, and what the store's
// writer makes of it parses again to the same surfaces, vertices and triangles.
#include "landxml_document.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

bool parse(const std::string& text, gvk_landxml::Document& document, std::string& error) {
  std::vector<char> bytes(text.begin(), text.end());
  std::vector<std::string> warnings;
  return gvk_landxml::parse_document(bytes, "fuzz.xml", document, error, warnings);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  gvk_landxml::Document document;
  std::string error;
  if (!parse(std::string(reinterpret_cast<const char*>(data), size), document, error)) {
    check(!error.empty());
    return 0;
  }
  for (const gvk_landxml::Surface& s : document.surfaces) {
    check(s.y.size() == s.x.size() && s.z.size() == s.x.size());
    for (const gvk::Triangle& t : s.triangles) {
      for (const unsigned long long v : t) check(v < s.x.size());
    }
  }
  gvk_landxml::Document again;
  check(parse(gvk_landxml::write_document(document, "fuzz"), again, error));
  check(again.surfaces.size() == document.surfaces.size());
  for (std::size_t i = 0; i < again.surfaces.size(); ++i) {
    check(again.surfaces[i].x.size() == document.surfaces[i].x.size());
    check(again.surfaces[i].triangles.size() == document.surfaces[i].triangles.size());
  }
  return 0;
}
