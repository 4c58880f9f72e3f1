#include "ui/Downloader.h"

namespace velmaris {

bool _wrapper_Downloader::SetProperty(const std::string& name, const PropertyValue& value) {
  if (name == "Address") {
    Address = AsString(value);
  } else if (name == "httpProxyAddress") {
    HTTPProxyAddress = AsString(value);
  } else if (name == "httpProxyPort") {
    HTTPProxyPort = AsInteger(value);
  } else if (name == "Port") {
    Port = AsInteger(value);
  } else if (name == "yield") {
    Yield = AsBoolean(value);
  } else {
    return false;
  }
  return true;
}

}  // namespace velmaris
