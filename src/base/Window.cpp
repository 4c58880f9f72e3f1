#include "base/Window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMenuBar>
#include <QVBoxLayout>

#include "base/Runtime.h"

namespace velmaris {

Window::Window(QMenuBar* menuBar)
    : mApplicationMenuBar(menuBar), mLayout(new QVBoxLayout(this)), mContent(new QWidget(this)) {
  mLayout->setContentsMargins(0, 0, 0, 0);
  mLayout->setSpacing(0);
  mLayout->addWidget(mContent);
}

void Window::Activate() {
  if (isVisible()) {
    BringToFront();
  } else {
    mActivateOnShow = true;
  }
}

void Window::_ShowIfVisible() {
  if (!mVisible) return;
  // The platform window is then made with the size constraints of the layout.
  mLayout->activate();
  show();
}

void Window::closeEvent(QCloseEvent* event) {
  if (!CloseRequested) {
    QWidget::closeEvent(event);
    return;
  }
  event->ignore();
  _CallFunctionWithExceptionHandling([this] { CloseRequested(*this); });
}

void Window::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (mActivateOnShow) {
    mActivateOnShow = false;
    BringToFront();
  }
}

void Window::BringToFront() {
  // Without a display there is no stacking order to change.
  if (HasDisplay()) raise();
  activateWindow();
}

bool Window::SetProperty(const std::string& name, const PropertyValue& value) {
  if (name == "Width") {
    mSize.setWidth(static_cast<int>(AsInteger(value)));
    UpdateSize();
  } else if (name == "Height") {
    mSize.setHeight(static_cast<int>(AsInteger(value)));
    UpdateSize();
  } else if (name == "MinWidth") {
    mMinimumSize.setWidth(static_cast<int>(AsInteger(value)));
    UpdateSize();
  } else if (name == "MinHeight") {
    mMinimumSize.setHeight(static_cast<int>(AsInteger(value)));
    UpdateSize();
  } else if (name == "MaxWidth") {
    mMaximumSize.setWidth(static_cast<int>(AsInteger(value)));
    UpdateSize();
  } else if (name == "MaxHeight") {
    mMaximumSize.setHeight(static_cast<int>(AsInteger(value)));
    UpdateSize();
  } else if (name == "Resizeable") {
    mResizeable = AsBoolean(value);
    UpdateSize();
    UpdateFlags();
  } else if (name == "Frame") {
    mFrame = AsInteger(value);
    UpdateFlags();
  } else if (name == "CloseButton") {
    mCloseButton = AsBoolean(value);
    UpdateFlags();
  } else if (name == "MinimizeButton") {
    mMinimizeButton = AsBoolean(value);
    UpdateFlags();
  } else if (name == "MaximizeButton") {
    mMaximizeButton = AsBoolean(value);
    UpdateFlags();
  } else if (name == "FullScreenButton") {
    mFullScreenButton = AsBoolean(value);
    UpdateFlags();
  } else if (name == "Title") {
    SetTitle(AsString(value));
  } else if (name == "Visible") {
    mVisible = AsBoolean(value);
  } else if (name == "FullScreen") {
    setWindowState(AsBoolean(value) ? Qt::WindowFullScreen : Qt::WindowNoState);
  } else if (name == "HasBackColor") {
    mHasBackColor = AsBoolean(value);
    UpdateBackColor();
  } else if (name == "BackColor") {
    const Color colour = AsColor(value);
    mBackColor = QColor(colour.Red, colour.Green, colour.Blue);
    UpdateBackColor();
  } else if (name == "MenuBarVisible") {
    ShowMenuBar(AsBoolean(value));
  } else if (name == "Composite" || name == "MacProcID" || name == "LiveResize" || name == "Placement") {
    // Qt composites and resizes windows its own way, and the window's
    // opening places it on the screen itself.
  } else {
    return false;
  }
  return true;
}

void Window::UpdateSize() {
  if (mResizeable) {
    mContent->setMinimumSize(mMinimumSize);
    mContent->setMaximumSize(mMaximumSize);
    mContent->resize(mSize);
  } else {
    mContent->setFixedSize(mSize);
  }
  mLayout->setSizeConstraint(mResizeable ? QLayout::SetDefaultConstraint : QLayout::SetFixedSize);
}

void Window::UpdateFlags() {
  // Frame 2 is a dialog's frame. Every frame has its title bar, and only the
  // window buttons asked for.
  Qt::WindowFlags flags = (mFrame == 2 ? Qt::Dialog : Qt::Window) | Qt::CustomizeWindowHint | Qt::WindowTitleHint;
  flags.setFlag(Qt::WindowCloseButtonHint, mCloseButton);
  flags.setFlag(Qt::WindowMinimizeButtonHint, mMinimizeButton);
  flags.setFlag(Qt::WindowMaximizeButtonHint, mMaximizeButton);
  flags.setFlag(Qt::WindowFullscreenButtonHint, mFullScreenButton);
  setWindowFlags(flags);
}

void Window::UpdateBackColor() {
  QPalette colours = palette();
  colours.setColor(QPalette::Window, mHasBackColor ? mBackColor : QApplication::palette().color(QPalette::Window));
  setPalette(colours);
}

void Window::ShowMenuBar(bool visible) {
#if defined(Q_OS_MACOS)
  // The application's menu bar is the global one there, always shown.
  Q_UNUSED(visible);
#else
  // Elsewhere a menu bar belongs to a window: this one shows the
  // application's menus themselves, so that their items and shortcuts stay
  // those of the one menu bar.
  if (visible && mShownMenuBar == nullptr && mApplicationMenuBar != nullptr) {
    mShownMenuBar = new QMenuBar(this);
    mShownMenuBar->addActions(mApplicationMenuBar->actions());
    mLayout->setMenuBar(mShownMenuBar);
  }
  if (mShownMenuBar != nullptr) mShownMenuBar->setVisible(visible);
#endif
}

}  // namespace velmaris
