#include "dxf_writer.h"

#include "dxf_groups.h"

#include <gravok/element_types.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <utility>

namespace gvk_dxf {
namespace {

// Gathers the text in a buffer, which goes to `file` whenever it holds kChunk bytes and
// at the end (flush); without a file the whole text stays in the buffer.
class Writer {
 public:
  explicit Writer(std::FILE* file) : m_file(file) {}

  void text(int code, const std::string& value) {
    m_text += code < 10 ? "  " : code < 100 ? " " : "";
    m_text += std::to_string(code);
    m_text += '\n';
    m_text += value;
    m_text += '\n';
    if (m_file && m_text.size() >= kChunk) flush();
  }
  void integer(int code, long long value) { text(code, std::to_string(value)); }
  void number(int code, double value) {
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    text(code, std::string(buffer, end));
  }
  // Point `index` (0 for 10/20/30, 1 for 11/21/31, ...).
  void point(int index, double x, double y, double z) {
    number(10 + index, x);
    number(20 + index, y);
    number(30 + index, z);
  }
  void entity(const char* type, const std::string& layer) {
    text(0, type);
    text(8, layer);
  }
  void vertex(const std::string& layer, double x, double y, double z, int flags) {
    entity("VERTEX", layer);
    point(0, x, y, z);
    if (flags) integer(70, flags);
  }
  void polyline(const std::string& layer, int flags) {
    entity("POLYLINE", layer);
    integer(66, 1);
    point(0, 0, 0, 0);
    integer(70, flags);
  }

  // Hands the buffer to the file; a failed write leaves the stream's error set, which
  // the caller (gvk::replace_file) checks.
  void flush() {
    if (m_file && !m_text.empty()) std::fwrite(m_text.data(), 1, m_text.size(), m_file);
    if (m_file) m_text.clear();
  }
  std::string& text() { return m_text; }

