#include "ScreenshotLikeImage.h"

#include <QLinearGradient>
#include <QPainter>
#include <QRandomGenerator>

namespace {

void drawWindow(QPainter &p, const QRect &frame, const QColor &body, const QColor &text, QRandomGenerator &rng)
{
    p.fillRect(frame, body);
    p.fillRect(QRect(frame.topLeft(), QSize(frame.width(), 56)), QColor(232, 232, 236));
    for (int i = 0; i < 3; ++i) {
        p.setBrush(QColor::fromHsv(i * 40, 200, 230));
        p.setPen(Qt::NoPen);
        p.drawEllipse(QRect(frame.left() + 20 + i * 34, frame.top() + 18, 20, 20));
    }
    QFont font = p.font();
    font.setPixelSize(26);
    p.setFont(font);
    p.setPen(text);
    static const char *const words[] = {"capture", "window", "region", "editor", "history", "Vistrel",
                                        "screenshot", "keyboard", "mapping", "toolbar", "undo", "zoom"};
    for (int y = frame.top() + 100; y < frame.bottom() - 40; y += 44) {
        QString line;
        const int count = 3 + int(rng.bounded(9));
        for (int w = 0; w < count; ++w)
            line += QString::fromLatin1(words[rng.bounded(12)]) + QLatin1Char(' ');
        p.drawText(frame.left() + 40, y, line);
        if (rng.bounded(6) == 0)
            p.fillRect(QRect(frame.left() + 40, y + 10, 300, 28), QColor::fromHsv(int(rng.bounded(360)), 90, 240));
    }
}

void drawPhoto(QImage &image, const QRect &r, QRandomGenerator &rng)
{
    for (int y = r.top(); y <= r.bottom(); ++y) {
        auto *row = reinterpret_cast<quint32 *>(image.scanLine(y));
        for (int x = r.left(); x <= r.right(); ++x) {
            const int base = 90 + (x - r.left()) * 80 / r.width();
            const int n = int(rng.bounded(24));
            row[x] = qRgb(base + n, 120 + (y - r.top()) * 60 / r.height() + n / 2, 70 + n);
        }
    }
}

} // namespace

QImage screenshotLikeImage(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    QRandomGenerator rng(5120);
    {
        QPainter p(&image);
        QLinearGradient wallpaper(0, 0, 0, height);
        wallpaper.setColorAt(0, QColor(28, 52, 96));
        wallpaper.setColorAt(1, QColor(120, 70, 140));
        p.fillRect(image.rect(), wallpaper);
        p.fillRect(QRect(0, 0, width, 48), QColor(245, 245, 245)); // menu bar
        p.setRenderHint(QPainter::Antialiasing);
        p.setRenderHint(QPainter::TextAntialiasing);
        drawWindow(p, QRect(width / 16, height / 10, width / 2, height * 2 / 3), Qt::white, QColor(30, 30, 30), rng);
        drawWindow(p, QRect(width * 9 / 16, height / 6, width * 3 / 8, height / 2), QColor(30, 32, 38),
                   QColor(150, 220, 160), rng);
        drawWindow(p, QRect(width / 3, height * 3 / 5, width / 2, height / 3), QColor(246, 244, 238),
                   QColor(60, 60, 90), rng);
        p.fillRect(QRect(width / 4, height - 110, width / 2, 90), QColor(255, 255, 255, 180)); // dock
    }
    drawPhoto(image, QRect(width * 5 / 8, height * 2 / 3, width / 4, height / 4), rng);
    return image;
}
