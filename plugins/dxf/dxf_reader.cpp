// From entities to a drawing: the sections of the file, the header's units, the
// blocks, and the placing of every shape (blocks expanded where they are inserted)
// into surfaces, break lines and elements.
#include "dxf_drawing.h"
#include "dxf_shapes.h"

#include <gravok/element_types.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <unordered_map>

namespace gvk_dxf {
namespace {

// ---------------------------------------------------------------------------------
// Transforms: an affine map of 3D points, x' = m * (x, y, z, 1). The identity is
// marked so that it is applied as no arithmetic at all, which keeps every bit of a
// coordinate (-0.0 + 0.0 would give 0.0).
struct Transform {
  double m[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
  bool identity = true;

  Vec3 apply(const Vec3& p) const {
    if (identity) return p;
    return {m[0][0] * p.x + m[0][1] * p.y + m[0][2] * p.z + m[0][3],
            m[1][0] * p.x + m[1][1] * p.y + m[1][2] * p.z + m[1][3],
            m[2][0] * p.x + m[2][1] * p.y + m[2][2] * p.z + m[2][3]};
  }
  // This transform after `inner`: apply(inner.apply(p)).
  Transform after(const Transform& inner) const {
    if (identity) return inner;
    if (inner.identity) return *this;
    Transform t;
    t.identity = false;
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 4; ++c) {
        t.m[r][c] = m[r][0] * inner.m[0][c] + m[r][1] * inner.m[1][c] +
                    m[r][2] * inner.m[2][c] + (c == 3 ? m[r][3] : 0.0);
      }
    }
    return t;
  }
};

Vec3 cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vec3 unit(const Vec3& v) {
  const double length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  return {v.x / length, v.y / length, v.z / length};
}

// The object coordinate system of an extrusion direction, DXF's arbitrary axis
// algorithm: its x axis is the world's y (or, for normals near the z axis, z) axis
// crossed with the normal. A normal of (0, 0, 1), a zero normal and one that is not
// finite give the identity.
Transform ocs_transform(const Vec3& normal) {
  Transform t;
  const double length2 = normal.x * normal.x + normal.y * normal.y + normal.z * normal.z;
  if ((normal.x == 0 && normal.y == 0 && normal.z > 0) || !(length2 > 0) ||
      !std::isfinite(length2)) {
    return t;
  }
  const Vec3 n = unit(normal);
  const bool near_z = std::fabs(n.x) < 1.0 / 64 && std::fabs(n.y) < 1.0 / 64;
  const Vec3 ax = unit(cross(near_z ? Vec3{0, 1, 0} : Vec3{0, 0, 1}, n));
  const Vec3 ay = unit(cross(n, ax));
  const Vec3 axes[3] = {ax, ay, n};
  for (int c = 0; c < 3; ++c) {
    t.m[0][c] = axes[c].x;
    t.m[1][c] = axes[c].y;
    t.m[2][c] = axes[c].z;
  }
  t.identity = false;
  return t;
}

// The transform of one copy of a block placed by an INSERT: the block's base point
// to the origin, scaled, moved by the array's column and row offsets, rotated about
// the insert's z axis, moved to the insertion point, all in the insert's object
// coordinate system.
Transform insert_transform(const Shape& s, const Vec3& base, long long column,
                           long long row) {
  Transform t;
  t.identity = false;
  const double angle = s.rotation * (3.14159265358979323846 / 180.0);
  const double c = std::cos(angle), n = std::sin(angle);
  const double dx = double(column) * s.column_spacing, dy = double(row) * s.row_spacing;
  const double sx = s.scale.x, sy = s.scale.y, sz = s.scale.z;
  const Vec3& at = s.points[0];
  // x' = R (S (p - base) + d) + at
  t.m[0][0] = c * sx, t.m[0][1] = -n * sy, t.m[0][2] = 0;
  t.m[1][0] = n * sx, t.m[1][1] = c * sy, t.m[1][2] = 0;
  t.m[2][0] = 0, t.m[2][1] = 0, t.m[2][2] = sz;
  t.m[0][3] = -(c * sx * base.x - n * sy * base.y) + c * dx - n * dy + at.x;
  t.m[1][3] = -(n * sx * base.x + c * sy * base.y) + n * dx + c * dy + at.y;
  t.m[2][3] = -sz * base.z + at.z;
  return ocs_transform(s.extrusion).after(t);
}

constexpr std::size_t kExpansionFloor = 4096;

bool finite(const Vec3& p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

// ---------------------------------------------------------------------------------
// Welding: the key of a vertex is the bit pattern of its three coordinates.
struct Key {
  std::uint64_t bits[3];
  bool operator==(const Key& o) const {
    return bits[0] == o.bits[0] && bits[1] == o.bits[1] && bits[2] == o.bits[2];
  }
};
struct KeyHash {
  std::size_t operator()(const Key& k) const {
    std::uint64_t h = 1469598103934665603ull;
    for (const std::uint64_t b : k.bits) h = (h ^ b) * 1099511628211ull;
    return std::size_t(h ^ (h >> 29));
  }
};

Key key_of(const Vec3& p) {
  Key k;
  std::memcpy(&k.bits[0], &p.x, 8);
  std::memcpy(&k.bits[1], &p.y, 8);
  std::memcpy(&k.bits[2], &p.z, 8);
  return k;
}

struct SurfaceBuilder {
  Surface surface;
  std::unordered_map<Key, unsigned long long, KeyHash> index;

  unsigned long long vertex(const Vec3& p) {
    const auto [at, added] = index.emplace(key_of(p), surface.x.size());
    if (added) {
      surface.x.push_back(p.x);
      surface.y.push_back(p.y);
      surface.z.push_back(p.z);
    }
    return at->second;
  }
  void triangle(const Vec3& a, const Vec3& b, const Vec3& c) {
    surface.triangles.push_back({vertex(a), vertex(b), vertex(c)});
  }
  // Corners 1 to 4; the fourth repeating the third or the first makes a triangle,
  // else the quadrilateral is split along the diagonal from the first to the third.
  void face(const Vec3& a, const Vec3& b, const Vec3& c, const Vec3& d) {
    triangle(a, b, c);
    if (!(key_of(d) == key_of(c)) && !(key_of(d) == key_of(a))) triangle(a, c, d);
  }
};

// ---------------------------------------------------------------------------------
// A warning kept until the end: how many entities, and the first one's line.
struct Tally {
  std::size_t count = 0;
  std::size_t first_line = 0;
};

class Placer {
 public:
  Placer(const std::string& where, const ReadOptions& options, const Names& layers,
         const Names& blocks, std::size_t budget, Drawing& drawing)
      : m_where(where),
        m_options(options),
        m_layers(layers),
        m_blocks(blocks),
        m_budget(budget),
        m_drawing(drawing) {}

  std::vector<std::vector<Shape>> block_shapes;  // by block index
  std::vector<Vec3> block_bases;
  std::vector<bool> block_defined;

  bool place(const Shape& s, const Transform& t, std::uint32_t inherited_layer, int depth,
             std::string& error);
  void finish(std::vector<std::string>& warnings);

 private:
  bool place_insert(const Shape& s, const Transform& t, std::uint32_t layer, int depth,
                    std::string& error);
  void place_linear(const Shape& s, const std::vector<Vec3>& points, std::uint32_t layer);
  void element(GradingElementType kind, const Shape& s, const std::vector<Vec3>& points,
               std::uint32_t layer);
  void note(const std::string& what, std::uint32_t layer, std::size_t line);
  const LayerRole& role(std::uint32_t layer);

  const std::string& m_where;
  const ReadOptions& m_options;
  const Names& m_layers;
  const Names& m_blocks;
  std::size_t m_budget;
  Drawing& m_drawing;
  std::vector<SurfaceBuilder> m_surfaces;
  std::unordered_map<std::uint32_t, std::size_t> m_surface_of_layer;
  std::unordered_map<std::uint32_t, LayerRole> m_roles;
  std::vector<std::pair<std::string, Tally>> m_notes;  // in order of first occurrence
  std::unordered_map<std::string, std::size_t> m_note_index;
};

const LayerRole& Placer::role(std::uint32_t layer) {
  auto found = m_roles.find(layer);
  if (found == m_roles.end()) {
    const std::string& name = m_layers.name(layer);
    LayerRole r = classify_layer(name);
    if (!m_options.break_line_layer.empty() && name == m_options.break_line_layer) {
      r.what = LayerRole::kBreakLines;
    }
    found = m_roles.emplace(layer, r).first;
  }
  return found->second;
}

void Placer::note(const std::string& what, std::uint32_t layer, std::size_t line) {
  const std::string key =
      (layer == UINT32_MAX ? std::string()
                           : "layer " + quoted(m_layers.name(layer)) + ": ") +
      what;
  const auto [at, added] = m_note_index.emplace(key, m_notes.size());
  if (added) m_notes.push_back({key, {0, line}});
  ++m_notes[at->second].second.count;
}

bool Placer::place(const Shape& s, const Transform& t, std::uint32_t inherited_layer,
                   int depth, std::string& error) {
  // Entities on layer "0" of a block take the layer of the insert that places them.
  const std::uint32_t layer =
      (inherited_layer != UINT32_MAX && m_layers.name(s.layer) == "0") ? inherited_layer
                                                                       : s.layer;
  if (s.kind == Shape::kInsert) return place_insert(s, t, layer, depth, error);
  const Transform whole = s.ocs ? t.after(ocs_transform(s.extrusion)) : t;
  std::vector<Vec3> points;
  points.reserve(s.points.size());
  for (const Vec3& p : s.points) {
    points.push_back(whole.apply(p));
    if (!finite(points.back())) {
      error = std::to_string(s.line) +
              ": the entity's coordinates, placed by its block's INSERT, are not finite";
      return false;
    }
  }
  if (depth > 0) {
    if (m_budget < points.size()) {
      note("entities beyond the expansion budget of INSERTs left out", layer, s.line);
      return true;
    }
    m_budget -= points.size();
  }
  if (s.kind == Shape::kMesh && s.faces.empty()) {
    note("polyface meshes without faces left out", layer, s.line);
    return true;
  }
  if (s.kind == Shape::kFace || s.kind == Shape::kMesh) {
    auto [at, added] = m_surface_of_layer.emplace(layer, m_surfaces.size());
    if (added) {
      m_surfaces.emplace_back();
      m_surfaces.back().surface.name = m_layers.name(layer);
    }
    SurfaceBuilder& b = m_surfaces[at->second];
    if (s.kind == Shape::kFace) {
      b.face(points[0], points[1], points[2], points[3]);
    } else {
      for (const auto& f : s.faces) {
        const Vec3& a = points[f[0] - 1];
        const Vec3& c = points[f[2] - 1];
        b.face(a, points[f[1] - 1], c, f[3] ? points[f[3] - 1] : c);
      }
    }
    return true;
  }
  place_linear(s, points, layer);
  return true;
}

bool Placer::place_insert(const Shape& s, const Transform& t, std::uint32_t layer,
                          int depth, std::string& error) {
  if (s.block >= block_defined.size() || !block_defined[s.block]) {
    note("INSERT of block " + quoted(m_blocks.name(s.block)) +
             ", which the drawing does not define, left out",
         UINT32_MAX, s.line);
    return true;
  }
  if (depth >= kMaxInsertDepth) {
    note("INSERTs nested deeper than " + std::to_string(kMaxInsertDepth) +
             " levels left out",
         UINT32_MAX, s.line);
    return true;
  }
  for (long long row = 0; row < s.rows; ++row) {
    for (long long column = 0; column < s.columns; ++column) {
      if (m_budget == 0) {
        note("entities beyond the expansion budget of INSERTs left out", UINT32_MAX,
             s.line);
        return true;
      }
      --m_budget;
      const Transform placed =
          t.after(insert_transform(s, block_bases[s.block], column, row));
      for (const Shape& inner : block_shapes[s.block]) {
        if (!place(inner, placed, layer, depth + 1, error)) return false;
      }
    }
  }
  return true;
}

void Placer::place_linear(const Shape& s, const std::vector<Vec3>& points,
                          std::uint32_t layer) {
  const LayerRole& r = role(layer);
  if (r.what == LayerRole::kNone) {
    note("entities on a layer whose name names no element kind left out", layer, s.line);
    return;
  }
  if (s.kind == Shape::kPolyline && points.empty()) {
    note("polylines without vertices left out", layer, s.line);
    return;
  }
  if (s.bulges) note("arc segments read as straight chords", layer, s.line);
  if (r.what == LayerRole::kElements) {
    element(r.kind, s, points, layer);
    return;
  }
  if (s.kind == Shape::kPoint || points.size() < 2) {
    note("points on a break-line layer left out", layer, s.line);
    return;
  }
  const std::size_t n = points.size();
  const std::size_t segments = s.closed ? n : n - 1;
  for (std::size_t i = 0; i < segments; ++i) {
    const Vec3& a = points[i];
    const Vec3& b = points[(i + 1) % n];
    m_drawing.break_lines.push_back({a.x, a.y, a.z, b.x, b.y, b.z});
  }
}

void Placer::element(GradingElementType kind, const Shape& s,
                     const std::vector<Vec3>& points, std::uint32_t layer) {
  gravok_grading_element record;
  gvk::initge(record);
  double* at = record.location;
  const bool point = s.kind == Shape::kPoint;
  const bool segment = points.size() == 2;
  if (kind == LowPoint || kind == BoundedPoint) {
    // A bounded point is a POINT (both elevations its z) or a vertical LINE from the
    // first elevation to the second.
    const bool vertical =
        kind == BoundedPoint && segment && !s.closed &&
        key_of({points[0].x, points[0].y, 0}) == key_of({points[1].x, points[1].y, 0});
    if (!point && !vertical) {
      note(std::string("lines on a layer of ") + gvk::element_type_name(kind) +
               ", a point kind, left out",
           layer, s.line);
      return;
    }
    at[0] = points[0].x, at[1] = points[0].y;
    if (kind == BoundedPoint) at[3] = points[0].z, at[4] = points.back().z;
  } else if (kind == Offset) {
    if (!segment || s.closed) {
      note("entities on a layer of Offset that are not one segment left out", layer,
           s.line);
      return;
    }
    at[1] = points[0].x, at[2] = points[0].y, at[4] = points[1].x, at[5] = points[1].y;
  } else if (point) {
    note(std::string("points on a layer of ") + gvk::element_type_name(kind) +
             ", a polyline kind, left out",
         layer, s.line);
    return;
  }
  Elements& e = m_drawing.elements[kind];
  e.records.push_back(record);
  e.xs.emplace_back();
  e.ys.emplace_back();
  if (kind == LowPoint || kind == BoundedPoint || kind == Offset) return;
  std::size_t n = points.size();
  // An open polygon whose last vertex repeats its first is closed by that vertex.
  if (kind == SurfaceZone && !s.closed && n > 1 &&
      key_of(points[0]) == key_of(points[n - 1])) {
    --n;
  }
  for (std::size_t i = 0; i < n; ++i) {
    e.xs.back().push_back(points[i].x);
    e.ys.back().push_back(points[i].y);
  }
}

void Placer::finish(std::vector<std::string>& warnings) {
  for (SurfaceBuilder& b : m_surfaces) m_drawing.surfaces.push_back(std::move(b.surface));
  m_surfaces.clear();
  for (const auto& [what, tally] : m_notes) {
    warnings.push_back(m_where + ":" + std::to_string(tally.first_line) + ": " + what +
                       " (" + std::to_string(tally.count) +
                       (tally.count == 1 ? " entity, at this line)"
                                         : " entities, the first at this line)"));
  }
}

// ---------------------------------------------------------------------------------
// Sections.
std::string_view group_value(const Entity& e, int code) {
  for (const Group& g : e.groups) {
    if (g.code == code) return g.value;
  }
  return {};
}

std::string_view trimmed(std::string_view v) {
  while (!v.empty() && (v.front() == ' ' || v.front() == '\t')) v.remove_prefix(1);
  while (!v.empty() && (v.back() == ' ' || v.back() == '\t')) v.remove_suffix(1);
  return v;
}

// What the header states: its pairs are "9 $NAME" and the value pairs that follow.
struct Header {
  long long insunits = 0, measurement = -1;
  std::size_t insunits_line = 0;
};

void read_header(const Entity& section, Drawing& drawing, Header& header) {
  std::string_view variable;
  for (const Group& g : section.groups) {
    if (g.code == 9) {
      variable = trimmed(g.value);
    } else if (variable == "$ACADVER" && g.code == 1) {
      drawing.version = std::string(trimmed(g.value).substr(0, 64));
    } else if (variable == "$INSUNITS" && g.code == 70) {
      if (!parse_integer(g.value, header.insunits)) header.insunits = -1;
      header.insunits_line = g.line;
    } else if (variable == "$MEASUREMENT" && g.code == 70) {
      if (!parse_integer(g.value, header.measurement)) header.measurement = -1;
    }
  }
}

// The unit, and a warning when the header names none the library knows.
void take_unit(const Header& h, const std::string& where, Drawing& drawing,
               std::vector<std::string>& warnings) {
  drawing.unit = unit_of_insunits(h.insunits);
  if (drawing.unit != gvk::kUnknownUnitType) return;
  const std::string system = h.measurement == 0   ? "; $MEASUREMENT says imperial"
                             : h.measurement == 1 ? "; $MEASUREMENT says metric"
                                                  : "";
  if (h.insunits_line == 0 || h.insunits == 0) {
    warnings.push_back(where + ": the drawing states no unit (" +
                       (h.insunits_line ? "$INSUNITS 0" : "no $INSUNITS") + system +
                       "): read with the unknown unit");
  } else {
    warnings.push_back(where + ":" + std::to_string(h.insunits_line) + ": $INSUNITS " +
                       std::to_string(h.insunits) +
                       " is no unit the library knows: read with the unknown unit" +
                       system);
  }
}

void skipped_warning(const Skipped& skipped, const std::string& where,
                     std::vector<std::string>& warnings) {
  if (skipped.types.empty()) return;
  std::string text;
  std::size_t shown = 0;
  for (const auto& [type, count] : skipped.types) {
    if (shown++ == 16) {
      text += ", and " + std::to_string(skipped.types.size() - 16) + " types more";
      break;
    }
    text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + type;
  }
  warnings.push_back(
      where + ": entities that carry no surface or element geometry left out: " + text);
}

}  // namespace

bool parse_drawing(std::string_view text, const std::string& where,
                   const ReadOptions& options, Drawing& drawing, std::string& error,
                   std::vector<std::string>& warnings) {
  drawing = Drawing();
  auto fail = [&](const std::string& message) {
    error = where + ":" + message;
    return false;
  };
  if (text.substr(0, kBinarySentinel.size()) == kBinarySentinel) {
    return fail(
        " a binary DXF file, which this reader does not read: save the drawing "
        "as ASCII DXF");
  }
  if (!starts_like_dxf(text)) {
    return fail(" not a DXF file: it does not start with the pairs 0/SECTION");
  }
  Names layers, blocks;
  Skipped skipped;
  Header header;
  ShapeBuilder builder(layers, blocks, skipped);
  // The budget of vertices INSERTs may add: a quarter of the text's bytes and 4096,
  // so that what blocks expand to costs memory in proportion to the file.
  Placer placer(where, options, layers, blocks, text.size() / 4 + kExpansionFloor,
                drawing);
  std::vector<Shape> model, inserts;
  EntityReader reader(text);
  Entity e;
  std::string section;
  std::vector<Shape>* into = nullptr;  // the open block's shapes or the model's
  std::uint32_t block = 0;
  bool ended = false;
  // Shapes of the model are placed at once, so the model is never held twice;
  // INSERTs wait for the end, when every block is known.
  auto place_model = [&](std::string& problem) {
    for (Shape& s : model) {
      if (s.kind == Shape::kInsert) {
        inserts.push_back(std::move(s));
      } else if (!placer.place(s, Transform(), UINT32_MAX, 0, problem)) {
        return false;
      }
    }
    model.clear();
    return true;
  };
  while (reader.next(e)) {
    std::string problem;
    if (e.type == "EOF") {
      // A section that EOF closes keeps its last polyline.
      if (into && (!builder.finish(*into, problem) || !place_model(problem))) {
        return fail(problem);
      }
      ended = true;
      break;
    }
    // A polyline that its block or section leaves open ends there.
    const bool opens = e.type == "SECTION" || (section == "BLOCKS" && e.type == "BLOCK");
    if (opens && into && !builder.finish(*into, problem)) return fail(problem);
    if (e.type == "SECTION") {
      section = std::string(trimmed(group_value(e, 2)).substr(0, 64));
      if (section == "HEADER") read_header(e, drawing, header);
      into = section == "ENTITIES" ? &model : nullptr;
    } else if (e.type == "ENDSEC") {
      if (into && !builder.finish(*into, problem)) return fail(problem);
      section.clear();
      into = nullptr;
    } else if (section == "BLOCKS" && e.type == "BLOCK") {
      block = blocks.index(group_value(e, 2));
      placer.block_shapes.resize(blocks.size());
      placer.block_bases.resize(blocks.size());
      placer.block_defined.resize(blocks.size(), false);
      Vec3& base = placer.block_bases[block];
      for (const Group& g : e.groups) {
        if (g.code == 10) parse_double(g.value, base.x);
        if (g.code == 20) parse_double(g.value, base.y);
        if (g.code == 30) parse_double(g.value, base.z);
      }
      placer.block_defined[block] = true;
      into = &placer.block_shapes[block];
    } else if (section == "BLOCKS" && e.type == "ENDBLK") {
      if (into && !builder.finish(*into, problem)) return fail(problem);
      into = nullptr;
    } else if (into) {
      if (!builder.add(e, *into, problem)) return fail(problem);
    }
    if (!place_model(problem)) return fail(problem);
  }
  if (!reader.error().empty()) return fail(reader.error());
  if (!ended) return fail(" the file ends before 0/EOF: it is cut short");
  placer.block_shapes.resize(blocks.size());
  placer.block_bases.resize(blocks.size());
  placer.block_defined.resize(blocks.size(), false);
  for (const Shape& s : inserts) {
    std::string problem;
    if (!placer.place(s, Transform(), UINT32_MAX, 0, problem)) return fail(problem);
  }
  take_unit(header, where, drawing, warnings);
  placer.finish(warnings);
  skipped_warning(skipped, where, warnings);
  return true;
}

bool read_drawing(const std::string& path, const ReadOptions& options, Drawing& drawing,
                  std::string& error, std::vector<std::string>& warnings) {
  // Read in chunks until the end, so that a folder (whose first read fails) or a file
  // whose size the system misstates never sizes an allocation; once a first chunk
  // was read from a longer file, its size is reserved so that the text is held once.
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) {
    error = path + ": cannot be read: " + std::strerror(errno);
    return false;
  }
  std::string text;
  char chunk[64 * 1024];
  errno = 0;
  std::size_t got = std::fread(chunk, 1, sizeof chunk, file);
  if (got == sizeof chunk && std::fseek(file, 0, SEEK_END) == 0) {
    const long size = std::ftell(file);
    if (size > 0) text.reserve(static_cast<std::size_t>(size));
    if (std::fseek(file, static_cast<long>(got), SEEK_SET) != 0) {
      const int failure = errno ? errno : EIO;
      std::fclose(file);
      error = path + ": cannot be read: " + std::strerror(failure);
      return false;
    }
  }
  for (; got > 0; got = std::fread(chunk, 1, sizeof chunk, file)) text.append(chunk, got);
  const int failure = std::ferror(file) ? (errno ? errno : EIO) : 0;
  std::fclose(file);
  if (failure) {
    error = path + ": cannot be read: " + std::strerror(failure);
    return false;
  }
  return parse_drawing(text, path, options, drawing, error, warnings);
}

bool is_dxf_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::string head(64 * 1024, '\0');
  in.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<std::size_t>(in.gcount()));
  return starts_like_dxf(head);
}

}  // namespace gvk_dxf
