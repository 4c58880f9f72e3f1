#include "core/UpdateKey.h"

#include "base/System.h"

namespace velmaris {

std::string ClePubliqueMiseAJour() {
  const std::string key = System::EnvironmentVariable("VELMARIS_UPDATE_PUBLIC_KEY");
  return key != "" ? key : VELMARIS_DEFAULT_UPDATE_PUBLIC_KEY;
}

}  // namespace velmaris
