#pragma once
// A text file open for writing; the text is written as it is, in UTF-8.

#include "base/BinaryStream.h"
#include "base/Ref.h"
#include "base/StringFunctions.h"

namespace velmaris {

class FolderItem;

class TextOutputStream {
 public:
  // Creates the file, emptying one that is there, and opens it for writing.
  // Raises IOException.
  explicit TextOutputStream(const FolderItem& file) : mStream(file, true) {}

  // The named form of the constructor; raises NilObjectException for a nil item.
  static Ref<TextOutputStream> Create(const Ref<FolderItem>& item) { return New<TextOutputStream>(*item); }

  void Close() { mStream.Close(); }
  void Write(const String& text) { mStream.Write(text); }

 private:
  BinaryStream mStream;
};

}  // namespace velmaris
