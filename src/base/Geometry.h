#pragma once
// Integer geometry objects in screen units, Y growing downward. They are
// objects with reference semantics (held through Ref); copying takes Clone.
// Right and Bottom are the first coordinates outside a Rect.

#include <cstdint>

#include "base/Ref.h"

namespace velmaris {

class Point {
 public:
  Point() = default;
  Point(int64_t x, int64_t y) : X(x), Y(y) {}

  Ref<Point> Clone() const;
  double Distance(const Ref<Point>& other) const;
  void Offset(int64_t dx, int64_t dy);
  // By the product X * Y; equal only when both coordinates are; nil compares as 1.
  int Operator_Compare(const Ref<Point>& other) const;

  int64_t X = 0;
  int64_t Y = 0;
};

class Size {
 public:
  Size() = default;
  Size(int64_t width, int64_t height) : Height(height), Width(width) {}

  Ref<Size> Clone() const;
  int64_t Area() const { return Width * Height; }
  // By the area; equal only when both sides are; nil compares as 1.
  int Operator_Compare(const Ref<Size>& other) const;

  int64_t Height = 0;
  int64_t Width = 0;
};

class Rect {
 public:
  Rect();
  Rect(int64_t left, int64_t top, int64_t width, int64_t height);

  Ref<Rect> Clone() const;

  int64_t Left() const { return mOrigin->X; }
  int64_t Top() const { return mOrigin->Y; }
  int64_t Width() const { return mSize->Width; }
  int64_t Height() const { return mSize->Height; }
  int64_t Right() const { return Left() + Width(); }
  int64_t Bottom() const { return Top() + Height(); }
  double HorizontalCenter() const;
  double VerticalCenter() const;
  Ref<Point> Center() const;
  const Ref<Point>& Origin() const { return mOrigin; }
  const Ref<velmaris::Size>& GetSize() const { return mSize; }

  // Left and Top move the rectangle; Right and Bottom change its size.
  void SetLeft(int64_t value);
  void SetTop(int64_t value);
  void SetWidth(int64_t value);
  void SetHeight(int64_t value);
  void SetRight(int64_t value);
  void SetBottom(int64_t value);
  void SetHorizontalCenter(double value);
  void SetVerticalCenter(double value);
  void SetCenter(const Ref<Point>& center);
  void SetOrigin(Ref<Point> origin) { mOrigin = std::move(origin); }
  void SetSize(Ref<velmaris::Size> size) { mSize = std::move(size); }

  // Half open: the right and bottom edges are outside.
  bool Contains(const Ref<Point>& point) const;
  // Closed: rect may share any edge.
  bool Contains(const Ref<Rect>& rect) const;
  // Touching edges do not intersect; nil does not.
  bool Intersects(const Ref<Rect>& other) const;
  // No overlap test: apart rectangles give a width or height of 0 or below.
  Ref<Rect> Intersection(const Ref<Rect>& other) const;
  Ref<Rect> Union(const Ref<Rect>& other) const;
  Ref<Point> LocalPoint(const Ref<Point>& point) const;
  // This rectangle in the coordinates of other.
  Ref<Rect> LocalRect(const Ref<Rect>& other) const;
  void Offset(int64_t dx, int64_t dy);
  // Cuts at x (or y) strictly inside; this keeps the left (upper) piece and
  // the right (lower) piece is returned. Nil, and no change, otherwise.
  Ref<Rect> SplitHorizontal(int64_t x);
  Ref<Rect> SplitVertical(int64_t y);
  // Equal when origin and size are; otherwise by size alone.
  int Operator_Compare(const Ref<Rect>& other) const;

 private:
  Ref<Point> mOrigin;
  Ref<velmaris::Size> mSize;
};

}  // namespace velmaris
