#include "ui/ActionButton.h"

#include "ui/Theme.h"

#include <QPainter>
#include <QPainterPath>

ActionButton::ActionButton(const QString &title, QColor background, QColor foreground, QWidget *parent)
    : QPushButton(title, parent), m_background(background), m_foreground(foreground)
{
    setFont(Theme::font(12, QFont::DemiBold));
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover);
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

    const QStringList lines = text().split(QLatin1Char('\n'));
    const QFont titleFont = font();
    const QFont hintFont = Theme::font(11);
    const int left = 18;
    const int lineGap = 4;
    const int titleHeight = QFontMetrics(titleFont).height();
    const int hintHeight = lines.size() > 1 ? QFontMetrics(hintFont).height() + lineGap : 0;
    int y = (height() - titleHeight - hintHeight) / 2;

    p.setPen(m_foreground);
    p.setFont(titleFont);
    p.drawText(QRect(left, y, width() - left - 8, titleHeight), Qt::AlignLeft | Qt::AlignVCenter, lines.first());
    if (lines.size() > 1) {
        QColor hint = m_foreground;
        hint.setAlphaF(0.62);
        p.setPen(hint);
        p.setFont(hintFont);
        y += titleHeight + lineGap;
        p.drawText(QRect(left, y, width() - left - 8, hintHeight), Qt::AlignLeft | Qt::AlignVCenter, lines.at(1));
    }
}
