#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class QLabel;
class QPushButton;
class QWidget;

// Small factories so every window builds its controls the same way.
namespace Widgets {

QLabel *label(QWidget *parent, const QString &text, const QFont &font, const QColor &color,
              int x, int y);

enum class ButtonStyle { primary, secondary, plain };
QPushButton *button(QWidget *parent, const QString &title, ButtonStyle style, const QRect &frame,
                    const QFont &font);

} // namespace Widgets
