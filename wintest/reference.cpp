// The loader's counterpart: the same checks on the Linux library, linked
// directly, to compare the "= " lines with. Usage: varn-dllref [bench depth] [stops]
#include <cstdio>
#include <cstdlib>

#include "drive.h"

int main(int argc, char **argv) {
  DriveOptions options;
  if (argc > 1) options.benchDepth = std::atoi(argv[1]);
  if (argc > 2) options.stops = std::atoi(argv[2]);
  const VarnExports varn = VARN_LINKED_EXPORTS;
  const int failures = DriveLibrary(varn, options);
  std::printf("%d failed\n", failures);
  return failures ? 1 : 0;
}
