#pragma once
// The string catalogue: each constant is resolved at every read by its key,
// "Strings." and its name, with its English text as the default. An empty
// language is the user's.

#include <cstdint>
#include <string>

namespace velmaris::Strings {

std::string kLabelTelechargement0(const std::string& language = "");
std::string kLabelTelechargement1(const std::string& language = "");
std::string kLabelTelechargement2(const std::string& language = "");
std::string kLabelTelechargement3(const std::string& language = "");
// While a lost connection is resumed, followed by " (2/5)".
std::string kLabelReprise(const std::string& language = "");
std::string kLabelRestaurationDB(const std::string& language = "");
std::string kTitreFenetreRestaurerDB(const std::string& language = "");
std::string kMsgBoxErreurMAJ0(const std::string& language = "");
std::string kMsgBoxErreurMAJ1(const std::string& language = "");
std::string kMsgBoxErreurMAJ2(const std::string& language = "");
std::string kMsgBoxErreurRestauration(const std::string& language = "");
std::string kMsgBoxVelmarisDispo(const std::string& language = "");
std::string kMsgBoxTelechargerSite(const std::string& language = "");

// The window's title from its opening on; the restoration job replaces it
// with kTitreFenetreRestaurerDB.
std::string kTitreFenetreTelechargement(const std::string& language = "");

// The amount received when no length was announced: a number with
// kSeparateurDecimal and a unit that begins with its blank.
std::string kUniteKo(const std::string& language = "");
std::string kUniteMo(const std::string& language = "");
std::string kSeparateurDecimal(const std::string& language = "");
// "512 KB", "3.2 MB"; in French "512 Ko", "3,2 Mo".
std::string TailleRecue(int64_t bytes);

}  // namespace velmaris::Strings
