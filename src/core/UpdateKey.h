#pragma once
// The public key that update archives must be signed with.

#include <string>

namespace velmaris {

// The base64 line of a minisign public key: VELMARIS_UPDATE_PUBLIC_KEY in
// the environment when set, else the key the tool was built with (CMake
// option of the same name). "" when neither gives one: the archives are then
// not authenticated.
std::string ClePubliqueMiseAJour();

}  // namespace velmaris
