// The walk over an ordered table of segment ends.
//
// The entries are grouped by key in insertion order (a counting sort when the
// vertex numbers are dense, as they are in practice; a stable sort otherwise). The
// entries of one key are then kept as runs of equal neighbours: the walk only ever
// takes the first entry of the first run (when it does not lead back) or of the
// second run (the first whose neighbour differs), and entries with equal
// neighbours are interchangeable, so each step costs one lookup and O(1) updates
// however many duplicate segments a vertex has.
#include "boundary_walk.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace gvk {
namespace {

using Entry = SegmentTable::Entry;

unsigned long long widened(int v) {
  return static_cast<unsigned long long>(static_cast<long long>(v));
}

// Entries grouped by slot: slot s holds values[begin[s]] .. values[begin[s + 1]]
// in insertion order. A slot is key - low when the keys are dense, else the
// key's rank among the distinct keys.
struct Grouped {
  std::vector<int> values;
  std::vector<std::size_t> begin;
  std::vector<int> keys;  // distinct keys in order; empty when dense
  long long low = 0;
};

Grouped group_dense(const std::vector<Entry>& entries, long long low, std::size_t slots) {
  Grouped g;
  g.low = low;
  g.begin.assign(slots + 1, 0);
  for (const Entry& e : entries) ++g.begin[static_cast<std::size_t>(e.key - low) + 1];
  for (std::size_t s = 0; s < slots; ++s) g.begin[s + 1] += g.begin[s];
  std::vector<std::size_t> next(g.begin.begin(), g.begin.end() - 1);
  g.values.resize(entries.size());
  for (const Entry& e : entries)
    g.values[next[static_cast<std::size_t>(e.key - low)]++] = e.value;
  return g;
}

Grouped group_sparse(std::vector<Entry>& entries) {
  std::stable_sort(entries.begin(), entries.end(),
                   [](const Entry& a, const Entry& b) { return a.key < b.key; });
  Grouped g;
  g.values.reserve(entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (i == 0 || entries[i].key != entries[i - 1].key) {
      g.keys.push_back(entries[i].key);
      g.begin.push_back(i);
    }
    g.values.push_back(entries[i].value);
  }
  g.begin.push_back(entries.size());
  return g;
}

// The live entries of every slot as runs of equal values, stored back to front so
// that the first run of slot s is at m_end[s] - 1.
template <typename Count>
class RunTable {
 public:
  explicit RunTable(Grouped&& grouped)
      : m_keys(std::move(grouped.keys)), m_low(grouped.low) {
    const std::size_t slots = grouped.begin.size() - 1;
    m_first.resize(slots);
    m_end.resize(slots);
    for (std::size_t s = 0; s < slots; ++s) {
      m_first[s] = static_cast<Count>(m_runs.size());
      for (std::size_t k = grouped.begin[s + 1]; k-- > grouped.begin[s];) {
        const int value = grouped.values[k];
        if (m_runs.size() > m_first[s] && m_runs.back().value == value) {
          ++m_runs.back().count;
        } else {
          m_runs.push_back(Run{value, 1});
        }
      }
      m_end[s] = static_cast<Count>(m_runs.size());
    }
  }

  // The smallest key (slot 0 in both layouts), and the value of its first entry.
  int first_key() const { return m_keys.empty() ? static_cast<int>(m_low) : m_keys[0]; }
  int first_value_of_first_key() const { return m_runs[m_end[0] - 1].value; }

  // Takes the first live entry of `key` whose value is not `back`; false when none.
  bool take(int key, int back, int& value) {
    std::size_t s = 0;
    if (!find_slot(key, s) || m_end[s] == m_first[s]) return false;
    std::size_t chosen = m_end[s] - 1;
    if (m_runs[chosen].value == back) {
      if (chosen == m_first[s]) return false;
      --chosen;  // runs alternate, so the second run leads elsewhere
    }
    value = m_runs[chosen].value;
    if (--m_runs[chosen].count == 0) remove_run(s, chosen);
    return true;
  }

 private:
  struct Run {
    int value;
    Count count;
  };

  bool find_slot(int key, std::size_t& slot) const {
    if (m_keys.empty()) {
      const long long offset = static_cast<long long>(key) - m_low;
      if (offset < 0 || offset >= static_cast<long long>(m_end.size())) return false;
      slot = static_cast<std::size_t>(offset);
      return true;
    }
    const auto at = std::lower_bound(m_keys.begin(), m_keys.end(), key);
    if (at == m_keys.end() || *at != key) return false;
    slot = static_cast<std::size_t>(at - m_keys.begin());
    return true;
  }

  void remove_run(std::size_t s, std::size_t chosen) {
    const Count head = m_end[s] - 1;
    if (chosen != head) m_runs[chosen] = m_runs[head];  // the second run emptied
    --m_end[s];
    if (chosen == head || m_end[s] - m_first[s] < 2) return;
    // The first and the former third run are now adjacent: join equal neighbours.
    Run& second = m_runs[m_end[s] - 2];
    if (second.value == m_runs[m_end[s] - 1].value) {
      second.count += m_runs[m_end[s] - 1].count;
      --m_end[s];
    }
  }

  std::vector<int> m_keys;
  long long m_low;
  std::vector<Count> m_first;
  std::vector<Count> m_end;
  std::vector<Run> m_runs;
};

template <typename Count>
void walk_runs(Grouped&& grouped, std::vector<unsigned long long>& boundary) {
  RunTable<Count> runs(std::move(grouped));
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

}  // namespace

void SegmentTable::add(int a, int b) {
  m_entries.push_back(Entry{a, b});
  m_entries.push_back(Entry{b, a});
  m_low = std::min(m_low, std::min(a, b));
  m_high = std::max(m_high, std::max(a, b));
}

void SegmentTable::walk(std::vector<unsigned long long>& boundary) {
  if (m_entries.empty()) return;
  // Dense keys: a table of offsets no larger than a few times the entries.
  const unsigned long long range =
      static_cast<unsigned long long>(static_cast<long long>(m_high) - m_low) + 1;
  Grouped grouped = range <= 4 * m_entries.size() + 1024
                        ? group_dense(m_entries, m_low, static_cast<std::size_t>(range))
                        : group_sparse(m_entries);
  const std::size_t entries = m_entries.size();
  m_entries = std::vector<Entry>();
  if (entries <= std::numeric_limits<std::uint32_t>::max()) {
    walk_runs<std::uint32_t>(std::move(grouped), boundary);
  } else {
    walk_runs<std::size_t>(std::move(grouped), boundary);
  }
}

}  // namespace gvk
