#pragma once

#include <QPointF>
#include <QRectF>
#include <functional>
#include <optional>

// The mouse logic of the region selector, without a window: a drag on one screen that
// ends in exactly one answer. Points passed in are in view coordinates (logical pixels,
// origin at the screen's top-left corner, y down); the answer is in global coordinates.
class RegionSelection {
public:
    // Called once: with the selected rectangle, or with nothing when cancelled.
    using Completion = std::function<void(std::optional<QRectF>)>;

    // A drag thinner than this (in logical pixels) in either direction is no answer.
    static constexpr qreal minimumSide = 4.0;

    explicit RegionSelection(const QRectF &screenFrame);

    Completion onComplete;

    void press(const QPointF &point);
    void drag(const QPointF &point);
    // Ends the drag; completes when the rectangle is big enough, else returns to idle.
    void release(const QPointF &point);
    void cancel();

    bool isDragging() const { return m_dragging; }
    bool isFinished() const { return m_finished; }
    QRectF screenFrame() const { return m_frame; }
    // The normalised rectangle between the press and the latest position (view coordinates).
    QRectF rect() const;

private:
    QPointF clamped(const QPointF &point) const;
    void finish(std::optional<QRectF> result);

    QRectF m_frame;
    QPointF m_start;
    QPointF m_current;
    bool m_dragging = false;
    bool m_finished = false;
};
