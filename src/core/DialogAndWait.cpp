// The tool's one dialog and its one wait.
#include <utility>

#include "base/Clock.h"
#include "base/MessageDialog.h"
#include "base/UpdateLog.h"
#include "core/VelmarisMAJ.h"
#include "ui/FenetreTelechargement.h"

namespace velmaris {

void VelmarisMAJ::Journaliser(const std::string& etape) { LogStep(etape); }

void VelmarisMAJ::NoterRaison(const std::string& raison) {
  Journaliser("failure: " + raison);
  strRaisonEchec = raison;
}

void VelmarisMAJ::AfficherMessage(const std::string& message, const std::string& explanation, bool caution) {
  Journaliser("dialog: " + message + (explanation.empty() ? "" : " ") + explanation);
  MessageDialog dialog;
  dialog.Message = message;
  dialog.Explanation = explanation;
  if (strRaisonEchec != "") {
    dialog.Details = std::exchange(strRaisonEchec, "");
    if (UpdateLogPath() != "") dialog.Details += "\nUpdate log: " + UpdateLogPath();
  }
  if (caution) dialog.Icon = MessageDialog::kGraphicCaution;
  dialog.ActionButton->Caption = "OK";
  dialog.CancelButton->Visible = false;
  dialog.ShowModalWithin(&FenetreTelechargement());
}

void VelmarisMAJ::PatienterSecondes(int64_t seconds) {
  const int64_t end = Ticks() + seconds * 60;
  while (Ticks() < end) RuntimeBackgroundTask();
}

}  // namespace velmaris
