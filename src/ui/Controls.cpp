#include "ui/Controls.h"

#include <QFontDatabase>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <functional>
#include <iostream>

#include "base/Runtime.h"

namespace velmaris {

namespace {

// Between a label's text and the window's right edge.
constexpr int kRightMargin = 4;

void Echo(const std::string& text) { std::cerr << "VelmarisMAJ: " << text << std::endl; }

// TextAlign: 0 is the default, the start of the line; 1 left, 2 centred, 3 right.
Qt::Alignment Alignment(int64_t textAlign) {
  switch (textAlign) {
    case 1:
      return Qt::AlignLeft | Qt::AlignVCenter;
    case 2:
      return Qt::AlignHCenter | Qt::AlignVCenter;
    case 3:
      return Qt::AlignRight | Qt::AlignVCenter;
    default:
      return Qt::AlignLeading | Qt::AlignVCenter;
  }
}

void Repaint(QWidget& control, bool immediately) {
  if (immediately) {
    control.repaint();
  } else {
    control.update();
  }
}

}  // namespace

bool SetVisibleControlProperty(QWidget& control, const std::string& name, const PropertyValue& value) {
  if (name == "Left") {
    control.move(static_cast<int>(AsInteger(value)), control.y());
  } else if (name == "Top") {
    control.move(control.x(), static_cast<int>(AsInteger(value)));
  } else if (name == "Width") {
    control.resize(static_cast<int>(AsInteger(value)), control.height());
  } else if (name == "Height") {
    control.resize(control.width(), static_cast<int>(AsInteger(value)));
  } else if (name == "Visible") {
    control.setVisible(AsBoolean(value));
  } else if (name == "Enabled") {
    control.setEnabled(AsBoolean(value));
  } else if (name == "HelpTag") {
    control.setToolTip(QString::fromStdString(AsString(value)));
  } else if (name == "Index" || name == "TabIndex" || name == "TabStop" || name == "TabPanelIndex" ||
             name == "LockLeft" || name == "LockTop" || name == "LockRight" || name == "LockBottom" ||
             name == "AutoDeactivate" || name == "InitialParent") {
    // No control array, no keyboard focus, a window of fixed size, and the
    // content area as every control's parent: nothing to do for these.
  } else {
    return false;
  }
  return true;
}

Label::Label(QWidget* parent) : QLabel(parent) {
  setAlignment(Alignment(0));
  mHeldEcho.setSingleShot(true);
  connect(&mHeldEcho, &QTimer::timeout, this, [this] { WriteEcho(); });
}

void Label::SetText(const std::string& text) {
  const QString newText = QString::fromStdString(text);
  if (newText == this->text()) return;
  setText(newText);
  KeepInsideWindow();
  if (mHeadlessEcho && !HasDisplay()) EchoText();
}

void Label::SetVisible(bool visible) {
  if (!visible) FlushEcho();
  setVisible(visible);
}

void Label::FlushEcho() {
  if (mHeldEcho.isActive()) WriteEcho();
}

void Label::SetHeadlessEcho(bool echo, std::chrono::milliseconds interval) {
  mHeadlessEcho = echo;
  mEchoInterval = interval;
}

void Label::EchoText() {
  const auto since = std::chrono::steady_clock::now() - mLastEcho;
  if (mEchoed && since < mEchoInterval) {
    if (!mHeldEcho.isActive()) mHeldEcho.start(std::chrono::ceil<std::chrono::milliseconds>(mEchoInterval - since));
    return;
  }
  WriteEcho();
}

void Label::WriteEcho() {
  mHeldEcho.stop();
  mEchoed = true;
  mLastEcho = std::chrono::steady_clock::now();
  Echo(text().toStdString());
}

void Label::KeepInsideWindow() {
  QRect place = mPlace;
  const int textWidth = fontMetrics().horizontalAdvance(text());
  const int limit = (parentWidget() != nullptr ? parentWidget()->width() : place.right() + 1) - kRightMargin;
  if (place.left() + textWidth > limit)
    place = QRect(std::max(0, limit - textWidth), place.top(), textWidth, place.height());
  setGeometry(place);
}

void Label::Refresh(bool immediately) { Repaint(*this, immediately); }

bool Label::SetProperty(const std::string& name, const PropertyValue& value) {
  const auto changeFont = [this](const std::function<void(QFont&)>& change) {
    QFont textFont = font();
    change(textFont);
    setFont(textFont);
    KeepInsideWindow();
  };
  if (name == "Left" || name == "Top" || name == "Width" || name == "Height") {
    const int number = static_cast<int>(AsInteger(value));
    if (name == "Left") {
      mPlace.moveLeft(number);
    } else if (name == "Top") {
      mPlace.moveTop(number);
    } else if (name == "Width") {
      mPlace.setWidth(number);
    } else {
      mPlace.setHeight(number);
    }
    KeepInsideWindow();
  } else if (name == "Text") {
    SetText(AsString(value));
  } else if (name == "TextAlign") {
    setAlignment(Alignment(AsInteger(value)));
  } else if (name == "TextColor") {
    const Color colour = AsColor(value);
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, QColor(colour.Red, colour.Green, colour.Blue));
    setPalette(colours);
  } else if (name == "TextFont") {
    const QString family = QString::fromStdString(AsString(value));
    changeFont([&family](QFont& textFont) {
      textFont.setFamily(
          family == QLatin1String("System") ? QFontDatabase::systemFont(QFontDatabase::GeneralFont).family() : family);
    });
  } else if (name == "TextSize") {
    // The layout counts in points of 1/72 inch, which are the pixels of the
    // window's coordinates: the text keeps its size beside the controls
    // whatever the screen's resolution.
    const int size = static_cast<int>(std::lround(AsDouble(value)));
    changeFont([size](QFont& textFont) { textFont.setPixelSize(size); });
  } else if (name == "Bold") {
    changeFont([bold = AsBoolean(value)](QFont& textFont) { textFont.setBold(bold); });
  } else if (name == "Italic") {
    changeFont([italic = AsBoolean(value)](QFont& textFont) { textFont.setItalic(italic); });
  } else if (name == "Underline") {
    changeFont([underline = AsBoolean(value)](QFont& textFont) { textFont.setUnderline(underline); });
  } else if (name == "Multiline") {
    setWordWrap(AsBoolean(value));
  } else if (name == "Selectable") {
    setTextInteractionFlags(AsBoolean(value) ? Qt::TextSelectableByMouse : Qt::NoTextInteraction);
  } else if (name == "Transparent") {
    setAutoFillBackground(!AsBoolean(value));
  } else if (name == "TextUnit" || name == "DataSource" || name == "DataField") {
    // The one unit in use is the default one (see TextSize), and no label
    // is bound to a database.
  } else {
    return SetVisibleControlProperty(*this, name, value);
  }
  return true;
}

