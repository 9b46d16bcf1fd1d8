#include <gravok/mesh_check.h>
#include <gravok/mesh_tools.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <vector>

// The largest single allocation request the program has made, so that a test can
// show that nothing was sized by a bad index.
namespace {
std::atomic<std::size_t> g_largest_request{0};
}  // namespace

void* operator new(std::size_t size) {
  std::size_t largest = g_largest_request.load();
  while (size > largest && !g_largest_request.compare_exchange_weak(largest, size)) {
  }
  if (void* block = std::malloc(size == 0 ? 1 : size)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace {

using Coords = std::vector<double>;

struct Mesh {
  Coords x, y, z;
  std::vector<gvk::Triangle> triangles;
};

std::vector<std::string> messages(const std::vector<gvk::MeshFinding>& findings) {
  std::vector<std::string> lines;
  for (const gvk::MeshFinding& finding : findings) {
    lines.push_back(gvk::mesh_finding_message(finding));
  }
  return lines;
}

std::vector<std::string> check(const Mesh& m, double tolerance,
                               unsigned long long cap = gvk::kAllMeshFindings) {
  return messages(gvk::check_mesh(m.x, m.y, m.z, m.triangles, tolerance, cap));
}

// The unit square as two triangles: nothing to find.
Mesh square() {
  return {{0, 1, 1, 0}, {0, 0, 1, 1}, {5, 5, 5, 5}, {{0, 1, 2}, {0, 2, 3}}};
}

Mesh square_with(void (*change)(Mesh&)) {
  Mesh m = square();
  change(m);
  return m;
}

// Vertex 4, 0.05 from vertex 2, in a triangle of its own.
void add_close_vertex(Mesh& m) {
  m.x.push_back(1.05), m.y.push_back(1), m.z.push_back(9);
  m.triangles.push_back({1, 4, 3});
}

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

TEST(CheckMesh, FindsEachFaultAloneAndNothingOnACleanMesh) {
  struct Case {
    const char* fault;
    Mesh mesh;
    double tolerance;
    std::vector<std::string> expected;
  };
  const Case cases[] = {
      {"none", square(), 0.1, {}},
      {"index equal to the vertex count",
       square_with([](Mesh& m) {
         m.triangles.push_back({0, 1, 4});
       }),
       0.1,
       {"triangle 2: corner 2 names vertex 4, but the mesh has 4 vertices"}},
      {"y shorter than x",
       square_with([](Mesh& m) { m.y.pop_back(); }),
       0.1,
       {"vertex 3: no y coordinate (y has length 3, the mesh has 4 vertices)"}},
      {"z shorter than x",
       square_with([](Mesh& m) { m.z.resize(1); }),
       0.1,
       {"vertex 1: no z coordinate (z has length 1, the mesh has 4 vertices)"}},
      {"NaN z",
       square_with([](Mesh& m) { m.z[2] = nan; }),
       0.1,
       {"vertex 2: z is NaN or infinite"}},
      {"infinite x",
       square_with([](Mesh& m) { m.x[1] = inf; }),
       0.1,
       {"vertex 1: x is NaN or infinite"}},
      {"collinear corners",
       square_with([](Mesh& m) {
         m.x.push_back(2), m.y.push_back(2), m.z.push_back(0);
         m.triangles.push_back({0, 2, 4});
       }),
       0.1,
       {"triangle 2: zero area in plan"}},
      {"repeated corner",
       square_with([](Mesh& m) {
         m.triangles.push_back({1, 3, 1});
       }),
       0.1,
       {"triangle 2: zero area in plan"}},
      {"unused vertex",
       square_with([](Mesh& m) { m.x.push_back(5), m.y.push_back(5), m.z.push_back(0); }),
       0.1,
       {"vertex 4: no triangle uses it"}},
      {"weld",
       square_with(add_close_vertex),
       0.1,
       {"vertex 4: welds into vertex 2 within the tolerance"}},
      {"weld, negative tolerance", square_with(add_close_vertex), -1, {}},
      {"weld, NaN tolerance", square_with(add_close_vertex), nan, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.fault);
    EXPECT_EQ(check(c.mesh, c.tolerance), c.expected);
  }
}

TEST(CheckMesh, OrdersByKindThenIndexAndStopsAtTheCap) {
  // Vertices 4 and 5 have no y; triangle 0 names vertex 7; vertex 2 has an infinite z;
  // triangle 1 repeats a corner; vertices 4 and 5 are unused; 3 welds into 1.
  const Mesh m{
      {0, 1, 2, 1, 8, 9}, {0, 0, 0, 0}, {0, 0, inf, 0, 0, 0}, {{0, 7, 1}, {2, 3, 2}}};
  const std::vector<std::string> all = {
      "vertex 4: no y coordinate (y has length 4, the mesh has 6 vertices)",
      "triangle 0: corner 1 names vertex 7, but the mesh has 6 vertices",
      "vertex 2: z is NaN or infinite",
      "triangle 1: zero area in plan",
      "vertex 4: no triangle uses it",
      "vertex 5: no triangle uses it",
      "vertex 3: welds into vertex 1 within the tolerance",
  };
  EXPECT_EQ(check(m, 0), all);
  EXPECT_EQ(check(m, 0, 3), std::vector<std::string>(all.begin(), all.begin() + 3));
  EXPECT_TRUE(check(m, 0, 0).empty());

  // A z shorter than y is the lower index, so it comes first (found by fuzzing).
  const Mesh short_z{{0, 1, 2, 3}, {0, 0, 1}, {0, 0}, {{0, 1, 2}, {1, 2, 3}}};
  EXPECT_EQ(check(short_z, 0, 1),
            std::vector<std::string>{
                "vertex 2: no z coordinate (z has length 2, the mesh has 4 vertices)"});
}

TEST(CheckMesh, AHugeIndexAllocatesNothingBySize) {
  const Mesh m{{0, 1, 0}, {0, 0, 1}, {0, 0, 0}, {{0, 1, 1000000000000000000ull}}};
  g_largest_request = 0;
  EXPECT_EQ(check(m, 0.5),
            (std::vector<std::string>{"triangle 0: corner 2 names vertex "
                                      "1000000000000000000, but the mesh has 3 vertices",
                                      "vertex 2: no triangle uses it"}));
  EXPECT_LT(g_largest_request.load(), 4096u);
}

TEST(CheckMesh, WeldsAreThoseOfReindexMesh) {
  std::mt19937_64 rng(7);
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE(round);
    // Points on a coarse grid in a small box, so that ties and chains are common.
    const std::size_t n = 50 + rng() % 2000;
    const double tolerance = static_cast<double>(rng() % 4) * 0.25;
    std::uniform_int_distribution<int> cell(0, 40);
    Mesh m;
    for (std::size_t i = 0; i < n; ++i) {
      m.x.push_back(cell(rng) * 0.125);
      m.y.push_back(cell(rng) * 0.125);
      m.z.push_back(0);
      m.triangles.push_back({i, i, i});  // triangle i shows vertex i's new index
    }
    std::vector<unsigned long long> expected(n);
    Mesh welded = m;
    gvk::reindex_mesh(welded.x, welded.y, welded.z, welded.triangles, tolerance);
    std::vector<unsigned long long> first(n, n);
    for (std::size_t i = 0; i < n; ++i) {
      unsigned long long& representative = first[welded.triangles[i][0]];
      if (representative == n) representative = i;
      expected[i] = representative;
    }
    std::vector<unsigned long long> found(n);
    for (std::size_t i = 0; i < n; ++i) found[i] = i;
    for (const gvk::MeshFinding& f :
         gvk::check_mesh(m.x, m.y, m.z, m.triangles, tolerance)) {
      if (f.kind == gvk::MeshFindingKind::WeldedVertex) found[f.index] = f.value;
    }
    EXPECT_EQ(found, expected);
  }
}

TEST(MeshFindingMessage, NamesUnknownKindsAndAxesByNumber) {
  const gvk::MeshFinding odd_axis{gvk::MeshFindingKind::NonFiniteCoordinate, 5, 1, 0, 2};
  EXPECT_EQ(gvk::mesh_finding_message(odd_axis), "vertex 1: axis 5 is NaN or infinite");
  const gvk::MeshFinding odd_kind{static_cast<gvk::MeshFindingKind>(99), 0, 0, 0, 0};
  EXPECT_EQ(gvk::mesh_finding_message(odd_kind), "mesh finding of unknown kind 99");
}

}  // namespace
