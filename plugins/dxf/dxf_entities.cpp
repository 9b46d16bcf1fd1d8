#include "dxf_shapes.h"

#include <cmath>
#include <limits>
#include <utility>

namespace gvk_dxf {
namespace {

// Polyline flags (group 70 of POLYLINE and LWPOLYLINE).
constexpr long long kClosed = 1;
constexpr long long k3dPolyline = 8;
constexpr long long kPolygonMesh = 16;
constexpr long long kPolyfaceMesh = 64;
// Vertex flags (group 70 of VERTEX).
constexpr long long kSplineFrame = 16;
constexpr long long kMeshVertex = 64;
constexpr long long kFaceRecord = 128;

bool bad_value(const Group& g, std::string_view entity, const char* expected,
               std::string& error) {
  error = std::to_string(g.line) + ": group " + std::to_string(g.code) + " of " +
          std::string(entity) + ": expected " + expected + ", found " + quoted(g.value);
  return false;
}

bool number(const Group& g, std::string_view entity, double& value, std::string& error) {
  return parse_double(g.value, value) || bad_value(g, entity, "a finite number", error);
}

bool integer(const Group& g, std::string_view entity, long long& value,
             std::string& error) {
  return parse_integer(g.value, value) || bad_value(g, entity, "an integer", error);
}

// Sets the axis of `p` that group code `code` names (10..18 x, 20..28 y, 30..38 z of
// point code % 10), when `code` names one of points 0..3.
bool point_axis(int code, std::vector<Vec3>& points, double value) {
  const int point = code % 10;
  const int axis = code / 10 - 1;
  if (code < 10 || code > 39 || point > 3 || points.size() <= std::size_t(point)) {
    return false;
  }
  Vec3& p = points[std::size_t(point)];
  (axis == 0 ? p.x : axis == 1 ? p.y : p.z) = value;
  return true;
}

bool is_coordinate(int code) { return code >= 10 && code <= 59; }

// Reads the layer (8), the paper-space flag (67) and the extrusion (210, 220, 230)
// common to every entity; other groups are passed to `each`.
template <typename Each>
bool read_groups(const Entity& e, Names& layers, Shape& s, bool& paper_space,
                 std::string& error, Each each) {
  std::string_view layer = "0";
  paper_space = false;
  for (const Group& g : e.groups) {
    if (g.code == 8) {
      layer = g.value;
    } else if (g.code == 67) {
      long long space = 0;
      if (!integer(g, e.type, space, error)) return false;
      paper_space = space == 1;
    } else if (g.code == 210 || g.code == 220 || g.code == 230) {
      double v = 0;
      if (!number(g, e.type, v, error)) return false;
      (g.code == 210 ? s.extrusion.x : g.code == 220 ? s.extrusion.y : s.extrusion.z) = v;
    } else if (!each(g)) {
      return false;
    }
  }
  s.layer = layers.index(layer);
  s.line = e.line;
  return true;
}

}  // namespace

std::uint32_t Names::index(std::string_view name) {
  const auto found = m_index.find(name);
  if (found != m_index.end()) return found->second;
  const auto index = static_cast<std::uint32_t>(m_names.size());
  const auto added = m_index.emplace(std::string(name), index).first;
  m_names.push_back(&added->first);
  return index;
}

bool EntityReader::next(Entity& entity) {
  Group g;
  if (m_has_ahead) {
    g = m_ahead;
    m_has_ahead = false;
  } else {
    do {
      if (!m_groups.next(g)) return false;
    } while (g.code != 0);
  }
  entity.type = g.value;
  while (!entity.type.empty() && entity.type.back() == ' ') entity.type.remove_suffix(1);
  while (!entity.type.empty() && entity.type.front() == ' ') entity.type.remove_prefix(1);
  entity.line = g.line;
  entity.groups.clear();
  while (m_groups.next(g)) {
    if (g.code == 0) {
      m_ahead = g;
      m_has_ahead = true;
      return true;
    }
    entity.groups.push_back(g);
  }
  return m_groups.error().empty();
}

bool ShapeBuilder::add(const Entity& e, std::vector<Shape>& out, std::string& error) {
  if (m_open) {
    if (e.type == "VERTEX") return add_vertex(e, error);
    if (!end_polyline(out, error)) return false;
    if (e.type == "SEQEND") return true;
  }
  Shape s;
  bool paper = false;
  const std::string_view type = e.type;
  auto coordinates = [&](const Group& g) {
    double v = 0;
    if (!is_coordinate(g.code)) return true;
    if (!number(g, type, v, error)) return false;
    point_axis(g.code, s.points, v);
    return true;
  };
  if (type == "3DFACE" || type == "LINE" || type == "POINT") {
    s.kind = type == "3DFACE" ? Shape::kFace
             : type == "LINE" ? Shape::kLine
                              : Shape::kPoint;
    s.points.resize(s.kind == Shape::kFace ? 4 : s.kind == Shape::kLine ? 2 : 1);
    bool fourth = false;
    auto face = [&](const Group& g) {
      fourth = fourth || g.code == 13 || g.code == 23 || g.code == 33;
      return coordinates(g);
    };
    if (!read_groups(e, m_layers, s, paper, error, face)) return false;
    if (s.kind == Shape::kFace && !fourth) s.points[3] = s.points[2];
  } else if (type == "LWPOLYLINE") {
    s.kind = Shape::kPolyline;
    s.ocs = true;
    double elevation = 0;
    auto vertex = [&](const Group& g) {
      double v = 0;
      long long flags = 0;
      if (g.code == 70) {
        if (!integer(g, type, flags, error)) return false;
        s.closed = (flags & kClosed) != 0;
      } else if (g.code == 10 || g.code == 20 || g.code == 38 || g.code == 42) {
        if (!number(g, type, v, error)) return false;
        if (g.code == 10) s.points.push_back({v, 0, 0});
        if (g.code == 20 && !s.points.empty()) s.points.back().y = v;
        if (g.code == 38) elevation = v;
        if (g.code == 42 && v != 0) s.bulges = true;
      }
      return true;
    };
    if (!read_groups(e, m_layers, s, paper, error, vertex)) return false;
    for (Vec3& p : s.points) p.z = elevation;
  } else if (type == "POLYLINE") {
    m_polyline = Shape();
    m_polyline.kind = Shape::kPolyline;
    m_faces.clear();
    m_face_lines.clear();
    long long flags = 0;
    double elevation = 0;
    auto header = [&](const Group& g) {
      if (g.code == 70) return integer(g, type, flags, error);
      if (g.code == 30) return number(g, type, elevation, error);
      return true;
    };
    if (!read_groups(e, m_layers, m_polyline, paper, error, header)) return false;
    m_flags = int(flags & 0xFFFF);
    m_elevation = elevation;
    m_polyline.closed = (flags & kClosed) != 0;
    if (flags & kPolyfaceMesh) m_polyline.kind = Shape::kMesh;
    m_polyline.ocs = !(flags & (k3dPolyline | kPolyfaceMesh | kPolygonMesh));
    m_open = !paper;
    if (paper) ++m_skipped.types["POLYLINE (paper space)"];
    if ((flags & kPolygonMesh) && !(flags & kPolyfaceMesh)) {
      ++m_skipped.types["POLYLINE (polygon mesh)"];
    }
    return true;
  } else if (type == "INSERT") {
    s.kind = Shape::kInsert;
    s.ocs = true;
    s.block = m_blocks.index("");  // an INSERT without group 2 names no block
    s.points.resize(1);
    auto insert = [&](const Group& g) {
      double v = 0;
      if (g.code == 2) {
        s.block = m_blocks.index(g.value);
      } else if (g.code == 70 || g.code == 71) {
        long long n = 1;
        if (!integer(g, type, n, error)) return false;
        (g.code == 70 ? s.columns : s.rows) = n < 1 ? 1 : n;
      } else if (g.code >= 41 && g.code <= 45) {
        if (!number(g, type, v, error)) return false;
        if (g.code == 41) s.scale.x = v;
        if (g.code == 42) s.scale.y = v;
        if (g.code == 43) s.scale.z = v;
        if (g.code == 44) s.column_spacing = v;
        if (g.code == 45) s.row_spacing = v;
      } else if (g.code == 50) {
        return number(g, type, s.rotation, error);
      } else {
        return coordinates(g);
      }
      return true;
    };
    if (!read_groups(e, m_layers, s, paper, error, insert)) return false;
  } else {
    if (type != "SEQEND" && type != "ATTRIB" && type != "ATTDEF" && type != "VIEWPORT") {
      ++m_skipped.types[std::string(type.substr(0, 64))];
    }
    return true;
  }
  if (paper) {
    ++m_skipped.types[std::string(type) + " (paper space)"];
    return true;
  }
  out.push_back(std::move(s));
  return true;
}

bool ShapeBuilder::add_vertex(const Entity& e, std::string& error) {
  Vec3 p;
  long long flags = 0;
  std::array<long long, 4> face{0, 0, 0, 0};
  bool bulge = false;
  for (const Group& g : e.groups) {
    double v = 0;
    if (g.code == 10 || g.code == 20 || g.code == 30 || g.code == 42) {
      if (!number(g, e.type, v, error)) return false;
      if (g.code == 10) p.x = v;
      if (g.code == 20) p.y = v;
      if (g.code == 30) p.z = v;
      if (g.code == 42) bulge = v != 0;
    } else if (g.code == 70) {
      if (!integer(g, e.type, flags, error)) return false;
    } else if (g.code >= 71 && g.code <= 74) {
      if (!integer(g, e.type, face[std::size_t(g.code - 71)], error)) return false;
    }
  }
  if (m_flags & kPolyfaceMesh) {
    if ((flags & kFaceRecord) && !(flags & kMeshVertex)) {
      m_faces.push_back(face);
      m_face_lines.push_back(e.line);
    } else {
      m_polyline.points.push_back(p);
    }
  } else if (!(m_flags & kPolygonMesh) && !(flags & kSplineFrame)) {
    if (!(m_flags & k3dPolyline)) p.z = m_elevation;
    m_polyline.points.push_back(p);
    m_polyline.bulges = m_polyline.bulges || bulge;
  }
  return true;
}

bool ShapeBuilder::end_polyline(std::vector<Shape>& out, std::string& error) {
  m_open = false;
  if (m_flags & kPolygonMesh && !(m_flags & kPolyfaceMesh)) return true;
  if (m_polyline.kind == Shape::kMesh) {
    const long long count = static_cast<long long>(m_polyline.points.size());
    if (count >= std::numeric_limits<std::uint32_t>::max()) {
      error =
          std::to_string(m_polyline.line) + ": the polyface mesh has too many vertices";
      return false;
    }
    for (std::size_t i = 0; i < m_faces.size(); ++i) {
      std::array<std::uint32_t, 4> face{0, 0, 0, 0};
      std::size_t corners = 0;
      for (const long long index : m_faces[i]) {
        // A negative index marks the edge that follows as invisible; 0 is no vertex.
        const long long vertex = index < 0 ? -index : index;
        if (vertex == 0) break;
        if (vertex > count) {
          error = std::to_string(m_face_lines[i]) + ": the polyface face names vertex " +
                  std::to_string(index) + ", but its mesh has " + std::to_string(count);
          return false;
        }
        face[corners++] = static_cast<std::uint32_t>(vertex);
      }
      if (corners < 3) {
        ++m_skipped.types["VERTEX (polyface face of fewer than 3 vertices)"];
        continue;
      }
      m_polyline.faces.push_back(face);
    }
  }
  out.push_back(std::move(m_polyline));
  m_polyline = Shape();
  return true;
}

bool ShapeBuilder::finish(std::vector<Shape>& out, std::string& error) {
  return !m_open || end_polyline(out, error);
}

}  // namespace gvk_dxf
