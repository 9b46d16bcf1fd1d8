// The ordered index of weld representatives that reindex_mesh and check_mesh share,
// so that the check reports exactly the welds that reindexing makes. Internal to the
// library.
//
// The plan-tolerance order is not a strict weak order (equivalence is not
// transitive, and rounding can even make two keys precede each other), so which
// vertices weld depends on the exact shape of the ordered index after every
// insertion. The reference is the standard ordered map as GCC's library builds it:
// a lower-bound descent, an insert hinted at that lower bound, and the classic
// red-black rebalancing. PlanIndex below is an array-backed copy of exactly those
// steps, including the paths that only a broken order reaches: a hinted insert that
// lands on the far side of its neighbour (replacing a red leaf, which then drops out
// of the index), the stale leftmost link that this can leave behind, and the header
// node, whose key slot holds the node count in that layout. With all of them copied,
// results agree with the reference bit for bit, on every platform.
#ifndef GRAVOK_SRC_MESH_PLAN_INDEX_H
#define GRAVOK_SRC_MESH_PLAN_INDEX_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace gvk {

// A plan position as the order sees it.
struct PlanKey {
  double x;
  double y;
};

// A vertex being looked up, with the shifted coordinates of the order computed once
// (the same operations on the same operands, so the same bits).
struct Probe {
  PlanKey key;
  double x_minus;
  double x_plus;
  double y_minus;
};

// Node of the index. Links are slot numbers: 0 is the empty link, 1 the header
// (parent = root, left = leftmost, right = rightmost), representative m lives in
// slot m + 2. The fields that the descent reads (24 bytes with 32-bit links) are
// kept apart from the parent links and colours, which only insertion uses.
template <typename Link>
struct Node {
  PlanKey key;
  Link left;
  Link right;
};

// Node slots in arrays reserved for every vertex at once: nothing is copied as the
// index grows, and only the pages that representatives fill are ever touched. A
// link is a plain offset.
template <typename Link>
class NodePool {
 public:
  explicit NodePool(std::size_t slots) {
    m_nodes.reserve(slots);
    m_parents.reserve(slots);
    m_red.reserve(slots);
  }
  Node<Link>& operator[](Link slot) { return m_nodes[slot]; }
  Link& parent(Link slot) { return m_parents[slot]; }
  unsigned char& red(Link slot) { return m_red[slot]; }
  Link add() {
    m_nodes.push_back(Node<Link>{PlanKey{0.0, 0.0}, 0, 0});
    m_parents.push_back(0);
    m_red.push_back(0);
    return static_cast<Link>(m_nodes.size() - 1);
  }

 private:
  std::vector<Node<Link>> m_nodes;
  std::vector<Link> m_parents;
  std::vector<unsigned char> m_red;
};

template <typename Link>
class PlanIndex {
 public:
  PlanIndex(const std::vector<double>& x, const std::vector<double>& y, double t)
      : m_x(x), m_y(y), m_t(t), m_nodes(x.size() + 2) {
    m_nodes.add();  // the empty link
    m_nodes.add();  // the header
    Node<Link>& header = m_nodes[kHeader];
    header.left = kHeader;
    header.right = kHeader;
    m_nodes.red(kHeader) = 1;
  }

  // Returns vertex i's new index: the value of the lower bound when i is within the
  // tolerance of it, else the next free index, under which i is inserted.
  Link place(std::size_t i) {
    const Probe probe = make_probe(i);
    const Descent found = lower_bound(probe);
    const Link bound = found.bound;
    if (bound != kHeader && !precedes(probe.key, m_nodes[bound].key)) return bound - 2;
    const Link fresh = m_nodes.add();
    m_nodes[fresh].key = probe.key;
    insert_hinted(found, fresh);
    return fresh - 2;
  }

 private:
  static constexpr Link kNull = 0;
  static constexpr Link kHeader = 1;

  // Where a new node goes: `parent` kNull means an equivalent key was found and the
  // node is not linked; a non-empty `child` forces the left side.
  struct Slot {
    Link child;
    Link parent;
  };

  // The lower bound, and the last node at which the descent turned right (kNull
  // when it never did). Every turn after the last left one is a right turn, so that
  // node is the bound's in-order predecessor: the largest node of the bound's left
  // subtree, or, where the bound has none, the ancestor whose right subtree holds it.
  struct Descent {
    Link bound;
    Link last_right;
  };

  bool precedes(const PlanKey& a, const PlanKey& b) const {
    if (b.x - m_t > a.x) return true;
    if (a.x > b.x + m_t) return false;
    return b.y - m_t > a.y;
  }
  static bool precedes(const PlanKey& a, const Probe& b) {
    if (b.x_minus > a.x) return true;
    if (a.x > b.x_plus) return false;
    return b.y_minus > a.y;
  }
  Probe make_probe(std::size_t i) const {
    return Probe{PlanKey{m_x[i], m_y[i]}, m_x[i] - m_t, m_x[i] + m_t, m_y[i] - m_t};
  }
  // The header's key slot holds the node count in the reference layout, read there
  // as a vertex index; the count is always below the vertex being placed.
  PlanKey key(Link n) {
    if (n != kHeader) return m_nodes[n].key;
    return PlanKey{m_x[m_count], m_y[m_count]};
  }

  Link& root() { return m_nodes.parent(kHeader); }
  Link leftmost() { return m_nodes[kHeader].left; }
  Link rightmost() { return m_nodes[kHeader].right; }
  Link& parent(Link n) { return m_nodes.parent(n); }
  Link& left(Link n) { return m_nodes[n].left; }
  Link& right(Link n) { return m_nodes[n].right; }
  bool is_red(Link n) { return m_nodes.red(n) != 0; }

