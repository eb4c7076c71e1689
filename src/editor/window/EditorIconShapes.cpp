#include "editor/window/EditorIconShapes.h"

#include <QFont>
#include <QFontDatabase>
#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <functional>
#include <map>

namespace {

constexpr qreal stroke = 1.8;

using Draw = std::function<void(QPainter &, const QColor &)>;

QPen pen(const QColor &ink, qreal width = stroke)
{
    return QPen(ink, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

void line(QPainter &p, qreal x1, qreal y1, qreal x2, qreal y2)
{
    p.drawLine(QPointF(x1, y1), QPointF(x2, y2));
}

void polyline(QPainter &p, std::initializer_list<QPointF> points)
{
    p.drawPolyline(points.begin(), int(points.size()));
}

// An open arrow head at `tip`, pointing away from `from`.
void arrowHead(QPainter &p, QPointF from, QPointF tip, qreal length = 5.5)
{
    const qreal angle = std::atan2(tip.y() - from.y(), tip.x() - from.x());
    for (const qreal side : {-M_PI / 4, M_PI / 4}) {
        p.drawLine(tip, tip - QPointF(std::cos(angle + side), std::sin(angle + side)) * length);
    }
}

void arrow(QPainter &p, QPointF from, QPointF tip, qreal head = 5.5)
{
    p.drawLine(from, tip);
    arrowHead(p, from, tip, head);
}

// A four-pointed sparkle centred at `c` with arms of `r`.
QPainterPath sparkle(QPointF c, qreal r)
{
    const qreal waist = r * 0.28;
    QPainterPath path(c + QPointF(0, -r));
    path.quadTo(c + QPointF(waist, -waist), c + QPointF(r, 0));
    path.quadTo(c + QPointF(waist, waist), c + QPointF(0, r));
    path.quadTo(c + QPointF(-waist, waist), c + QPointF(-r, 0));
    path.quadTo(c + QPointF(-waist, -waist), c + QPointF(0, -r));
    path.closeSubpath();
    return path;
}

// A framed picture: a rounded frame, a sun and two hills.
void photo(QPainter &p, const QColor &ink, const QRectF &frame)
{
    p.setPen(pen(ink));
    p.setBrush(Qt::NoBrush);
    p.drawRoundedRect(frame, 2.2, 2.2);
    const qreal s = frame.width() / 16;
    const QPointF o = frame.topLeft();
    p.setBrush(ink);
    p.setPen(Qt::NoPen);
    p.drawEllipse(o + QPointF(11.3 * s, 3.9 * s), 1.5 * s, 1.5 * s);
    p.setPen(pen(ink, stroke * 0.9));
    p.setBrush(Qt::NoBrush);
    polyline(p, {o + QPointF(1.5 * s, frame.height() - 2.2 * s), o + QPointF(6 * s, frame.height() - 7.6 * s),
                 o + QPointF(9.5 * s, frame.height() - 4.2 * s), o + QPointF(11.5 * s, frame.height() - 6 * s),
                 o + QPointF(14.5 * s, frame.height() - 2.4 * s)});
}

// A text label centred in `box`, as a path so it scales like the strokes.
void label(QPainter &p, const QColor &ink, const QString &text, const QRectF &box, qreal size, bool bold)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setFamilies({QStringLiteral("Noto Sans"), QStringLiteral("DejaVu Sans")});
    font.setPointSizeF(size);
    font.setWeight(bold ? QFont::Bold : QFont::DemiBold);
    QPainterPath path;
    path.addText(0, 0, font, text);
    const QRectF bounds = path.boundingRect();
    path.translate(box.center() - bounds.center());
    p.setPen(Qt::NoPen);
    p.setBrush(ink);
    p.drawPath(path);
}

void magnifier(QPainter &p, const QColor &ink, bool plus)
{
    p.setPen(pen(ink));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(QPointF(10.5, 10.5), 6.5, 6.5);
    p.setPen(pen(ink, 2.6));
    line(p, 15.3, 15.3, 20.5, 20.5);
    p.setPen(pen(ink, 1.6));
    line(p, 7.6, 10.5, 13.4, 10.5);
    if (plus)
        line(p, 10.5, 7.6, 10.5, 13.4);
}

void uturn(QPainter &p, const QColor &ink, bool forward)
{
    p.save();
    if (forward) {
        p.translate(24, 0);
        p.scale(-1, 1);
    }
    p.setPen(pen(ink));
    p.setBrush(Qt::NoBrush);
    QPainterPath path(QPointF(5, 9));
    path.lineTo(14, 9);
    path.arcTo(QRectF(9.5, 9, 10, 10), 90, -180);
    path.lineTo(9, 19);
    p.drawPath(path);
    polyline(p, {QPointF(9, 5), QPointF(5, 9), QPointF(9, 13)});
    p.restore();
}

const std::map<QString, Draw> &shapes()
{
    static const std::map<QString, Draw> table{
        {QStringLiteral("pencil"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             const QPointF body[] = {{4, 20}, {5, 15.5}, {15.5, 5}, {19, 8.5}, {8.5, 19}};
             p.drawPolygon(body, 5);
             line(p, 13.5, 7, 17, 10.5);
             line(p, 5, 15.5, 8.5, 19);
         }},
        {QStringLiteral("highlighter"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             const QPointF body[] = {{9.5, 12.5}, {16.5, 3.5}, {21, 7}, {13.5, 15.5}};
             p.drawPolygon(body, 4);
             const QPointF tip[] = {{9.5, 12.5}, {13.5, 15.5}, {10.5, 18}, {7.5, 15.5}};
             p.drawPolygon(tip, 4);
             QColor faint = ink;
             faint.setAlphaF(0.45f);
             p.setPen(pen(faint, 3));
             line(p, 3.5, 21, 12.5, 21);
         }},
        {QStringLiteral("line.diagonal"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink, 2));
             line(p, 5, 19, 19, 5);
         }},
        {QStringLiteral("arrow.up.right"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink, 2));
             line(p, 6, 18, 18, 6);
             polyline(p, {QPointF(8.5, 6), QPointF(18, 6), QPointF(18, 15.5)});
         }},
        {QStringLiteral("rectangle"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             p.drawRoundedRect(QRectF(3, 6, 18, 12), 2.2, 2.2);
         }},
        {QStringLiteral("circle"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             p.drawEllipse(QPointF(12, 12), 8.5, 8.5);
         }},
        {QStringLiteral("textformat"),
         [](QPainter &p, const QColor &ink) {
             label(p, ink, QStringLiteral("A"), QRectF(1.5, 4, 12, 16), 15, true);
             label(p, ink, QStringLiteral("a"), QRectF(13, 8.7, 9, 11.3), 10.5, true);
         }},
        {QStringLiteral("1.circle"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             p.drawEllipse(QPointF(12, 12), 9, 9);
             label(p, ink, QStringLiteral("1"), QRectF(6, 6, 12, 12), 10.5, true);
         }},
        {QStringLiteral("photo.badge.plus"),
         [](QPainter &p, const QColor &ink) {
             photo(p, ink, QRectF(2.5, 7, 15, 12.5));
             p.setPen(Qt::NoPen);
             p.setBrush(ink);
             p.drawEllipse(QPointF(18, 6.5), 5, 5);
             p.setPen(pen(Qt::white, 1.6));
             line(p, 18, 4, 18, 9);
             line(p, 15.5, 6.5, 20.5, 6.5);
         }},
        {QStringLiteral("crop"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink, 2));
             polyline(p, {QPointF(7, 2.5), QPointF(7, 17), QPointF(21.5, 17)});
             polyline(p, {QPointF(2.5, 7), QPointF(17, 7), QPointF(17, 21.5)});
         }},
        {QStringLiteral("square.grid.3x3"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(Qt::NoPen);
             p.setBrush(ink);
             for (int row = 0; row < 3; ++row) {
                 for (int col = 0; col < 3; ++col)
                     p.drawRoundedRect(QRectF(3.5 + col * 6, 3.5 + row * 6, 4.6, 4.6), 1, 1);
             }
         }},
        {QStringLiteral("drop.halffull"),
         [](QPainter &p, const QColor &ink) {
             QPainterPath drop(QPointF(12, 2.5));
             drop.cubicTo(QPointF(15, 7), QPointF(19, 10.5), QPointF(19, 14.5));
             drop.cubicTo(QPointF(19, 18.5), QPointF(15.9, 21.5), QPointF(12, 21.5));
             drop.cubicTo(QPointF(8.1, 21.5), QPointF(5, 18.5), QPointF(5, 14.5));
             drop.cubicTo(QPointF(5, 10.5), QPointF(9, 7), QPointF(12, 2.5));
             p.save();
             p.setClipRect(QRectF(0, 0, 12, 24));
             p.fillPath(drop, ink);
             p.restore();
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             p.drawPath(drop);
         }},
        {QStringLiteral("arrow.uturn.backward"), [](QPainter &p, const QColor &ink) { uturn(p, ink, false); }},
        {QStringLiteral("arrow.uturn.forward"), [](QPainter &p, const QColor &ink) { uturn(p, ink, true); }},
        {QStringLiteral("doc.on.doc"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             polyline(p, {QPointF(5, 16.5), QPointF(4.5, 16.5), QPointF(4.5, 3), QPointF(14.5, 3), QPointF(14.5, 4)});
             p.drawRoundedRect(QRectF(8.5, 7, 11, 14.5), 1.8, 1.8);
             p.setPen(pen(ink, 1.3));
             line(p, 11.5, 11.5, 16.5, 11.5);
             line(p, 11.5, 14.5, 16.5, 14.5);
             line(p, 11.5, 17.5, 14.5, 17.5);
         }},
        {QStringLiteral("photo.on.rectangle"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             polyline(p, {QPointF(3, 15), QPointF(3, 4.5), QPointF(17, 4.5)});
             photo(p, ink, QRectF(6.5, 8, 15, 12.5));
         }},
        {QStringLiteral("xmark"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink, 2.1));
             line(p, 6, 6, 18, 18);
             line(p, 18, 6, 6, 18);
         }},
        {QStringLiteral("checkmark"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink, 2.2));
             p.setBrush(Qt::NoBrush);
             polyline(p, {QPointF(4.5, 12.5), QPointF(9.5, 17.5), QPointF(19.5, 6)});
         }},
        {QStringLiteral("arrow.down.right.and.arrow.up.left"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             arrow(p, QPointF(3.5, 3.5), QPointF(10.5, 10.5));
             arrow(p, QPointF(20.5, 20.5), QPointF(13.5, 13.5));
         }},
        {QStringLiteral("rectangle.compress.vertical"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             p.drawRoundedRect(QRectF(3, 9.5, 18, 5), 1.5, 1.5);
             arrow(p, QPointF(12, 1.5), QPointF(12, 7), 3.5);
             arrow(p, QPointF(12, 22.5), QPointF(12, 17), 3.5);
         }},
        {QStringLiteral("wand.and.stars"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink, 2.6));
             line(p, 3.5, 20.5, 14, 10);
             p.setPen(Qt::NoPen);
             p.setBrush(ink);
             p.drawPath(sparkle(QPointF(17.5, 6), 4.5));
             p.drawPath(sparkle(QPointF(9, 4.5), 2.5));
             p.drawPath(sparkle(QPointF(20, 14), 2.5));
         }},
        {QStringLiteral("trash"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             line(p, 3.5, 6, 20.5, 6);
             polyline(p, {QPointF(9, 6), QPointF(9.5, 3), QPointF(14.5, 3), QPointF(15, 6)});
             polyline(p, {QPointF(5.5, 6), QPointF(6.8, 21), QPointF(17.2, 21), QPointF(18.5, 6)});
             p.setPen(pen(ink, 1.4));
             line(p, 10, 10, 10.3, 17);
             line(p, 14, 10, 13.7, 17);
         }},
        {QStringLiteral("sun.max"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             p.drawEllipse(QPointF(12, 12), 4.3, 4.3);
             for (int i = 0; i < 8; ++i) {
                 const qreal a = i * M_PI / 4;
                 const QPointF d(std::cos(a), std::sin(a));
                 p.drawLine(QPointF(12, 12) + d * 7.3, QPointF(12, 12) + d * 10);
             }
         }},
        {QStringLiteral("moon"),
         [](QPainter &p, const QColor &ink) {
             QPainterPath disc;
             disc.addEllipse(QPointF(11.5, 12.5), 8.5, 8.5);
             QPainterPath bite;
             bite.addEllipse(QPointF(16.5, 7.5), 7.5, 7.5);
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             p.drawPath(disc.subtracted(bite));
         }},
        {QStringLiteral("camera.filters"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink, 1.6));
             p.setBrush(Qt::NoBrush);
             p.drawEllipse(QPointF(12, 8.3), 5.5, 5.5);
             p.drawEllipse(QPointF(8.3, 14.6), 5.5, 5.5);
             p.drawEllipse(QPointF(15.7, 14.6), 5.5, 5.5);
         }},
        {QStringLiteral("circle.righthalf.filled"),
         [](QPainter &p, const QColor &ink) {
             QPainterPath half;
             half.moveTo(12, 3);
             half.arcTo(QRectF(3, 3, 18, 18), 90, -180);
             half.closeSubpath();
             p.fillPath(half, ink);
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             p.drawEllipse(QPointF(12, 12), 9, 9);
         }},
        {QStringLiteral("sparkles"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(Qt::NoPen);
             p.setBrush(ink);
             p.drawPath(sparkle(QPointF(10, 13), 7.5));
             p.drawPath(sparkle(QPointF(18.5, 5.5), 3.5));
             p.drawPath(sparkle(QPointF(19, 18.5), 2.5));
         }},
        {QStringLiteral("square.and.arrow.down"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             p.setBrush(Qt::NoBrush);
             polyline(p, {QPointF(8, 9.5), QPointF(5, 9.5), QPointF(5, 21), QPointF(19, 21), QPointF(19, 9.5),
                          QPointF(16, 9.5)});
             arrow(p, QPointF(12, 2.5), QPointF(12, 15.5), 4.2);
         }},
        {QStringLiteral("minus.magnifyingglass"), [](QPainter &p, const QColor &ink) { magnifier(p, ink, false); }},
        {QStringLiteral("plus.magnifyingglass"), [](QPainter &p, const QColor &ink) { magnifier(p, ink, true); }},
        {QStringLiteral("arrow.up.left.and.arrow.down.right"),
         [](QPainter &p, const QColor &ink) {
             p.setPen(pen(ink));
             arrow(p, QPointF(10.5, 10.5), QPointF(3.5, 3.5));
             arrow(p, QPointF(13.5, 13.5), QPointF(20.5, 20.5));
         }},
    };
    return table;
}

} // namespace

QStringList EditorIconShapes::names()
{
    QStringList list;
    for (const auto &entry : shapes())
        list.append(entry.first);
    return list;
}

bool EditorIconShapes::has(const QString &name)
{
    return shapes().count(name) != 0;
}

void EditorIconShapes::draw(const QString &name, QPainter &painter, const QColor &ink)
{
    const auto found = shapes().find(name);
    if (found == shapes().end())
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    found->second(painter, ink);
    painter.restore();
}
