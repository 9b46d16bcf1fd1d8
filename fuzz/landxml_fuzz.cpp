// Fuzz target for the LandXML plug-in's reader: any bytes either parse or give a
// message; a surface that parses names only its own vertices; what the store would
// refuse to write is named, and what it writes parses again to the same surfaces,
// vertices and triangles, less the surfaces with neither points nor faces, which the
// writer leaves out.
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
  if (!gvk_landxml::first_unwritable(document, "fuzz").empty()) return 0;
  std::vector<const gvk_landxml::Surface*> written;
  for (const gvk_landxml::Surface& s : document.surfaces) {
    if (!s.x.empty() || !s.triangles.empty()) written.push_back(&s);
  }
  gvk_landxml::Document again;
  check(parse(gvk_landxml::write_document(document, "fuzz"), again, error));
  check(again.surfaces.size() == written.size());
  for (std::size_t i = 0; i < again.surfaces.size(); ++i) {
    check(again.surfaces[i].x.size() == written[i]->x.size());
    check(again.surfaces[i].triangles.size() == written[i]->triangles.size());
  }
  return 0;
}
