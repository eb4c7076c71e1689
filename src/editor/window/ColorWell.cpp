#include "editor/window/ColorWell.h"

#include <QColorDialog>
#include <QPainter>

ColorWell::ColorWell(const QColor &color, QWidget *parent) : QToolButton(parent), color_(color)
{
    setFixedHeight(26);
    setMinimumWidth(44);
    setCursor(Qt::PointingHandCursor);
    setToolTip(QStringLiteral("Màu"));
    setAccessibleName(QStringLiteral("Màu"));
    connect(this, &QToolButton::clicked, this, &ColorWell::choose);
}

void ColorWell::setColor(const QColor &color)
{
    color_ = color;
    update();
}

void ColorWell::choose()
{
    const QColor picked = QColorDialog::getColor(color_, window(), QStringLiteral("Màu"));
    if (!picked.isValid())
        return;
    setColor(picked);
    emit colorChanged(picked);
}

void ColorWell::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF outer = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(hasFocus() ? QColor(73, 155, 224) : QColor(214, 213, 206), 1));
    painter.setBrush(underMouse() ? QColor(243, 243, 238) : QColor(Qt::white));
    painter.drawRoundedRect(outer, 6, 6);
    painter.setPen(QPen(QColor(0, 0, 0, 40), 1));
    painter.setBrush(color_);
    painter.drawRoundedRect(outer.adjusted(4, 4, -4, -4), 3.5, 3.5);
}
