#pragma once
// The exception family of the runtime. The logic catches by class; only the
// classes it names exist here.

#include <cstdint>
#include <exception>
#include <string>

namespace velmaris {

class RuntimeException : public std::exception {
 public:
  explicit RuntimeException(std::string message = {}, int64_t errorNumber = 0)
      : mMessage(std::move(message)), mErrorNumber(errorNumber) {}

  const std::string& Message() const { return mMessage; }
  int64_t ErrorNumber() const { return mErrorNumber; }
  // The class name, for reports of unhandled exceptions.
  virtual const char* ClassName() const { return "RuntimeException"; }
  const char* what() const noexcept override { return mMessage.c_str(); }

 private:
  std::string mMessage;
  int64_t mErrorNumber;
};

// The argument is the name of the class declared, where parentheses cannot stand.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define VELMARIS_EXCEPTION(Name)                             \
  class Name : public RuntimeException {                     \
   public:                                                   \
    using RuntimeException::RuntimeException;                \
    const char* ClassName() const override { return #Name; } \
  }
// NOLINTEND(bugprone-macro-parentheses)

VELMARIS_EXCEPTION(IOException);
VELMARIS_EXCEPTION(UnsupportedFormatException);
VELMARIS_EXCEPTION(NilObjectException);
VELMARIS_EXCEPTION(OutOfBoundsException);
VELMARIS_EXCEPTION(KeyNotFoundException);
VELMARIS_EXCEPTION(TypeMismatchException);
VELMARIS_EXCEPTION(ThreadAccessingUIException);
VELMARIS_EXCEPTION(ShellNotRunningException);
VELMARIS_EXCEPTION(ShellNotAvailableException);
// Raised by Quit: the run is ending. Never reported.
VELMARIS_EXCEPTION(EndException);
VELMARIS_EXCEPTION(ThreadEndException);

#undef VELMARIS_EXCEPTION

}  // namespace velmaris
