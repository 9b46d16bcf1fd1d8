// The walk over an ordered table of segment ends.
//
// Where no vertex has more than two entries, as on a closed chain, each vertex's
// entries sit in a pair in insertion order (PairTable): nine bytes per vertex, one
// pass. Otherwise the entries of every vertex are laid out by a counting sort, in
// insertion order, in one array (slots indexed by vertex number when the numbers
// are dense, as they are in practice, else by rank among the distinct numbers).
// Each vertex's entries are kept as runs of equal neighbours, stored back to front:
// the walk only ever takes the first entry of the first run (when it does not lead
// back) or of the second run (the first whose neighbour differs), and entries with
// equal neighbours are interchangeable, so each step costs one lookup and O(1)
// updates however many duplicate segments a vertex has. Memory stays near 16 bytes
// per segment, which matters for files of millions of lines.
#include "boundary_walk.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

namespace gvk {
namespace {

using Segment = SegmentTable::Segment;

unsigned long long widened(int v) {
  return static_cast<unsigned long long>(static_cast<long long>(v));
}

// Maps a vertex number to its slot.
class Slots {
 public:
  Slots(const std::vector<Segment>& segments, int low, int high) : m_low(low) {
    const unsigned long long range =
        static_cast<unsigned long long>(static_cast<long long>(high) - low) + 1;
    if (range <= 4 * segments.size() + 1024) {
      m_count = static_cast<std::size_t>(range);
      return;
    }
    m_keys.reserve(2 * segments.size());
    for (const Segment& s : segments) {
      m_keys.push_back(s.a);
      m_keys.push_back(s.b);
    }
    std::sort(m_keys.begin(), m_keys.end());
    m_keys.erase(std::unique(m_keys.begin(), m_keys.end()), m_keys.end());
    m_count = m_keys.size();
  }

  std::size_t count() const { return m_count; }
  int key(std::size_t slot) const {
    return m_keys.empty() ? static_cast<int>(m_low + static_cast<long long>(slot))
                          : m_keys[slot];
  }
  // The slot of a number that occurs in the table.
  std::size_t of(int key) const {
    if (m_keys.empty())
      return static_cast<std::size_t>(static_cast<long long>(key) - m_low);
    return static_cast<std::size_t>(std::lower_bound(m_keys.begin(), m_keys.end(), key) -
                                    m_keys.begin());
  }
  // The slot of any number; false when it does not occur.
  bool find(int key, std::size_t& slot) const {
    if (m_keys.empty()) {
      const long long offset = static_cast<long long>(key) - m_low;
      if (offset < 0 || offset >= static_cast<long long>(m_count)) return false;
      slot = static_cast<std::size_t>(offset);
      return true;
    }
    const auto at = std::lower_bound(m_keys.begin(), m_keys.end(), key);
    if (at == m_keys.end() || *at != key) return false;
    slot = static_cast<std::size_t>(at - m_keys.begin());
    return true;
  }

 private:
  long long m_low;
  std::size_t m_count = 0;
  std::vector<int> m_keys;  // distinct numbers in order; empty when dense
};

// The live entries of every slot as runs of equal values. Slot s owns the cells
// from m_begin[s]; its live runs are m_begin[s] .. m_end[s] - 1, the first run on
// top (at m_end[s] - 1).
template <typename Count>
class RunTable {
 public:
  RunTable(const std::vector<Segment>& segments, const Slots& slots)
      : m_begin(slots.count() + 1, 0), m_end(slots.count(), 0) {
    for (const Segment& s : segments) {
      ++m_begin[slots.of(s.a) + 1];
      ++m_begin[slots.of(s.b) + 1];
    }
    for (std::size_t i = 0; i < slots.count(); ++i) m_begin[i + 1] += m_begin[i];
    m_runs.resize(m_begin.back());
    // Fill each slot from its end, so that its first entry lands on top.
    for (std::size_t i = 0; i < slots.count(); ++i) m_end[i] = m_begin[i + 1];
    for (const Segment& s : segments) {
      m_runs[--m_end[slots.of(s.a)]] = Run{s.b, 1};
      m_runs[--m_end[slots.of(s.b)]] = Run{s.a, 1};
    }
    for (std::size_t i = 0; i < slots.count(); ++i) join_equal_neighbours(i);
  }

  int first_value_of_slot_zero() const { return m_runs[m_end[0] - 1].value; }

  // Takes the first live entry of `slot` whose value is not `back`; false when none.
  bool take(std::size_t slot, int back, int& value) {
    if (m_end[slot] == m_begin[slot]) return false;
    Count chosen = m_end[slot] - 1;
    if (m_runs[chosen].value == back) {
      if (chosen == m_begin[slot]) return false;
      --chosen;  // runs alternate, so the second run leads elsewhere
    }
    value = m_runs[chosen].value;
    if (--m_runs[chosen].count == 0) remove_run(slot, chosen);
    return true;
  }

