#pragma once
// The small variant that Dictionary keys and values are carried in.

#include <cstdint>
#include <string>
#include <variant>

namespace velmaris {

class Variant {
 public:
  Variant() = default;
  Variant(bool value) : mValue(value) {}                       // NOLINT(google-explicit-constructor)
  Variant(int value) : mValue(static_cast<int64_t>(value)) {}  // NOLINT(google-explicit-constructor)
  Variant(int64_t value) : mValue(value) {}                    // NOLINT(google-explicit-constructor)
  Variant(double value) : mValue(value) {}                     // NOLINT(google-explicit-constructor)
  Variant(std::string value) : mValue(std::move(value)) {}     // NOLINT(google-explicit-constructor)
  Variant(const char* value) : mValue(std::string(value)) {}   // NOLINT(google-explicit-constructor)

  bool IsNil() const { return std::holds_alternative<std::monostate>(mValue); }
  bool IsString() const { return std::holds_alternative<std::string>(mValue); }

  // Conversions as the logic reads a value "as text" or "as a number".
  std::string StringValue() const;
  int64_t IntegerValue() const;
  double DoubleValue() const;
  bool BooleanValue() const;

  // Strings compare blind to ASCII case; numbers by value.
  bool operator==(const Variant& other) const;
  size_t Hash() const;

 private:
  std::variant<std::monostate, bool, int64_t, double, std::string> mValue;
};

}  // namespace velmaris
