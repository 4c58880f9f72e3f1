#pragma once
// The window's visible controls, in the logic's terms, over Qt widgets.

#include <QLabel>
#include <QProgressBar>
#include <QWidget>
#include <cstdint>
#include <string>

namespace velmaris {

class Label : public QLabel {
  Q_OBJECT

 public:
  explicit Label(QWidget* parent) : QLabel(parent) {}
  std::string Text() const { return text().toStdString(); }
  virtual void SetText(const std::string& text);
  bool Visible() const { return !isHidden(); }
  void SetVisible(bool visible) { setVisible(visible); }
  // Repaints now when immediately is true, otherwise at the next paint.
  void Refresh(bool immediately);
};

class ProgressBar : public QProgressBar {
  Q_OBJECT

 public:
  explicit ProgressBar(QWidget* parent) : QProgressBar(parent) {}
  int64_t Value() const { return value(); }
  void SetValue(int64_t value) { setValue(static_cast<int>(value)); }
  int64_t Maximum() const { return maximum(); }
  void SetMaximum(int64_t maximum) { setMaximum(static_cast<int>(maximum)); }
  bool Visible() const { return !isHidden(); }
  void SetVisible(bool visible) { setVisible(visible); }
  void Refresh(bool immediately);
};

// A picture drawn at the control's top left corner.
class Canvas : public QWidget {
  Q_OBJECT

 public:
  explicit Canvas(QWidget* parent) : QWidget(parent) {}
  const QPixmap& Backdrop() const { return mBackdrop; }
  void SetBackdrop(const QPixmap& picture);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QPixmap mBackdrop;
};

// A horizontal line across the window.
class Separator : public QWidget {
  Q_OBJECT

 public:
  explicit Separator(QWidget* parent) : QWidget(parent) {}

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace velmaris
