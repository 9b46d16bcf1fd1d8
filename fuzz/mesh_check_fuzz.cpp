// Fuzz target for check_mesh: any small mesh (y or z shorter than x, indices of any
// value, any tolerance) is checked without a fault, and the findings agree with what
// is computed here directly from the mesh:
// - the list is ordered by kind, then index, then corner or axis, and a capped list
//   is the front of the full one;
// - every finding names the vertex count, and its fields fit its kind;
// - IndexOutOfRange names exactly the corners whose index is not below x.size();
// - MissingCoordinates, NonFiniteCoordinate and UnusedVertex are exactly the short
//   axes, the coordinates that are not finite and the vertices no corner names;
// - ZeroArea includes every in-range triangle that names a vertex twice, and names
//   in-range triangles only;
// - WeldedVertex is exactly what the literal ordered-map reindex_mesh does to the
//   vertices that have x and y.
#include <gravok/mesh_check.h>

#include "../tests/mesh_oracle.h"
#include "fuzzed_mesh.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using gvk::MeshFinding;
using Kind = gvk::MeshFindingKind;
using Entry =
    std::tuple<int, unsigned long long, unsigned long long>;  // part, index, value

// Names the failed check's line before aborting, so that a finding reads at once.
void check(bool ok, int line = __builtin_LINE()) {
  if (ok) return;
  std::fprintf(stderr, "mesh_check_fuzz.cpp:%d: check failed\n", line);
  std::abort();
}

std::set<Entry> of_kind(const std::vector<MeshFinding>& findings, Kind kind) {
  std::set<Entry> out;
  for (const MeshFinding& f : findings) {
    if (f.kind == kind) out.insert(Entry{f.part, f.index, f.value});
  }
  return out;
}

// The welds of reindex_mesh among the first `n` vertices: vertex i -> the
// lowest-numbered vertex that ends with the same new index, where that is not i.
std::set<Entry> expected_welds(const fuzzed::Mesh& m, std::size_t n) {
  std::vector<double> x(m.x.begin(), m.x.begin() + n), y(m.y.begin(), m.y.begin() + n);
  std::vector<double> z(n, 0.0);
  std::vector<gvk::Triangle> triangles;
  for (unsigned long long i = 0; i < n; ++i) triangles.push_back({i, i, i});
  oracle::reindex_mesh(x, y, z, triangles, m.tolerance);
  std::vector<unsigned long long> first(x.size(), ~0ull);
  std::set<Entry> out;
  for (unsigned long long i = 0; i < n; ++i) {
    unsigned long long& owner = first[triangles[i][0]];
    if (owner == ~0ull) {
      owner = i;
    } else {
      out.insert(Entry{0, i, owner});
    }
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzzed::Bytes in(data, size);
  const fuzzed::Mesh m = fuzzed::mesh(in, false);
  const unsigned long long cap = in.byte();
  const std::vector<MeshFinding> all =
      gvk::check_mesh(m.x, m.y, m.z, m.triangles, m.tolerance);
  const std::vector<MeshFinding> capped =
      gvk::check_mesh(m.x, m.y, m.z, m.triangles, m.tolerance, cap);

  const std::size_t n = m.x.size();
  check(capped.size() == std::min<std::size_t>(cap, all.size()));
  for (std::size_t i = 0; i < all.size(); ++i) {
    const MeshFinding& f = all[i];
    check(f.vertices == n);
    check(f.part >= 0 && f.part <= 2);
    const std::string line = gvk::mesh_finding_message(f);
    check(!line.empty() && line.find('\n') == std::string::npos);
    if (i < capped.size()) {
      check(capped[i].kind == f.kind && capped[i].part == f.part &&
            capped[i].index == f.index && capped[i].value == f.value);
    }
    if (i > 0) {
      const MeshFinding& p = all[i - 1];
      check(std::make_tuple(p.kind, p.index, p.part) <
            std::make_tuple(f.kind, f.index, f.part));
    }
  }

  std::set<Entry> missing;
  if (m.y.size() < n) missing.insert(Entry{1, m.y.size(), 0});
  if (m.z.size() < n) missing.insert(Entry{2, m.z.size(), 0});
  check(of_kind(all, Kind::MissingCoordinates) == missing);

  std::set<Entry> out_of_range;
  std::vector<bool> used(n, false);
  std::set<unsigned long long> repeated;  // in-range triangles that name a vertex twice
  for (std::size_t t = 0; t < m.triangles.size(); ++t) {
    const gvk::Triangle& tri = m.triangles[t];
    bool in_range = true;
    for (int c = 0; c < 3; ++c) {
      if (tri[c] >= n) {
        out_of_range.insert(Entry{c, t, tri[c]});
        in_range = false;
      } else {
        used[tri[c]] = true;
        in_range = in_range && tri[c] < m.y.size();
      }
    }
    if (in_range && (tri[0] == tri[1] || tri[1] == tri[2] || tri[0] == tri[2])) {
      repeated.insert(t);
    }
  }
  check(of_kind(all, Kind::IndexOutOfRange) == out_of_range);

  std::set<Entry> non_finite, unused;
  const std::vector<double>* axes[] = {&m.x, &m.y, &m.z};
  for (std::size_t i = 0; i < n; ++i) {
    for (int a = 0; a < 3; ++a) {
      if (i < axes[a]->size() && !std::isfinite((*axes[a])[i])) {
        non_finite.insert(Entry{a, i, 0});
      }
    }
    if (!used[i]) unused.insert(Entry{0, i, 0});
  }
  check(of_kind(all, Kind::NonFiniteCoordinate) == non_finite);
  check(of_kind(all, Kind::UnusedVertex) == unused);

  std::set<unsigned long long> zero_area;
  for (const Entry& e : of_kind(all, Kind::ZeroArea)) {
    const gvk::Triangle& tri = m.triangles.at(std::get<1>(e));
    for (unsigned long long k : tri) check(k < n && k < m.y.size());
    zero_area.insert(std::get<1>(e));
  }
  check(std::includes(zero_area.begin(), zero_area.end(), repeated.begin(),
                      repeated.end()));

  check(of_kind(all, Kind::WeldedVertex) == expected_welds(m, std::min(n, m.y.size())));
  return 0;
}
