// One application of a delta, as the update job makes it: the new bundle
// built in the staging folder from the installed one and checked.
//   delta_driver DELTA INSTALLED STAGING FROM TO
// Prints "seconds: S", or why the delta was refused on stderr (exit 1).
#include <chrono>
#include <cstdio>
#include <string>

#include "delta/DeltaApplier.h"

int main(int argc, char** argv) {
  if (argc != 6) {
    std::fprintf(stderr, "usage: %s DELTA INSTALLED STAGING FROM TO\n", argv[0]);
    return 2;
  }
  const auto start = std::chrono::steady_clock::now();
  const std::string defect = velmaris::ApplyDelta(argv[1], argv[2], argv[3], argv[4], argv[5]);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (defect != "") {
    std::fprintf(stderr, "delta_driver: %s\n", defect.c_str());
    return 1;
  }
  std::printf("seconds: %.3f\n", seconds);
  return 0;
}
