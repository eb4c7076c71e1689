#include "editor/document/AnnotationPainter.h"

#include "editor/document/CanvasGeometry.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPaintDevice>
#include <QPainter>

#include <algorithm>
#include <cmath>

QPen AnnotationPainter::strokePen(const QColor &color, qreal width, Qt::PenCapStyle cap)
{
    QPen pen(color, width, Qt::SolidLine, cap, Qt::MiterJoin);
    return pen;
}

QPen AnnotationPainter::freehandPen(const QColor &color, qreal width)
{
    return QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

qreal AnnotationPainter::arrowHeadLength(qreal width)
{
    return std::max(width * 4.0, 12.0);
}

std::array<QPointF, 2> AnnotationPainter::arrowHead(const QPointF &start, const QPointF &end, qreal length)
{
    const qreal theta = std::atan2(end.y() - start.y(), end.x() - start.x());
    const qreal spread = M_PI / 6.0;
    return {end - length * QPointF(std::cos(theta - spread), std::sin(theta - spread)),
            end - length * QPointF(std::cos(theta + spread), std::sin(theta + spread))};
}

void AnnotationPainter::drawArrow(QPainter &painter, const QPointF &start, const QPointF &end, const QPen &pen,
                                  qreal headLength)
{
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    painter.drawLine(QLineF(start, end));
    const auto head = arrowHead(start, end, headLength);
    painter.drawLine(QLineF(end, head[0]));
    painter.drawLine(QLineF(end, head[1]));
}

QRectF AnnotationPainter::arrowBounds(const QPointF &start, const QPointF &end, qreal width, qreal headLength)
{
    const auto head = arrowHead(start, end, headLength);
    // QRectF's union skips empty rectangles, so the corners are taken point by point.
    const qreal xs[] = {start.x(), end.x(), head[0].x(), head[1].x()};
    const qreal ys[] = {start.y(), end.y(), head[0].y(), head[1].y()};
    const QRectF r(QPointF(*std::min_element(xs, xs + 4), *std::min_element(ys, ys + 4)),
                   QPointF(*std::max_element(xs, xs + 4), *std::max_element(ys, ys + 4)));
    // Butt caps and mitred ends reach at most a width beyond the end points.
    return r.adjusted(-width, -width, width, width);
}

AnnotationPainter::CalloutShape AnnotationPainter::calloutShape(const QPointF &centre, qreal lineWidth)
{
    const qreal diameter = std::max(lineWidth * 7.0, 28.0);
    CalloutShape shape;
    shape.disc = QRectF(centre.x() - diameter / 2, centre.y() - diameter / 2, diameter, diameter);
    shape.outlineWidth = std::max(lineWidth * 0.5, 2.0);
    shape.labelSize = diameter * 0.48;
    return shape;
}

QFont AnnotationPainter::boldSystemFont(qreal pixelSize, const QPaintDevice &device)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setBold(true);
    font.setPointSizeF(pixelSize * 72.0 / std::max(device.logicalDpiY(), 1));
    return font;
}

namespace {

struct CalloutLabel {
    QString text;
    QFont font;
    QRectF box; // measured with the font: advance by line height, centred on the disc
    qreal ascent = 0;
};

CalloutLabel calloutLabel(const AnnotationPainter::CalloutShape &shape, qint64 number, const QPaintDevice &device)
{
    CalloutLabel label;
    label.text = QString::number(number);
    label.font = AnnotationPainter::boldSystemFont(shape.labelSize, device);
    const QFontMetricsF metrics(label.font, &device);
    const QSizeF size(metrics.horizontalAdvance(label.text), metrics.height());
    label.box = QRectF(shape.disc.center() - QPointF(size.width() / 2, size.height() / 2), size);
    label.ascent = metrics.ascent();
    return label;
}

} // namespace

QRectF AnnotationPainter::calloutBounds(const QPointF &centre, qint64 number, const DrawingStyle &style,
                                        const QPaintDevice &device)
{
    const CalloutShape shape = calloutShape(centre, style.lineWidth);
    const CalloutLabel label = calloutLabel(shape, number, device);
    const qreal half = shape.outlineWidth / 2;
    const qreal overhang = shape.labelSize * 0.2; // glyphs may reach past their advance
    return shape.disc.adjusted(-half, -half, half, half) | label.box.adjusted(-overhang, -overhang, overhang, overhang);
}

void AnnotationPainter::drawCallout(QPainter &painter, const QPointF &centre, qint64 number,
                                    const DrawingStyle &style)
{
    const CalloutShape shape = calloutShape(centre, style.lineWidth);
    painter.setPen(Qt::NoPen);
    painter.setBrush(style.colorWithOpacity());
    painter.drawEllipse(shape.disc);
    painter.setPen(QPen(Qt::white, shape.outlineWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(shape.disc);

    const CalloutLabel label = calloutLabel(shape, number, *painter.device());
    painter.setFont(label.font);
    painter.setPen(Qt::white);
    painter.drawText(label.box.topLeft() + QPointF(0, label.ascent), label.text);
}

void AnnotationPainter::drawShape(QPainter &painter, EditTool tool, const QPointF &start, const QPointF &end, qreal width)
{
    const QRectF r = CanvasGeometry::spanned(start, end);
    switch (tool) {
    case EditTool::line:
        painter.drawLine(QLineF(start, end));
        break;
    case EditTool::arrow:
        drawArrow(painter, start, end, painter.pen(), arrowHeadLength(width));
        break;
    case EditTool::rectangle:
        painter.drawRect(r);
        break;
    case EditTool::ellipse:
        painter.drawEllipse(r);
        break;
    default:
        break;
    }
}