 private:
  static constexpr std::size_t kChunk = 64 * 1024;
  std::FILE* m_file;
  std::string m_text;
};

bool finite_all(const std::vector<double>& values) {
  for (const double v : values) {
    if (!std::isfinite(v)) return false;
  }
  return true;
}

// Characters that no DXF version allows in a layer name become '_'.
std::string layer_name(const std::string& name) {
  if (name.empty()) return "0";
  std::string out = name;
  for (char& c : out) {
    if (static_cast<unsigned char>(c) < 32 || std::strchr("<>/\\\":;?*|=`", c)) c = '_';
  }
  return out;
}

void write_header(Writer& w, const Drawing& d) {
  w.text(0, "SECTION");
  w.text(2, "HEADER");
  w.text(9, "$ACADVER");
  w.text(1, kWrittenVersion);
  w.text(9, "$INSUNITS");
  w.integer(70, insunits_of(d.unit));
  if (d.unit >= 0 && d.unit < 8) {
    w.text(9, "$MEASUREMENT");
    w.integer(70, d.unit <= 3 ? 1 : 0);
  }
  w.text(0, "ENDSEC");
}

void write_tables(Writer& w, const std::vector<std::string>& layers) {
  w.text(0, "SECTION");
  w.text(2, "TABLES");
  w.text(0, "TABLE");
  w.text(2, "LTYPE");
  w.integer(70, 1);
  w.text(0, "LTYPE");
  w.text(2, "CONTINUOUS");
  w.integer(70, 0);
  w.text(3, "Solid line");
  w.integer(72, 65);
  w.integer(73, 0);
  w.number(40, 0);
  w.text(0, "ENDTAB");
  w.text(0, "TABLE");
  w.text(2, "LAYER");
  w.integer(70, static_cast<long long>(layers.size()));
  int colour = 0;
  for (const std::string& name : layers) {
    w.text(0, "LAYER");
    w.text(2, name);
    w.integer(70, 0);
    w.integer(62, 1 + colour++ % 7);
    w.text(6, "CONTINUOUS");
  }
  w.text(0, "ENDTAB");
  w.text(0, "ENDSEC");
}

void write_surface(Writer& w, const Surface& s, const std::string& layer) {
  for (const gvk::Triangle& t : s.triangles) {
    w.entity("3DFACE", layer);
    for (int corner = 0; corner < 4; ++corner) {
      const std::size_t v = t[corner < 3 ? corner : 2];
      w.point(corner, s.x[v], s.y[v], s.z[v]);
    }
  }
}

bool same_point(double x1, double y1, double z1, double x2, double y2, double z2) {
  const double a[3] = {x1, y1, z1}, b[3] = {x2, y2, z2};
  return std::memcmp(a, b, sizeof a) == 0;
}

void write_break_lines(Writer& w, const std::vector<gravok_line_3d>& lines) {
  constexpr int k3d = 8, k3dVertex = 32;
  for (std::size_t i = 0; i < lines.size();) {
    w.polyline(kBreakLineLayer, k3d);
    w.vertex(kBreakLineLayer, lines[i].x1, lines[i].y1, lines[i].z1, k3dVertex);
    std::size_t j = i;
    do {
      w.vertex(kBreakLineLayer, lines[j].x2, lines[j].y2, lines[j].z2, k3dVertex);
      ++j;
    } while (j < lines.size() &&
             same_point(lines[j - 1].x2, lines[j - 1].y2, lines[j - 1].z2, lines[j].x1,
                        lines[j].y1, lines[j].z1));
    w.entity("SEQEND", kBreakLineLayer);
    i = j;
  }
}

void write_elements(Writer& w, std::int32_t kind, const Elements& e) {
  const std::string layer = kind_layer(kind);
  for (std::size_t i = 0; i < e.records.size(); ++i) {
    const double* at = e.records[i].location;
    if (kind == LowPoint) {
      w.entity("POINT", layer);
      w.point(0, at[0], at[1], 0);
    } else if (kind == BoundedPoint && same_point(0, 0, at[3], 0, 0, at[4])) {
      w.entity("POINT", layer);
      w.point(0, at[0], at[1], at[3]);
    } else if (kind == BoundedPoint) {
      w.entity("LINE", layer);
      w.point(0, at[0], at[1], at[3]);
      w.point(1, at[0], at[1], at[4]);
    } else if (kind == Offset) {
      w.entity("LINE", layer);
      w.point(0, at[1], at[2], 0);
      w.point(1, at[4], at[5], 0);
    } else if (i < e.xs.size() && i < e.ys.size() && !e.xs[i].empty()) {
      w.polyline(layer, kind == SurfaceZone ? 1 : 0);
      for (std::size_t v = 0; v < e.xs[i].size(); ++v) {
        w.vertex(layer, e.xs[i][v], e.ys[i][v], 0, 0);
      }
      w.entity("SEQEND", layer);
    }
  }
}

}  // namespace

std::string kind_layer(std::int32_t kind) {
  return gvk::element_type_name(static_cast<GradingElementType>(kind));
}

std::string unwritable(const Drawing& d) {
  for (const Surface& s : d.surfaces) {
    const std::string name = "surface " + quoted(s.name);
    if (s.y.size() < s.x.size() || s.z.size() < s.x.size()) {
      return name + " has fewer y or z coordinates than x coordinates";
    }
    if (!finite_all(s.x) || !finite_all(s.y) || !finite_all(s.z)) {
      return name + " has a vertex coordinate that is not finite";
    }
    for (std::size_t i = 0; i < s.triangles.size(); ++i) {
      for (const unsigned long long v : s.triangles[i]) {
        if (v >= s.x.size()) {
          return name + ": triangle " + std::to_string(i) + " names vertex " +
                 std::to_string(v) + ", but there are " + std::to_string(s.x.size());
        }
      }
    }
  }
  for (const gravok_line_3d& l : d.break_lines) {
    if (!finite_all({l.x1, l.y1, l.z1, l.x2, l.y2, l.z2})) {
      return "a break line has a coordinate that is not finite";
    }
  }
  for (const auto& [kind, e] : d.elements) {
    const std::string name = kind_layer(kind);
    if (name.empty()) return "elements of kind " + std::to_string(kind) + " have no name";
    for (std::size_t i = 0; i < e.records.size(); ++i) {
      const double* at = e.records[i].location;
      const std::string element = name + " element " + std::to_string(i);
      if (!finite_all({at[0], at[1], at[3], at[4]}) &&
          (kind == LowPoint || kind == BoundedPoint)) {
        return element + " has a coordinate that is not finite";
      }
      if (!finite_all({at[1], at[2], at[4], at[5]}) && kind == Offset) {
        return element + " has a coordinate that is not finite";
      }
      if (i < e.xs.size() && i < e.ys.size()) {
        if (e.xs[i].size() != e.ys[i].size()) {
          return element + " has " + std::to_string(e.xs[i].size()) + " x and " +
                 std::to_string(e.ys[i].size()) + " y coordinates";
        }
        if (!finite_all(e.xs[i]) || !finite_all(e.ys[i])) {
          return element + " has a coordinate that is not finite";
        }
      }
    }
  }
  return "";
}

namespace {

void write(Writer& w, const Drawing& d) {
  write_header(w, d);
  std::vector<std::string> layers{"0"};
  std::set<std::string> seen{"0"};
  auto add = [&](const std::string& name) {
    if (seen.insert(name).second) layers.push_back(name);
  };
  // Each surface on a layer of its own, also when two names become one as layer names.
  std::vector<std::string> surface_layers;
  std::set<std::string> taken;
  for (const Surface& s : d.surfaces) {
    std::string name = layer_name(s.name);
    for (int n = 2; !taken.insert(name).second; ++n) {
      name = layer_name(s.name) + "_" + std::to_string(n);
    }
    surface_layers.push_back(name);
    add(name);
  }
  if (!d.break_lines.empty()) add(kBreakLineLayer);
  for (const auto& [kind, e] : d.elements) {
    if (!e.records.empty()) add(kind_layer(kind));
  }
  write_tables(w, layers);
  w.text(0, "SECTION");
  w.text(2, "ENTITIES");
  for (std::size_t i = 0; i < d.surfaces.size(); ++i) {
    write_surface(w, d.surfaces[i], surface_layers[i]);
  }
  write_break_lines(w, d.break_lines);
  for (const auto& [kind, e] : d.elements) write_elements(w, kind, e);
  w.text(0, "ENDSEC");
  w.text(0, "EOF");
}

}  // namespace

void write_drawing(std::FILE* file, const Drawing& drawing) {
  Writer w(file);
  write(w, drawing);
  w.flush();
}

std::string drawing_text(const Drawing& drawing) {
  Writer w(nullptr);
  write(w, drawing);
  return std::move(w.text());
}

}  // namespace gvk_dxf
