#include "base/Dictionary.h"

#include "base/Exceptions.h"

namespace velmaris {

bool Dictionary::HasKey(const Variant& key) const { return mIndex.contains(key); }

Variant Dictionary::Value(const Variant& key) const {
  const auto found = mIndex.find(key);
  if (found == mIndex.end()) throw KeyNotFoundException("Key not found: " + key.StringValue());
  return mEntries[found->second].value;
}

void Dictionary::SetValue(const Variant& key, const Variant& value) {
  const auto found = mIndex.find(key);
  if (found != mIndex.end()) {
    mEntries[found->second].value = value;
    return;
  }
  mIndex.emplace(key, mEntries.size());
  mEntries.push_back({key, value});
  ++mLiveCount;
}

Variant Dictionary::Lookup(const Variant& key, const Variant& defaultValue) const {
  const auto found = mIndex.find(key);
  return found == mIndex.end() ? defaultValue : mEntries[found->second].value;
}

void Dictionary::Remove(const Variant& key) {
  const auto found = mIndex.find(key);
  if (found == mIndex.end()) throw KeyNotFoundException("Key not found: " + key.StringValue());
  Entry& entry = mEntries[found->second];
  entry.removed = true;
  entry.key = Variant();
  entry.value = Variant();
  mIndex.erase(found);
  --mLiveCount;
  mHasHoles = true;
}

void Dictionary::Clear() {
  mEntries.clear();
  mIndex.clear();
  mHasHoles = false;
  mLiveCount = 0;
}

Variant Dictionary::Key(int64_t index) const {
  if (index < 0 || index >= mLiveCount) throw OutOfBoundsException("Dictionary index out of bounds");
  Compact();
  return mEntries[static_cast<size_t>(index)].key;
}

void Dictionary::Compact() const {
  if (!mHasHoles) return;
  std::erase_if(mEntries, [](const Entry& entry) { return entry.removed; });
  for (size_t i = 0; i < mEntries.size(); ++i) mIndex[mEntries[i].key] = i;
  mHasHoles = false;
}

}  // namespace velmaris
