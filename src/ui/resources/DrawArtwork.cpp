// Draws the window's two pictures, Logo.png (64 by 64) and Velmaris_Titre.png
// (327 by 45), into the folder given on the command line. "Velmaris" is the
// sail (velum) of the sea (maris): the logo is a V of two sails over a wave,
// and the title writes the name in DejaVu Serif above the same wave.
//   velmaris_artwork src/ui/resources
#include <QFontDatabase>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <cstdio>

namespace {

const QColor kNight(0x0c, 0x25, 0x45);
const QColor kDeep(0x15, 0x4f, 0x86);
const QColor kSea(0x1f, 0x8f, 0xc4);
const QColor kFoam(0xe9, 0xf6, 0xfc);
const QColor kSpray(0x8e, 0xd6, 0xf2);

// A wave across [left, right] whose crests stand at baseline - height.
QPainterPath Wave(qreal left, qreal right, qreal baseline, qreal height, int crests) {
  QPainterPath wave(QPointF(left, baseline));
  const qreal step = (right - left) / crests;
  for (int crest = 0; crest < crests; ++crest) {
    const qreal x = left + crest * step;
    wave.cubicTo(x + step * 0.3, baseline - height, x + step * 0.55, baseline - height, x + step * 0.7,
                 baseline - height * 0.55);
    wave.cubicTo(x + step * 0.8, baseline - height * 0.2, x + step * 0.9, baseline, x + step, baseline);
  }
  return wave;
}

// One sail of the V: its luff along the mast, its leech bellied outward.
QPainterPath Sail(qreal mast, qreal head, qreal foot, qreal clew, qreal clewHeight, qreal belly) {
  QPainterPath sail(QPointF(mast, head));
  sail.quadTo(clew, head + (clewHeight - head) * 0.2, clew, clewHeight);
  sail.quadTo(clew + (mast - clew) * 0.35 - belly, (clewHeight + foot) * 0.5 + belly, mast, foot);
  sail.closeSubpath();
  return sail;
}

QImage DrawLogo() {
  QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);

  const QRectF badge(1.5, 1.5, 61, 61);
  QRadialGradient sky(QPointF(24, 16), 52);
  sky.setColorAt(0, kDeep);
  sky.setColorAt(1, kNight);
  painter.setPen(QPen(QColor(0x08, 0x1a, 0x31), 1.2));
  painter.setBrush(sky);
  painter.drawEllipse(badge);

  QPainterPath inside;
  inside.addEllipse(badge.adjusted(1, 1, -1, -1));
  painter.setClipPath(inside);

  QLinearGradient water(0, 44, 0, 64);
  water.setColorAt(0, kSea);
  water.setColorAt(1, kDeep);
  QPainterPath sea = Wave(-4, 68, 47, 5, 3);
  sea.lineTo(68, 70);
  sea.lineTo(-4, 70);
  sea.closeSubpath();
  painter.setPen(Qt::NoPen);
  painter.setBrush(water);
  painter.drawPath(sea);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(kSpray, 1.6, Qt::SolidLine, Qt::RoundCap));
  painter.drawPath(Wave(-4, 68, 47, 5, 3));
  painter.setPen(QPen(QColor(0xd6, 0xef, 0xfa, 150), 1.1, Qt::SolidLine, Qt::RoundCap));
  painter.drawPath(Wave(-10, 70, 54, 3, 4));

  // The V: a tall sail and a shorter one on either side of the mast.
  QLinearGradient canvas(0, 8, 0, 46);
  canvas.setColorAt(0, Qt::white);
  canvas.setColorAt(1, kFoam);
  painter.setPen(QPen(QColor(0x0a, 0x22, 0x40, 90), 0.8));
  painter.setBrush(canvas);
  painter.drawPath(Sail(30.5, 8, 44, 11, 13, 2.5));
  QLinearGradient jib(0, 14, 0, 46);
  jib.setColorAt(0, kSpray);
  jib.setColorAt(1, kSea.lighter(125));
  painter.setBrush(jib);
  painter.drawPath(Sail(33.5, 14, 44, 52, 18, -2.5));

  // The hull, a thin dark keel that closes the V on the wave.
  QPainterPath hull(QPointF(21, 45));
  hull.lineTo(43, 45);
  hull.quadTo(40, 49.5, 32, 49.5);
  hull.quadTo(24, 49.5, 21, 45);
  painter.setPen(Qt::NoPen);
  painter.setBrush(kNight);
  painter.drawPath(hull);
  return image;
}

QImage DrawTitle(const QString& family) {
  QImage image(327, 45, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);

  QFont font(family);
  font.setPixelSize(36);
  font.setBold(true);
  font.setLetterSpacing(QFont::AbsoluteSpacing, 1.5);
  QPainterPath word;
  word.addText(3, 32, font, QStringLiteral("Velmaris"));

  // A light edge under the letters, as if pressed into the grey window.
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(255, 255, 255, 140));
  painter.drawPath(word.translated(0.8, 1.2));
  QLinearGradient ink(0, 6, 0, 34);
  ink.setColorAt(0, kDeep);
  ink.setColorAt(1, kNight);
  painter.setBrush(ink);
  painter.drawPath(word);

  // The wave runs out under the name, fading to the right.
  const qreal end = word.boundingRect().right() + 70;
  QLinearGradient fade(0, 0, end, 0);
  fade.setColorAt(0, kSea);
  fade.setColorAt(0.7, kSea);
  fade.setColorAt(1, QColor(kSea.red(), kSea.green(), kSea.blue(), 0));
  painter.setPen(QPen(QBrush(fade), 2.2, Qt::SolidLine, Qt::RoundCap));
  painter.setBrush(Qt::NoBrush);
  painter.drawPath(Wave(4, end, 41, 4, 5));
  return image;
}

}  // namespace

int main(int argc, char** argv) {
  // Drawing needs no display.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication application(argc, argv);
  if (argc != 2) {
    std::fprintf(stderr, "usage: velmaris_artwork <folder>\n");
    return 2;
  }
  const int font =
      QFontDatabase::addApplicationFont(QStringLiteral("/usr/share/fonts/truetype/dejavu/DejaVuSerif-Bold.ttf"));
  if (font < 0) {
    std::fprintf(stderr, "velmaris_artwork: DejaVu Serif Bold is missing (fonts-dejavu-core)\n");
    return 1;
  }
  const QString folder = QString::fromLocal8Bit(argv[1]);
  const bool saved = DrawLogo().save(folder + QStringLiteral("/Logo.png")) &&
                     DrawTitle(QFontDatabase::applicationFontFamilies(font).first())
                         .save(folder + QStringLiteral("/Velmaris_Titre.png"));
  return saved ? 0 : 1;
}
