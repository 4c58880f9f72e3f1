#include "base/Geometry.h"

#include <algorithm>
#include <cmath>

#include "base/StringFunctions.h"

namespace velmaris {

Ref<Point> Point::Clone() const { return New<Point>(X, Y); }

double Point::Distance(const Ref<Point>& other) const {
  const auto dx = static_cast<double>(other->X - X);
  const auto dy = static_cast<double>(other->Y - Y);
  return std::sqrt(dx * dx + dy * dy);
}

void Point::Offset(int64_t dx, int64_t dy) {
  X += dx;
  Y += dy;
}

int Point::Operator_Compare(const Ref<Point>& other) const {
  if (other.IsNil()) return 1;
  if (X == other->X && Y == other->Y) return 0;
  return other->X * other->Y < X * Y ? 1 : -1;
}

Ref<Size> Size::Clone() const { return New<Size>(Width, Height); }

int Size::Operator_Compare(const Ref<Size>& other) const {
  if (other.IsNil()) return 1;
  if (Width == other->Width && Height == other->Height) return 0;
  return other->Area() < Area() ? 1 : -1;
}

Rect::Rect() : mOrigin(New<Point>()), mSize(New<velmaris::Size>()) {}

Rect::Rect(int64_t left, int64_t top, int64_t width, int64_t height) : Rect() {
  SetLeft(left);
  SetTop(top);
  SetWidth(width);
  SetHeight(height);
}

Ref<Rect> Rect::Clone() const {
  auto copy = New<Rect>();
  copy->mOrigin = mOrigin->Clone();
  copy->mSize = mSize->Clone();
  return copy;
}

double Rect::HorizontalCenter() const { return static_cast<double>(Left()) + static_cast<double>(Width()) * 0.5; }

double Rect::VerticalCenter() const { return static_cast<double>(Top()) + static_cast<double>(Height()) * 0.5; }

Ref<Point> Rect::Center() const { return New<Point>(ToInteger(HorizontalCenter()), ToInteger(VerticalCenter())); }

void Rect::SetLeft(int64_t value) { mOrigin->X = value; }

void Rect::SetTop(int64_t value) { mOrigin->Y = value; }

void Rect::SetWidth(int64_t value) { mSize->Width = value; }

void Rect::SetHeight(int64_t value) { mSize->Height = value; }

void Rect::SetRight(int64_t value) { SetWidth(value - Right() + Width()); }

void Rect::SetBottom(int64_t value) { SetHeight(value - Bottom() + Height()); }

void Rect::SetHorizontalCenter(double value) {
  SetLeft(ToInteger(std::round(value - static_cast<double>(Width()) * 0.5)));
}

void Rect::SetVerticalCenter(double value) {
  SetTop(ToInteger(std::round(value - static_cast<double>(Height()) * 0.5)));
}

void Rect::SetCenter(const Ref<Point>& center) {
  SetHorizontalCenter(static_cast<double>(center->X));
  SetVerticalCenter(static_cast<double>(center->Y));
}

bool Rect::Contains(const Ref<Point>& point) const {
  return Left() <= point->X && Top() <= point->Y && point->X < Right() && point->Y < Bottom();
}

bool Rect::Contains(const Ref<Rect>& rect) const {
  return Left() <= rect->Left() && Top() <= rect->Top() && rect->Right() <= Right() && rect->Bottom() <= Bottom();
}

bool Rect::Intersects(const Ref<Rect>& other) const {
  if (other.IsNil()) return false;
  if (Bottom() <= other->Top()) return false;
  if (other->Bottom() <= Top()) return false;
  if (Right() <= other->Left()) return false;
  if (other->Right() <= Left()) return false;
  return true;
}

namespace {
// The layer's Min and Max work on doubles; the results are cut back to integers.
int64_t Smaller(int64_t a, int64_t b) { return ToInteger(std::min(static_cast<double>(a), static_cast<double>(b))); }
int64_t Larger(int64_t a, int64_t b) { return ToInteger(std::max(static_cast<double>(a), static_cast<double>(b))); }
}  // namespace

Ref<Rect> Rect::Intersection(const Ref<Rect>& other) const {
  auto result = New<Rect>();
  result->SetLeft(Larger(Left(), other->Left()));
  result->SetTop(Larger(Top(), other->Top()));
  result->SetWidth(Smaller(Right(), other->Right()) - result->Left());
  result->SetHeight(Smaller(Bottom(), other->Bottom()) - result->Top());
  return result;
}

Ref<Rect> Rect::Union(const Ref<Rect>& other) const {
  auto result = New<Rect>();
  result->SetLeft(Smaller(Left(), other->Left()));
  result->SetTop(Smaller(Top(), other->Top()));
  result->SetWidth(Larger(Right(), other->Right()) - result->Left());
  result->SetHeight(Larger(Bottom(), other->Bottom()) - result->Top());
  return result;
}

Ref<Point> Rect::LocalPoint(const Ref<Point>& point) const { return New<Point>(point->X - Left(), point->Y - Top()); }

Ref<Rect> Rect::LocalRect(const Ref<Rect>& other) const {
  auto result = New<Rect>();
  result->mOrigin = other->LocalPoint(mOrigin);
  result->mSize = mSize->Clone();
  return result;
}

void Rect::Offset(int64_t dx, int64_t dy) { mOrigin->Offset(dx, dy); }

Ref<Rect> Rect::SplitHorizontal(int64_t x) {
  if (!(Left() < x && x < Right())) return nullptr;
  const int64_t leftWidth = x - Left();
  const int64_t total = Width();
  auto right = New<Rect>(x, Top(), total - leftWidth, Height());
  SetWidth(leftWidth);
  return right;
}

Ref<Rect> Rect::SplitVertical(int64_t y) {
  if (!(Top() < y && y < Bottom())) return nullptr;
  const int64_t upperHeight = y - Top();
  const int64_t total = Height();
  auto lower = New<Rect>(Left(), y, Width(), total - upperHeight);
  SetHeight(upperHeight);
  return lower;
}

int Rect::Operator_Compare(const Ref<Rect>& other) const {
  if (other.IsNil()) return 1;
  if (mOrigin->Operator_Compare(other->mOrigin) == 0 && mSize->Operator_Compare(other->mSize) == 0) return 0;
  return mSize->Operator_Compare(other->mSize) > 0 ? 1 : -1;
}

}  // namespace velmaris
