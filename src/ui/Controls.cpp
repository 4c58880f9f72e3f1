#include "ui/Controls.h"

#include <QPainter>

namespace velmaris {

void Label::SetText(const std::string& text) { setText(QString::fromStdString(text)); }

void Label::Refresh(bool immediately) {
  if (immediately) {
    repaint();
  } else {
    update();
  }
}

void ProgressBar::Refresh(bool immediately) {
  if (immediately) {
    repaint();
  } else {
    update();
  }
}

void Canvas::SetBackdrop(const QPixmap& picture) {
  mBackdrop = picture;
  update();
}

void Canvas::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.drawPixmap(0, 0, mBackdrop);
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
