#include "core/VelmarisMAJ.h"

#include "base/Exceptions.h"

namespace velmaris {

namespace {
std::shared_ptr<VelmarisMAJ>& Registered() {
  static std::shared_ptr<VelmarisMAJ> application;
  return application;
}
}  // namespace

VelmarisMAJ& App() {
  if (!Registered()) throw NilObjectException("There is no application object.");
  return *Registered();
}

void _RuntimeRegisterAppObject(std::shared_ptr<VelmarisMAJ> application) { Registered() = std::move(application); }

}  // namespace velmaris
