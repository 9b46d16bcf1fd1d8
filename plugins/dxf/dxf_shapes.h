// The reader's middle layer: each entity that carries geometry, taken out of its
// group pairs as a Shape in the coordinates of the block (or the drawing) that holds
// it. dxf_entities.cpp makes shapes, dxf_reader.cpp places them into a Drawing.
#ifndef GRAVOK_DXF_SHAPES_H
#define GRAVOK_DXF_SHAPES_H

#include "dxf_groups.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace gvk_dxf {

struct Vec3 {
  double x = 0, y = 0, z = 0;
};

// One entity with its group pairs: the value of its 0 group and every pair up to the
// next 0 group.
struct Entity {
  std::string_view type;
  std::size_t line = 0;
  std::vector<Group> groups;
};

struct Shape {
  enum Kind : unsigned char { kFace, kMesh, kPolyline, kLine, kPoint, kInsert };
  Kind kind = kPoint;
  std::uint32_t layer = 0;  // index into the layer names
  std::size_t line = 0;     // of the entity's 0 group
  bool closed = false;      // a polyline whose last vertex joins its first
  bool bulges = false;      // a polyline with arc segments, read as chords
  // Points are in the entity's object coordinate system when `ocs` is set: the plane
  // whose normal is `extrusion` (DXF's arbitrary axis algorithm).
  bool ocs = false;
  Vec3 extrusion{0, 0, 1};
  // kFace: the four corners; kMesh: its vertices; kPolyline: its vertices; kLine: the
  // two ends; kPoint: the point; kInsert: the insertion point.
  std::vector<Vec3> points;
  // kMesh: faces of 1-based indices into `points` (already checked); 0 ends a face.
  std::vector<std::array<std::uint32_t, 4>> faces;
  // kInsert.
  std::uint32_t block = 0;  // index into the block names
  Vec3 scale{1, 1, 1};
  double rotation = 0;  // degrees
  long long columns = 1, rows = 1;
  double column_spacing = 0, row_spacing = 0;
};

// Names (layers, blocks) kept once each and numbered in order of first use.
class Names {
 public:
  std::uint32_t index(std::string_view name);
  const std::string& name(std::uint32_t index) const { return *m_names[index]; }
  std::size_t size() const { return m_names.size(); }

 private:
  std::map<std::string, std::uint32_t, std::less<>> m_index;
  std::vector<const std::string*> m_names;
};

// Reads entities from group pairs: next() gathers the pairs of one entity.
class EntityReader {
 public:
  explicit EntityReader(std::string_view text) : m_groups(text) {}
  // The next entity; false at the end of the text or on a malformed pair (error()
  // then says why). Pairs before the first 0 group are skipped.
  bool next(Entity& entity);
  const std::string& error() const { return m_groups.error(); }

 private:
  GroupReader m_groups;
  Group m_ahead;
  bool m_has_ahead = false;
};

// Counts of entities left out, and why, for the reader's warnings.
struct Skipped {
  std::map<std::string, std::size_t> types;  // entity type -> count
};

// Turns entities into shapes. Polylines span several entities (POLYLINE, VERTEX...,
// SEQEND), so the builder keeps the open one between calls.
class ShapeBuilder {
 public:
  ShapeBuilder(Names& layers, Names& blocks, Skipped& skipped)
      : m_layers(layers), m_blocks(blocks), m_skipped(skipped) {}

  // Takes one entity. Returns false with `error` ("LINE: what is wrong") for a bad
  // value. A finished shape is appended to `out`.
  bool add(const Entity& entity, std::vector<Shape>& out, std::string& error);
  // Finishes an open polyline (a section or block ended without its SEQEND).
  bool finish(std::vector<Shape>& out, std::string& error);

 private:
  bool add_vertex(const Entity& entity, std::string& error);
  bool end_polyline(std::vector<Shape>& out, std::string& error);

  Names& m_layers;
  Names& m_blocks;
  Skipped& m_skipped;
  bool m_open = false;  // inside POLYLINE ... SEQEND
  int m_flags = 0;      // of the open POLYLINE
  double m_elevation = 0;
  Shape m_polyline;
  std::vector<std::array<long long, 4>> m_faces;
  std::vector<std::size_t> m_face_lines;
};

}  // namespace gvk_dxf

#endif  // GRAVOK_DXF_SHAPES_H
