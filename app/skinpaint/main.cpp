// corvane-skinpaint: draws the pictures of Corvane's window skin and tab strip into a folder.
//
//   corvane-skinpaint OUTDIR
//
// Run through scripts/make-skin.py; the results are committed below data/Images so the
// programs need no painting at start-up.

#include "GifWriter.h"

#include <QDir>
#include <QFont>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QTextStream>

using namespace corvane::skinpaint;

namespace {

constexpr int kCaptionHeight = 48;
constexpr int kTile = 10;

const QColor kCaptionTop(0xf4, 0xf7, 0xfb);
const QColor kCaptionBottom(0xc9, 0xd5, 0xe4);
const QColor kEdge(0x4a, 0x5f, 0x7c);
const QColor kAccent(0xd9, 0x8b, 0x2b);
const QColor kInk(0x1d, 0x2a, 0x3c);

QString g_outDir;
int g_failures = 0;

// Every file is read back through Qt's own GIF reader and compared pixel by pixel with what
// was meant, so a faulty encoder cannot slip a broken skin into the repository.
void save(const QImage &image, const QString &name)
{
    const QString path = g_outDir + QLatin1Char('/') + name;
    bool ok = false;
    if (name.endsWith(QLatin1String(".bmp"))) {
        ok = image.convertToFormat(QImage::Format_RGB888).save(path, "BMP");
    } else {
        ok = writeGif(image, path);
        QImage back(path);
        if (back.size() != image.size()) {
            ok = false;
        } else {
            const QImage want = image.convertToFormat(QImage::Format_RGB32);
            const QImage got = back.convertToFormat(QImage::Format_RGB32);
            for (int y = 0; ok && y < want.height(); ++y)
                for (int x = 0; ok && x < want.width(); ++x) {
                    const QRgb a = want.pixel(x, y), b = got.pixel(x, y);
                    if (std::abs(qRed(a) - qRed(b)) + std::abs(qGreen(a) - qGreen(b)) +
                            std::abs(qBlue(a) - qBlue(b)) >
                        60)
                        ok = false;
                }
        }
    }
    if (!ok) {
        QTextStream(stderr) << "corvane-skinpaint: cannot write " << path << '\n';
        ++g_failures;
    }
}

QImage blank(int w, int h)
{
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(Qt::white);
    return image;
}

void paintCaptionBand(QPainter &p, int width)
{
    QLinearGradient band(0, 0, 0, kCaptionHeight);
    band.setColorAt(0.0, kCaptionTop);
    band.setColorAt(1.0, kCaptionBottom);
    p.fillRect(0, 0, width, kCaptionHeight, band);
    p.fillRect(0, 0, width, 1, kEdge);
    p.fillRect(0, 1, width, 1, Qt::white);
    p.fillRect(0, kCaptionHeight - 3, width, 2, kAccent);
    p.fillRect(0, kCaptionHeight - 1, width, 1, kEdge);
}

// The corvid emblem: a dark disc with a raven's head in profile and an amber eye.
void paintEmblem(QPainter &p, const QRectF &box)
{
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    QRadialGradient disc(box.center() - QPointF(box.width() * 0.2, box.height() * 0.2),
                         box.width() * 0.8);
    disc.setColorAt(0.0, QColor(0x3c, 0x55, 0x78));
    disc.setColorAt(1.0, QColor(0x14, 0x1f, 0x30));
    p.setPen(QPen(QColor(0x0c, 0x14, 0x20), box.width() / 24.0));
    p.setBrush(disc);
    p.drawEllipse(box);

    const double s = box.width();
    const QPointF o = box.topLeft();
    auto at = [&](double x, double y) { return o + QPointF(x * s, y * s); };
    QPainterPath head;
    head.moveTo(at(0.22, 0.80));
    head.cubicTo(at(0.20, 0.50), at(0.30, 0.26), at(0.52, 0.24));
    head.cubicTo(at(0.62, 0.23), at(0.70, 0.28), at(0.74, 0.36));
    head.lineTo(at(0.90, 0.44)); // beak
    head.lineTo(at(0.72, 0.48));
    head.cubicTo(at(0.66, 0.56), at(0.58, 0.64), at(0.60, 0.80));
    head.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xe9, 0xee, 0xf5));
    p.drawPath(head);
    p.setBrush(kAccent);
    p.drawEllipse(at(0.56, 0.33), s * 0.045, s * 0.045);
    p.restore();
}

QFont titleFont(int pixelSize, bool bold = true)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    return font;
}

