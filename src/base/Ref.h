#pragma once
// Object references of the logic: shared ownership, and a nil reference that
// raises NilObjectException when it is used instead of crashing.

#include <memory>
#include <utility>

#include "base/Exceptions.h"

namespace velmaris {

template <typename T>
class Ref {
 public:
  Ref() = default;
  Ref(std::nullptr_t) {}  // NOLINT(google-explicit-constructor): nil converts to any reference
  Ref(std::shared_ptr<T> object) : mObject(std::move(object)) {}  // NOLINT(google-explicit-constructor)
  template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ref(const Ref<U>& other) : mObject(other.Shared()) {}  // NOLINT(google-explicit-constructor)

  T* operator->() const { return &Get(); }
  T& operator*() const { return Get(); }
  T& Get() const {
    if (!mObject) throw NilObjectException("This object is Nil.");
    return *mObject;
  }

  bool IsNil() const { return mObject == nullptr; }
  explicit operator bool() const { return mObject != nullptr; }
  bool operator==(const Ref& other) const { return mObject == other.mObject; }
  bool operator==(std::nullptr_t) const { return mObject == nullptr; }

  const std::shared_ptr<T>& Shared() const { return mObject; }

 private:
  std::shared_ptr<T> mObject;
};

template <typename T, typename... Args>
Ref<T> New(Args&&... args) {
  return Ref<T>(std::make_shared<T>(std::forward<Args>(args)...));
}

}  // namespace velmaris
