#include <gtest/gtest.h>

#include "base/Dictionary.h"
#include "base/Exceptions.h"

namespace velmaris {
namespace {

TEST(Dictionary, KeysAreBlindToCaseAndKeepTheirFirstSpelling) {
  Dictionary map;
  map.SetValue("Content-Length", "10");
  map.SetValue("content-length", "20");
  EXPECT_EQ(map.Count(), 1);
  EXPECT_TRUE(map.HasKey("CONTENT-LENGTH"));
  EXPECT_EQ(map.Value("Content-length").StringValue(), "20");
  EXPECT_EQ(map.Key(0).StringValue(), "Content-Length");
}

TEST(Dictionary, KeyIndexFollowsInsertionOrderAcrossRemovals) {
  Dictionary map;
  for (const char* key : {"a", "b", "c", "d"}) map.SetValue(key, key);
  map.Remove("b");
  map.Remove("D");
  map.SetValue("e", "e");
  map.SetValue("b", "again");
  ASSERT_EQ(map.Count(), 4);
  const char* expected[] = {"a", "c", "e", "b"};
  for (int64_t i = 0; i < map.Count(); ++i) EXPECT_EQ(map.Key(i).StringValue(), expected[i]) << i;
  EXPECT_EQ(map.Value("b").StringValue(), "again");
}

TEST(Dictionary, AbsentKeysAndBadIndexesRaise) {
  Dictionary map;
  map.SetValue("x", 1);
  EXPECT_THROW(map.Value("y"), KeyNotFoundException);
  EXPECT_THROW(map.Remove("y"), KeyNotFoundException);
  EXPECT_THROW(map.Key(1), OutOfBoundsException);
  EXPECT_THROW(map.Key(-1), OutOfBoundsException);
  EXPECT_EQ(map.Lookup("y", 7).IntegerValue(), 7);
  EXPECT_EQ(map.Lookup("X", 7).IntegerValue(), 1);
  map.Clear();
  EXPECT_EQ(map.Count(), 0);
  EXPECT_FALSE(map.HasKey("x"));
}

TEST(Dictionary, ValuesConvertAsTheLogicReadsThem) {
  EXPECT_EQ(Variant(int64_t{42}).StringValue(), "42");
  EXPECT_EQ(Variant("17").IntegerValue(), 17);
  EXPECT_EQ(Variant().StringValue(), "");
  EXPECT_TRUE(Variant(int64_t{3}) == Variant(3.0));
  EXPECT_FALSE(Variant("3") == Variant(3));
}

}  // namespace
}  // namespace velmaris
