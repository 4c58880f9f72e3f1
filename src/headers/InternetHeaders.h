#pragma once
// A list of message headers in which a name may occur any number of times.
// All values stand in one case-blind Dictionary: the first occurrence of a
// name under the name itself, each further one under name:1, name:2 and so
// on. Two index spaces follow: the occurrence index of a name (0 is the bare
// key, k the key name:k) and the entry index over the whole map (0 to
// Count - 1, in the map's order). Every loop yields once a round.

#include <cstdint>
#include <unordered_map>

#include "base/Dictionary.h"
#include "base/Ref.h"
#include "base/StringFunctions.h"

namespace velmaris {

class InternetHeaders {
 public:
  InternetHeaders();
  virtual ~InternetHeaders() = default;
  // A copy would share the map; lists are handed around as Ref<InternetHeaders>.
  InternetHeaders(const InternetHeaders&) = delete;
  InternetHeaders& operator=(const InternetHeaders&) = delete;

  // Stores under the first free key of name, name:1, name:2...; never replaces a value.
  virtual void AppendHeader(const String& name, const String& value);
  // All occurrences joined by ", "; "" for an absent name.
  virtual String CommaSeparatedValues(const String& name) const;
  // Stored values, each occurrence counted.
  virtual int64_t Count() const;
  // Removes every occurrence that NameCount reaches.
  virtual void Delete(const String& name);
  // Removes one occurrence and moves each later one down an ordinal.
  virtual void Delete(const String& name, int64_t index);
  // Empties the list; a parsed text stays the Source.
  virtual void DeleteAllHeaders();
  // The name of the entry at that entry index, without ordinal; raises
  // OutOfBoundsException outside 0 to Count - 1.
  virtual String Name(int64_t index) const;
  // Occurrences reachable from the bare key without a gap; 0 without the bare key.
  virtual int64_t NameCount(const String& name) const;
  // Leaves the name with one value; a single occurrence is overwritten in place.
  virtual void SetHeader(const String& name, const String& value);
  // Stores under exactly the key of that occurrence, even beyond a gap.
  virtual void SetHeader(const String& name, const String& value, int64_t index);
  // The text last parsed, unchanged; the HTTP form when nothing was parsed.
  virtual String Source() const;
  // The value at that entry index; "" above Count - 1, OutOfBoundsException below 0.
  virtual String Value(int64_t index) const;
  virtual String Value(const String& name) const;
  // "" when the occurrence is absent; an index below 1 reads the bare key.
  virtual String Value(const String& name, int64_t index) const;
  // CR LF when the text holds one anywhere, else LF, else CR; CR LF for a text without line end.
  virtual String _DetermineEOLCharacter(const String& text) const;
  // Return-Path, Received, Date, Subject, From, To and CC first, then the
  // others; BCC never. Lines joined by CR LF, none behind the last.
  virtual String _FormatEmailHeaders() const;
  // One "name: value" line for every occurrence, joined by CR LF, none behind the last.
  virtual String _FormatHTTPHeaders() const;
  // The bare key only.
  virtual bool _HasHeader(const String& name) const;
  // Replaces the entries with those of a header block; lines without a colon
  // (a status line, the empty line that ends the block) are skipped.
  virtual void _ParseHeaders(const String& source);

 private:
  // Forgets what AppendHeader learnt of the name's ordinals, after a removal.
  void _ForgetOrdinals(const String& name);

  Ref<Dictionary> _Headers;
  String _rawHeaders;
  // For a name (in lower case): every ordinal below this one is taken, so
  // that an append skips the probes it already made. Removals reset it;
  // without it a block of one repeated name would cost a probe per
  // occurrence already there for every line.
  std::unordered_map<String, int64_t> _freeOrdinal;
};

}  // namespace velmaris
