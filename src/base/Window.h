#pragma once
// A top-level window in the logic's terms. Its controls stand in a content
// area of Width by Height pixels, and their coordinates count from its top
// left corner. Where the platform has no global menu bar (all but macOS) the
// window shows the application's menu bar above that area.

#include <QColor>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <string>

#include "base/Properties.h"

class QMenuBar;
class QVBoxLayout;

namespace velmaris {

class Window : public QWidget {
  Q_OBJECT

 public:
  // menuBar is the application's menu bar, or nullptr for none.
  explicit Window(QMenuBar* menuBar);

  std::string Title() const { return windowTitle().toStdString(); }
  void SetTitle(const std::string& title) { setWindowTitle(QString::fromStdString(title)); }
  // The window's position on the desktop.
  int64_t Left() const { return x(); }
  int64_t Top() const { return y(); }
  void SetLeft(int64_t left) { move(static_cast<int>(left), y()); }
  void SetTop(int64_t top) { move(x(), static_cast<int>(top)); }
  // The size of the content area.
  int64_t Width() const { return mContent->width(); }
  int64_t Height() const { return mContent->height(); }

  // The parent of the window's visible controls.
  QWidget* Content() const { return mContent; }

  // Raises the window and makes it the active one; before the window shows,
  // that happens as it shows.
  void Activate();
  // Shows the window once its opening has run, if its layout made it visible.
  void _ShowIfVisible();

  bool SetProperty(const std::string& name, const PropertyValue& value);

  // The window manager, or the application's Quit, asks the window to close.
  // With a handler the window stays and the handler decides what follows;
  // without one it closes.
  std::function<void(Window&)> CloseRequested;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void BringToFront();
  void UpdateSize();
  void UpdateFlags();
  void UpdateBackColor();
  void ShowMenuBar(bool visible);

  QMenuBar* mApplicationMenuBar;
  QVBoxLayout* mLayout;
  QWidget* mContent;
  QMenuBar* mShownMenuBar = nullptr;
  int64_t mFrame = 0;
  bool mResizeable = true;
  bool mCloseButton = true;
  bool mMinimizeButton = true;
  bool mMaximizeButton = true;
  bool mFullScreenButton = true;
  bool mVisible = true;
  bool mActivateOnShow = false;
  bool mHasBackColor = false;
  QColor mBackColor;
  QSize mSize{0, 0};
  QSize mMinimumSize{0, 0};
  QSize mMaximumSize{QWIDGETSIZE_MAX, QWIDGETSIZE_MAX};
};

}  // namespace velmaris