 private:
  struct Run {
    int value;
    Count count;
  };

  void join_equal_neighbours(std::size_t slot) {
    Count kept = m_begin[slot];
    for (Count k = m_begin[slot]; k < m_begin[slot + 1]; ++k) {
      if (kept > m_begin[slot] && m_runs[kept - 1].value == m_runs[k].value) {
        m_runs[kept - 1].count += m_runs[k].count;
      } else {
        m_runs[kept++] = m_runs[k];
      }
    }
    m_end[slot] = kept;
  }

  void remove_run(std::size_t slot, Count chosen) {
    const Count head = m_end[slot] - 1;
    if (chosen != head) m_runs[chosen] = m_runs[head];  // the second run emptied
    --m_end[slot];
    if (chosen == head || m_end[slot] - m_begin[slot] < 2) return;
    // The first and the former third run are now adjacent: join equal neighbours.
    Run& second = m_runs[m_end[slot] - 2];
    if (second.value == m_runs[m_end[slot] - 1].value) {
      second.count += m_runs[m_end[slot] - 1].count;
      --m_end[slot];
    }
  }

  std::vector<Count> m_begin;
  std::vector<Count> m_end;
  std::vector<Run> m_runs;
};

// The entries of every slot when no slot holds more than two, as a closed chain
// has it: the neighbours in insertion order. Nine bytes per slot, filled in one
// pass, without the sorting that RunTable needs. Nothing is ever removed: with at
// most two ends per vertex every chain is a path or a cycle, which the walk leaves
// at its end or at the start, so it never comes back to a vertex it has passed.
class PairTable {
 public:
  // Builds the table; false when some slot would hold more than two entries.
  bool build(const std::vector<Segment>& segments, const Slots& slots) {
    // Only entries that are added are ever read, so the values start unset.
    m_values.reset(new int[2 * slots.count()]);
    m_entries.assign(slots.count(), 0);
    for (const Segment& s : segments) {
      if (!add(slots.of(s.a), s.b) || !add(slots.of(s.b), s.a)) return false;
    }
    return true;
  }

  int first_value_of_slot_zero() const { return m_values[0]; }

  // The first entry of `slot`, in insertion order, whose value is not `back`; false
  // when none.
  bool take(std::size_t slot, int back, int& value) const {
    for (std::size_t k = 0; k < m_entries[slot]; ++k) {
      if (m_values[2 * slot + k] == back) continue;
      value = m_values[2 * slot + k];
      return true;
    }
    return false;
  }

 private:
  bool add(std::size_t slot, int value) {
    const unsigned char entries = m_entries[slot];
    if (entries == 2) return false;
    m_values[2 * slot + entries] = value;
    m_entries[slot] = static_cast<unsigned char>(entries + 1);
    return true;
  }

  std::unique_ptr<int[]> m_values;
  std::vector<unsigned char> m_entries;
};

template <typename Table>
void walk_table(Table& table, const Slots& slots,
                std::vector<unsigned long long>& boundary) {
  const int start = slots.key(0);  // slot 0 holds the smallest number
  boundary.push_back(widened(start));
  int previous = start;
  int current = table.first_value_of_slot_zero();
  int next = 0;
  std::size_t slot = 0;
  while (current != start && slots.find(current, slot) &&
         table.take(slot, previous, next)) {
    boundary.push_back(widened(current));
    previous = current;
    current = next;
  }
}

template <typename Count>
void walk_runs(const std::vector<Segment>& segments, const Slots& slots,
               std::vector<unsigned long long>& boundary) {
  RunTable<Count> runs(segments, slots);
  walk_table(runs, slots, boundary);
}

}  // namespace

void SegmentTable::reserve(std::size_t segments) { m_segments.reserve(segments); }

void SegmentTable::add(int a, int b) {
  m_segments.push_back(Segment{a, b});
  m_low = std::min(m_low, std::min(a, b));
  m_high = std::max(m_high, std::max(a, b));
}

void SegmentTable::walk(std::vector<unsigned long long>& boundary) {
  if (m_segments.empty()) return;
  const Slots slots(m_segments, m_low, m_high);
  // A closed chain names each of its segments once; a longer walk grows from here.
  boundary.reserve(boundary.size() + m_segments.size() + 1);
  {
    PairTable pairs;
    if (pairs.build(m_segments, slots)) {
      walk_table(pairs, slots, boundary);
      m_segments = std::vector<Segment>();
      return;
    }
  }
  if (2 * m_segments.size() <= std::numeric_limits<std::uint32_t>::max()) {
    walk_runs<std::uint32_t>(m_segments, slots, boundary);
  } else {
    walk_runs<std::size_t>(m_segments, slots, boundary);
  }
  m_segments = std::vector<Segment>();
}

}  // namespace gvk
