// A generated problem that exercises every field, for the roundtrip command (the
// library's gvk::compare_problems lists what a store lost of it).
#ifndef GRAVOK_TOOL_GENERATED_PROBLEM_H
#define GRAVOK_TOOL_GENERATED_PROBLEM_H

#include <gravok/problem.h>

#include <string>
#include <vector>

namespace gravok_tool {

using gvk::Problem;

// A problem that exercises every field: every kind of allElementTypes() and ParkingLot
// with records, lists and complex data, non-zero origins, non-finite and extreme
// values, surfaces and units.
Problem generated_problem();

}  // namespace gravok_tool

#endif  // GRAVOK_TOOL_GENERATED_PROBLEM_H