  Descent lower_bound(const Probe& probe) {
    Descent found{kHeader, kNull};
    Link n = root();
    while (n != kNull) {
      const Node<Link>& node = m_nodes[n];
      if (!precedes(node.key, probe)) {
        found.bound = n;
        n = node.left;
      } else {
        found.last_right = n;
        n = node.right;
      }
    }
    return found;
  }

  // The in-order predecessor; from the header, the rightmost node.
  Link decrement(Link n) {
    if (is_red(n) && parent(parent(n)) == n) return right(n);
    if (left(n) != kNull) {
      Link m = left(n);
      while (right(m) != kNull) m = right(m);
      return m;
    }
    Link up = parent(n);
    while (n == left(up)) {
      n = up;
      up = parent(up);
    }
    return up;
  }

  // The hinted insert, called with the lower bound of the node's own descent, which
  // the new key precedes (an equivalent bound would have matched).
  void insert_hinted(const Descent& found, Link fresh) {
    const PlanKey k = m_nodes[fresh].key;
    const Slot slot = hint_slot(found, k);
    if (slot.parent == kNull) return;
    const bool on_left =
        slot.child != kNull || slot.parent == kHeader || precedes(k, key(slot.parent));
    insert_and_rebalance(on_left, fresh, slot.parent);
    ++m_count;
  }

  // The predecessor comes from the descent where it turned right at all; the walk
  // of decrement() would reach the same node through the same links.
  Slot hint_slot(const Descent& found, const PlanKey& k) {
    const Link bound = found.bound;
    if (bound == kHeader) {
      if (m_count > 0 && precedes(key(rightmost()), k)) return Slot{kNull, rightmost()};
      return unique_slot(k);
    }
    if (bound == leftmost()) return Slot{leftmost(), leftmost()};
    const Link before = found.last_right != kNull ? found.last_right : decrement(bound);
    if (!precedes(key(before), k)) return unique_slot(k);
    if (right(before) == kNull) return Slot{kNull, before};
    return Slot{bound, bound};
  }

  // The unhinted search for an insertion place (a descent of its own).
  Slot unique_slot(const PlanKey& k) {
    Link n = root();
    Link last = kHeader;
    bool went_left = true;
    while (n != kNull) {
      last = n;
      went_left = precedes(k, key(n));
      n = went_left ? left(n) : right(n);
    }
    Link before = last;
    if (went_left) {
      if (before == leftmost()) return Slot{kNull, last};
      before = decrement(before);
    }
    if (precedes(key(before), k)) return Slot{kNull, last};
    return Slot{before, kNull};
  }

  void insert_and_rebalance(bool on_left, Link n, Link p) {
    Node<Link>& fresh = m_nodes[n];
    fresh.left = kNull;
    fresh.right = kNull;
    parent(n) = p;
    m_nodes.red(n) = 1;
    Node<Link>& header = m_nodes[kHeader];
    if (on_left) {
      left(p) = n;
      if (p == kHeader) {
        root() = n;
        header.right = n;
      } else if (p == header.left) {
        header.left = n;
      }
    } else {
      right(p) = n;
      if (p == header.right) header.right = n;
    }
    rebalance(n);
  }

  void rebalance(Link n) {
    while (n != root() && is_red(parent(n))) {
      const Link grand = parent(parent(n));
      if (parent(n) == left(grand)) {
        const Link uncle = right(grand);
        if (uncle != kNull && is_red(uncle)) {
          n = recolour(n, uncle, grand);
          continue;
        }
        if (n == right(parent(n))) {
          n = parent(n);
          rotate_left(n);
        }
        m_nodes.red(parent(n)) = 0;
        m_nodes.red(grand) = 1;
        rotate_right(grand);
      } else {
        const Link uncle = left(grand);
        if (uncle != kNull && is_red(uncle)) {
          n = recolour(n, uncle, grand);
          continue;
        }
        if (n == left(parent(n))) {
          n = parent(n);
          rotate_right(n);
        }
        m_nodes.red(parent(n)) = 0;
        m_nodes.red(grand) = 1;
        rotate_left(grand);
      }
    }
    m_nodes.red(root()) = 0;
  }

  Link recolour(Link n, Link uncle, Link grand) {
    m_nodes.red(parent(n)) = 0;
    m_nodes.red(uncle) = 0;
    m_nodes.red(grand) = 1;
    return grand;
  }

  void rotate_left(Link n) {
    const Link m = right(n);
    right(n) = left(m);
    if (left(m) != kNull) parent(left(m)) = n;
    replace_child(n, m);
    left(m) = n;
    parent(n) = m;
  }

  void rotate_right(Link n) {
    const Link m = left(n);
    left(n) = right(m);
    if (right(m) != kNull) parent(right(m)) = n;
    replace_child(n, m);
    right(m) = n;
    parent(n) = m;
  }

  // Puts m where n hangs from its parent (or at the root).
  void replace_child(Link n, Link m) {
    const Link up = parent(n);
    parent(m) = up;
    if (n == root()) {
      root() = m;
    } else if (n == left(up)) {
      left(up) = m;
    } else {
      right(up) = m;
    }
  }

  const std::vector<double>& m_x;
  const std::vector<double>& m_y;
  double m_t;
  NodePool<Link> m_nodes;
  Link m_count = 0;  // nodes linked into the index
};

// Whether 32-bit links hold every slot number (vertex count + 2) of an index over
// `vertices` vertices; PlanIndex<std::uint32_t> is then used, else the 64-bit one.
inline bool plan_index_fits_32_bits(std::size_t vertices) {
  return vertices <= std::numeric_limits<std::uint32_t>::max() - 2u;
}

}  // namespace gvk

#endif  // GRAVOK_SRC_MESH_PLAN_INDEX_H
