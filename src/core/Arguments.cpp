// Launch arguments: "--KEY:value" pieces of the one command-line string,
// parsed afresh at every question.
#include <vector>

#include "base/Clock.h"
#include "base/StringFunctions.h"
#include "base/System.h"
#include "core/VelmarisMAJ.h"

namespace velmaris {

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

std::string VelmarisMAJ::ExtraireNomFichier(const std::string& path) {
  int64_t count = 0;
  for (int64_t position = Len(path); position >= 1; --position) {
    if (Mid(path, position, 1) == "/") {
      count = Len(path) - position;
      break;
    }
    RuntimeBackgroundTask();
  }
  return Right(path, count);
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
