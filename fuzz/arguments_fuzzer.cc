// Runs arbitrary command lines through the launch-argument helpers and checks
// them against a plain byte-wise reading of the same rules, and what holds for
// every input: a value never holds "--" and has no white space at its ends,
// a command line built from "--KEY:value" pieces gives each value back, and
// a line is safe only when it is UTF-8 and no value was cut at a "--".
//
// Input: the arguments, the program path first, separated by NUL bytes. The
// whole input, read as lines, is also the text of RecupererValeurParametre.

#include <QString>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "FuzzCheck.h"
#include "base/StringFunctions.h"
#include "base/System.h"
#include "core/VelmarisMAJ.h"

namespace velmaris {
namespace {

constexpr const char* kKeys[] = {"REPAPP", "SAUVEDB", "MAJ"};

// The fields of text between separators; an empty text has none.
std::vector<std::string> Fields(const std::string& text, const std::string& separator) {
  std::vector<std::string> fields;
  if (text.empty()) return fields;
  size_t from = 0;
  for (size_t at = text.find(separator); at != std::string::npos; at = text.find(separator, from)) {
    fields.push_back(text.substr(from, at - from));
    from = at + separator.size();
  }
  fields.push_back(text.substr(from));
  return fields;
}

bool SameLetters(char a, char b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return lower(a) == lower(b);
}

bool StartsWith(const std::string& text, const std::string& prefix) {
  if (text.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i) {
    if (!SameLetters(text[i], prefix[i])) return false;
  }
  return true;
}

bool SameText(const std::string& a, const std::string& b) { return a.size() == b.size() && StartsWith(a, b); }

bool EndsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// The value of the first piece behind a "--" that begins with the key and its colon.
std::string ExpectedArgument(const std::string& line, const std::string& key) {
  for (const std::string& piece : Fields(line, "--")) {
    if (StartsWith(piece, key + ":")) return Trim(piece.substr(key.size() + 1));
  }
  return "";
}

// The value behind the first colon of the first line whose name before that colon is the key.
std::string ExpectedParameter(const std::string& text, const std::string& key) {
  for (const std::string& line : Fields(text, "\n")) {
    const std::string trimmed = Trim(line);
    const size_t colon = trimmed.find(':');
    if (!SameText(colon == std::string::npos ? "" : trimmed.substr(0, colon), key)) continue;
    const size_t lineColon = line.find(':');
    return Trim(lineColon == std::string::npos ? line : line.substr(lineColon + 1));
  }
  return "";
}

// The text with every run of dashes cut to one, so that it holds no "--".
std::string WithoutDoubleDash(const std::string& text) {
  std::string plain;
  for (const char c : text) {
    if (c != '-' || plain.empty() || plain.back() != '-') plain += c;
  }
  return plain;
}

void CheckFileName(VelmarisMAJ& app, const std::string& path) {
  const std::string name = app.ExtraireNomFichier(path);
  const size_t slash = path.rfind('/');
  Check(name == (slash == std::string::npos ? "" : path.substr(slash + 1)),
        "the file name is the text behind the last /");
}

// UTF-8 that Qt's decoder gives back byte for byte.
bool ValidUTF8(const std::string& text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).toUtf8().toStdString() == text;
}

// A safe command line is UTF-8, and behind its first piece that begins with
// a key every piece begins with one: no value was cut at a "--".
bool ExpectedSafe(const std::string& line) {
  if (!ValidUTF8(line)) return false;
  bool keySeen = false;
  for (const std::string& piece : Fields(line, "--")) {
    const bool key = std::ranges::any_of(kKeys, [&](const char* k) { return StartsWith(piece, k + std::string(":")); });
    if (keySeen && !key) return false;
    keySeen = keySeen || key;
  }
  return true;
}

void CheckArguments(VelmarisMAJ& app, const std::vector<std::string>& arguments) {
  System::SetArguments(arguments);
  const std::string line = System::CommandLine();
  Check(app.LigneDeCommandeSure() == ExpectedSafe(line), "a command line is safe when UTF-8 and no value was cut");
  CheckFileName(app, line);
  for (const char* key : kKeys) {
    const std::string value = app.RetournerValeurArgument(key);
    Check(value.find("--") == std::string::npos, "a value holds no --");
    Check(Trim(value) == value, "a value is trimmed");
    Check(value == ExpectedArgument(line, key), "the value of the first piece that begins with KEY:");
    Check(app.RetournerValeurArgument(Lowercase(key)) == value, "a key matches in any letter case");
  }
}

// Each key gets a value made from the arguments, in the order the input gives.
void CheckBuiltCommandLine(VelmarisMAJ& app, const std::vector<std::string>& arguments) {
  std::vector<std::string> values;
  for (size_t i = 1; i < arguments.size() && values.size() < std::size(kKeys); ++i) {
    values.push_back(Trim(WithoutDoubleDash(arguments[i])));
  }
  values.resize(std::size(kKeys));
  // An absolute program path, so that it never begins with a key.
  std::vector<std::string> built = {"/" + WithoutDoubleDash(arguments.empty() ? "" : arguments[0])};
  // Blanks behind the colon go with the trimming; the first input byte decides which pieces get one.
  const unsigned blanks = arguments.empty() || arguments[0].empty() ? 0 : static_cast<unsigned char>(arguments[0][0]);
  for (size_t k = 0; k < values.size(); ++k) {
    built.push_back(std::string("--") + kKeys[k] + ":" + (((blanks >> k) & 1U) != 0 ? " " : "") + values[k]);
  }
  System::SetArguments(built);
  for (size_t k = 0; k < values.size(); ++k) {
    Check(app.RetournerValeurArgument(kKeys[k]) == values[k], "a built command line gives each value back");
  }
  Check(app.LigneDeCommandeSure() == ValidUTF8(System::CommandLine()), "a built command line has no cut value");
}

void CheckLastWord(VelmarisMAJ& app, const std::string& text) {
  const std::string word = app.RetournerDernierMot(text);
  const std::string trimmed = Trim(text);
  const size_t blank = trimmed.rfind(' ');
  Check(word.find(' ') == std::string::npos, "the last word holds no blank");
  Check(EndsWith(trimmed, word), "the last word ends the trimmed text");
  Check(word == (blank == std::string::npos ? trimmed : trimmed.substr(blank + 1)),
        "the last word is behind the last blank");
}

void CheckParameter(VelmarisMAJ& app, const std::string& text, const std::string& key) {
  const std::string value = app.RecupererValeurParametre(text, key);
  Check(Trim(value) == value, "a parameter is trimmed");
  Check(value.find('\n') == std::string::npos, "a parameter stays on its line");
  Check(value == ExpectedParameter(text, key), "the parameter of the first line named by the key");
}

}  // namespace
}  // namespace velmaris

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace velmaris;
  static VelmarisMAJ app;
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::vector<std::string> arguments = Fields(input, std::string(1, '\0'));

  CheckArguments(app, arguments);
  CheckBuiltCommandLine(app, arguments);
  for (const std::string& argument : arguments) {
    CheckFileName(app, argument);
    CheckLastWord(app, argument);
  }
  CheckParameter(app, input, "");
  for (const char* key : kKeys) CheckParameter(app, input, key);
  if (!arguments.empty()) CheckParameter(app, input, Trim(arguments[0]));
  return 0;
}
