#pragma once
// The application object: the record of the run, and the helpers that the
// window's handlers call through App().

#include <cstdint>
#include <memory>
#include <string>

#include "base/Ref.h"
#include "core/Application.h"

namespace velmaris {

class FolderItem;
class InstanceLock;
class TextOutputStream;

class VelmarisMAJ : public Application {
 public:
  VelmarisMAJ() = default;

  std::string strURLGlobal;
  bool bQuit = false;
  std::string strCheminApp;
  std::string strCheminAppData;
  std::string strCheminAppDataSauveDB;
  std::string strNomApp;
  bool bPortable = false;
  std::string strMAJGlobal;
  bool bSauvegardeDB = false;
  bool bMAJ = false;
  // The reason that the next dialog gives; see NoterRaison.
  std::string strRaisonEchec;

  // Launch arguments (Arguments.cpp).
  std::string RetournerValeurArgument(const std::string& key);
  // "REPAPP" without the "/" that may end it, which names the same application.
  std::string RetournerCheminApplication();
  std::string ExtraireNomFichier(const std::string& path);
  std::string RecupererValeurParametre(const std::string& text, const std::string& key);
  std::string RetournerDernierMot(const std::string& text);
  // False when the command line is not UTF-8, or when a piece behind the
  // first key begins with no known key: a value held "--" and was cut there,
  // so that what was read of it may name another file.
  bool LigneDeCommandeSure();

  // File helpers (FileHelpers.cpp); each has its own result codes.
  // 0 when the path exists (file or folder), 1 when not, -1 on a bad path.
  int64_t ExisteRepertoire(const std::string& path);
  // The file's size; 0 when it is missing or the path is bad.
  int64_t RetournerTailleFichier(const std::string& path);
  // A new text file, or nil.
  Ref<TextOutputStream> CreerFichier(const std::string& path);
  // 0 deleted, -1 nothing there, 1 the delete failed, -2 a bad path.
  int64_t SupprimerFichier(const std::string& path);
  // True when the copy reports no error.
  bool CopierFichier(const Ref<FolderItem>& source, const Ref<FolderItem>& destination);

  // The update log and the reasons of failures (DialogAndWait.cpp).
  void Journaliser(const std::string& etape);
  // Why the job fails, in words that tell what to do: into the log at once,
  // and into the next dialog, behind its "Show Details..." with the log's
  // path (headless, on stderr behind the dialog's line).
  void NoterRaison(const std::string& raison);

  // The one dialog and the one wait (DialogAndWait.cpp).
  void AfficherMessage(const std::string& message, const std::string& explanation, bool caution);
  void PatienterSecondes(int64_t seconds);

  // The index of the screen that holds the point, or -1 (ActiveScreen.cpp).
  int64_t RetournerEcranActif(int64_t x, int64_t y);

  // The database job; true when the backup is in place, or with "_INIT"
  // when the database is gone.
  bool RestaurerVelmarisDB(const std::string& sauvegarde);

  // One run at a time per application: takes the lock on strCheminApp for
  // the rest of the run; false when another run holds it (Dispatcher.cpp).
  bool VerrouillerApplication();
  // 16 hexadecimal digits that name the application at strCheminApp, the
  // same for every spelling of its path: the name of its lock and of the
  // tool's own folder in Downloads.
  std::string CleApplication() const;
  // The tool's own folder in Downloads for this application, where its
  // downloads, their records and the unpacked disk image go:
  // "Downloads/.VelmarisMAJ-<key>" under home ("~" alone for command lines).
  std::string CheminDossierPropre(const std::string& home) const;

 private:
  std::shared_ptr<InstanceLock> mVerrouApplication;
};

// The application object of the run. Raises NilObjectException when none is registered.
VelmarisMAJ& App();
// Makes the given object the one that App() returns (nil unregisters it).
void _RuntimeRegisterAppObject(std::shared_ptr<VelmarisMAJ> application);

}  // namespace velmaris
