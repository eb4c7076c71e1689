#include "ui/Theme.h"

namespace Theme {

QFont font(double pointSize, QFont::Weight weight)
{
    QFont f(QStringLiteral("Noto Sans"));
    f.setStyleHint(QFont::SansSerif);
    f.setPixelSize(qRound(pointSize));
    f.setWeight(weight);
    return f;
}

QFont monospaceFont(double pointSize, QFont::Weight weight)
{
    QFont f(QStringLiteral("DejaVu Sans Mono"));
    f.setStyleHint(QFont::Monospace);
    f.setPixelSize(qRound(pointSize));
    f.setWeight(weight);
    return f;
}

QFont overlineFont(double pointSize)
{
    QFont f = font(pointSize, QFont::DemiBold);
    f.setLetterSpacing(QFont::AbsoluteSpacing, pointSize * 0.15);
    return f;
}

} // namespace Theme
