#include "base/Variant.h"

#include <functional>

#include "base/StringFunctions.h"

namespace velmaris {

std::string Variant::StringValue() const {
  if (const auto* text = std::get_if<std::string>(&mValue)) return *text;
  if (const auto* integer = std::get_if<int64_t>(&mValue)) return Str(*integer);
  if (const auto* real = std::get_if<double>(&mValue)) return Str(*real, "");
  if (const auto* boolean = std::get_if<bool>(&mValue)) return *boolean ? "True" : "False";
  return {};
}

int64_t Variant::IntegerValue() const {
  if (const auto* integer = std::get_if<int64_t>(&mValue)) return *integer;
  return ToInteger(DoubleValue());
}

double Variant::DoubleValue() const {
  if (const auto* integer = std::get_if<int64_t>(&mValue)) return static_cast<double>(*integer);
  if (const auto* real = std::get_if<double>(&mValue)) return *real;
  if (const auto* boolean = std::get_if<bool>(&mValue)) return *boolean ? 1.0 : 0.0;
  if (const auto* text = std::get_if<std::string>(&mValue)) return Val(*text);
  return 0.0;
}

bool Variant::BooleanValue() const {
  if (const auto* boolean = std::get_if<bool>(&mValue)) return *boolean;
  if (const auto* text = std::get_if<std::string>(&mValue)) return TextEquals(*text, "True");
  return DoubleValue() != 0.0;
}

bool Variant::operator==(const Variant& other) const {
  if (IsString() && other.IsString()) return TextEquals(StringValue(), other.StringValue());
  if (IsString() != other.IsString() || IsNil() != other.IsNil()) return false;
  if (IsNil()) return true;
  return DoubleValue() == other.DoubleValue();
}

size_t Variant::Hash() const {
  if (IsString()) return std::hash<std::string>{}(Lowercase(StringValue()));
  if (IsNil()) return 0;
  return std::hash<double>{}(DoubleValue());
}

}  // namespace velmaris
