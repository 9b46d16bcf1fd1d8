// Fuzz target for the LandXML plug-in's reader: any bytes either parse or give a
// message, the same whether the reader reads the plain list elements itself or gives
// every byte to the XML parser (the same surfaces, warnings and message); a surface
// that parses names only its own vertices; what the store would
// refuse to write is named, and what it writes parses again to the same surfaces,
// vertices and triangles, less the surfaces with neither points nor faces, which the
// writer leaves out.
#include "landxml_document.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

bool parse(const std::string& text, gvk_landxml::Document& document, std::string& error,
           bool scan_lists = true, std::vector<std::string>* warnings_out = nullptr) {
  std::vector<char> bytes(text.begin(), text.end());
  std::vector<std::string> warnings;
  const bool ok = gvk_landxml::parse_document(bytes, "fuzz.xml", document, error,
                                              warnings, scan_lists);
  if (warnings_out) *warnings_out = warnings;
  return ok;
}

bool same_doubles(const std::vector<double>& a, const std::vector<double>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0);
}

// The reader that scans the lists and the parser alone agree on everything.
void check_scan(const std::string& text) {
  gvk_landxml::Document scanned, whole;
  std::string scanned_error, whole_error;
  std::vector<std::string> scanned_warnings, whole_warnings;
  const bool ok = parse(text, scanned, scanned_error, true, &scanned_warnings);
  check(ok == parse(text, whole, whole_error, false, &whole_warnings));
  check(scanned_error == whole_error && scanned_warnings == whole_warnings);
  if (!ok) return;
  check(scanned.surfaces.size() == whole.surfaces.size());
  for (std::size_t i = 0; i < whole.surfaces.size(); ++i) {
    const gvk_landxml::Surface &a = scanned.surfaces[i], &b = whole.surfaces[i];
    check(a.name == b.name && same_doubles(a.x, b.x) && same_doubles(a.y, b.y) &&
          same_doubles(a.z, b.z) && a.triangles == b.triangles &&
          a.invisible_faces == b.invisible_faces);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  check_scan(text);
  gvk_landxml::Document document;
  std::string error;
  if (!parse(text, document, error)) {
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
