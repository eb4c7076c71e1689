#include "editor/window/EditorChoices.h"

#include <cmath>

namespace {

// The system colours of the swatches, as the platform's light appearance shows them.
const QColor red(255, 59, 48);
const QColor orange(255, 149, 0);
const QColor yellow(255, 204, 0);
const QColor green(40, 205, 65);
const QColor teal(89, 173, 196);
const QColor blue(0, 122, 255);
const QColor purple(175, 82, 222);
const QColor pink(255, 45, 85);

qreal orDefault(std::optional<qreal> value, qreal fallback)
{
    return value ? *value : fallback;
}

} // namespace

QStringList EditorChoices::fontTitles()
{
    return {QStringLiteral("Helvetica"), QStringLiteral("Arial"),           QStringLiteral("Avenir Next"),
            QStringLiteral("Georgia"),   QStringLiteral("Times New Roman"), QStringLiteral("Menlo")};
}

QStringList EditorChoices::textSizeTitles()
{
    return {QStringLiteral("16"), QStringLiteral("24"), QStringLiteral("32"), QStringLiteral("48"),
            QStringLiteral("64"), QStringLiteral("96"), QStringLiteral("128")};
}

QStringList EditorChoices::widthTitles()
{
    return {QStringLiteral("2"),  QStringLiteral("4"),  QStringLiteral("6"),
            QStringLiteral("10"), QStringLiteral("16"), QStringLiteral("24")};
}

QStringList EditorChoices::zoomTitles()
{
    return {QStringLiteral("25%"),  QStringLiteral("50%"),  QStringLiteral("75%"), QStringLiteral("100%"),
            QStringLiteral("125%"), QStringLiteral("150%"), QStringLiteral("200%")};
}

QStringList EditorChoices::opacityTitles()
{
    return {QStringLiteral("30%"), QStringLiteral("50%"), QStringLiteral("70%"), QStringLiteral("85%"),
            QStringLiteral("100%")};
}

std::optional<qreal> EditorChoices::number(const QString &title)
{
    bool ok = false;
    const double value = title.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<qreal> EditorChoices::fraction(const QString &percentTitle)
{
    const auto value = number(percentTitle.chopped(percentTitle.isEmpty() ? 0 : 1));
    if (!value)
        return std::nullopt;
    return *value / 100;
}

qreal EditorChoices::lineWidth(const std::optional<QString> &title)
{
    return orDefault(title ? number(*title) : std::nullopt, 4.0);
}

qreal EditorChoices::opacity(const std::optional<QString> &title)
{
    return orDefault(title ? fraction(*title) : std::nullopt, 1.0);
}

qreal EditorChoices::zoom(const std::optional<QString> &title)
{
    return orDefault(fraction(title.value_or(defaultZoom)), 1.0);
}

qreal EditorChoices::textFontSize(const std::optional<QString> &title)
{
    return orDefault(title ? number(*title) : std::nullopt, 32.0);
}

QString EditorChoices::textFontName(const std::optional<QString> &title)
{
    return title.value_or(defaultFont);
}

QString EditorChoices::zoomTitle(qreal zoom)
{
    return QString::number(std::llround(zoom * 100)) + QLatin1Char('%');
}

const std::array<EditorChoices::QuickStyle, EditorChoices::quickStyleCount> &EditorChoices::quickStyles()
{
    static const std::array<QuickStyle, quickStyleCount> styles{{
        {red, 4},    {purple, 4}, {teal, 4},  {yellow, 4},
        {red, 8},    {purple, 8}, {teal, 8},  {orange, 8},
        {pink, 12},  {blue, 12},  {green, 12}, {yellow, 12},
    }};
    return styles;
}

QString EditorChoices::quickStyleToolTip(const QuickStyle &style)
{
    return QStringLiteral("Màu nhanh, nét ") + QString::number(qint64(style.lineWidth)) + QStringLiteral(" pt");
}
