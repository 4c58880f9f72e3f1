#include <gtest/gtest.h>

#include "http/HTTPSocket.h"

namespace velmaris {
namespace {

TEST(EncodersTest, URLStrings) {
  struct Row {
    std::string text;
    std::string expected;
  };
  const Row rows[] = {
      {.text = "a b", .expected = "a+b"},
      {.text = "a+b", .expected = "a%2Bb"},
      {.text = "100%", .expected = "100%25"},
      {.text = "name=", .expected = "name%3D"},
      {.text = "line\r\nend", .expected = "line%0D%0Aend"},
      {.text = "%&=,/\\][{}`~-_()*^$#!+;<>",
       .expected = "%25%26%3D%2C%2F%5C%5D%5B%7B%7D%60%7E%2D%5F%28%29%2A%5E%24%23%21%2B%3B%3C%3E"},
      {.text = "Az09.:?@'\"|\xC3\xA9", .expected = "Az09.:?@'\"|\xC3\xA9"},
  };
  HTTPSocket socket;
  for (const Row& row : rows) EXPECT_EQ(socket._EncodeURLString(row.text), row.expected) << row.text;
}

TEST(EncodersTest, FormDataInTheOrderOfTheDictionary) {
  HTTPSocket socket;
  auto form = New<Dictionary>();
  EXPECT_EQ(socket.EncodeFormData(form), "");
  form->SetValue("name", "Jean Dupont");
  form->SetValue("a=b", "x&y");
  form->SetValue("n", 42);
  EXPECT_EQ(socket.EncodeFormData(form), "name=Jean+Dupont&a%3Db=x%26y&n=42");
}

TEST(EncodersTest, HexOfEveryByte) {
  HTTPSocket socket;
  EXPECT_EQ(socket._EncodeHex(""), "");
  EXPECT_EQ(socket._EncodeHex("\n"), "0a");
  EXPECT_EQ(socket._EncodeHex(std::string("\xFF\x00\xAB", 3)), "ff00ab");
}

}  // namespace
}  // namespace velmaris
