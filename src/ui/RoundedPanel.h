#pragma once

#include <QColor>
#include <QWidget>

// A card: filled rounded rectangle with a one-point light border.
class RoundedPanel : public QWidget {
public:
    RoundedPanel(QColor background, qreal radius, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_background;
    qreal m_radius;
};
