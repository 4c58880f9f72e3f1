#pragma once
// The window's visible controls, in the logic's terms, over Qt widgets. Each
// takes its properties from a block when it is made; the properties that all
// of them share are those of SetVisibleControlProperty.

#include <QImage>
#include <QLabel>
#include <QProgressBar>
#include <QWidget>
#include <chrono>
#include <cstdint>
#include <string>

#include "base/Control.h"

namespace velmaris {

class Label : public QLabel, public Control {
  Q_OBJECT

 public:
  explicit Label(QWidget* parent);
  std::string Text() const { return text().toStdString(); }
  void SetText(const std::string& text);
  bool Visible() const { return !isHidden(); }
  void SetVisible(bool visible) { setVisible(visible); }
  // Repaints now when immediately is true, otherwise at the next paint.
  void Refresh(bool immediately);
  bool SetProperty(const std::string& name, const PropertyValue& value) override;

  // Without a display, every change of the text is written on stderr, so
  // that a headless run shows what the label would.
  void SetHeadlessEcho(bool echo) { mHeadlessEcho = echo; }

 private:
  bool mHeadlessEcho = false;
};

class ProgressBar : public QProgressBar, public Control {
  Q_OBJECT

 public:
  explicit ProgressBar(QWidget* parent);
  int64_t Value() const { return value(); }
  void SetValue(int64_t value);
  int64_t Maximum() const { return maximum(); }
  void SetMaximum(int64_t maximum) { setMaximum(static_cast<int>(maximum)); }
  bool Visible() const { return !isHidden(); }
  void SetVisible(bool visible) { setVisible(visible); }
  void Refresh(bool immediately);
  bool SetProperty(const std::string& name, const PropertyValue& value) override;

  // Without a display, the percentage is written on stderr at most four
  // times a second, and always when it reaches the maximum.
  void SetHeadlessEcho(bool echo) { mHeadlessEcho = echo; }

 private:
  bool mHeadlessEcho = false;
  bool mEchoed = false;
  std::chrono::steady_clock::time_point mLastEcho;
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
