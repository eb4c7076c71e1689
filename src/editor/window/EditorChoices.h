#pragma once

#include <QColor>
#include <QString>
#include <QStringList>

#include <array>
#include <optional>

// The editor's pick lists, the values their titles stand for, and the quick styles.
// Stateless.
namespace EditorChoices {

QStringList fontTitles();
QStringList textSizeTitles();
QStringList widthTitles();
QStringList zoomTitles();
QStringList opacityTitles();

inline const QString defaultFont = QStringLiteral("Helvetica");
inline const QString defaultTextSize = QStringLiteral("32");
inline const QString defaultWidth = QStringLiteral("4");
inline const QString defaultZoom = QStringLiteral("100%");
inline const QString defaultOpacity = QStringLiteral("100%");

// A title read as a number, when it is one.
std::optional<qreal> number(const QString &title);
// A percentage title ("85%") as a fraction, when it is one.
std::optional<qreal> fraction(const QString &percentTitle);

// Each of these takes the selected title, or nothing when no item is selected, and falls
// back to the default value when the title is not a number.
qreal lineWidth(const std::optional<QString> &title);
qreal opacity(const std::optional<QString> &title);
qreal zoom(const std::optional<QString> &title);
qreal textFontSize(const std::optional<QString> &title);
QString textFontName(const std::optional<QString> &title);

// "137%" for a zoom of 1.37: the percentage rounded to a whole number.
QString zoomTitle(qreal zoom);

struct QuickStyle {
    QColor color;
    qreal lineWidth;
};
constexpr int quickStyleCount = 12;
// The twelve swatches, in button-tag order (three rows of four).
const std::array<QuickStyle, quickStyleCount> &quickStyles();
// "Màu nhanh, nét 8 pt".
QString quickStyleToolTip(const QuickStyle &style);

} // namespace EditorChoices
