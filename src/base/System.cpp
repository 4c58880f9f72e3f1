#include "base/System.h"

#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <cstdlib>

#include "base/Translations.h"

namespace velmaris {

namespace {

std::vector<std::string>& Arguments() {
  static std::vector<std::string> arguments;
  return arguments;
}

std::function<std::pair<int64_t, int64_t>()>& MouseSource() {
  static std::function<std::pair<int64_t, int64_t>()> source;
  return source;
}

std::pair<int64_t, int64_t> MousePosition() {
  if (MouseSource()) return MouseSource()();
  if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) == nullptr) return {0, 0};
  const QPoint position = QCursor::pos();
  return {position.x(), position.y()};
}

}  // namespace

std::string System::CommandLine() {
  std::string line;
  const std::vector<std::string>& arguments = Arguments();
  for (size_t i = 0; i < arguments.size(); ++i) {
    // An empty argument keeps its place between two blanks.
    if (i > 0) line += ' ';
    line += arguments[i];
  }
  return line;
}

std::string System::EnvironmentVariable(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  return value == nullptr ? std::string() : std::string(value);
}

int64_t System::MouseX() { return MousePosition().first; }

int64_t System::MouseY() { return MousePosition().second; }

std::string System::_GetLocalizedString(const std::string& key, const std::string& defaultText,
                                        const std::string& language) {
  QString text;
  if (language.empty()) {
    text = QCoreApplication::translate(nullptr, key.c_str());
    // Without a translation the key itself comes back.
    if (text == QLatin1String(key.c_str())) text.clear();
  } else if (const std::unique_ptr<QTranslator> translator =
                 LoadTranslation(QLocale(QString::fromStdString(language)))) {
    text = translator->translate(nullptr, key.c_str());
  }
  return text.isEmpty() ? defaultText : text.toStdString();
}

void System::SetArguments(std::vector<std::string> arguments) { Arguments() = std::move(arguments); }

void System::SetMousePosition(std::function<std::pair<int64_t, int64_t>()> source) {
  MouseSource() = std::move(source);
}

}  // namespace velmaris
