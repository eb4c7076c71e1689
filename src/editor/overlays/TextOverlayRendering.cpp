#include "editor/overlays/TextOverlayRendering.h"

#include <QFontDatabase>
#include <QPaintDevice>
#include <QPainter>
#include <QTextOption>

#include <algorithm>

namespace {

// Fontconfig substitutes a metric-compatible face for the usual Mac and Windows names;
// the hint steers the choice where it has none of that name's kind (Menlo, Georgia).
QFont::StyleHint styleHintFor(const QString &family)
{
    static constexpr const char *monospaced[] = {"Menlo", "Monaco", "Courier", "Courier New", "SF Mono"};
    static constexpr const char *serif[] = {"Georgia", "Times", "Times New Roman", "Palatino", "Baskerville"};
    for (const char *name : monospaced) {
        if (family.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return QFont::Monospace;
    }
    for (const char *name : serif) {
        if (family.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return QFont::Serif;
    }
    return QFont::SansSerif;
}

} // namespace

QFont TextOverlayRendering::font(const QString &family, qreal pixelSize, const QPaintDevice &device)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    if (!family.trimmed().isEmpty()) {
        font.setFamilies({family});
        font.setStyleHint(styleHintFor(family));
    }
    // QFont sizes are in points of the device's logical DPI; the sizes here are pixels.
    font.setPointSizeF(pixelSize * 72.0 / std::max(device.logicalDpiY(), 1));
    return font;
}

bool TextOverlayRendering::isBlank(const QString &text)
{
    return text.trimmed().isEmpty();
}

void TextOverlayRendering::drawText(QPainter &painter, const QRectF &rect, const QString &text,
                                    const QFont &font, const QColor &color)
{
    painter.save();
    painter.setClipRect(rect, Qt::IntersectClip);
    painter.setFont(font);
    painter.setPen(color);
    QTextOption option(Qt::AlignLeft | Qt::AlignTop);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    painter.drawText(rect, text, option);
    painter.restore();
}
