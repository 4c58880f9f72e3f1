#pragma once
// The System object of the logic: command line, environment, mouse,
// localised strings.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace velmaris {

class System {
 public:
  // The program path and its arguments joined by single blanks, in order,
  // each argument intact, with no quoting added.
  static std::string CommandLine();
  // The variable's value; "" when unset.
  static std::string EnvironmentVariable(const std::string& name);
  // The mouse position in global screen coordinates.
  static int64_t MouseX();
  static int64_t MouseY();

  // The translation of key in language, or defaultText when there is none.
  // An empty language is the user's language, the one installed at start-up.
  static std::string _GetLocalizedString(const std::string& key, const std::string& defaultText,
                                         const std::string& language);

  // Recorded by main before anything reads them; tests set their own.
  static void SetArguments(std::vector<std::string> arguments);
  // Replaces the mouse position source (tests); an empty function restores the real one.
  static void SetMousePosition(std::function<std::pair<int64_t, int64_t>()> source);
};

}  // namespace velmaris
