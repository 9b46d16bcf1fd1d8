// Fuzz target for the DXF plug-in's reader: any bytes either read or give a message
// naming the text; a drawing that reads has surfaces whose triangles name only their
// own vertices and finite coordinates, and what the writer makes of it reads again to
// the same surfaces, vertices, triangles, break lines and elements.
#include "dxf_drawing.h"
#include "dxf_writer.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

bool parse(const std::string& text, gvk_dxf::Drawing& drawing, std::string& error) {
  std::vector<std::string> warnings;
  return gvk_dxf::parse_drawing(text, "fuzz.dxf", {"BREAK"}, drawing, error, warnings);
}

std::size_t element_count(const gvk_dxf::Drawing& d) {
  std::size_t n = 0;
  for (const auto& [kind, e] : d.elements) n += e.records.size();
  return n;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  gvk_dxf::Drawing drawing;
  std::string error;
  if (!parse(std::string(reinterpret_cast<const char*>(data), size), drawing, error)) {
    check(error.rfind("fuzz.dxf:", 0) == 0);
    return 0;
  }
  for (const gvk_dxf::Surface& s : drawing.surfaces) {
    check(s.y.size() == s.x.size() && s.z.size() == s.x.size());
    for (std::size_t i = 0; i < s.x.size(); ++i) {
      check(std::isfinite(s.x[i]) && std::isfinite(s.y[i]) && std::isfinite(s.z[i]));
    }
    for (const gvk::Triangle& t : s.triangles) {
      for (const unsigned long long v : t) check(v < s.x.size());
    }
  }
  check(gvk_dxf::unwritable(drawing).empty());
  gvk_dxf::Drawing again;
  check(parse(gvk_dxf::drawing_text(drawing), again, error));
  check(again.surfaces.size() == drawing.surfaces.size());
  for (std::size_t i = 0; i < again.surfaces.size(); ++i) {
    check(again.surfaces[i].triangles.size() == drawing.surfaces[i].triangles.size());
    check(again.surfaces[i].x.size() <= drawing.surfaces[i].x.size());
  }
  check(again.break_lines.size() == drawing.break_lines.size());
  check(element_count(again) <= element_count(drawing));
  return 0;
}
