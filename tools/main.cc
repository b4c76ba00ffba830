// kelmira: the command-line face of the library. See `kelmira --help`.
#include <iostream>

#include "verbs.h"

int main(int argc, char** argv) {
  return ktool::Main(ktool::Words(argv + 1, argv + argc), std::cout, std::cerr);
}
