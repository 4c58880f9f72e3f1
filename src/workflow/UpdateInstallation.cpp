// The installation of a downloaded update, on TimerInstallation.
#include "ui/FenetreTelechargement.h"

namespace velmaris {

// FIXME: the installation comes with the update job.
void FenetreTelechargement::TimerInstallation_Action(Timer& /*sender*/) {}

}  // namespace velmaris
