// The dispatcher: runs once, on TimerQuit, and carries out the job that the
// window's opening chose.
#include <filesystem>
#include <iostream>
#include <system_error>
#include <vector>

#include "base/Crypto.h"
#include "base/InstanceLock.h"
#include "base/Runtime.h"
#include "base/Shell.h"
#include "base/SpecialFolder.h"
#include "base/StringFunctions.h"
#include "core/VelmarisMAJ.h"
#include "ui/FenetreTelechargement.h"
#include "ui/Strings.h"

namespace velmaris {

namespace {

// The main application's data folder: beside a portable copy, otherwise in
// the user's application-data folder. Only the last path segment counts.
void DeterminerChemins() {
  VelmarisMAJ& app = App();
  const std::vector<String> segments = Split(app.strCheminApp, "/");
  app.strNomApp = segments.back();
  if (InStr(app.strNomApp, "Portable") > 0) {
    app.bPortable = true;
    app.strCheminAppData = Replace(app.strCheminApp, "/" + app.strNomApp, "");
    app.strCheminAppData += "/Velmaris";
    app.strCheminAppDataSauveDB = app.strCheminAppData + "/BackupsDB";
  } else {
    app.strCheminAppData = SpecialFolder::ApplicationData()->Child("Velmaris")->NativePath();
    app.strCheminAppDataSauveDB = app.strCheminAppData + "/BackupsDB";
  }
}

// Two waits give the main application time to close its database; one
// repeat after a failure, then a dialog. The main application is opened
// again whatever the outcome, a Quit on the way included, once the
// database files are back in place.
void RestaurerBase(Window& fenetre, Shell& sh) {
  VelmarisMAJ& app = App();
  const std::string strSauvegarde = app.RetournerValeurArgument("SAUVEDB");
  const std::string ouvrirApplication = "open \"" + app.RetournerCheminApplication() + "\"";
  app.Journaliser("database job: the backup " + strSauvegarde + " of " + app.strCheminAppData + "/Velmaris.sqlite");
  try {
    app.PatienterSecondes(2);
    fenetre.SetTitle(Strings::kTitreFenetreRestaurerDB());
    app.PatienterSecondes(2);
    bool bRestaurationOK = app.RestaurerVelmarisDB(strSauvegarde);
    if (!bRestaurationOK) {
      app.PatienterSecondes(2);
      bRestaurationOK = app.RestaurerVelmarisDB(strSauvegarde);
    }
    if (!bRestaurationOK) app.AfficherMessage(Strings::kMsgBoxErreurRestauration(), "", true);
  } catch (const EndException&) {
    sh.Execute(ouvrirApplication);
    throw;
  }
  sh.Execute(ouvrirApplication);
  app.bQuit = true;
  app.bSauvegardeDB = false;
}

}  // namespace

std::string VelmarisMAJ::CleApplication() const {
  // Every spelling of the path names one application: links and "..", resolved.
  std::error_code erreur;
  const std::filesystem::path chemin = std::filesystem::weakly_canonical(strCheminApp, erreur);
  const String empreinte = MD5(erreur ? strCheminApp : chemin.string());
  constexpr const char* kChiffres = "0123456789abcdef";
  std::string cle;
  for (const char octet : empreinte.substr(0, 8)) {
    cle += kChiffres[static_cast<unsigned char>(octet) >> 4];
    cle += kChiffres[static_cast<unsigned char>(octet) & 15];
  }
  return cle;
}

std::string VelmarisMAJ::CheminDossierPropre(const std::string& home) const {
  return home + "/Downloads/.VelmarisMAJ-" + CleApplication();
}

bool VelmarisMAJ::VerrouillerApplication() {
  mVerrouApplication = std::make_shared<InstanceLock>(CleApplication());
  return mVerrouApplication->Held();
}

void FenetreTelechargement::TimerQuit_Action(Timer& /*sender*/) {
  Shell sh;
  if (App().bQuit) {
    App().AfficherMessage(Strings::kMsgBoxErreurMAJ0(), Strings::kMsgBoxVelmarisDispo(), true);
    Quit(0);
  }
  App().strCheminApp = App().RetournerCheminApplication();
  // Two runs on one application would undo each other's work.
  if (!App().VerrouillerApplication()) {
    const std::string raison = "another VelmarisMAJ is at work on " + App().strCheminApp + "; this one ends.";
    std::cerr << "VelmarisMAJ: " << raison << "\n";
    App().Journaliser(raison);
    Quit(0);
  }
  if (App().strCheminApp != "") DeterminerChemins();
  if (App().bSauvegardeDB) RestaurerBase(*this, sh);
  if (App().bMAJ) BrancheMiseAJour(sh);
  if (App().bQuit) Quit(0);
}

}  // namespace velmaris
