#pragma once

#include <QSize>
#include <QString>

class QLabel;
class QToolButton;
class QWidget;

// How the editor window builds its buttons and labels, so every bar looks the same.
namespace EditorButtons {

// Buttons are styled by this role through the window's style sheet.
inline const char *const roleProperty = "editorRole";

// An image-only button with a rounded bezel; the tooltip is also its accessible
// description.
QToolButton *iconButton(const QString &symbol, const QString &toolTip, QSize size, QWidget *parent);
// A titled button with a rounded bezel.
QToolButton *textButton(const QString &title, const QString &toolTip, QSize size, QWidget *parent);
// A label in the system font at `pixelSize`.
QLabel *label(const QString &text, int pixelSize, bool semibold, bool secondary, QWidget *parent);
// A thin horizontal rule.
QWidget *separator(QWidget *parent);

// The style sheet of the editor window: bars, bezels, the selected tool, swatches.
QString windowStyleSheet();

} // namespace EditorButtons
