#pragma once

#include <QColor>
#include <QFont>

// The app's palette and type scale. Sizes are in points, which Qt renders as
// device-independent pixels.
namespace Theme {

inline QColor whiteLevel(double level) { return QColor::fromRgbF(level, level, level); }

inline QColor lime() { return QColor(215, 255, 63); }
inline QColor pillDark() { return QColor(19, 21, 19); }
inline QColor pausedPillText() { return whiteLevel(0.35); }
inline QColor pausedPillBackground() { return whiteLevel(0.84); }
inline QColor activeLine() { return QColor::fromRgbF(0.24, 0.54, 0.12); }
inline QColor pausedLine() { return QColor::fromRgbF(1.0, 0.72, 0.28); }
inline QColor panelBorder() { return whiteLevel(0.82); }
inline QColor windowBackground() { return whiteLevel(0.95); }
inline QColor secondaryText() { return whiteLevel(0.42); }
inline QColor primaryText() { return whiteLevel(0.09); }

QFont font(double pointSize, QFont::Weight weight = QFont::Normal);
QFont monospaceFont(double pointSize, QFont::Weight weight = QFont::Normal);
// Small capitals-style section label above a heading.
QFont overlineFont(double pointSize);

} // namespace Theme
