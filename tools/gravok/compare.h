// What the tool does with whole problems beyond reading and writing them (which the
// JSON library does): a generated problem that exercises every field, and a field by
// field comparison of two problems.
#ifndef GRAVOK_TOOL_COMPARE_H
#define GRAVOK_TOOL_COMPARE_H

#include "problem.h"  // the JSON library's problem

#include <string>
#include <vector>

namespace gravok_tool {

using gvk_json::Problem;

// Every difference between two problems, one line each ("/mesh/x/12: 1.5 != 1.25"),
// comparing doubles and records bit for bit; empty when they are the same. GUIDs are
// not compared.
std::vector<std::string> compare_problems(const Problem& expected, const Problem& actual);

// A problem that exercises every field: every kind of allElementTypes() and ParkingLot
// with records, lists and complex data, non-zero origins, non-finite and extreme
// values, surfaces and units.
Problem generated_problem();

// The problem without its break lines that hold a value that is not finite: what a
// store that refuses such values (LandXML has no notation for them) can be given.
Problem without_non_finite_break_lines(Problem problem);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOL_COMPARE_H
