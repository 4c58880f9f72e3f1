#include <gtest/gtest.h>

#include "base/Dictionary.h"
#include "base/Exceptions.h"

namespace velmaris {

// Keys are blind to case and keep their first spelling and place; Key(index)
// follows insertion order across removals.
TEST(Dictionary, KeysAreCaseBlindAndKeepInsertionOrder) {
  Dictionary map;
  for (const char* key : {"a", "Content-Length", "c", "d"}) map.SetValue(key, key);
  map.SetValue("content-LENGTH", 20);
  map.Remove("A");
  map.Remove("D");
  map.SetValue("e", "e");
  map.SetValue("a", "again");
  std::vector<std::string> keys;
  for (int64_t i = 0; i < map.Count(); ++i) keys.push_back(map.Key(i).StringValue());
  EXPECT_EQ(keys, (std::vector<std::string>{"Content-Length", "c", "e", "a"}));
  EXPECT_EQ((std::vector<int64_t>{map.Lookup("CONTENT-length", 7).IntegerValue(), map.Lookup("y", 7).IntegerValue()}),
            (std::vector<int64_t>{20, 7}));
  EXPECT_THROW(map.Value("y"), KeyNotFoundException);
  EXPECT_THROW(map.Key(4), OutOfBoundsException);
}

}  // namespace velmaris
