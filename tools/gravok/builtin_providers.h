// The providers built into the gravok tool, and what they say when they refuse.
#ifndef GRAVOK_TOOL_BUILTIN_PROVIDERS_H
#define GRAVOK_TOOL_BUILTIN_PROVIDERS_H

#include "problem.h"

#include <gravok/data_store.h>

#include <string>

namespace gravok_tool {

// Why a built-in provider accepted `location` but could not open it ("site.1.ele:7:
// triangle 5 names vertex 40, but there are 30 vertices"); empty when no built-in
// provider tried.
std::string builtin_open_error(const std::string& location);

// Why a store of a built-in provider failed to write what it was given; empty when it
// wrote it, or when `store` is not one of theirs.
std::string builtin_store_error(const gvk::DataStore& store);

// Writes `problem` as a JSON problem document at `path`; false with a message in
// `error` when the file cannot be written.
bool write_problem_document(const Problem& problem, const std::string& path,
                            std::string& error);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOL_BUILTIN_PROVIDERS_H
