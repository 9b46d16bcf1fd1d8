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

// The problem without its break lines that hold a value that is not finite: what a
// store that refuses such values (LandXML has no notation for them) can be given.
Problem without_non_finite_break_lines(Problem problem);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOL_GENERATED_PROBLEM_H
