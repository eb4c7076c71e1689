#pragma once

#include <QColor>
#include <QString>
#include <QStringList>

class QPainter;

// The editor's icons as vector drawings on a 24 by 24 grid, named after the symbols the
// buttons stand for ("pencil", "trash", ...). Stateless.
namespace EditorIconShapes {

constexpr qreal grid = 24;

QStringList names();
bool has(const QString &name);
// Draws the icon in `ink` on a painter already scaled to the 24-unit grid. Unknown names
// draw nothing.
void draw(const QString &name, QPainter &painter, const QColor &ink);

} // namespace EditorIconShapes
