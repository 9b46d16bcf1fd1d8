// What a LandXML 1.2 file cannot hold, found before anything is written:
//
//  - numbers are xs:double in decimal text: no NaN, no infinity;
//  - <Pnts> holds at least three <P> and <Faces> at least one <F>, and every <F> names
//    a <P> of its surface (the reader refuses a face that does not);
//  - a point or a plan feature has one easting per northing;
//  - text is XML 1.0: valid UTF-8 without control characters other than tab, line feed
//    and carriage return.
//
// A surface with neither points nor faces is no fault: the writer leaves it out.
#include "landxml_document.h"

#include <gravok/mesh_check.h>

#include <cmath>

namespace gvk_landxml {
namespace {

bool finite(double value) { return std::isfinite(value); }

bool all_finite(const std::vector<double>& values) {
  for (const double v : values) {
    if (!finite(v)) return false;
  }
  return true;
}

// The length of the UTF-8 sequence that starts with `lead`, 0 for a byte no sequence
// starts with.
int sequence_length(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

// Why XML 1.0 cannot carry `text`, or "".
std::string text_fault(const std::string& text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto c = static_cast<unsigned char>(text[i]);
    const int length = sequence_length(c);
    if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') {
      return "control character " + std::to_string(c) + " at byte " + std::to_string(i);
    }
    bool valid = length > 0 && i + length <= text.size();
    for (int k = 1; valid && k < length; ++k) {
      valid = (static_cast<unsigned char>(text[i + k]) & 0xC0) == 0x80;
    }
    // Overlong forms, surrogates and values beyond U+10FFFF.
    if (valid && length == 3) {
      const auto second = static_cast<unsigned char>(text[i + 1]);
      valid = !(c == 0xE0 && second < 0xA0) && !(c == 0xED && second >= 0xA0);
    } else if (valid && length == 4) {
      const auto second = static_cast<unsigned char>(text[i + 1]);
      valid = !(c == 0xF0 && second < 0x90) && !(c == 0xF4 && second >= 0x90);
    }
    if (!valid) return "byte " + std::to_string(i) + " is not UTF-8";
    i += static_cast<std::size_t>(length);
  }
  return "";
}

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

std::string surface_fault(const Surface& s) {
  const std::string where = "surface " + quoted(s.name) + ": ";
  if (std::string fault = text_fault(s.name); !fault.empty()) return where + fault;
  if (s.x.empty() && s.triangles.empty()) return "";
  // The most severe finding comes first; the kinds after NonFiniteCoordinate (zero
  // area, unused or welding vertices) are all things LandXML holds.
  const std::vector<gvk::MeshFinding> first =
      gvk::check_mesh(s.x, s.y, s.z, s.triangles, -1.0, 1);
  if (!first.empty() && first[0].kind <= gvk::MeshFindingKind::NonFiniteCoordinate) {
    return where + gvk::mesh_finding_message(first[0]);
  }
  if (s.x.size() < 3 || s.triangles.empty()) {
    return where + std::to_string(s.x.size()) + " vertices and " +
           std::to_string(s.triangles.size()) +
           " triangles; a LandXML surface needs at least 3 points and 1 triangle";
  }
  for (std::size_t i = 0; i < s.break_lines.size(); ++i) {
    const gravok_line_3d& l = s.break_lines[i];
    if (!finite(l.x1) || !finite(l.y1) || !finite(l.z1) || !finite(l.x2) ||
        !finite(l.y2) || !finite(l.z2)) {
      return where + "break line " + std::to_string(i) +
             ": a coordinate is NaN or infinite";
    }
  }
  return "";
}

std::string feature_fault(const Feature& f) {
  const std::string where = quoted(f.name) + ": ";
  if (std::string fault = text_fault(f.name); !fault.empty()) return where + fault;
  if (std::string fault = text_fault(f.desc); !fault.empty()) return where + fault;
  if (f.xs.size() != f.ys.size()) {
    return where + std::to_string(f.xs.size()) + " x values but " +
           std::to_string(f.ys.size()) + " y values";
  }
  if (!all_finite(f.xs) || !all_finite(f.ys)) {
    return where + "a coordinate is NaN or infinite";
  }
  return "";
}

}  // namespace

std::string first_unwritable(const Document& document, const std::string& application) {
  if (std::string fault = text_fault(application); !fault.empty()) {
    return "the application name: " + fault;
  }
  if (std::string fault = text_fault(document.application); !fault.empty()) {
    return "the host version: " + fault;
  }
  for (const Surface& surface : document.surfaces) {
    if (std::string fault = surface_fault(surface); !fault.empty()) return fault;
  }
  for (const std::vector<Feature>* list : {&document.points, &document.features}) {
    for (const Feature& feature : *list) {
      if (std::string fault = feature_fault(feature); !fault.empty()) return fault;
    }
  }
  return "";
}

}  // namespace gvk_landxml
