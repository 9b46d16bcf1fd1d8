// Fuzz target for PolyFile::from_file: any file gives exactly what the literal
// stream-based reader gives. Inputs on which that reader would end the process are
// skipped (the library would call exit(1) there, which ends fuzzing); an input on
// which the library exits although the reference returns shows up as "fuzz target
// exited".
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
  if (oracle::poly_from_file(input_path(), expected.x, expected.y, expected.z,
                             expected.triangles,
                             expected.boundary) == oracle::Outcome::Exited) {
    return 0;
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
