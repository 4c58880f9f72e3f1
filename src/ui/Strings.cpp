#include "ui/Strings.h"

#include "base/StringFunctions.h"
#include "base/System.h"

namespace velmaris::Strings {

#define VELMARIS_STRING(name, text)                                       \
  std::string name(const std::string& language) {                         \
    return System::_GetLocalizedString("Strings." #name, text, language); \
  }

VELMARIS_STRING(kLabelTelechargement0, "Initialization...")
VELMARIS_STRING(kLabelTelechargement1, "Download ")
VELMARIS_STRING(kLabelTelechargement2, " in progress...")
VELMARIS_STRING(kLabelTelechargement3, "Update installation in progress...")
VELMARIS_STRING(kLabelReprise, "Connection lost, resuming...")
VELMARIS_STRING(kLabelRestaurationDB, "Restore of the database backup in progress\u2026")
VELMARIS_STRING(kTitreFenetreRestaurerDB, "Restore database...")
VELMARIS_STRING(kMsgBoxErreurMAJ0, "The launch of VelmarisMAJ must be initiated by Velmaris!")
VELMARIS_STRING(kMsgBoxErreurMAJ1, "Errors encountered in installing the update !")
VELMARIS_STRING(kMsgBoxErreurMAJ2, "Errors encountered in downloading the update !")
VELMARIS_STRING(kMsgBoxErreurRestauration, "Errors encountered in restoring database backup !")
VELMARIS_STRING(kMsgBoxVelmarisDispo, "Velmaris application has not been updated.")
VELMARIS_STRING(kMsgBoxTelechargerSite, "A \u00ab\u00a0fresh\u00a0\u00bb installation is required.")
VELMARIS_STRING(kTitreFenetreTelechargement, "Velmaris Update")
VELMARIS_STRING(kUniteKo, " KB")
VELMARIS_STRING(kUniteMo, " MB")
VELMARIS_STRING(kSeparateurDecimal, ".")

#undef VELMARIS_STRING

std::string TailleRecue(int64_t bytes) {
  if (bytes < 1000000) return Format(static_cast<double>(bytes) / 1000.0, "0") + kUniteKo();
  return Replace(Format(static_cast<double>(bytes) / 1000000.0, "0.0"), ".", kSeparateurDecimal()) + kUniteMo();
}

}  // namespace velmaris::Strings
