// The database job: a backup takes the place of the main application's
// database, or, with "_INIT" in the value, the database is only removed.
// A restore that can't complete never loses the live database: the backup is
// copied beside it and checked first, the live files are set aside rather
// than deleted, and they are put back if the copy can't take their place.
// Once replaced or removed, they stay as a dated copy, since a wrong backup,
// or a marker found by chance in a backup's name, is still the user's loss.
#include <algorithm>
#include <array>
#include <ctime>
#include <filesystem>
#include <functional>
#include <utility>
#include <vector>

#include "base/FolderItem.h"
#include "base/SQLiteFile.h"
#include "base/StringFunctions.h"
#include "core/VelmarisMAJ.h"

namespace velmaris {

namespace {

namespace fs = std::filesystem;

// The database and SQLite's side files, which go with it: a stale journal
// beside another database corrupts that database.
constexpr std::array<const char*, 4> kFichiersBase = {"", "-wal", "-shm", "-journal"};
constexpr const char* kSuffixeCopie = ".VelmarisMAJ-new";
constexpr const char* kSuffixeMisDeCote = ".VelmarisMAJ-old";
// The live database that a restore or a removal replaces stays in the data
// folder under a dated name, its side files with it; the newest ones are kept.
constexpr const char* kPrefixeCopieDatee = "Velmaris-";
constexpr size_t kCopiesDateesGardees = 3;
// How long a main application that still writes to its database is given.
constexpr int64_t kSecondesEcritureMaximum = 10;

Ref<FolderItem> Fichier(const std::string& chemin) { return New<FolderItem>(chemin, FolderItem::PathModes::Shell); }

// "<data>/Velmaris-2026-11-24_143005.sqlite": sorted by name, sorted by date.
std::string CheminCopieDatee(const std::string& strCheminBase) {
  const std::time_t maintenant = std::time(nullptr);
  std::tm local{};
  localtime_r(&maintenant, &local);
  char date[32];
  std::strftime(date, sizeof date, "%Y-%m-%d_%H%M%S", &local);
  const std::string dossier = fs::path(strCheminBase).parent_path().string() + "/";
  std::string chemin = dossier + kPrefixeCopieDatee + date + ".sqlite";
  for (int n = 2; fs::exists(fs::symlink_status(chemin)); ++n) {
    chemin = dossier + kPrefixeCopieDatee + date + "-" + std::to_string(n) + ".sqlite";
  }
  return chemin;
}

// Only the newest dated copies stay, each with its side files.
void ElaguerCopiesDatees(const std::string& strCheminBase) {
  std::vector<std::string> copies;
  std::error_code erreur;
  for (const auto& entree : fs::directory_iterator(fs::path(strCheminBase).parent_path(), erreur)) {
    const std::string nom = entree.path().filename().string();
    if (nom.starts_with(kPrefixeCopieDatee) && nom.ends_with(".sqlite")) copies.push_back(entree.path().string());
  }
  std::ranges::sort(copies, std::greater<>());
  for (size_t i = kCopiesDateesGardees; i < copies.size(); ++i) {
    for (const char* suffixe : kFichiersBase) fs::remove(copies[i] + suffixe, erreur);
  }
}

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

  // The copy has taken the place: the old files become the dated copy,
  // whose path it gives ("" when there were none).
  std::string Valider(const std::string& strCheminBase) {
    mValide = true;
    if (mMisDeCote.empty()) return "";
    std::string datee = CheminCopieDatee(strCheminBase);
    for (auto& [fichier, deCote] : mMisDeCote) {
      deCote->MoveFileTo(Fichier(datee + fichier->NativePath().substr(strCheminBase.size())));
    }
    ElaguerCopiesDatees(strCheminBase);
    return datee;
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
    const auto base = Fichier(strCheminBase);
    const auto copie = Fichier(strCheminBase + kSuffixeCopie);
    RetourArriere retour(copie);

    const bool bInit = InStr(sauvegarde, "_INIT") > 0;
    if (!bInit) {
      // A backup that is missing, unreadable or no whole database fails
      // here, before anything has gone.
      const std::string strCheminSauvegarde = strCheminData + "/" + sauvegarde;
      if (!CopierFichier(Fichier(strCheminSauvegarde), copie)) {
        NoterRaison("the backup " + strCheminSauvegarde + " can't be read; the live database is kept");
        return false;
      }
      const String defaut = SQLiteDatabaseDefect(copie->NativePath());
      if (defaut != "") {
        NoterRaison("the backup " + strCheminSauvegarde + " is no whole SQLite database (" + defaut +
                    "); the live database is kept");
        return false;
      }
    }
    // The main application may still be ending: its last write goes in first.
    for (int64_t seconde = 0; SQLiteWriteInProgress(strCheminBase); ++seconde) {
      if (seconde == kSecondesEcritureMaximum) {
        NoterRaison(strCheminBase + " is still being written to after " + std::to_string(kSecondesEcritureMaximum) +
                    " s; it is kept");
        return false;
      }
      PatienterSecondes(1);
    }
    for (const char* suffixe : kFichiersBase) {
      if (!retour.MettreDeCote(Fichier(strCheminBase + suffixe))) return false;
    }
    PatienterSecondes(1);
    if (!bInit) {
      copie->MoveFileTo(base);
      if (copie->LastErrorCode() != 0) {
        NoterRaison("the backup could not take the place of " + strCheminBase + "; the live database is kept");
        return false;
      }
    }
    const std::string datee = retour.Valider(strCheminBase);
    Journaliser(std::string(bInit ? "the database is removed" : "the backup is in place") +
                (datee != "" ? "; what stood at " + strCheminBase + " is kept as " + datee : ""));
    return true;
  } catch (const IOException&) {
    return false;
  } catch (const UnsupportedFormatException&) {
    return false;
  }
}

}  // namespace velmaris
