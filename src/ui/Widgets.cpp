#include "ui/Widgets.h"

#include "ui/Theme.h"

#include <QLabel>
#include <QPushButton>

namespace Widgets {

QLabel *label(QWidget *parent, const QString &text, const QFont &font, const QColor &color,
              int x, int y)
{
    auto *l = new QLabel(text, parent);
    l->setFont(font);
    QPalette pal = l->palette();
    pal.setColor(QPalette::WindowText, color);
    l->setPalette(pal);
    l->adjustSize();
    l->move(x, y);
    return l;
}

static QString css(const QColor &c) { return c.name(QColor::HexRgb); }

QPushButton *button(QWidget *parent, const QString &title, ButtonStyle style, const QRect &frame,
                    const QFont &font)
{
    auto *b = new QPushButton(title, parent);
    b->setFont(font);
    b->setGeometry(frame);
    b->setCursor(Qt::PointingHandCursor);
    QString sheet;
    switch (style) {
    case ButtonStyle::primary:
        sheet = QStringLiteral("QPushButton{background:%1;color:#000;border:none;border-radius:9px;"
                               "text-align:left;padding-left:18px;}"
                               "QPushButton:hover{background:%2;}QPushButton:pressed{background:%3;}")
                    .arg(css(Theme::lime()), css(Theme::lime().lighter(106)), css(Theme::lime().darker(112)));
        break;
    case ButtonStyle::secondary: {
        const QColor bg = Theme::whiteLevel(0.16);
        sheet = QStringLiteral("QPushButton{background:%1;color:#fff;border:none;border-radius:9px;"
                               "text-align:left;padding-left:18px;}"
                               "QPushButton:hover{background:%2;}QPushButton:pressed{background:%3;}")
                    .arg(css(bg), css(Theme::whiteLevel(0.24)), css(Theme::whiteLevel(0.10)));
        break;
    }
    case ButtonStyle::plain:
        sheet = QStringLiteral("QPushButton{background:#fff;color:%1;border:1px solid %2;border-radius:8px;}"
                               "QPushButton:hover{background:%3;}QPushButton:pressed{background:%4;}"
                               "QPushButton:focus{border:1px solid %5;}")
                    .arg(css(Theme::primaryText()), css(Theme::whiteLevel(0.80)),
                         css(Theme::whiteLevel(0.97)), css(Theme::whiteLevel(0.90)),
                         css(Theme::whiteLevel(0.45)));
        break;
    }
    b->setStyleSheet(sheet);
    return b;
}

} // namespace Widgets
