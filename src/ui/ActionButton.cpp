#include "ui/ActionButton.h"

#include "ui/Theme.h"

#include <QPainter>

ActionButton::ActionButton(const QString &title, QColor background, QColor foreground, QWidget *parent)
    : QPushButton(title, parent), m_background(background), m_foreground(foreground)
{
    setFont(Theme::font(12, QFont::DemiBold));
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
}

void ActionButton::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    QColor fill = m_background;
    if (isDown())
        fill = fill.darker(112);
    else if (underMouse())
        fill = m_background.lightness() > 128 ? fill.lighter(104) : fill.lighter(140);
    p.setPen(hasFocus() ? QPen(m_foreground, 1.0) : Qt::NoPen);
    p.setBrush(fill);
    p.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 9, 9);

    const int left = 18;
    p.setPen(m_foreground);
    p.setFont(font());
    p.drawText(rect().adjusted(left, 0, -8, 0), Qt::AlignLeft | Qt::AlignVCenter, text());
}
