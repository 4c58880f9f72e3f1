// The dispatcher: runs once, on TimerQuit, and carries out the job that the
// window's opening chose.
#include "base/Runtime.h"
#include "core/VelmarisMAJ.h"
#include "ui/FenetreTelechargement.h"
#include "ui/Strings.h"

namespace velmaris {

void FenetreTelechargement::TimerQuit_Action(Timer& /*sender*/) {
  if (App().bQuit) {
    App().AfficherMessage(Strings::kMsgBoxErreurMAJ0(), Strings::kMsgBoxVelmarisDispo(), true);
    Quit(0);
  }
  // FIXME: the database leg and the update branch come with their jobs.
  if (App().bQuit) Quit(0);
}

}  // namespace velmaris
