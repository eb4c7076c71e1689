#pragma once

#include <QPointF>
#include <QWidget>

#include <functional>

// A small pointer-tracking area (the text box's grip and resize corner): reports a press,
// each drag step and the release, with the pointer in global screen coordinates. It
// keeps every press that lands on it from reaching the views beneath.
class OverlayPointerView : public QWidget {
public:
    explicit OverlayPointerView(QWidget *parent = nullptr);

    std::function<void(QPointF)> began;
    std::function<void(QPointF)> moved;
    std::function<void()> ended;

    void setBackground(const QColor &color) { background_ = color; }
    // Two short diagonal strokes that say "drag this corner".
    void setShowsResizeGrip(bool shows) { showsResizeGrip_ = shows; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QColor background_ = Qt::transparent;
    bool showsResizeGrip_ = false;
};
