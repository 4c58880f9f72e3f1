#include "base/Properties.h"

namespace velmaris {

namespace {

template <typename Type>
const Type& As(const PropertyValue& value, const char* typeName) {
  const Type* typed = std::get_if<Type>(&value);
  if (typed == nullptr) throw TypeMismatchException(std::string("Expected a property value of type ") + typeName);
  return *typed;
}

}  // namespace

bool AsBoolean(const PropertyValue& value) { return As<bool>(value, "Boolean"); }
int64_t AsInteger(const PropertyValue& value) { return As<int64_t>(value, "Integer"); }
double AsDouble(const PropertyValue& value) { return As<double>(value, "Double"); }
const std::string& AsString(const PropertyValue& value) { return As<std::string>(value, "String"); }
Color AsColor(const PropertyValue& value) { return As<Color>(value, "Color"); }

}  // namespace velmaris
