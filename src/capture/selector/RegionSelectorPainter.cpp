#include "capture/selector/RegionSelectorPainter.h"

#include <QFontMetricsF>
#include <QPainter>

namespace RegionSelectorPainter {
namespace {

// Text on a box of its own line height, like a label with a background colour.
void drawBoxedText(QPainter &painter, const QRectF &box, const QString &text, const QFont &font,
                   const QColor &background)
{
    painter.fillRect(box, background);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QPointF(box.left(), box.top() + QFontMetricsF(font).ascent()), text);
}

QSizeF textSize(const QString &text, const QFont &font)
{
    const QFontMetricsF metrics(font);
    return QSizeF(metrics.horizontalAdvance(text), metrics.height());
}

void drawFrozen(QPainter &painter, const QRectF &bounds, const QImage &frozen)
{
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(bounds, frozen, QRectF(frozen.rect()));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

} // namespace

QFont labelFont(const QFont &base)
{
    QFont font(base);
    font.setPixelSize(13);
    font.setWeight(QFont::Medium);
    return font;
}

QFont promptFont(const QFont &base)
{
    QFont font(base);
    font.setPixelSize(16);
    font.setWeight(QFont::DemiBold);
    return font;
}

QString sizeText(const QSizeF &size)
{
    return QStringLiteral("%1 × %2").arg(qint64(size.width())).arg(qint64(size.height()));
}

QRectF labelRect(const QRectF &selection, const QFont &base)
{
    const QSizeF size = textSize(sizeText(selection.size()), labelFont(base));
    return QRectF(QPointF(selection.left() + labelOffset.x(),
                          selection.top() - labelOffset.y() - size.height()),
                  size);
}

QRectF promptRect(const QRectF &bounds, const QString &prompt, const QFont &base)
{
    const QSizeF size = textSize(prompt, promptFont(base));
    return QRectF(QPointF(bounds.left() + (bounds.width() - size.width()) / 2,
                          bounds.top() + promptTopMargin),
                  size);
}

QRectF selectionFootprint(const QRectF &selection, const QFont &base)
{
    const qreal pad = borderWidth;
    return selection.adjusted(-pad, -pad, pad, pad).united(labelRect(selection, base));
}

void paint(QPainter &painter, const QRectF &bounds, const QImage &frozen, const QString &prompt,
           const std::optional<QRectF> &selection, const QFont &base)
{
    painter.save();
    if (!frozen.isNull())
        drawFrozen(painter, bounds, frozen);
    painter.fillRect(bounds, dimming);

    if (selection) {
        const QRectF r = *selection;
        painter.save();
        if (frozen.isNull()) {
            painter.setCompositionMode(QPainter::CompositionMode_Source);
            painter.fillRect(r, Qt::transparent);
        } else {
            painter.setClipRect(r, Qt::IntersectClip);
            drawFrozen(painter, bounds, frozen);
        }
        painter.restore();

        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setPen(QPen(border, borderWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(r);

        drawBoxedText(painter, labelRect(r, base), sizeText(r.size()), labelFont(base),
                      labelBackground);
    } else {
        drawBoxedText(painter, promptRect(bounds, prompt, base), prompt, promptFont(base),
                      promptBackground);
    }
    painter.restore();
}

} // namespace RegionSelectorPainter
