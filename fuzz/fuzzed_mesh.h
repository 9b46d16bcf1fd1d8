// Small indexed triangle meshes made from fuzz input, shared by the mesh targets so
// that one seed means the same mesh to each. Coordinates mostly lie on a coarse grid,
// so that vertices coincide or fall within the tolerance of each other; a few take
// eight raw bytes (NaN, infinities, huge values). Fuzz code only.
#ifndef GRAVOK_FUZZ_FUZZED_MESH_H
#define GRAVOK_FUZZ_FUZZED_MESH_H

#include <gravok/records.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace fuzzed {

// Reads the input from the front; past its end every byte is 0.
class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}
  std::uint8_t byte() { return m_at < m_size ? m_data[m_at++] : 0; }
  std::uint64_t word() {
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) value = value << 8 | byte();
    return value;
  }
  double real() {
    const std::uint64_t bits = word();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

 private:
  const std::uint8_t* m_data;
  std::size_t m_size;
  std::size_t m_at = 0;
};

struct Mesh {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  double tolerance = 0.0;
};

inline double coordinate(Bytes& in) {
  const std::uint8_t b = in.byte();
  if (b >= 0xF0) return in.real();
  return (b % 16) * 0.25 - 1.0;
}

inline double tolerance(Bytes& in) {
  switch (const std::uint8_t b = in.byte()) {
    case 0: return 0.0;
    case 1: return -1.0;
    case 2: return std::numeric_limits<double>::quiet_NaN();
    case 3: return std::numeric_limits<double>::infinity();
    case 4: return in.real();
    default: return (b % 8) * 0.125;
  }
}

// A mesh of up to 16 vertices and 16 triangles. With `well_formed`, y and z are as
// long as x and every index is below the vertex count (what the mesh tools require);
// otherwise y and z may be shorter and indices may be anything.
inline Mesh mesh(Bytes& in, bool well_formed) {
  Mesh m;
  const std::uint8_t shape = in.byte();
  const std::size_t n = shape % 17;
  std::size_t ny = n, nz = n;
  if (!well_formed) {
    const std::uint8_t lengths = in.byte();
    if (lengths & 1) ny = (lengths >> 1) % (n + 1);
    if (lengths & 0x20) nz = (lengths >> 4) % (n + 1);
  }
  for (std::size_t i = 0; i < n; ++i) m.x.push_back(coordinate(in));
  for (std::size_t i = 0; i < ny; ++i) m.y.push_back(coordinate(in));
  for (std::size_t i = 0; i < nz; ++i) m.z.push_back(coordinate(in));
  m.tolerance = tolerance(in);
  const std::size_t count = (well_formed && n == 0) ? 0 : in.byte() % 17;
  for (std::size_t t = 0; t < count; ++t) {
    gvk::Triangle triangle{};
    for (unsigned long long& k : triangle) {
      const std::uint8_t b = in.byte();
      if (well_formed) {
        k = b % n;
      } else if (b >= 0xF8) {
        k = in.word();
      } else {
        k = b % (n + 2);
      }
    }
    m.triangles.push_back(triangle);
  }
  return m;
}

}  // namespace fuzzed

#endif  // GRAVOK_FUZZ_FUZZED_MESH_H
