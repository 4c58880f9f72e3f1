#pragma once
// The record that a download keeps beside its partial file, so that a run
// interrupted by anything (Quit, a kill, a crash, a power cut) leaves the
// next one what it needs to go on where it stopped.

#include <cstdint>
#include <string>

namespace velmaris {

struct EtatTelechargement {
  // The URL asked for, and the validator of its answer (its ETag, else its
  // Last-Modified), which the next request sends as If-Range.
  std::string url;
  std::string validateur;
  // The length the server announced, and the bytes the file held when the
  // record was written.
  int64_t longueur = 0;
  int64_t octets = 0;

  // The record at that path; one with an empty url when there is none, or
  // it can't be read whole.
  static EtatTelechargement Lire(const std::string& chemin);
  // Writes the record whole: a new file renamed over the old one, so that a
  // kill leaves one or the other. A record that can't be written is left.
  void Ecrire(const std::string& chemin) const;
};

}  // namespace velmaris
