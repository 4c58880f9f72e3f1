#include <gtest/gtest.h>

#include <array>

#include "base/Geometry.h"

namespace velmaris {
namespace {

using Dims = std::array<int64_t, 4>;
Ref<Rect> R(int64_t left, int64_t top, int64_t width, int64_t height) { return New<Rect>(left, top, width, height); }
Ref<Point> P(int64_t x, int64_t y) { return New<Point>(x, y); }
Dims D(const Ref<Rect>& rect) { return {rect->Left(), rect->Top(), rect->Width(), rect->Height()}; }

// Containment of a rectangle is closed; touching rectangles do not intersect,
// and Intersection makes no test for overlap.
TEST(Geometry, RectanglesMeetByTheirEdges) {
  const auto square = R(0, 0, 10, 10);
  EXPECT_TRUE(R(0, 0, 0, 0)->Contains(R(0, 0, 0, 0)) && square->Contains(R(5, 5, 5, 5)));
  EXPECT_FALSE(square->Contains(R(5, 5, 6, 5)) || square->Contains(R(-1, 0, 2, 2)));
  EXPECT_FALSE(square->Intersects(R(10, 0, 10, 10)) || square->Intersects(R(0, 10, 10, 10)));
  EXPECT_FALSE(square->Intersects(R(-10, 0, 10, 10)) || square->Intersects(R(0, -10, 10, 10)));
  EXPECT_FALSE(square->Intersects(Ref<Rect>()));
  EXPECT_TRUE(square->Intersects(R(9, 0, 10, 10)) && square->Intersects(R(5, 5, 0, 2)));
  EXPECT_EQ(D(square->Intersection(R(20, 30, 5, 5))), (Dims{20, 30, -10, -20}));
  EXPECT_EQ(D(square->Union(R(20, 30, 5, 5))), (Dims{0, 0, 25, 35}));
}

// The rectangle keeps the left (upper) piece and the right (lower) one is returned.
TEST(Geometry, SplitsCutOnlyStrictlyInside) {
  const auto rect = R(0, 0, 10, 10);
  EXPECT_TRUE(rect->SplitHorizontal(0).IsNil() && rect->SplitHorizontal(10).IsNil());
  EXPECT_EQ(D(rect->SplitHorizontal(4)), (Dims{4, 0, 6, 10}));
  EXPECT_EQ(D(rect), (Dims{0, 0, 4, 10}));
  EXPECT_EQ(D(rect->SplitVertical(3)), (Dims{0, 3, 4, 7}));
  EXPECT_EQ(D(rect), (Dims{0, 0, 4, 3}));
  EXPECT_TRUE(rect->SplitVertical(3).IsNil());
}

TEST(Geometry, EdgesCentresAndClones) {
  const auto rect = R(0, 0, 10, 10);
  rect->SetLeft(5);
  EXPECT_EQ(rect->Right(), 15);
  rect->SetRight(12);
  const auto copy = rect->Clone();
  copy->Offset(10, 10);
  copy->SetBottom(4);
  EXPECT_EQ(D(rect), (Dims{5, 0, 7, 10})) << "a clone has its own origin and size";
  EXPECT_EQ(D(copy), (Dims{15, 10, 7, -6}));
  const auto center = R(1, 2, 3, 3)->Center();
  EXPECT_EQ((std::pair{center->X, center->Y}), (std::pair<int64_t, int64_t>{2, 3}))
      << "2.5 and 3.5 are cut, not rounded";
  // This rectangle in the coordinates of the other, not the other way round.
  EXPECT_EQ(D(R(10, 10, 5, 5)->LocalRect(R(3, 4, 1, 1))), (Dims{7, 6, 5, 5}));
}

// Compares a with b, b with a, a with its clone, a with a smaller one, and a with nil.
template <typename T>
std::vector<int> Compare(const Ref<T>& a, const Ref<T>& b, const Ref<T>& smaller) {
  return {a->Operator_Compare(b), b->Operator_Compare(a), a->Operator_Compare(a->Clone()), a->Operator_Compare(smaller),
          a->Operator_Compare(Ref<T>())};
}

// Ordering goes by the product or the area, which is not antisymmetric; position never orders rectangles.
TEST(Geometry, ComparisonQuirks) {
  const std::vector<int> quirk = {-1, -1, 0, 1, 1};
  EXPECT_EQ(Compare(New<Size>(2, 3), New<Size>(3, 2), New<Size>(1, 1)), quirk);
  EXPECT_EQ(Compare(P(2, 3), P(3, 2), P(1, 1)), quirk);
  EXPECT_EQ(Compare(R(0, 0, 5, 5), R(9, 9, 5, 5), R(0, 0, 4, 5)), quirk);
}

}  // namespace
}  // namespace velmaris
