#include "ui/RoundedPanel.h"

#include "ui/Theme.h"

#include <QPainter>
#include <QPainterPath>

RoundedPanel::RoundedPanel(QColor background, qreal radius, QWidget *parent)
    : QWidget(parent), m_background(background), m_radius(radius)
{
}

void RoundedPanel::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF r = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    p.setPen(QPen(Theme::panelBorder(), 1.0));
    p.setBrush(m_background);
    p.drawRoundedRect(r, m_radius, m_radius);
}
