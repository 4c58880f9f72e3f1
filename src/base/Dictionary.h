#pragma once
// A hash map from Variant key to Variant value. String keys compare blind to
// ASCII case and keep the spelling they were first stored in. Key(index)
// walks the entries in insertion order.

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "base/Variant.h"

namespace velmaris {

class Dictionary {
 public:
  int64_t Count() const { return mLiveCount; }
  bool HasKey(const Variant& key) const;
  // Raises KeyNotFoundException when the key is absent.
  Variant Value(const Variant& key) const;
  // Stores under an existing key in place; a new key goes to the end.
  void SetValue(const Variant& key, const Variant& value);
  Variant Lookup(const Variant& key, const Variant& defaultValue) const;
  // Raises KeyNotFoundException when the key is absent.
  void Remove(const Variant& key);
  void Clear();
  // The key at that index, from 0; raises OutOfBoundsException outside 0 to Count - 1.
  Variant Key(int64_t index) const;

 private:
  struct Entry {
    Variant key;
    Variant value;
    bool removed = false;
  };
  struct KeyHash {
    size_t operator()(const Variant& key) const { return key.Hash(); }
  };

  // Removal leaves a hole; the entries are closed up before the next walk by
  // index, so a run of removals costs one pass.
  void Compact() const;

  mutable std::vector<Entry> mEntries;
  mutable std::unordered_map<Variant, size_t, KeyHash> mIndex;
  mutable bool mHasHoles = false;
  int64_t mLiveCount = 0;
};

}  // namespace velmaris
