// The database job: a backup takes the place of the main application's
// database, or, with "_INIT" in the value, the database is only removed.
// A restore that can't complete never loses the live database: the backup is
// copied beside it first, the live files are set aside rather than deleted,
// and they are put back if the copy can't take their place.
#include <array>
#include <utility>
#include <vector>

#include "base/FolderItem.h"
#include "base/StringFunctions.h"
#include "core/VelmarisMAJ.h"

namespace velmaris {

namespace {

// The database and SQLite's side files, which go with it: a stale journal
// beside another database corrupts that database.
constexpr std::array<const char*, 4> kFichiersBase = {"", "-wal", "-shm", "-journal"};
constexpr const char* kSuffixeCopie = ".VelmarisMAJ-new";
constexpr const char* kSuffixeMisDeCote = ".VelmarisMAJ-old";

Ref<FolderItem> Fichier(const std::string& chemin) { return New<FolderItem>(chemin, FolderItem::PathModes::Shell); }

// Undoes a replacement that hasn't been validated, on every way out, a Quit
// during the wait included: the copy goes and the live files come back.
class RetourArriere {
 public:
  explicit RetourArriere(Ref<FolderItem> copie) : mCopie(std::move(copie)) {}
  RetourArriere(const RetourArriere&) = delete;
  RetourArriere& operator=(const RetourArriere&) = delete;
  ~RetourArriere() {
    if (mValide) return;
    if (mCopie->Exists()) mCopie->Delete();
    for (auto& [fichier, deCote] : mMisDeCote) deCote->MoveFileTo(fichier);
  }

  // Moves the file, if there is one, to a name of its own; false when it can't.
  bool MettreDeCote(const Ref<FolderItem>& fichier) {
    if (!fichier->Exists()) return true;
    auto deCote = Fichier(fichier->NativePath() + kSuffixeMisDeCote);
    fichier->MoveFileTo(deCote);
    if (fichier->LastErrorCode() != 0) return false;
    mMisDeCote.emplace_back(fichier, deCote);
    return true;
  }

  // The copy has taken the place: the old files go for good.
  void Valider() {
    mValide = true;
    for (auto& [fichier, deCote] : mMisDeCote) deCote->Delete();
  }

 private:
  Ref<FolderItem> mCopie;
  std::vector<std::pair<Ref<FolderItem>, Ref<FolderItem>>> mMisDeCote;
  bool mValide = false;
};

// A run that ended while the live files were set aside left them there.
// Without a live database they come back; beside one, a copy has taken
// their place, and they go.
void RecupererMisDeCote(const std::string& strCheminBase) {
  const bool bBaseAbsente = !Fichier(strCheminBase)->Exists();
  for (const char* suffixe : kFichiersBase) {
    const auto deCote = Fichier(strCheminBase + suffixe + kSuffixeMisDeCote);
    if (!deCote->Exists()) continue;
    if (bBaseAbsente) {
      deCote->MoveFileTo(Fichier(strCheminBase + suffixe));
    } else {
      deCote->Delete();
    }
  }
  const auto copie = Fichier(strCheminBase + kSuffixeCopie);
  if (copie->Exists()) copie->Delete();
}

}  // namespace

bool VelmarisMAJ::RestaurerVelmarisDB(const std::string& sauvegarde) {
  const std::string strCheminData = strCheminAppData;
  try {
    const std::string strCheminBase = strCheminData + "/Velmaris.sqlite";
    RecupererMisDeCote(strCheminBase);

    if (InStr(sauvegarde, "_INIT") > 0) {
      for (const char* suffixe : kFichiersBase) {
        if (Fichier(strCheminBase + suffixe)->Exists() && SupprimerFichier(strCheminBase + suffixe) != 0) return false;
      }
      PatienterSecondes(1);
      return true;
    }

    const auto base = Fichier(strCheminBase);
    const auto copie = Fichier(strCheminBase + kSuffixeCopie);
    RetourArriere retour(copie);
    // A backup that is missing or unreadable fails here, before anything has gone.
    if (!CopierFichier(Fichier(strCheminData + "/" + sauvegarde), copie)) return false;
    for (const char* suffixe : kFichiersBase) {
      if (!retour.MettreDeCote(Fichier(strCheminBase + suffixe))) return false;
    }
    PatienterSecondes(1);
    copie->MoveFileTo(base);
    if (copie->LastErrorCode() != 0) return false;
    retour.Valider();
    return true;
  } catch (const IOException&) {
    return false;
  } catch (const UnsupportedFormatException&) {
    return false;
  }
}

}  // namespace velmaris
