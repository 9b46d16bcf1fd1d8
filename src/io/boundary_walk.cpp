// The walk over an ordered table of segment ends. The entries of one vertex are
// kept in insertion order as runs of equal neighbours: the walk only ever takes the
// first entry of the first run (when it does not lead back) or of the second run
// (the first whose neighbour differs), and entries with equal neighbours are
// interchangeable, so each step costs one search and O(1) updates however many
// duplicate segments a vertex has.
#include "boundary_walk.h"

#include <algorithm>
#include <cstddef>

namespace gvk {
namespace {

struct Run {
  int value;
  std::size_t count;
};

// The live runs of one vertex, stored back to front: the first run is at end - 1.
struct RunSpan {
  std::size_t begin;
  std::size_t end;
};

unsigned long long widened(int v) {
  return static_cast<unsigned long long>(static_cast<long long>(v));
}

class RunTable {
 public:
  // `entries` sorted by key, insertion order kept within a key.
  template <typename Entries>
  explicit RunTable(const Entries& entries) {
    for (std::size_t i = 0; i < entries.size();) {
      std::size_t j = i;
      while (j < entries.size() && entries[j].key == entries[i].key) ++j;
      m_keys.push_back(entries[i].key);
      const std::size_t first = m_runs.size();
      for (std::size_t k = j; k-- > i;) {
        if (k + 1 < j && entries[k].value == entries[k + 1].value) {
          ++m_runs.back().count;
        } else {
          m_runs.push_back(Run{entries[k].value, 1});
        }
      }
      m_spans.push_back(RunSpan{first, m_runs.size()});
      i = j;
    }
  }

  int first_key() const { return m_keys.front(); }
  int first_value_of_first_key() const { return m_runs[m_spans.front().end - 1].value; }

  // Takes the first entry of `key` whose value is not `back`; false when none.
  bool take(int key, int back, int& value) {
    const auto at = std::lower_bound(m_keys.begin(), m_keys.end(), key);
    if (at == m_keys.end() || *at != key) return false;
    RunSpan& span = m_spans[static_cast<std::size_t>(at - m_keys.begin())];
    if (span.end == span.begin) return false;
    std::size_t chosen = span.end - 1;
    if (m_runs[chosen].value == back) {
      if (chosen == span.begin) return false;
      --chosen;  // runs alternate, so the second run leads elsewhere
    }
    value = m_runs[chosen].value;
    if (--m_runs[chosen].count == 0) remove_run(span, chosen);
    return true;
  }

 private:
  void remove_run(RunSpan& span, std::size_t chosen) {
    const std::size_t head = span.end - 1;
    if (chosen != head) m_runs[chosen] = m_runs[head];  // the second run emptied
    --span.end;
    if (chosen == head || span.end - span.begin < 2) return;
    // The first and the former third run are now adjacent: join equal neighbours.
    Run& second = m_runs[span.end - 2];
    if (second.value == m_runs[span.end - 1].value) {
      second.count += m_runs[span.end - 1].count;
      --span.end;
    }
  }

  std::vector<int> m_keys;
  std::vector<RunSpan> m_spans;
  std::vector<Run> m_runs;
};

}  // namespace

void SegmentTable::add(int a, int b) {
  m_entries.push_back(Entry{a, b});
  m_entries.push_back(Entry{b, a});
}

void SegmentTable::walk(std::vector<unsigned long long>& boundary) {
  if (m_entries.empty()) return;
  std::stable_sort(m_entries.begin(), m_entries.end(),
                   [](const Entry& a, const Entry& b) { return a.key < b.key; });
  RunTable runs(m_entries);
  m_entries = std::vector<Entry>();
  const int start = runs.first_key();
  boundary.push_back(widened(start));
  int previous = start;
  int current = runs.first_value_of_first_key();
  int next = 0;
  while (current != start && runs.take(current, previous, next)) {
    boundary.push_back(widened(current));
    previous = current;
    current = next;
  }
}

}  // namespace gvk
