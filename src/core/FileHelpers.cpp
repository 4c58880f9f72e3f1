// The file helpers: FolderItem operations turned into plain codes, each
// helper with its own convention.
#include "base/FolderItem.h"
#include "base/TextOutputStream.h"
#include "core/VelmarisMAJ.h"

namespace velmaris {

int64_t VelmarisMAJ::ExisteRepertoire(const std::string& path) {
  try {
    return New<FolderItem>(path, FolderItem::PathModes::Shell)->Exists() ? 0 : 1;
  } catch (const IOException&) {
    return -1;
  } catch (const UnsupportedFormatException&) {
    return -1;
  }
}

int64_t VelmarisMAJ::RetournerTailleFichier(const std::string& path) {
  try {
    const auto fichier = New<FolderItem>(path, FolderItem::PathModes::Shell);
    return fichier->Exists() ? static_cast<int64_t>(fichier->Length()) : 0;
  } catch (const IOException&) {
    return 0;
  } catch (const UnsupportedFormatException&) {
    return 0;
  }
}

Ref<TextOutputStream> VelmarisMAJ::CreerFichier(const std::string& path) {
  try {
    return TextOutputStream::Create(New<FolderItem>(path, FolderItem::PathModes::Shell));
  } catch (const IOException&) {
    return nullptr;
  } catch (const UnsupportedFormatException&) {
    return nullptr;
  }
}

// An IOException is left to the caller.
int64_t VelmarisMAJ::SupprimerFichier(const std::string& path) {
  try {
    const auto fichier = New<FolderItem>(path, FolderItem::PathModes::Shell);
    if (!fichier->Exists()) return -1;
    fichier->Delete();
    return fichier->LastErrorCode() > 0 ? 1 : 0;
  } catch (const UnsupportedFormatException&) {
    return -2;
  }
}

bool VelmarisMAJ::CopierFichier(const Ref<FolderItem>& source, const Ref<FolderItem>& destination) {
  source->CopyFileTo(destination);
  return source->LastErrorCode() == 0;
}

}  // namespace velmaris