ProgressBar::ProgressBar(QWidget* parent) : QProgressBar(parent) {
  // The percentage has its own label beside the bar.
  setTextVisible(false);
}

void ProgressBar::Refresh(bool immediately) { Repaint(*this, immediately); }

bool ProgressBar::SetProperty(const std::string& name, const PropertyValue& value) {
  if (name == "Value") {
    SetValue(AsInteger(value));
  } else if (name == "Maximum") {
    SetMaximum(AsInteger(value));
  } else {
    return SetVisibleControlProperty(*this, name, value);
  }
  return true;
}

Canvas::Canvas(QWidget* parent) : QWidget(parent) {}

void Canvas::SetBackdrop(const QImage& picture) {
  mBackdrop = picture;
  update();
}

bool Canvas::SetProperty(const std::string& name, const PropertyValue& value) {
  if (name == "Transparent") {
    mTransparent = AsBoolean(value);
  } else if (name == "AcceptFocus") {
    setFocusPolicy(AsBoolean(value) ? Qt::ClickFocus : Qt::NoFocus);
  } else if (name == "UseFocusRing" || name == "AcceptTabs" || name == "DoubleBuffer" || name == "EraseBackground") {
    // A canvas without focus draws no ring and gets no tab; Qt buffers and
    // erases every widget's painting itself.
  } else {
    return SetVisibleControlProperty(*this, name, value);
  }
  return true;
}

void Canvas::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  if (!mTransparent) painter.fillRect(rect(), palette().color(QPalette::Window));
  painter.drawImage(0, 0, mBackdrop);
}

bool Separator::SetProperty(const std::string& name, const PropertyValue& value) {
  return SetVisibleControlProperty(*this, name, value);
}

void Separator::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  const int middle = height() / 2;
  painter.setPen(palette().color(QPalette::Dark));
  painter.drawLine(0, middle - 1, width(), middle - 1);
  painter.setPen(palette().color(QPalette::Light));
  painter.drawLine(0, middle, width(), middle);
}

}  // namespace velmaris
