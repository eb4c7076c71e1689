#pragma once

#include <QColor>
#include <QString>

// How the tools draw: colour, stroke width, opacity and the text tool's font.
// Sizes are in image points.
struct DrawingStyle {
    QColor color = QColor(255, 59, 48); // the system red
    qreal lineWidth = 4.0;
    qreal opacity = 1.0;
    QString textFontName = QStringLiteral("Helvetica");
    qreal textFontSize = 32.0;

    // Shapes, callout discs and inserted images: the colour with its alpha set to the opacity.
    QColor colorWithOpacity() const
    {
        QColor c = color;
        c.setAlphaF(float(qBound(0.0, opacity, 1.0)));
        return c;
    }

    // The marker is translucent whatever the opacity says.
    QColor markerColor() const
    {
        QColor c = color;
        c.setAlphaF(0.3f);
        return c;
    }
};
