#pragma once

#include <QColor>
#include <QToolButton>

// A colour swatch button: shows the current colour and lets the user pick another one.
class ColorWell : public QToolButton {
    Q_OBJECT
public:
    explicit ColorWell(const QColor &color, QWidget *parent = nullptr);

    QColor color() const { return color_; }
    // Shows `color` without announcing it.
    void setColor(const QColor &color);

signals:
    // The user picked a colour.
    void colorChanged(const QColor &color);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void choose();

    QColor color_;
};
