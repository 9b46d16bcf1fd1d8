// Fuzz target for PolyFile::read and PolyFile::from_file: any file gives exactly what
// the literal stream-based reader gives. Where that reader would end the process,
// read must report a fault with empty outputs, and from_file is not called (it would
// call exit(1) there, which ends fuzzing); an input on which from_file exits although
// the reference returns shows up as "fuzz target exited".
#include <gravok/poly_file.h>

#include "../tests/bit_patterns.h"
#include "../tests/poly_oracle.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

struct Result {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<unsigned long long> boundary;
};

const std::string& input_path() {
  static const std::string path =
      "gravok-poly-fuzz-" + std::to_string(reinterpret_cast<std::uintptr_t>(&path)) +
      ".poly";
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  {
    std::ofstream file(input_path(), std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  Result expected;
  const oracle::Outcome outcome =
      oracle::poly_from_file(input_path(), expected.x, expected.y, expected.z,
                             expected.triangles, expected.boundary);
  Result checked;
  const gvk::PolyReadResult result = gvk::PolyFile::read(
      input_path(), checked.x, checked.y, checked.z, checked.triangles, checked.boundary);
  if (static_cast<bool>(result) != (outcome == oracle::Outcome::Returned)) std::abort();
  if (!result) {
    if (!checked.x.empty() || !checked.boundary.empty()) std::abort();
    return 0;
  }
  if (bit_patterns(checked.x) != bit_patterns(expected.x) ||
      checked.boundary != expected.boundary) {
    std::abort();
  }
  Result actual;
  actual.triangles.push_back({1, 2, 3});  // must come back empty
  gvk::PolyFile::from_file(input_path(), actual.x, actual.y, actual.z, actual.triangles,
                           actual.boundary);
  if (bit_patterns(actual.x) != bit_patterns(expected.x) ||
      bit_patterns(actual.y) != bit_patterns(expected.y) ||
      bit_patterns(actual.z) != bit_patterns(expected.z) || !actual.triangles.empty() ||
      actual.boundary != expected.boundary) {
    std::abort();
  }
  return 0;
}
