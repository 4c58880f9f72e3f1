// Launch arguments: "--KEY:value" pieces of the one command-line string,
// parsed afresh at every question.
#include <algorithm>
#include <vector>

#include "base/Clock.h"
#include "base/StringFunctions.h"
#include "base/System.h"
#include "core/VelmarisMAJ.h"

namespace velmaris {

namespace {

// The keys that the main application passes.
constexpr const char* kCles[] = {"REPAPP", "SAUVEDB", "MAJ"};

}  // namespace

std::string VelmarisMAJ::RetournerValeurArgument(const std::string& key) {
  const std::vector<String> pieces = Split(System::CommandLine(), "--");
  const String prefix = key + ":";
  for (const String& piece : pieces) {
    if (TextEquals(Left(piece, Len(key) + 1), prefix)) {
      // The key is the piece's own beginning, so only it goes.
      return Trim(Replace(piece, prefix, ""));
    }
    RuntimeBackgroundTask();
  }
  return "";
}

std::string VelmarisMAJ::RetournerCheminApplication() {
  std::string chemin = RetournerValeurArgument("REPAPP");
  while (chemin.size() > 1 && chemin.back() == '/') chemin.pop_back();
  return chemin;
}

// The text behind the last "/", which in UTF-8 is never part of another
// character: found from the end in one pass, whatever the length.
std::string VelmarisMAJ::ExtraireNomFichier(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(slash + 1);
}

bool VelmarisMAJ::LigneDeCommandeSure() {
  const std::string ligne = System::CommandLine();
  if (!IsValidUTF8(ligne)) return false;
  // The pieces before the first key belong to the program's own path, which
  // may hold "--" too.
  bool bCleVue = false;
  for (const String& piece : Split(ligne, "--")) {
    const bool bCle = std::ranges::any_of(
        kCles, [&](const char* key) { return TextEquals(Left(piece, Len(key) + 1), String(key) + ":"); });
    if (bCleVue && !bCle) return false;
    bCleVue = bCleVue || bCle;
    RuntimeBackgroundTask();
  }
  return true;
}

std::string VelmarisMAJ::RecupererValeurParametre(const std::string& text, const std::string& key) {
  const std::vector<String> lines = Split(text, "\n");
  for (const String& line : lines) {
    const String trimmed = Trim(line);
    if (TextEquals(Left(trimmed, InStr(trimmed, ":") - 1), key)) {
      return Trim(Mid(line, InStr(line, ":") + 1));
    }
    RuntimeBackgroundTask();
  }
  return "";
}

std::string VelmarisMAJ::RetournerDernierMot(const std::string& text) {
  const std::vector<String> words = Split(Trim(text), " ");
  return words.empty() ? "" : words.back();
}

}  // namespace velmaris
