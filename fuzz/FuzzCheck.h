#pragma once
// An invariant of a fuzz target: a broken one is a finding, reported and
// stopped on at once so that libFuzzer keeps the input.

#include <cstdio>
#include <cstdlib>

namespace velmaris {

inline void Check(bool holds, const char* invariant) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", invariant);
  std::abort();
}

}  // namespace velmaris
