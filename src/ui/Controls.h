#pragma once
// The window's visible controls, in the logic's terms, over Qt widgets. Each
// takes its properties from a block when it is made; the properties that all
// of them share are those of SetVisibleControlProperty.

#include <QImage>
#include <QLabel>
#include <QProgressBar>
#include <QRect>
#include <QTimer>
#include <QWidget>
#include <chrono>
#include <cstdint>
#include <string>

#include "base/Control.h"

namespace velmaris {

// A text that would run past the window's right edge moves the label left,
// over its neighbours, until the text ends a few pixels inside the edge; the
// label goes back to its own place with a text that fits there.
class Label : public QLabel, public Control {
  Q_OBJECT

 public:
  explicit Label(QWidget* parent);
  std::string Text() const { return text().toStdString(); }
  void SetText(const std::string& text);
  bool Visible() const { return !isHidden(); }
  void SetVisible(bool visible);
  // Repaints now when immediately is true, otherwise at the next paint.
  void Refresh(bool immediately);
  bool SetProperty(const std::string& name, const PropertyValue& value) override;

  // Without a display, every change of the text is written on stderr, so
  // that a headless run shows what the label would. With an interval, at
  // most one line is written per interval: a text held back is written when
  // its interval is over, or at once when the label hides or FlushEcho is called.
  void SetHeadlessEcho(bool echo, std::chrono::milliseconds interval = std::chrono::milliseconds::zero());
  // Writes a text held back now, before a line that must come after it.
  void FlushEcho();

 private:
  void EchoText();
  void WriteEcho();
  void KeepInsideWindow();

  QRect mPlace;  // as laid out
  bool mHeadlessEcho = false;
  std::chrono::milliseconds mEchoInterval{0};
  bool mEchoed = false;
  std::chrono::steady_clock::time_point mLastEcho;
  QTimer mHeldEcho;
};

class ProgressBar : public QProgressBar, public Control {
  Q_OBJECT

 public:
  explicit ProgressBar(QWidget* parent);
  int64_t Value() const { return value(); }
  void SetValue(int64_t value) { setValue(static_cast<int>(value)); }
  int64_t Maximum() const { return maximum(); }
  void SetMaximum(int64_t maximum) { setMaximum(static_cast<int>(maximum)); }
  bool Visible() const { return !isHidden(); }
  void SetVisible(bool visible) { setVisible(visible); }
  void Refresh(bool immediately);
  bool SetProperty(const std::string& name, const PropertyValue& value) override;
};

// A picture drawn at the control's top left corner.
class Canvas : public QWidget, public Control {
  Q_OBJECT

 public:
  explicit Canvas(QWidget* parent);
  const QImage& Backdrop() const { return mBackdrop; }
  void SetBackdrop(const QImage& picture);
  bool SetProperty(const std::string& name, const PropertyValue& value) override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QImage mBackdrop;
  bool mTransparent = false;
};

// A horizontal line across the window.
class Separator : public QWidget, public Control {
  Q_OBJECT

 public:
  explicit Separator(QWidget* parent) : QWidget(parent) {}
  bool SetProperty(const std::string& name, const PropertyValue& value) override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

// The properties of every visible control: place, size, visibility,
// enabling, help tag, and those that mean nothing to a control that takes no
// keyboard focus in a window of fixed size. False for any other name.
bool SetVisibleControlProperty(QWidget& control, const std::string& name, const PropertyValue& value);

}  // namespace velmaris
