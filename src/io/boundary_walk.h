// The segment table of a poly file and the walk around its closed chain. Internal
// to the library.
#ifndef GRAVOK_SRC_IO_BOUNDARY_WALK_H
#define GRAVOK_SRC_IO_BOUNDARY_WALK_H

#include <cstddef>
#include <limits>
#include <vector>

namespace gvk {

class SegmentTable {
 public:
  // Makes room for `segments` segments, as a hint.
  void reserve(std::size_t segments);

  // Stores the segment, which stands for the entries a -> b and then b -> a.
  void add(int a, int b);

  // Appends to `boundary` the walk around the chain through the smallest stored
  // vertex number: that number, then, starting along the first stored entry of
  // it, at each vertex the first stored entry (in insertion order) that does not
  // lead straight back, each entry used once. The walk ends on returning to the
  // start, or where a vertex has no entry left that leads elsewhere (that vertex
  // is not appended). Nothing is appended when no segment was stored. Numbers are
  // widened with their sign. The table is used up.
  void walk(std::vector<unsigned long long>& boundary);

  struct Segment {
    int a;
    int b;
  };

 private:
  std::vector<Segment> m_segments;
  int m_low = std::numeric_limits<int>::max();
  int m_high = std::numeric_limits<int>::min();
};

}  // namespace gvk

#endif  // GRAVOK_SRC_IO_BOUNDARY_WALK_H
