#include <gtest/gtest.h>

#include "base/Geometry.h"

namespace velmaris {
namespace {

Ref<Rect> R(int64_t left, int64_t top, int64_t width, int64_t height) { return New<Rect>(left, top, width, height); }
Ref<Point> P(int64_t x, int64_t y) { return New<Point>(x, y); }

void ExpectRect(const Ref<Rect>& rect, int64_t left, int64_t top, int64_t width, int64_t height) {
  ASSERT_FALSE(rect.IsNil());
  EXPECT_EQ(rect->Left(), left);
  EXPECT_EQ(rect->Top(), top);
  EXPECT_EQ(rect->Width(), width);
  EXPECT_EQ(rect->Height(), height);
}

TEST(Geometry, PointContainmentIsHalfOpen) {
  struct Row {
    int64_t x, y;
    bool inside;
  } rows[] = {
      {.x = 0, .y = 0, .inside = true},    {.x = 1439, .y = 899, .inside = true}, {.x = 1440, .y = 0, .inside = false},
      {.x = 0, .y = 900, .inside = false}, {.x = -1, .y = 0, .inside = false},    {.x = 0, .y = -1, .inside = false},
  };
  const auto screen = R(0, 0, 1440, 900);
  for (const Row& row : rows) EXPECT_EQ(screen->Contains(P(row.x, row.y)), row.inside) << row.x << "," << row.y;
  EXPECT_FALSE(R(0, 0, 0, 0)->Contains(P(0, 0)));
  EXPECT_THROW(screen->Contains(Ref<Point>()), NilObjectException);
}

TEST(Geometry, RectContainmentIsClosed) {
  EXPECT_TRUE(R(0, 0, 0, 0)->Contains(R(0, 0, 0, 0)));
  EXPECT_TRUE(R(0, 0, 10, 10)->Contains(R(5, 5, 5, 5)));
  EXPECT_FALSE(R(0, 0, 10, 10)->Contains(R(5, 5, 6, 5)));
  EXPECT_FALSE(R(0, 0, 10, 10)->Contains(R(-1, 0, 2, 2)));
}

TEST(Geometry, TouchingRectanglesDoNotIntersect) {
  EXPECT_FALSE(R(0, 0, 10, 10)->Intersects(R(10, 0, 10, 10)));
  EXPECT_TRUE(R(0, 0, 10, 10)->Intersects(R(9, 0, 10, 10)));
  EXPECT_FALSE(R(0, 0, 10, 10)->Intersects(R(0, 10, 10, 10)));
  EXPECT_FALSE(R(0, 0, 10, 10)->Intersects(R(10, 10, 1, 1)));
  EXPECT_TRUE(R(0, 0, 10, 10)->Intersects(R(5, 5, 0, 2)));
  EXPECT_FALSE(R(0, 0, 10, 10)->Intersects(Ref<Rect>()));
}

TEST(Geometry, IntersectionAndUnionTestNoOverlap) {
  ExpectRect(R(0, 0, 10, 10)->Intersection(R(20, 30, 5, 5)), 20, 30, -10, -20);
  ExpectRect(R(0, 0, 10, 10)->Intersection(R(5, 2, 10, 3)), 5, 2, 5, 3);
  ExpectRect(R(0, 0, 10, 10)->Union(R(20, 30, 5, 5)), 0, 0, 25, 35);
  ExpectRect(R(0, 0, 0, 0)->Union(R(5, 5, 1, 1)), 0, 0, 6, 6);
}

TEST(Geometry, SplitsCutOnlyStrictlyInside) {
  auto rect = R(0, 0, 10, 10);
  ExpectRect(rect->SplitHorizontal(4), 4, 0, 6, 10);
  ExpectRect(rect, 0, 0, 4, 10);
  auto edge = R(0, 0, 10, 10);
  EXPECT_TRUE(edge->SplitHorizontal(0).IsNil());
  EXPECT_TRUE(edge->SplitHorizontal(10).IsNil());
  ExpectRect(edge, 0, 0, 10, 10);
  auto tall = R(0, 0, 10, 10);
  ExpectRect(tall->SplitVertical(3), 0, 3, 10, 7);
  ExpectRect(tall, 0, 0, 10, 3);
  EXPECT_TRUE(tall->SplitVertical(3).IsNil());
}

TEST(Geometry, EdgesMoveOrResizeAsTheirSideDoes) {
  auto rect = R(0, 0, 10, 10);
  rect->SetLeft(5);
  EXPECT_EQ(rect->Right(), 15);
  rect->SetRight(12);
  ExpectRect(rect, 5, 0, 7, 10);
  rect->SetBottom(4);
  ExpectRect(rect, 5, 0, 7, 4);
  auto centred = R(0, 0, 20, 20);
  centred->SetHorizontalCenter(20);
  EXPECT_EQ(centred->Left(), 10);
  EXPECT_DOUBLE_EQ(centred->HorizontalCenter(), 20.0);
  const auto center = R(1, 2, 3, 3)->Center();
  EXPECT_EQ(center->X, 2);
  EXPECT_EQ(center->Y, 3);
  ExpectRect(R(10, 10, 5, 5)->LocalRect(R(3, 4, 1, 1)), 7, 6, 5, 5);
  EXPECT_DOUBLE_EQ(P(3, 4)->Distance(P(0, 0)), 5.0);
}

TEST(Geometry, ClonesAreDeep) {
  auto rect = R(1, 2, 3, 4);
  auto copy = rect->Clone();
  copy->Offset(10, 10);
  copy->SetWidth(30);
  ExpectRect(rect, 1, 2, 3, 4);
  ExpectRect(copy, 11, 12, 30, 4);
}

// Ordering goes by the product or the area, which is not antisymmetric.
TEST(Geometry, ComparisonQuirks) {
  const auto a = New<Size>(2, 3);
  const auto b = New<Size>(3, 2);
  EXPECT_EQ(a->Operator_Compare(b), -1);
  EXPECT_EQ(b->Operator_Compare(a), -1);
  EXPECT_EQ(a->Operator_Compare(New<Size>(2, 3)), 0);
  EXPECT_EQ(a->Operator_Compare(New<Size>(1, 1)), 1);
  EXPECT_EQ(a->Operator_Compare(Ref<Size>()), 1);
  EXPECT_EQ(P(2, 3)->Operator_Compare(P(3, 2)), -1);
  EXPECT_EQ(P(3, 2)->Operator_Compare(P(2, 3)), -1);
  EXPECT_EQ(P(4, 4)->Operator_Compare(P(1, 1)), 1);
  EXPECT_EQ(P(1, 1)->Operator_Compare(Ref<Point>()), 1);
  // Position only makes rectangles unequal; it never orders them.
  EXPECT_EQ(R(0, 0, 5, 5)->Operator_Compare(R(9, 9, 5, 5)), -1);
  EXPECT_EQ(R(9, 9, 5, 5)->Operator_Compare(R(0, 0, 5, 5)), -1);
  EXPECT_EQ(R(0, 0, 5, 5)->Operator_Compare(R(0, 0, 5, 5)), 0);
  EXPECT_EQ(R(0, 0, 6, 5)->Operator_Compare(R(0, 0, 5, 5)), 1);
}

}  // namespace
}  // namespace velmaris
