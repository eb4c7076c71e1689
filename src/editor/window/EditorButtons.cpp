#include "editor/window/EditorButtons.h"

#include "editor/window/EditorIcons.h"

#include <QFrame>
#include <QLabel>
#include <QToolButton>

QToolButton *EditorButtons::iconButton(const QString &symbol, const QString &toolTip, QSize size, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setProperty(roleProperty, QStringLiteral("bezel"));
    button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    button->setIcon(EditorIcons::icon(symbol));
    const int side = std::min(size.width(), size.height());
    button->setIconSize(QSize(side - 10, side - 10));
    button->setFixedSize(size);
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    button->setAccessibleDescription(toolTip);
    button->setFocusPolicy(Qt::TabFocus);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

QToolButton *EditorButtons::textButton(const QString &title, const QString &toolTip, QSize size, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setProperty(roleProperty, QStringLiteral("bezel"));
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    button->setText(title);
    button->setFixedSize(size);
    button->setToolTip(toolTip);
    button->setAccessibleDescription(toolTip);
    button->setFocusPolicy(Qt::TabFocus);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

QLabel *EditorButtons::label(const QString &text, int pixelSize, bool semibold, bool secondary, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    font.setWeight(semibold ? QFont::DemiBold : QFont::Normal);
    label->setFont(font);
    label->setProperty(roleProperty, secondary ? QStringLiteral("secondary") : QStringLiteral("primary"));
    return label;
}

QWidget *EditorButtons::separator(QWidget *parent)
{
    auto *line = new QFrame(parent);
    line->setProperty(roleProperty, QStringLiteral("separator"));
    line->setFixedHeight(1);
    return line;
}

QString EditorButtons::windowStyleSheet()
{
    return QStringLiteral(
        "[editorRole=\"toolBar\"] { background: rgb(250, 250, 247); border-bottom: 1px solid rgb(222, 221, 214); }"
        "[editorRole=\"statusBar\"] { background: rgb(246, 245, 240); border-top: 1px solid rgb(222, 221, 214); }"
        "[editorRole=\"sidePanel\"] { background: white; border-left: 1px solid rgb(222, 221, 214); }"
        "[editorRole=\"separator\"] { background: rgb(230, 229, 223); border: none; }"
        "[editorRole=\"divider\"] { background: rgb(222, 221, 214); border: none; }"
        "QLabel[editorRole=\"primary\"] { color: rgb(23, 23, 23); background: transparent; }"
        "QLabel[editorRole=\"secondary\"] { color: rgb(107, 107, 107); background: transparent; }"
        "QLabel[editorRole=\"badge\"] { color: rgb(60, 62, 58); background: rgb(232, 231, 224);"
        " border-radius: 4px; padding: 1px 6px; }"
        "QToolButton[editorRole=\"bezel\"] { background: white; color: rgb(19, 21, 19);"
        " border: 1px solid rgb(214, 213, 206); border-radius: 6px; padding: 0px; }"
        "QToolButton[editorRole=\"bezel\"]:hover { background: rgb(243, 243, 238); }"
        "QToolButton[editorRole=\"bezel\"]:pressed { background: rgb(229, 229, 222); }"
        "QToolButton[editorRole=\"bezel\"]:checked { background: rgb(215, 255, 63);"
        " border: 1px solid rgb(168, 204, 40); }"
        "QToolButton[editorRole=\"bezel\"]:focus { border: 1px solid rgb(73, 155, 224); }");
}
