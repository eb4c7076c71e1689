#include "ui/AppIcon.h"

#include "ui/Theme.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace AppIcon {

static QPixmap render(int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    const qreal inset = size * 0.06;
    const QRectF tile(inset, inset, size - 2 * inset, size - 2 * inset);
    p.setPen(Qt::NoPen);
    p.setBrush(Theme::pillDark());
    p.drawRoundedRect(tile, size * 0.22, size * 0.22);
    QFont f = Theme::font(size * 0.42, QFont::Black);
    p.setFont(f);
    p.setPen(Theme::lime());
    p.drawText(tile, Qt::AlignCenter, QStringLiteral("VL"));
    return pixmap;
}

QIcon icon()
{
    QIcon icon;
    for (int size : {16, 22, 32, 48, 64, 128, 256})
        icon.addPixmap(render(size));
    return icon;
}

} // namespace AppIcon
