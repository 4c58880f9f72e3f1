#pragma once
// Whole-file reads and writes for tests.

#include <fstream>
#include <iterator>
#include <string>

namespace velmaris::testing {

inline void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// The file's bytes; "" when it can't be read.
inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace velmaris::testing
