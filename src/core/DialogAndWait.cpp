// The tool's one dialog and its one wait.
#include "base/Clock.h"
#include "base/MessageDialog.h"
#include "core/VelmarisMAJ.h"
#include "ui/FenetreTelechargement.h"

namespace velmaris {

void VelmarisMAJ::AfficherMessage(const std::string& message, const std::string& explanation, bool caution) {
  MessageDialog dialog;
  dialog.Message = message;
  dialog.Explanation = explanation;
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
