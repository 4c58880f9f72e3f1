// The update job's first half: the download of the new version.
#include "base/Shell.h"
#include "ui/FenetreTelechargement.h"

namespace velmaris {

// FIXME: the download comes with the update job.
void FenetreTelechargement::BrancheMiseAJour(Shell& /*sh*/) {}

}  // namespace velmaris
