#pragma once
// Property blocks: the typed name and value records from which a window and
// its controls take their properties when they are made, applied in order
// by _SetProperties.

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "base/Exceptions.h"

namespace velmaris {

struct Color {
  int Red = 0;
  int Green = 0;
  int Blue = 0;
};

using PropertyValue = std::variant<bool, int64_t, double, std::string, Color>;

struct Property {
  std::string name;
  PropertyValue value;
};

using PropertyBlock = std::vector<Property>;

// The value as the property's type; TypeMismatchException for another type.
bool AsBoolean(const PropertyValue& value);
int64_t AsInteger(const PropertyValue& value);
double AsDouble(const PropertyValue& value);
const std::string& AsString(const PropertyValue& value);
Color AsColor(const PropertyValue& value);

// Object has bool SetProperty(name, value), false for a name it does not
// have; such a name raises KeyNotFoundException, since a block only ever
// names what its object has.
template <typename Object>
void _SetProperties(Object& object, const PropertyBlock& block) {
  for (const Property& property : block) {
    if (!object.SetProperty(property.name, property.value)) {
      throw KeyNotFoundException("No property named " + property.name);
    }
  }
}

}  // namespace velmaris
