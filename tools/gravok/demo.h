// The demo: the whole road of one problem through the library, on the demo site.
#ifndef GRAVOK_TOOLS_DEMO_H
#define GRAVOK_TOOLS_DEMO_H

#include "demo_site.h"

#include <ostream>
#include <string>

namespace gravok_tool {

// Builds the demo site (`cells` as demo_site takes it; demo_cells() finds the cells for
// a number of triangles), copies it with copyAllFrom into
// a JSON store at another origin (x 2,001,000, y 501,000, z 100 ft), writing
// OUTDIR/site.json; reads that document back through the JSON source; checks its mesh;
// cleans it (reindex_mesh with a tolerance of 0.001 ft, then remove_unused_vertices)
// and checks it again; writes OUTDIR/site.1.node and OUTDIR/site.1.ele; and plots the
// cleaned problem as OUTDIR/site.svg and OUTDIR/site.png. `outdir` is created when it
// does not exist. Each step prints one line to `out` with its counts and its time in
// milliseconds, then the files written with their sizes, the PNG last.
//
// With `site_only` it stops once OUTDIR/site.json is written.
//
// Returns 0 when every step ran and every file was written, 2 when one could not (the
// directory cannot be created, a file cannot be written or read back); the line of
// the failing step says why, and the steps after it do not run.
int run_demo(const std::string& outdir, std::ostream& out, int cells = kDemoCells,
             bool site_only = false);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOLS_DEMO_H
