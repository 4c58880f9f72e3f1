#pragma once
// A generator of random integers, seeded from the system's secure source, so
// that what it gives can't be foretold from the time or the process.

#include <cstdint>
#include <memory>

namespace velmaris {

class Random {
 public:
  Random();
  virtual ~Random();
  Random(const Random&) = delete;
  Random& operator=(const Random&) = delete;

  // An integer from low to high, both included.
  virtual int64_t InRange(int64_t low, int64_t high);

 private:
  struct Impl;
  std::unique_ptr<Impl> d;
};

}  // namespace velmaris
