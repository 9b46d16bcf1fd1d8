// Runs the demo into the directory named on the command line, until the gravok tool
// has its demo command: gravok_demo_preview OUTDIR.
#include "demo.h"

#include <iostream>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: gravok_demo_preview OUTDIR\n";
    return 2;
  }
  return gravok_tool::run_demo(argv[1], std::cout);
}
