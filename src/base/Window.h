#pragma once
// A top-level window in the logic's terms: title and position on the desktop.

#include <QWidget>
#include <cstdint>
#include <string>

namespace velmaris {

class Window : public QWidget {
  Q_OBJECT

 public:
  explicit Window(QWidget* parent = nullptr) : QWidget(parent) {}

  std::string Title() const { return windowTitle().toStdString(); }
  void SetTitle(const std::string& title) { setWindowTitle(QString::fromStdString(title)); }
  int64_t Left() const { return x(); }
  int64_t Top() const { return y(); }
  int64_t Width() const { return width(); }
  int64_t Height() const { return height(); }
  void SetLeft(int64_t left) { move(static_cast<int>(left), y()); }
  void SetTop(int64_t top) { move(x(), static_cast<int>(top)); }
};

}  // namespace velmaris
