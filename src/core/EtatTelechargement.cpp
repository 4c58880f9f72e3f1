#include "core/EtatTelechargement.h"

#include <cstdio>
#include <fstream>
#include <map>

#include "base/StringFunctions.h"

namespace velmaris {

// One "name value" line each, the value to the line's end; "end" last, so
// that a record cut short reads as none.
EtatTelechargement EtatTelechargement::Lire(const std::string& chemin) {
  std::ifstream fichier(chemin);
  std::map<std::string, std::string> champs;
  for (std::string ligne; std::getline(fichier, ligne) && champs.size() < 16;) {
    const size_t blanc = ligne.find(' ');
    champs[ligne.substr(0, blanc)] = blanc == std::string::npos ? "" : ligne.substr(blanc + 1);
  }
  EtatTelechargement etat;
  if (!champs.contains("end")) return etat;
  etat.url = champs["url"];
  etat.validateur = champs["validator"];
  etat.longueur = ToInteger(Val(champs["length"]));
  etat.octets = ToInteger(Val(champs["bytes"]));
  return etat;
}

void EtatTelechargement::Ecrire(const std::string& chemin) const {
  const std::string nouveau = chemin + ".new";
  {
    std::ofstream fichier(nouveau, std::ios::trunc);
    // A value keeps to its line.
    const auto ligne = [&fichier](const char* nom, const std::string& valeur) {
      fichier << nom << ' ' << ReplaceAll(ReplaceAll(valeur, "\r", ""), "\n", "") << '\n';
    };
    ligne("url", url);
    ligne("validator", validateur);
    ligne("length", Str(longueur));
    ligne("bytes", Str(octets));
    fichier << "end\n";
    fichier.close();
    if (!fichier) return;
  }
  std::rename(nouveau.c_str(), chemin.c_str());
}

}  // namespace velmaris
