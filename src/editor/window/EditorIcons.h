#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

// Icons for the editor's buttons, drawn as vectors at whatever size and pixel density the
// button asks for. Stateless.
namespace EditorIcons {

// The ink of tool icons.
inline const QColor ink = QColor(19, 21, 19);

// The icon of a symbol name ("pencil", "trash", ...); a name without a drawing gives an
// empty icon.
QIcon icon(const QString &symbolName, const QColor &color = ink);

} // namespace EditorIcons
