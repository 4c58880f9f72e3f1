#pragma once
// The string catalogue: each constant is resolved by its key ("Strings." and
// its name) at every read, with its English text as the fallback.

#include <string>

namespace velmaris {

class System;

// The translation of key in language ("" is the user's language), or defaultText.
std::string _GetLocalizedString(const std::string& key, const std::string& defaultText, const std::string& language);

namespace Strings {
std::string kLabelTelechargement0(const std::string& language = "");
std::string kLabelTelechargement1(const std::string& language = "");
std::string kLabelTelechargement2(const std::string& language = "");
std::string kLabelTelechargement3(const std::string& language = "");
std::string kLabelRestaurationDB(const std::string& language = "");
std::string kTitreFenetreRestaurerDB(const std::string& language = "");
std::string kMsgBoxErreurMAJ0(const std::string& language = "");
std::string kMsgBoxErreurMAJ1(const std::string& language = "");
std::string kMsgBoxErreurMAJ2(const std::string& language = "");
std::string kMsgBoxErreurRestauration(const std::string& language = "");
std::string kMsgBoxVelmarisDispo(const std::string& language = "");
std::string kMsgBoxTelechargerSite(const std::string& language = "");
}  // namespace Strings

}  // namespace velmaris