QImage leftCaption(const QString &title)
{
    const QFont font = titleFont(15);
    const int textWidth = QFontMetrics(font).horizontalAdvance(title);
    const int width = std::max(200, 58 + textWidth + 28);
    QImage image = blank(width, kCaptionHeight);
    QPainter p(&image);
    paintCaptionBand(p, width);
    p.fillRect(0, 0, 1, kCaptionHeight, kEdge);
    paintEmblem(p, QRectF(12, 5, 36, 36));
    p.setRenderHint(QPainter::TextAntialiasing);
    p.setFont(font);
    p.setPen(kInk);
    p.drawText(QRect(58, 2, width - 58, kCaptionHeight - 6), Qt::AlignVCenter | Qt::AlignLeft,
               title);
    return image;
}

QImage centerCaption()
{
    QImage image = blank(100, kCaptionHeight);
    QPainter p(&image);
    paintCaptionBand(p, 100);
    return image;
}

QImage rightCaption()
{
    QImage image = blank(120, kCaptionHeight);
    QPainter p(&image);
    paintCaptionBand(p, 120);
    p.fillRect(119, 0, 1, kCaptionHeight, kEdge);
    return image;
}

enum class Glyph { Close, Minimize, Restore };

QImage button(Glyph glyph, bool pressed)
{
    const int size = 22;
    QImage image(size, size, QImage::Format_RGB32);
    // The button sits on the caption band; paint that band behind its rounded face.
    {
        QPainter p(&image);
        QLinearGradient band(0, -13, 0, kCaptionHeight - 13);
        band.setColorAt(0.0, kCaptionTop);
        band.setColorAt(1.0, kCaptionBottom);
        p.fillRect(image.rect(), band);
    }
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    const bool danger = glyph == Glyph::Close;
    QColor top = danger ? QColor(0xe8, 0x6a, 0x5c) : QColor(0xfb, 0xfc, 0xfe);
    QColor bottom = danger ? QColor(0xb8, 0x32, 0x28) : QColor(0xaf, 0xc0, 0xd6);
    if (pressed)
        std::swap(top, bottom);
    QLinearGradient face(0, 0, 0, size);
    face.setColorAt(0.0, top);
    face.setColorAt(1.0, bottom);
    p.setPen(QPen(danger ? QColor(0x7a, 0x1d, 0x16) : kEdge, 1));
    p.setBrush(face);
    p.drawRoundedRect(QRectF(0.5, 0.5, size - 1, size - 1), 4, 4);
    const QColor ink = danger ? Qt::white : kInk;
    p.setPen(QPen(ink, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    const double d = pressed ? 1 : 0;
    switch (glyph) {
    case Glyph::Close:
        p.drawLine(QPointF(7 + d, 7 + d), QPointF(15 + d, 15 + d));
        p.drawLine(QPointF(15 + d, 7 + d), QPointF(7 + d, 15 + d));
        break;
    case Glyph::Minimize:
        p.drawLine(QPointF(6 + d, 15 + d), QPointF(16 + d, 15 + d));
        break;
    case Glyph::Restore:
        p.setPen(QPen(ink, 1.5));
        p.drawRect(QRectF(9 + d, 5.5 + d, 8, 7));
        p.fillRect(QRectF(5 + d, 9.5 + d, 8, 7), bottom);
        p.drawRect(QRectF(5 + d, 9.5 + d, 8, 7));
        break;
    }
    return image;
}

// img_Borders.bmp: five 10x10 tiles (left, bottom-left, bottom, right, bottom-right).
QImage borders()
{
    QImage image = blank(5 * kTile, kTile);
    QPainter p(&image);
    const QColor face = kCaptionBottom;
    const QColor light(0xe4, 0xeb, 0xf3);
    auto vertical = [&](int x0, bool left) {
        p.fillRect(x0, 0, kTile, kTile, face);
        p.fillRect(left ? x0 : x0 + kTile - 1, 0, 1, kTile, kEdge);
        p.fillRect(left ? x0 + 1 : x0 + kTile - 2, 0, 1, kTile, light);
        p.fillRect(left ? x0 + kTile - 1 : x0, 0, 1, kTile, QColor(0x8d, 0xa0, 0xb9));
    };
    vertical(0, true);
    vertical(3 * kTile, false);
    // bottom edge
    p.fillRect(2 * kTile, 0, kTile, kTile, face);
    p.fillRect(2 * kTile, 0, kTile, 1, QColor(0x8d, 0xa0, 0xb9));
    p.fillRect(2 * kTile, kTile - 2, kTile, 1, light);
    p.fillRect(2 * kTile, kTile - 1, kTile, 1, kEdge);
    // corners: the side tile's columns meeting the bottom tile's rows
    for (int corner : {1, 4}) {
        const int x0 = corner * kTile;
        const bool left = corner == 1;
        p.fillRect(x0, 0, kTile, kTile, face);
        p.fillRect(left ? x0 + kTile - 1 : x0, 0, 1, 1, QColor(0x8d, 0xa0, 0xb9));
        p.fillRect(x0, kTile - 2, kTile, 1, light);
        p.fillRect(x0, kTile - 1, kTile, 1, kEdge);
        p.fillRect(left ? x0 + 1 : x0 + kTile - 2, 0, 1, kTile - 1, light);
        p.fillRect(left ? x0 : x0 + kTile - 1, 0, 1, kTile, kEdge);
    }
    return image;
}

QImage tabPicture(const QString &label, bool selected)
{
    const int width = 118, height = 30;
    QImage image = blank(width, height);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient face(0, 0, 0, height);
    face.setColorAt(0.0, selected ? QColor(0xff, 0xff, 0xff) : QColor(0xe6, 0xec, 0xf3));
    face.setColorAt(1.0, selected ? QColor(0xf3, 0xf5, 0xf8) : QColor(0xc4, 0xd0, 0xdf));
    p.fillRect(image.rect(), QColor(0xf3, 0xf5, 0xf8));
    p.setPen(QPen(kEdge, 1));
    p.setBrush(face);
    p.drawRoundedRect(QRectF(0.5, 0.5, width - 1, height + 6), 6, 6);
    if (selected)
        p.fillRect(QRectF(1, 1, width - 2, 3), kAccent);
    p.setFont(titleFont(13, selected));
    p.setPen(kInk);
    p.drawText(QRect(0, 2, width, height - 2), Qt::AlignCenter, label);
    return image;
}

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 2) {
        QTextStream(stderr) << "usage: corvane-skinpaint OUTDIR\n";
        return 2;
    }
    g_outDir = args.at(1);
    if (!QDir().mkpath(g_outDir)) {
        QTextStream(stderr) << "corvane-skinpaint: cannot create " << g_outDir << '\n';
        return 1;
    }

    // Left caption pictures by window number: file suffix "" for window 1, n-1 for window n.
    const QStringList titles = {
        QStringLiteral("Corvane Knowledgebase Viewer"), // 1
        QStringLiteral("Corvane Engine"),               // 2
        QStringLiteral("Corvane Tools"),                // 3: bookmark import, leads scan
        QStringLiteral("Corvane"),                      // 4
        QStringLiteral("Corvane"),                      // 5
        QStringLiteral("Corvane Outlook Export"),       // 6
        QStringLiteral("Corvane Help"),                 // 7
        QStringLiteral("Corvane Leads Verifier"),       // 8
        QStringLiteral("Corvane"),                      // 9: the small dialogs
    };
    for (int number = 1; number <= titles.size(); ++number) {
        const QString suffix = number == 1 ? QString() : QString::number(number - 1);
        save(leftCaption(titles.at(number - 1)),
             QStringLiteral("img_Caption_Left%1.gif").arg(suffix));
    }
    save(centerCaption(), QStringLiteral("img_Caption_Center.gif"));
    save(rightCaption(), QStringLiteral("img_Caption_Right.gif"));
    // The frame loads "Close" and shows "close" after a release; both spellings exist.
    save(button(Glyph::Close, false), QStringLiteral("img_Button_Close.gif"));
    save(button(Glyph::Close, false), QStringLiteral("img_Button_close.gif"));
    save(button(Glyph::Close, true), QStringLiteral("img_Button_close2.gif"));
    save(button(Glyph::Minimize, false), QStringLiteral("img_Button_Minimize.gif"));
    save(button(Glyph::Minimize, true), QStringLiteral("img_Button_Minimize2.gif"));
    save(button(Glyph::Restore, false), QStringLiteral("img_Button_Restore.gif"));
    save(borders(), QStringLiteral("img_Borders.bmp"));

    const QList<QPair<QString, QString>> tabs = {
        {QStringLiteral("Search"), QStringLiteral("Search")},
        {QStringLiteral("Keyword"), QStringLiteral("Keywords")},
        {QStringLiteral("Settings"), QStringLiteral("Settings")},
        {QStringLiteral("filters"), QStringLiteral("Filters")},
        {QStringLiteral("Result"), QStringLiteral("Results")},
    };
    for (const auto &[file, label] : tabs) {
        save(tabPicture(label, false), file + QStringLiteral("1.gif"));
        save(tabPicture(label, true), file + QStringLiteral("2.gif"));
    }

    // The program's icon, also drawn here so the emblem stays one drawing.
    for (int size : {48, 128, 256}) {
        QImage icon(size, size, QImage::Format_ARGB32);
        icon.fill(Qt::transparent);
        QPainter p(&icon);
        paintEmblem(p, QRectF(size * 0.04, size * 0.04, size * 0.92, size * 0.92));
        p.end();
        if (!icon.save(g_outDir + QStringLiteral("/corvane-%1.png").arg(size), "PNG"))
            ++g_failures;
    }
    return g_failures == 0 ? 0 : 1;
}
